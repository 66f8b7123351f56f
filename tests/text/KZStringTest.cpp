#include "ZerlithCore/text/KZString.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/foundation/KZMemory.h"
#include "ZerlithCore/text/KZCollator.h"
#include "ZerlithCore/text/KZStringConverter.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

namespace {

using namespace std::string_view_literals;

std::u16string_view All(KZString const & string) { return std::u16string_view(string); }

KZString Edited(KZString string, void (*edit)(KZString &)) {
    edit(string);
    return string;
}

TEST(KZString, GrowsByHalfOrToWhatIsAskedFor) {
    KZString const shared(u"shared");
    std::tuple<char const *, int, KZString, std::uint32_t> const cases[] = {
        {"empty", __LINE__, KZString(), 0},
        {"null", __LINE__, KZString(static_cast<char16_t const *>(nullptr)), 0},
        {"length and one", __LINE__, KZString(u"abc"), 4},
        {"unit by unit: 2 3 4 6 9 13", __LINE__, KZString(u'x', 10), 13},
        {"half as much again", __LINE__, KZString(u"abc") += u'd', 6},
        {"more than half", __LINE__, KZString(u"abc") += u"defghijkl", 13},
        {"a copied sum", __LINE__, shared + u"!", 10},
        {"part", __LINE__, shared.SubStr(1, 3), 4},
        {"inserted", __LINE__, Edited(shared, [](KZString & s) { s.Insert(0, u"x"); }), 10},
        {"removed from a shared block", __LINE__, Edited(shared, [](KZString & s) { s.Remove(1, 5); }), 7},
        {"assigned to a shared block", __LINE__, Edited(shared, [](KZString & s) { s = u"x"; }), 7},
        {"reserved", __LINE__, Edited(shared, [](KZString & s) { s.Reserve(9); }), 10},
        {"nothing reserved is a block too", __LINE__, Edited(KZString(), [](KZString & s) { s.Reserve(0); }),
         1},
        {"replaced hit by hit", __LINE__,
         Edited(KZString(u"aaa"), [](KZString & s) { s.Replace(u"a", u"aa"); }), 9},
    };
    for (auto const & [what, line, string, capacity] : cases)
        EXPECT_EQ(string.Capacity(), capacity) << what << ", line " << line;
    EXPECT_EQ(All(KZString(u'x', 10)), std::u16string(10, u'x'));
}

TEST(KZString, SharesUntilTheFirstWrite) {
    KZString a(u"text");
    a.Reserve(100);
    KZString b = a, c;
    c = b;
    EXPECT_EQ(a.c_str(), c.c_str());
    b.Set(0, u'n');
    EXPECT_EQ(All(a), u"text");
    EXPECT_EQ(All(b), u"next");
    EXPECT_EQ(b.Capacity(), 100U);
    char16_t const * const own = b.c_str();
    b += u"!";
    EXPECT_EQ(b.c_str(), own) << "an own block with room stays";
    KZString d = std::move(b);
    EXPECT_EQ(d.c_str(), own);
    a = KZString();
    EXPECT_EQ(a.c_str(), KZString::glbEmptyData.text);
    d.Set(5, u'x');
    EXPECT_EQ(All(d), u"next!") << "nothing is stored at or past the length";
    EXPECT_EQ(KZString::glbEmptyData.references.load(), 1);
}

TEST(KZString, CountsZeroUnitsButPointersEndThere) {
    KZString s(u"ab");
    s += u'\0';
    s += u'c';
    EXPECT_EQ(All(s), u"ab\0c"sv);
    EXPECT_EQ(All(KZString(u'\0')), u"\0"sv);
    EXPECT_EQ(All(KZString(u"x") += s), u"xab"sv);
    EXPECT_EQ(std::u16string(s), u"ab");
    EXPECT_EQ(s, u"ab");
    EXPECT_EQ(s[3], u'c');
    EXPECT_EQ(s[4], 0);
    EXPECT_EQ(s[0xFFFFFFFF], 0);
    EXPECT_EQ(All(s.SubStr(1)), u"b"sv) << "to the terminator";
    EXPECT_EQ(All(s.SubStr(1, 9)), u"b\0c"sv) << "clipped to the length";
    EXPECT_EQ(All(s.SubStr(4, 1)), u""sv);
    s.Insert(1, u'\0');
    s.Append(u"\0z", 2);
    EXPECT_EQ(All(s), u"ab\0c\0z"sv);
    std::unordered_set<KZString> const set{s};
    EXPECT_EQ(set.count(KZString(u"ab")), 1U) << "equal strings have equal hashes";
}

TEST(KZString, TakesItsOwnTextAsArgument) {
    struct Case {
        int line;
        void (*edit)(KZString &);
        std::u16string_view expected;
    };
    constexpr Case cases[] = {
        {__LINE__, [](KZString & s) { s += s; }, u"abcdabcd"},
        {__LINE__, [](KZString & s) { s.Append(s.c_str() + 1, 2); }, u"abcdbc"},
        {__LINE__, [](KZString & s) { s = s.c_str() + 2; }, u"cd"},
        {__LINE__, [](KZString & s) { s.Insert(1, s.c_str()); }, u"aabcdbcd"},
        {__LINE__, [](KZString & s) { s.Insert(9, s); }, u"abcdabcd"},
        {__LINE__, [](KZString & s) { s.Replace(s.c_str() + 2, s.c_str()); }, u"ababcd"},
        {__LINE__, [](KZString & s) { s.Replace(s, s.c_str() + 3); }, u"d"},
        {__LINE__, [](KZString & s) { s.Format(u"%s-%s", s.c_str(), s.c_str() + 3); }, u"abcd-d"},
        {__LINE__, [](KZString & s) { s = std::as_const(s); }, u"abcd"},
    };
    for (Case const & c : cases) {
        KZString tight(u"abcd"), roomy(u"abcd"), shared(u"abcd");
        roomy.Reserve(64);
        KZString const other = shared;
        c.edit(tight), c.edit(roomy), c.edit(shared);
        EXPECT_EQ(All(tight), c.expected) << "line " << c.line;
        EXPECT_EQ(All(roomy), c.expected) << "line " << c.line;
        EXPECT_EQ(All(shared), c.expected) << "line " << c.line;
        EXPECT_EQ(All(other), u"abcd") << "line " << c.line;
    }
    // A large block moves when it grows.
    KZString large(u'x', 100'000);
    large += u"end";
    while (large.Length() < 3'000'000) large.Append(large.c_str() + 1, large.Length() - 1);
    auto const text = All(large);
    EXPECT_TRUE(text.starts_with(std::u16string(100'000, u'x') + u"endxx"));
    EXPECT_EQ(std::count(text.begin(), text.end(), u'e'), 32);
    EXPECT_TRUE(text.ends_with(u"xend"));
}

TEST(KZString, RemovesTrimsAndReplaces) {
    struct Case {
        int line;
        std::u16string_view text;
        void (*edit)(KZString &);
        std::u16string_view expected;
    };
    constexpr Case cases[] = {
        {__LINE__, u"abcdef", [](KZString & s) { s.Remove(3, KZString::npos); }, u"abc"},
        {__LINE__, u"abc", [](KZString & s) { s.Remove(3, 1); }, u"abc"},
        {__LINE__, u"abxxc", [](KZString & s) { s.LTrim(u'x', 2); }, u"c"},
        {__LINE__, u"xxx", [](KZString & s) { s.LTrim(u'x'); }, u""},
        {__LINE__, u"xx\0"sv, [](KZString & s) { s.LTrim(u'\0', 2); }, u""},
        {__LINE__, u" \t ab ", [](KZString & s) { s.LTrim(); }, u"ab "},
        {__LINE__, u"xyab", [](KZString & s) { s.LTrim(u"xyz", 1); }, u"ab"},
        {__LINE__, u"xyab", [](KZString & s) { s.LTrim(u"xyz", 4); }, u""},
        {__LINE__, u"xyab", [](KZString & s) { s.LTrim(u"", 9); }, u"xyab"},
        {__LINE__, u"xyxy", [](KZString & s) { s.LTrim(u"xyz"); }, u""},
        {__LINE__, u"axxb", [](KZString & s) { s.RTrim(u'x', 1); }, u"axx"},
        {__LINE__, u"axxb", [](KZString & s) { s.RTrim(u'x', 2); }, u"ax"},
        {__LINE__, u"xx", [](KZString & s) { s.RTrim(u'x'); }, u""},
        {__LINE__, u"", [](KZString & s) { s.RTrim(u'x'); }, u""},
        {__LINE__, u" ab \t", [](KZString & s) { s.RTrim(); }, u" ab"},
        {__LINE__, u"abxy", [](KZString & s) { s.RTrim(u"xb", 1); }, u"a"},
        {__LINE__, u"abxy", [](KZString & s) { s.RTrim(u"", 1); }, u"abxy"},
        {__LINE__, u"xyxy", [](KZString & s) { s.RTrim(u"xyz"); }, u""},
        {__LINE__, u"aaa", [](KZString & s) { s.Replace(u"a", u"aa"); }, u"aaaaaa"},
        {__LINE__, u"abab", [](KZString & s) { s.Replace(u"ab", nullptr); }, u""},
        {__LINE__, u"aaaaa", [](KZString & s) { s.Replace(u"aa", u"b"); }, u"bba"},
        {__LINE__, u"abc", [](KZString & s) { s.Replace(u"", u"x"); }, u"abc"},
        {__LINE__, u"abc", [](KZString & s) { s.Replace(nullptr, u"x"); }, u"abc"},
        {__LINE__, u"a\0a"sv, [](KZString & s) { s.Replace(u"a", u"bb"); }, u"bb\0a"sv},
        {__LINE__, u"abc", [](KZString & s) { s.Insert(1, nullptr); }, u"abc"},
        {__LINE__, u"abc", [](KZString & s) { s.Assign(u"xy\0z", 4); }, u"xy\0z"sv},
        {__LINE__, u"abc", [](KZString & s) { s.Assign(nullptr, 4); }, u""},
    };
    for (Case const & c : cases) {
        KZString s(c.text);
        c.edit(s);
        EXPECT_EQ(All(s), c.expected) << "line " << c.line;
        EXPECT_EQ(s.c_str()[s.Length()], 0) << "line " << c.line;
    }
    KZString cleared(u"abc"), emptied(u"abc");
    cleared.Remove(0, 4);
    emptied.Remove(0, 3);
    EXPECT_EQ(cleared.Capacity(), 0U);
    EXPECT_EQ(emptied.Capacity(), 4U) << "a count that isn't past the end keeps the block";
}

// The number of functions that accept a `Unit` as a unit.
template <class Unit>
constexpr int callsWith =
    [](auto... calls) {
        return (0 + ... + (std::is_invocable_v<decltype(calls), KZString &, Unit> ? 1 : 0));
    }([](auto &, auto u) -> decltype(void(KZString(u))) {}, //
      [](auto &, auto u) -> decltype(void(KZString(u, 2U))) {},
      [](auto & s, auto u) -> decltype(void(s = u)) {}, [](auto & s, auto u) -> decltype(void(s += u)) {},
      [](auto & s, auto u) -> decltype(void(s + u)) {}, [](auto & s, auto u) -> decltype(void(s == u)) {},
      [](auto & s, auto u) -> decltype(void(s.push_back(u))) {},
      [](auto & s, auto u) -> decltype(void(s.Insert(0, u))) {},
      [](auto & s, auto u) -> decltype(void(s.Set(0, u))) {},
      [](auto & s, auto u) -> decltype(void(s.Find(u))) {},
      [](auto & s, auto u) -> decltype(void(s.RFind(u))) {},
      [](auto & s, auto u) -> decltype(void(s.LTrim(u))) {},
      [](auto & s, auto u) -> decltype(void(s.RTrim(u))) {});
static_assert(callsWith<char16_t> == 13 && callsWith<char> == 11,
              "one char makes no string, as several don't");
static_assert(callsWith<int> + callsWith<unsigned short> + callsWith<long> + callsWith<bool> +
                  callsWith<double> + callsWith<wchar_t> + callsWith<char32_t> + callsWith<std::byte> +
                  callsWith<KZString::DataDef> + callsWith<std::memory_order> + callsWith<KZErrorID> ==
              0);
template <class S>
constexpr bool takesZero = requires(S s) {
    s = 0;
}
|| requires(S s) { s += 0; }
|| requires(S s) { s + 0; }
|| requires(S s) { s.Find(0); }
|| requires(S s) { s.Insert(0, 0); }
|| requires(S s) { S(0); };
static_assert(!takesZero<KZString>);

TEST(KZString, TakesTypicalCallsWithoutAmbiguity) {
    KZString s(u"ab"), empty = {};
    std::u16string const standard(u"ab");
    EXPECT_TRUE(s == standard && s == u"ab" && standard == s && !(s == nullptr) && s != u'a' &&
                empty == nullptr);
    EXPECT_TRUE(s.Compare({}) == -1 && s.Compare(NULL) == -1);
    EXPECT_TRUE(s.Compare(u"ab", nullptr) == 0 && s.Compare(u"AB", 1U) == 0 && s.IsEqual(standard, {}));
    EXPECT_TRUE(s.Find(standard) == 0 && s.Find('b') == 1 && s.FindFirstOf(nullptr) == KZString::npos);
    EXPECT_TRUE(s.AsMbString(0) == "ab" && s.AsMbString(nullptr) == "ab" && KZString(u"x", 0) == u"x");
    EXPECT_TRUE(KZString::ConvertToUnicode(empty, "ab", NULL).Good() &&
                empty.ConvertToUnicode("", {}).Good());
    s += standard;
    s.Insert(0, standard);
    s.Replace(standard, u"c");
    EXPECT_EQ(s + nullptr, u"ccc");
    s = {};
    EXPECT_EQ((s = 'x') + standard, u"xab");
    s = nullptr;
    EXPECT_EQ(s.Capacity(), 0U);
}

TEST(KZString, RefusesLengthsBeyond32Bits) {
    KZString s(u"abc");
    EXPECT_THROW(s.Append(u"x", 0xFFFFFFFF), std::length_error);
    EXPECT_THROW(s.Append(u"x", 0xFFFFFFFC), std::length_error);
    EXPECT_THROW(s.Assign(u"x", 0xFFFFFFFF), std::length_error);
    EXPECT_THROW(s.Reserve(0xFFFFFFFF), std::length_error);
    EXPECT_THROW(KZString(u'x', 0xFFFFFFFE), std::length_error);
    EXPECT_EQ(All(s), u"abc");
}

TEST(KZStringHash, IsTheGivenOne) {
    EXPECT_EQ(KZStringHash()(KZString()), 0);
    EXPECT_EQ(KZStringHash()(KZString(u"a")), 613 + 'a');
    EXPECT_EQ(KZStringHash()(KZString(u"ab\0cd"sv)), (5 * 613 + 'a') * 613 + 'b')
        << "the length counts all units";
    EXPECT_EQ(KZStringHash()(KZString(u"abcd")), 146'925'623) << "of 0xB73E17C6, so negated";
    EXPECT_EQ(KZStringHash()(KZString(u"\x5D\x01\xC60D\x39")), -1'073'741'821)
        << "0x80000000 has no positive";
    EXPECT_EQ(KZStringHash()(KZString(u"hash me, please")), 589'551'668);
}

TEST(KZString, BlocksAreSharedAmongThreadsAndAllComeBack) {
    std::size_t const before = KMMemoryPool::GetUsedMemory();
    {
        KZString const text(u'x', 5'000);
        EXPECT_GE(KMMemoryPool::GetUsedMemory(), before + 10'000);
        std::vector<std::thread> threads;
        std::vector<KZString> results(4);
        for (KZString & result : results)
            threads.emplace_back([&result, text] {
                for (int i = 0; i < 2'000; ++i) {
                    KZString copy = text;
                    if (i % 100 == 0) copy += u'y';
                    result = copy;
                }
            });
        for (std::thread & thread : threads) thread.join();
        for (KZString const & result : results) EXPECT_EQ(result.c_str(), text.c_str());
    }
    EXPECT_EQ(KMMemoryPool::GetUsedMemory(), before);
}

} // namespace
