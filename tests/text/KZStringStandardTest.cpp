// KZString among the types of the standard: ranges, comparisons, streams, hashes, formats, and the texts of others.
#include "ZerlithCore/ZerlithCore.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <ranges>
#include <set>
#include <sstream>
#include <unordered_set>

#include <version>
#if defined(__cpp_lib_format)
#include <format>
namespace formats = std;
#elif __has_include(<fmt/format.h>)
#define FMT_HEADER_ONLY
#include <fmt/format.h>
namespace formats = fmt;
#define USES_FMT
#endif
#include "ZerlithCore/text/KZFormatter.h"

using namespace std::literals;

static_assert(std::ranges::contiguous_range<KZString> && std::ranges::sized_range<KZString> &&
              std::ranges::common_range<KZString>);
static_assert(!std::ranges::output_range<KZString &, char16_t>,
              "a write would reach all who share the block");
static_assert(std::three_way_comparable<KZString, std::weak_ordering> && std::totally_ordered<KZString>);
static_assert(!std::is_convertible_v<KZString, std::u16string_view>,
              "else a std::u16string made from a string would have other units than before");

namespace {

struct Entry {
    KZString name;
    int size;
    auto operator<=>(Entry const &) const = default;
};

} // namespace

TEST(KZString, IsARangeOfItsUnits) {
    KZString const text(u"ab\0c"sv), empty;
    EXPECT_EQ(std::ranges::data(text), text.c_str());
    EXPECT_TRUE(text.size() == 4 && text.front() == u'a' && text.back() == u'c' && !text.empty());
    EXPECT_TRUE(empty.size() == 0 && empty.front() == 0 && empty.back() == 0 && empty.empty());
    EXPECT_TRUE(std::ranges::equal(text | std::views::reverse, u"c\0ba"sv));
    EXPECT_EQ(text.AsView(), u"ab\0c"sv);
    EXPECT_TRUE(u"ab\0c"_kz.size() == 4 && u"ab\0c"_kz == u"ab" && u""_kz.empty());
}

TEST(KZString, ComparesInAllSixWays) {
    KZString const a(u"a"), b(u"b"), longer(u"a\0z"sv);
    EXPECT_TRUE(a < b && a <= b && b > a && b >= a && a != b && !(a == b));
    EXPECT_TRUE(a <= u"a" && u"a" >= a && u"a" < b && b > u"a" && b != u"a" && a < std::u16string(u"b"));
    EXPECT_TRUE((a <=> longer) == 0 && a == longer) << "up to the first 0";
    EXPECT_TRUE(a < nullptr && !(a > nullptr)) << "null comes last";
    EXPECT_TRUE((Entry{a, 2} < Entry{b, 1}) && (Entry{a, 1} < Entry{longer, 2}));
}

TEST(KZString, TellsPartsAndTakesTheTextApart) {
    struct {
        std::u16string_view text;
        char16_t const * part;
        bool starts, ends, contains;
        std::vector<KZString> pieces;
    } const rows[] = {
        {u"a,b,,c", u",", false, false, true, {u"a", u"b", u"", u"c"}},
        {u",", u",", true, true, true, {u"", u""}},
        {u"abcab", u"ab", true, true, true, {u"", u"c", u""}},
        {u"aaa", u"aa", true, true, true, {u"", u"a"}},
        {u"ab", u"abc", false, false, false, {u"ab"}},
        {u"ab", u"", true, true, true, {u"ab"}},
        {u"", u"", true, true, true, {u""}},
        {u"", u",", false, false, false, {u""}},
        {u"a\0,b"sv, u",", false, false, false, {u"a"}},
        {u"a,\0b"sv, u",", false, true, true, {u"a", u""}},
    };
    for (auto const & row : rows) {
        KZString const text(row.text), part(row.part);
        SCOPED_TRACE(text.AsUTF8() + " / " + part.AsUTF8());
        EXPECT_EQ(text.StartsWith(row.part), row.starts);
        EXPECT_EQ(text.EndsWith(part), row.ends);
        EXPECT_EQ(text.Contains(part), row.contains);
        if (part.Length() == 1) {
            EXPECT_TRUE(text.StartsWith(part[0]) == row.starts && text.EndsWith(part[0]) == row.ends &&
                        text.Contains(part[0]) == row.contains);
        }
        std::vector<KZString> const pieces = text.Split(part);
        EXPECT_EQ(pieces, row.pieces);
        EXPECT_EQ(KZString::Join(pieces, part), text);
    }
    KZString const text(u"ab");
    EXPECT_TRUE(text.StartsWith(nullptr) && text.EndsWith(nullptr) && text.Contains(nullptr));
    EXPECT_FALSE(text.StartsWith(u'\0') || text.EndsWith(u'\0') || text.Contains(u'\0'));
    EXPECT_TRUE(text.StartsWith('a') && text.EndsWith(std::u16string(u"b")));
    EXPECT_EQ(KZString::Join(std::set<std::u16string>{u"a", u"b"}, u"-"), u"a-b");
}

