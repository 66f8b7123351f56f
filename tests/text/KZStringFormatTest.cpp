#include "ZerlithCore/text/KZString.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <map>

namespace {

KZString Listed(char16_t const * format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    KZString result;
    result.Format(format, arguments);
    va_end(arguments);
    return result;
}

KZString Typed(char16_t const * format, auto const &... arguments) {
    KZString result(u"before");
    result.Format(format, arguments...);
    return result;
}

// Formats arguments of exactly the types that their conversions mean. Typed arguments and an argument list must give
// the same text.
KZString F(char16_t const * format, auto... arguments) {
    KZString const listed = Listed(format, arguments...);
    EXPECT_EQ(Typed(format, arguments...), listed);
    return listed;
}

constexpr char16_t const * noText = nullptr;

TEST(KZStringFormat, WritesTextsUnitsAndOddities) {
    struct Case {
        int line;
        KZString actual;
        std::u16string expected;
    };
    Case const cases[] = {
        {__LINE__, F(u""), u""},
        {__LINE__, F(nullptr), u""},
        {__LINE__, F(u"100%% sure"), u"100% sure"},
        {__LINE__, F(u"a%"), u"a"},
        {__LINE__, F(u"a%-+05.3l"), u"a"},
        {__LINE__, F(u"%y%5z%Iq"), u"yzIq"},
        // Texts: units, and bytes in UTF-8.
        {__LINE__, F(u"%s|%5s|%-5s|%.2s|%5.1s|", u"abc", u"abc", u"abc", u"abc", u"abc"),
         u"abc|  abc|abc  |ab|    a|"},
        {__LINE__, F(u"%ls%lS%Fs", u"a", u"b", u"c"), u"abc"},
        {__LINE__, F(u"%S%hs%hS", "a", "b", "c"), u"abc"},
        {__LINE__,
         F(u"%S|%.2S|%.1S|%-4S|%.1S", "\xC3\xA9t\xE2\x82\xAC", "\xC3\xA9t\xE2\x82\xAC", "\xFFz", "ab", "ab"),
         u"\u00E9t\u20AC|\u00E9t|\uFFFD|ab  |a"},
        {__LINE__, F(u"%s|%.3s|%S|%8s", noText, noText, noText, noText), u"(null)|(nu|(null)|  (null)"},
        {__LINE__, F(u"%.s|%.0s|%05s", u"abc", u"abc", u"abc"), u"||  abc"},
        {__LINE__, F(u"%*s|%-*s|%*s|%.*s|%.*s", 4, u"a", 4, u"b", -4, u"c", 1, u"de", -1, u"fg"),
         u"   a|b   |c   |d|fg"},
        {__LINE__, F(u"%c%3c%-3c|%C%hc%lc", u'a', u'b', u'c', 'd', 'e', u'\u20AC'), u"a  bc  |de\u20AC"},
        {__LINE__, F(u"a%cb", 0), u"a"},
        // Numbers that the system's printf prints in another way, or not at all.
        {__LINE__, F(u"%I64d %I64u %I64x", INT64_MIN, UINT64_MAX, UINT64_MAX),
         u"-9223372036854775808 18446744073709551615 ffffffffffffffff"},
        {__LINE__, F(u"%ld %lu %lld", -5L, 5UL, -5LL), u"-5 5 -5"},
        {__LINE__, F(u"%Fd %Lf %Nx %Ff", 1, 2.0, 3, 4.0), u"1 2.000000 3 4.000000"},
        {__LINE__, F(u"%hd %hu", 65537, 65537), u"1 1"},
        {__LINE__, F(u"%p %p", reinterpret_cast<void *>(0xBEEF), nullptr), u"0xbeef (nil)"},
        {__LINE__, F(u"%d", 0), u"0"},
        {__LINE__, F(u"%#.5g %.5g", 99999.5, 99999.5), u"1.0000e+05 1e+05"},
    };
    for (Case const & c : cases) EXPECT_EQ(std::u16string_view(c.actual), c.expected) << "line " << c.line;
}

enum Color { Red = 2 };
enum class Mode : long long { Far = 5'000'000'000 };

TEST(KZStringFormat, KnowsTheTypesOfItsArguments) {
    using namespace std::literals;
    KZString zeros(u"\u00E9\0b"sv);
    int const number = -7;
    void const * const untyped = u"units";
    wchar_t const * const wide = L"\U0001F600x";
    struct Case {
        int line;
        KZString actual;
        std::u16string expected;
    };
    Case const cases[] = {
        // Objects that hold a text are printed whole.
        {__LINE__, Typed(u"%s|%s|%5s|%.1s", zeros, u"ab"s, u"ab"sv, zeros), u"\u00E9\0b|ab|   ab|\u00E9"s},
        {__LINE__, Typed(u"%s|%.2s|%S|%s", "\xC3\xA9t\0x"s, "\xC3\xA9te"sv, u8"\u20AC"s, u8"z"sv),
         u"\u00E9t\0x|\u00E9t|\u20AC|z"s},
        {__LINE__, Typed(u"%s|%.2s|%.1s", std::wstring(wide), std::wstring_view(wide), wide),
         u"\U0001F600x|\U0001F600|\xD83D"},
        {__LINE__, Typed(u"<%s%s%s>", KZString(), u""s, std::u16string_view()), u"<>"},
        // A text is printed by its own type, whatever the conversion says.
        {__LINE__, Typed(u"%s %S %hs %ls", "a", u"b", u"c", "d"), u"a b c d"},
        {__LINE__, Typed(u"%s", reinterpret_cast<unsigned short const *>(u"old")), u"old"},
        {__LINE__, Typed(u"%s %s", untyped, nullptr), u"units (null)"},
        // Numbers are printed with all their bits, unless an h cuts them.
        {__LINE__, Typed(u"%d %u %x", 5'000'000'000, 0xFFFFFFFFFF, -1), u"5000000000 1099511627775 ffffffff"},
        {__LINE__, Typed(u"%I64d %ld %lu %hd", -1, -1, 4294967295U, 65537LL), u"-1 -1 4294967295 1"},
        {__LINE__, Typed(u"%d %d %d %d %d", Red, Mode::Far, true, 'a', static_cast<signed char>(-1)),
         u"2 5000000000 1 97 -1"},
        {__LINE__, Typed(u"%.1f %g %.2f", 1, 2.5F, 3.0L), u"1.0 2.5 3.00"},
        {__LINE__, Typed(u"%*d|%.*s", 3L, 1, std::size_t{1}, u"xy"), u"  1|x"},
        // Characters of any type. A single byte above 127 isn't a character.
        {__LINE__, Typed(u"%c%s%4c|%c%d", L'\U0001F600', U'x', U'\U0001F600', u8'y', L'z'),
         u"\U0001F600x  \U0001F600|y122"},
        {__LINE__, Typed(u"%c%c%C", '\xE9', char32_t{0x110000}, u'\xE9'), u"\uFFFD\uFFFD\uFFFD"},
        {__LINE__, Typed(u"a%cb", L'\0'), u"a"},
        {__LINE__, Typed(u"%p %x", reinterpret_cast<int *>(0xBEEF), reinterpret_cast<int *>(0x123456789)),
         u"0xbeef 123456789"},
        // An argument that doesn't fit its conversion is printed by its own type.
        {__LINE__, Typed(u"%s %5s %s %s", 42, 1.5, u'x', 7U), u"42   1.5 x 7"},
        {__LINE__, Typed(u"%d %x %c %f %d", u"a", "b", KZString(u"c"), u"d", 2.5), u"a b c d 2.5"},
        {__LINE__, Typed(u"%s %f", reinterpret_cast<int *>(0xBEEF), nullptr), u"0xbeef (nil)"},
        {__LINE__, Typed(u"%*d|%.*d", u"wide", 1, 2.5, 3), u"1|3"},
        // Missing arguments are 0 or null; surplus ones are ignored.
        {__LINE__, Typed(u"%d %s %g %p%n %*d", 1), u"1 (null) 0 (nil) 0"},
        {__LINE__, Typed(u"%d", 1, u"left"), u"1"},
        {__LINE__, Typed(u"%-3c|", 0), u""},
        {__LINE__, Typed(u"a%2cb", 0), u"a "},
    };
    for (Case const & c : cases)
        EXPECT_EQ(std::u16string(c.actual.begin(), c.actual.end()), c.expected) << "line " << c.line;
    zeros.Format(u"%s%s", zeros, zeros);
    EXPECT_EQ(zeros.Length(), 6U);
    char16_t text[] = u"kept";
    double real = 1.5;
    unsigned short old[] = {u'k', 0};
    unsigned char bytes[] = "kept";
    EXPECT_EQ(Typed(u"ab%n%n%n%n%n%n%n", text, &real, &number, old, bytes, 42, u'x'), u"ab")
        << "only integers that may change are written to";
    EXPECT_TRUE(text == u"kept"sv && real == 1.5 && number == -7 && old[0] == u'k' && bytes[0] == 'k');
}

template <class... Values>
constexpr bool isFormattable = requires(KZString text, Values const &... values) {
    text.Format(u"", values...);
};

static_assert(isFormattable<> && isFormattable<int, KZString, char16_t[3], std::nullptr_t, Mode, void (*)()>);
static_assert(!isFormattable<std::map<int, int>> && !isFormattable<int, KZSmartPtr<KZString>>);
static_assert(!isFormattable<int KZString::*> && !isFormattable<KZString *, KZStringHash>);
template <class List>
constexpr bool mixesWithNumbers = requires(KZString text, List & list) {
    text.Format(u"", list, 1);
};
static_assert(!mixesWithNumbers<std::va_list>, "a started list is an argument of its own");

TEST(KZStringFormat, StoresTheSizeSoFar) {
    int all = -1;
    short part = -1;
    long long wide = -1;
    EXPECT_EQ(F(u"ab%hnc%nd%I64n%n", &part, &all, &wide, nullptr), u"abcd");
    EXPECT_TRUE(part == 2 && all == 3 && wide == 4);
}

TEST(KZStringFormat, BoundsWildWidthsAndPrecisions) {
    constexpr std::uint32_t most = 1 << 20;
    EXPECT_EQ(F(u"%99999999999999999999d", 1).Length(), most);
    EXPECT_EQ(F(u"%*d|", INT_MIN, 1).Length(), most + 1);
    EXPECT_EQ(F(u"%.*d", INT_MAX, 1).Length(), most);
    EXPECT_EQ(F(u"%.2147483647f", 1.0).Length(), most + 2);
    EXPECT_EQ(F(u"%.*s", INT_MAX, u"abc"), u"abc");
}

/// Formats `value` with many widths, precisions and flags, and compares the result with that of the system's printf.
template <class Value>
void CompareWithPrintf(std::string const & letters, Value value) {
    for (unsigned flags = 0; flags < 32; ++flags) {
        for (char const * size : {"", "1", "9", ".", ".0", ".3", "12.5", "30.17", "2.1"}) {
            for (char letter : letters) {
                std::string format = "<%";
                for (unsigned i = 0; i < 5; ++i) {
                    if (flags >> i & 1) format += "-+ #0"[i];
                }
                format += std::string(size) + letter + ">";
                char expected[512];
                std::snprintf(expected, sizeof expected, format.c_str(), value);
                KZString actual;
                actual = F(std::u16string(format.begin(), format.end()).c_str(), value);
                ASSERT_EQ(std::string(actual.begin(), actual.end()), expected) << format << " of " << value;
            }
        }
    }
}

#if defined(__GNUC__)
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif

TEST(KZStringFormat, PrintsNumbersAsThePrintfOfTheSystem) {
    for (int value : {0, 1, -1, 7, 8, 255, -4711, INT_MAX, INT_MIN}) CompareWithPrintf("dixXou", value);
    using Limits = std::numeric_limits<double>;
    constexpr double values[] = {0.0,   -0.0,     1.0,       -1.5,   0.5,        2.5,     3.14159265358979,
                                 1e15,  123456.0, 1234567.0, 0.0001, 0.00001234, 99999.0, 9.9999999,
                                 1e100, 1e-100,   0.0039062, 0.0625, 2.0625,     7.9996,  4503599627370495.5};
    for (double value : values) CompareWithPrintf("feEgG", value);
    for (double value : {Limits::max(), Limits::denorm_min(), -Limits::infinity(), Limits::quiet_NaN()})
        CompareWithPrintf("feEgG", value);
    EXPECT_EQ(F(u"%.1200f", 0.1).SubStr(1100, 102), F(u"%0102d", 0))
        << "zeros behind the last digit of any double";
}

} // namespace