TEST(KZString, CrossesToTheTextsOfTheStandard) {
    EXPECT_EQ(KZString::FromUTF8("\xC3\xA9\0\xFF"sv).AsView(), u"\u00E9\0\uFFFD"sv);
    EXPECT_EQ(KZString::FromUTF8(u8"\u00E9"), u"\u00E9");
    EXPECT_EQ(KZString::FromWide(L"\u00E9\U0001F600"), u"\u00E9\U0001F600");
    EXPECT_TRUE(KZString(u"\u00E9\0x"sv).AsU8String() == u8"\u00E9" &&
                KZString(u"\u00E9\0x"sv).AsWide() == L"\u00E9");
    EXPECT_EQ(KZString(u"\U0001F600").AsWide(), L"\U0001F600");

    EXPECT_EQ(KZString::Number(std::numeric_limits<std::int64_t>::min()), u"-9223372036854775808");
    EXPECT_EQ(KZString::Number(std::numeric_limits<std::uint64_t>::max()), u"18446744073709551615");
    EXPECT_TRUE(KZString::Number(-7) == u"-7" && KZString::Number(7U) == u"7" &&
                KZString::Number(std::uint8_t{65}) == u"65");
    EXPECT_TRUE(KZString::Number(0.1) == u"0.1" && KZString::Number(0.1F) == u"0.1" &&
                KZString::Number(1e300) == u"1e+300");
    EXPECT_EQ(KZString::Number(1.0 / 3).AsDouble(), 1.0 / 3);
}

TEST(KZString, IsReadFromAndWrittenToStreams) {
    std::ostringstream bytes;
    bytes.width(4);
    bytes << KZString(u"\u00E9\0x"sv) << '|' << KZString(u"b");
    EXPECT_EQ(bytes.str(), "  \xC3\xA9|b");
    std::wostringstream wide;
    wide.width(3);
    wide << u"\u00E9" << '|' << u"" << "b";
    EXPECT_EQ(wide.str(), L"  \u00E9|b");
    wide << static_cast<char16_t const *>(nullptr);
    EXPECT_TRUE(wide.bad());

    std::istringstream in(" \xC3\xA9t\xC3\xA9 of\n\nlast");
    std::wistringstream wideIn(L" \u00E9t\u00E9 of\n\nlast");
    auto const readAll = [](auto & stream) {
        std::vector<KZString> read(4);
        stream >> read[0];
        for (std::size_t i = 1; i < 4; ++i) getline(stream, read[i]);
        EXPECT_FALSE(getline(stream, read[3]));
        return read;
    };
    std::vector<KZString> const expected{u"\u00E9t\u00E9", u" of", u"", u"last"};
    EXPECT_EQ(readAll(in), expected) << "a read that fails leaves the text";
    EXPECT_EQ(readAll(wideIn), expected);
}

TEST(Values, WorkAsKeysOfHashedContainers) {
    // The first two are equal, the third isn't.
    auto const check = [](auto const & a, auto const & same, auto const & other) {
        std::unordered_set<std::remove_cvref_t<decltype(a)>> set{a, same, other};
        EXPECT_EQ(set.size(), 2U);
        EXPECT_NE(set.hash_function()(a), set.hash_function()(other));
    };
    KZDateEx const day(2024, 5, 6);
    check(KZString(u"a"), KZString(u"a\0z"sv), KZString(u"b"));
    check(day, KZDateEx(2024, 5, 6), KZDateEx(2024, 5, 7));
    check(KZTimeEx(1, 2, 3), KZTimeEx(1, 2, 3, 0), KZTimeEx(1, 2, 3, 4));
    check(KZDateTimeEx(day, KZTimeEx(1, 2, 3)), KZDateTimeEx(day, KZTimeEx(1, 2, 3)),
          KZDateTimeEx(day, KZTimeEx()));
    check(KZDateTime(5), KZDateTime(5), KZDateTime());
    check(KZDurationEx(60, KZDurationEx::second), KZDurationEx(60, KZDurationEx::second),
          KZDurationEx(1, KZDurationEx::minute));
    check(KZThread_t(7, nullptr), KZThread_t(7, nullptr), KZThread_t(8, nullptr));
    check(KZErrorID(new KZError(glbKZOREMsgSourceP, 10)), KZErrorID(new KZError(glbKZOREMsgSourceP, 10)),
          KZErrorID());
    KZTimeZoneInfo info = KZTimeZone::GetUTCTimeZone().GetTimeZoneInfo();
    info.displayName[0] = u'x';
    KZTimeZone const named(info, false);
    info.bias = 60;
    check(KZTimeZone(), named, KZTimeZone(info, false));
}

TEST(Values, PrintByTheFormatsOfTheStandard) {
#if defined(__cpp_lib_format) || defined(USES_FMT)
    KZDateEx const day(2024, 5, 6);
    KZTimeEx const time(7, 8, 9);
    EXPECT_EQ(formats::format("[{:>6}] [{}] [{:.2}]", u"\u00E9t\u00E9"_kz, KZString(), u"abc"_kz),
              "[   \xC3\xA9t\xC3\xA9] [] [ab]");
    EXPECT_EQ(
        formats::format("{:%d.%m.%Y} {} {:%H:%M} {:%Y \u00E9}", day, day, time, KZDateTimeEx(day, time)),
        "06.05.2024 " + day.AsString().AsUTF8() + " 07:08 2024 \xC3\xA9");
    EXPECT_EQ(formats::format("{} {:>8} {}", KZGuid(0x12345678, 0, 0, 0), KZDurationEx(2, KZDurationEx::hour),
                              KZErrorID()),
              "12345678-0000-0000-0000-000000000000       2h SUCCESS");
#else
    GTEST_SKIP() << "neither std::format nor fmt is there";
#endif
}
