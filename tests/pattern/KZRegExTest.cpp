#include "ZerlithCore/pattern/KZRegEx.h"

#include "ZerlithCore/pattern/KZNFANodeSet.h"
#include "pattern/CountedMemory.h"

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <regex>
#include <set>

namespace {

bool Matches(KZString const & pattern, KZString const & text) {
    return KZRegEx(KZStringRegExParser(pattern).Parse()).Match(text);
}

TEST(KZStringRegExParser, AcceptsItsSyntaxOnly) {
    constexpr char16_t const * good[] = {u"a",      u".",      u"[]",    u"[^]",    u"[a-z]",   u"[\\-a]",
                                         u"[\\[]",  u"\\",     u"^a$",   u"(a)(b)", u"a{}",     u"a{2;4}",
                                         u"a{2,4}", u"a{,3}",  u"a{3,}", u"a{12}",  u"a{1\\2}", u"(a*)*",
                                         u"[.*(|]", u"\\n\\*", u"-"};
    constexpr char16_t const * bad[] = {
        u"",         u"()",   u"a|",   u"|a",   u"(|a)",  u"a**", u"a{2",   u"a{2,3", u"a{3,2}",
        u"a{2,3,4}", u"a{{}", u"[a-]", u"[-a]", u"[^a^]", u"[[]", u"[b-a]", u"[a",    u"(a",
        u"a)",       u"]",    u"}",    u"*",    u"+a",    u"{2}", u"[a-]z]"};
    for (char16_t const * pattern : good)
        EXPECT_FALSE(KZStringRegExParser(pattern).Parse().root.IsNull()) << KZString(pattern).AsUTF8();
    for (char16_t const * pattern : bad) {
        KZStringRegExParser parser(pattern);
        EXPECT_TRUE(parser.Parse().root.IsNull() && parser.Parse().root.IsNull())
            << KZString(pattern).AsUTF8();
        KZRegEx const nothing(parser.Parse());
        EXPECT_FALSE(nothing.Match(u"") || nothing.Match(u"a") || nothing.Match(pattern))
            << KZString(pattern).AsUTF8();
    }
    KZStringRegExParser twice(u"ab");
    EXPECT_EQ(&*twice.Parse().root, &*twice.Parse().root);
}

TEST(KZRegEx, MatchesWholeTexts) {
    struct Case {
        char16_t const * pattern;
        std::vector<char16_t const *> matches, others;
    };
    Case const cases[] = {
        {u"a", {u"a"}, {u"", u"ab", u"ba"}},
        {u"a.*", {u"a", u"abc", u"a\uFFFF"}, {u"", u"ba"}},
        {u".", {u"x"}, {u"\uFFFF", u""}},
        {u".*", {u"", u"abc", u"\uFFFF"}, {}},
        {u"a*", {u"", u"aaa"}, {u"ab"}},
        {u"a+", {u"a"}, {u""}},
        {u"[]", {}, {u"", u"a"}},
        {u"[^]", {u"a"}, {u""}},
        {u"[^a-c]", {u"d", u"\uFFF8", u"\uFFFE"}, {u"b", u"\uFFFF"}},
        {u".*\uFFFEb*", {u"aa\uFFFEbb", u"\uFFFE"}, {u"aa"}},
        {u"(a|ab)c", {u"ac", u"abc"}, {u"ab"}},
        {u"a{2}", {u"aa"}, {u"a", u"aaa"}},
        {u"a{12}", {u"aa"}, {u"aaaaaaaaaaaa"}},
        {u"a{10}", {u""}, {u"a"}},
        {u"a{0}", {u""}, {u"a"}},
        {u"a{2x4}", {u"aa", u"aaaa"}, {u"a", u"aaaaa"}},
        {u"a{,3}", {u"a", u"aaa"}, {u"", u"aaaa"}},
        {u"a{2,}", {u"aa", u"aaaaaa"}, {u"a"}},
        {u"a{}", {u"a"}, {u""}},
        {u"^a$", {u"^a$"}, {u"a"}},
        {u"\\", {u"\\"}, {u""}},
        {u"\\n", {u"n"}, {u"\n"}},
        {u"(a*b){0,2}", {u"", u"b", u"abaab"}, {u"a", u"bbb"}},
        {u"(a*b)*c?", {u"", u"abc", u"bb"}, {u"a", u"ac"}},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(KZString(c.pattern).AsUTF8());
        for (char16_t const * text : c.matches)
            EXPECT_TRUE(Matches(c.pattern, text)) << KZString(text).AsUTF8();
        for (char16_t const * text : c.others)
            EXPECT_FALSE(Matches(c.pattern, text)) << KZString(text).AsUTF8();
    }
    KZString zero(u"ab");
    zero += u'\0';
    zero += u'c';
    EXPECT_TRUE(Matches(u"ab", zero));
    EXPECT_FALSE(KZRegEx(KZStringRegExParser(u"a").Parse()).Match(nullptr));
}

// The standard library's engine has the same meaning where both have the same syntax.
TEST(KZRegEx, AgreesWithAnotherEngineOnRandomPatterns) {
    std::mt19937 random(11);
    auto const pick = [&random](unsigned int count) { return random() % count; };
    std::function<std::wstring(int)> const pattern = [&](int depth) -> std::wstring {
        constexpr wchar_t const * atoms[] = {L"a", L"b", L"c", L".", L"[ab]", L"[^b]", L"[a-c]"};
        constexpr wchar_t const * suffixes[] = {L"",  L"",    L"",      L"*",     L"+",
                                                L"?", L"{2}", L"{0,2}", L"{1,3}", L"{2,}"};
        std::wstring item = atoms[pick(std::size(atoms))];
        if (depth > 0 && pick(2) == 0) item = L"(" + pattern(depth - 1) + L")";
        item += suffixes[pick(std::size(suffixes))];
        if (depth > 0 && pick(2) == 0) item += pattern(depth - 1);
        if (depth > 0 && pick(4) == 0) item += L"|" + pattern(depth - 1);
        return item;
    };
    for (int i = 0; i < 1500; ++i) {
        std::wstring const source = pattern(3);
        // Without backtracking: nested repeats would take it for ever.
        std::wregex const peer(source, std::regex_constants::ECMAScript | std::regex_constants::__polynomial);
        KZRegEx const regEx(
            KZStringRegExParser(KZString(std::u16string(source.begin(), source.end()))).Parse());
        for (int j = 0; j < 12; ++j) {
            std::wstring text(pick(8), L'a');
            for (wchar_t & c : text) c = static_cast<wchar_t>(L'a' + pick(4));
            ASSERT_EQ(regEx.Match(KZString(std::u16string(text.begin(), text.end()))),
                      std::regex_match(text, peer))
                << std::string(source.begin(), source.end()) << " on "
                << std::string(text.begin(), text.end());
        }
    }
}

TEST(KZRegEx, FindsWhereLongTextsLeaveALoop) {
    KZRegEx const words(KZStringRegExParser(u"[a-z ]*(;[0-9]+)?").Parse());
    KZRegEx const fields(KZStringRegExParser(u"[^,]*,[a-c,m,x-z]*").Parse());
    for (unsigned int length = 0; length < 70; ++length) {
        KZString text(u'q', length);
        EXPECT_TRUE(words.Match(text) && words.Match(text + u";42"));
        EXPECT_FALSE(words.Match(text + u";42x") || words.Match(text + u"Q" + text));
        EXPECT_TRUE(fields.Match(text + u"," + KZString(u'y', length)));
        EXPECT_FALSE(fields.Match(text + u"," + KZString(u'y', length) + u"d" + KZString(u'b', length)));
        EXPECT_FALSE(fields.Match(text + u"\uFFFF" + text + u","));
    }
}

template <class Unit>
struct Upper : KZCollatingTable<Unit> {
    Upper() { this->IgnoreCase(); }
};

TEST(KZRegEx, TranslatesByCollatingTables) {
    KZStringRegExParser parser(u"[A-Z\u00C9\u0391]+");
    parser.GetWCollatingTableP() = KZSmartPtr<KZCollatingTable<unsigned short>>(new Upper<unsigned short>);
    KZRegEx const wide(parser.Parse());
    EXPECT_TRUE(wide.Match(u"hello\u00E9\u03B1"));
    EXPECT_FALSE(wide.Match(u"hello1"));
    KZStringRegExParser narrowParser(u"[A-Z\u00C9\u03B1]+");
    narrowParser.GetCollatingTableP() = KZSmartPtr<KZCollatingTable<char>>(new Upper<char>);
    narrowParser.GetWCollatingTableP() = parser.GetWCollatingTableP();
    KZRegEx const narrow(narrowParser.Parse());
    EXPECT_TRUE(narrow.Match(u"hello\u00E9\u03B1")); // above 256 units stay
    EXPECT_FALSE(narrow.Match(u"\u0100"));
}

TEST(KZRegEx, TellsItsConstantStart) {
    constexpr std::pair<char16_t const *, char16_t const *> cases[] = {
        {u"abc", u"abc"}, {u"a(b|c)", u"a"}, {u"[a-c]x", u"ax"}, {u"ab?c", u"a"},
        {u"[]", u""},     {u"ab*", u"a"},    {u"()", u""}};
    for (auto const & [pattern, start] : cases)
        EXPECT_EQ(KZRegEx(KZStringRegExParser(pattern).Parse()).GetConstantStart(), start);
}

TEST(KZRegEx, DumpsNodesAndStates) {
    testing::internal::CaptureStdout();
    KZRegEx const regEx(KZStringRegExParser(u"[a-c\\]].*").Parse(), true);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "0:\n    e-transtions = {}\n    [\\]a-c] --> 2\n"
              "1:\n    e-transtions = {}\n"
              "2:\n    e-transtions = {1}\n    [\\x0000-\\xFFFE] --> 2\n"
              "0:\n    \\] --> 1\n    a-c --> 1\n"
              "1*:\n    \\x0000-\\xFFFE --> 1\n");
    testing::internal::CaptureStdout();
    KZRegEx const branches(KZStringRegExParser(u"a(b|[c-d])").Parse(), true);
    std::string const dump = testing::internal::GetCapturedStdout();
    EXPECT_NE(dump.find("\n1:\n    b --> 2\n    cd --> 3\n2*:\n3*:\n"), std::string::npos) << dump;
}

TEST(KZRegEx, SurvivesHostilePatterns) {
    KZString const deep(u'(', 100000);
    EXPECT_TRUE(KZStringRegExParser(deep).Parse().root.IsNull());
    EXPECT_TRUE(KZStringRegExParser(deep + u"a" + KZString(u')', 100000)).Parse().root.IsNull());
    EXPECT_TRUE(Matches(KZString(u'(', 1000) + u"a" + KZString(u')', 1000), u"a"));
    // Trees of any length are built, compiled and released without recursion.
    KZString const longText(u'a', 50000);
    EXPECT_TRUE(Matches(longText, longText));
    KZString alternates(u"x");
    for (int i = 0; i < 3000; ++i) alternates += u"|a";
    EXPECT_TRUE(Matches(alternates, u"a"));
    // Linear in the text where backtracking isn't.
    KZString const text(u'a', 3000);
    EXPECT_FALSE(Matches(u"(a|aa)*c", text));
    EXPECT_TRUE(Matches(KZString(u"(a|b)*a(a|b){9}"), text));
    KZString optional;
    for (int i = 0; i < 20; ++i) optional += u"a?";
    EXPECT_TRUE(Matches(optional + KZString(u'a', 20), KZString(u'a', 20)));
}

// What a pattern may ask for has an end, whatever it asks for: nodes, what they reach without a unit, printed states.
TEST(KZRegEx, LimitsWhatAPatternCosts) {
    KZString holes(u"[");
    for (char16_t unit = 0x100; unit < 0x100 + 900; unit += 2) holes += unit;
    struct Case {
        char const * what;
        KZString pattern;
        bool isMade;
    };
    Case const cases[] = {
        {"counts in counts", u"((((((((a{9}){9}){9}){9}){9}){9}){9}){9}){9}", false},
        {"a choice at each unit", u"((((.?){9}){9}){9}){9}", false},
        {"a set with holes in counts", u"((((" + holes + u"]{9}){9}){9}){9}){9}", true},
        {"a choice in front of counts", u".*a.{9}.{9}", true},
    };
    for (Case const & c : cases) {
        KZParsedRegEx const parsed = KZStringRegExParser(c.pattern).Parse();
        ASSERT_FALSE(parsed.root.IsNull()) << c.what;
        std::size_t const before = usedBytes;
        mostBytes = before;
        bool isMade = true;
        try {
            KZRegEx const regEx(parsed);
            EXPECT_FALSE(regEx.Match(u"x"));
        } catch (std::bad_alloc const &) {
            isMade = false;
        }
        EXPECT_EQ(isMade, c.isMade) << c.what;
        EXPECT_LT(mostBytes - before, 64'000'000U) << c.what;
        EXPECT_EQ(usedBytes, before) << c.what;
    }
    EXPECT_THROW(KZRegEx(KZStringRegExParser(cases[3].pattern).Parse(), true), std::bad_alloc) << "printed";
    KZRegEx const counts(KZStringRegExParser(u"(((.?){9}){9}){9}").Parse());
    EXPECT_TRUE(counts.Match(KZString(u'a', 729)));
    EXPECT_FALSE(counts.Match(KZString(u'a', 730)));
}

// Thousands of different units make tables too large to keep; states are looked up by their ranges then.
TEST(KZRegEx, MatchesLongPatternsOfManyUnits) {
    KZString units;
    for (char16_t unit = 0x100; unit < 0x100 + 3000; ++unit) units += unit;
    EXPECT_TRUE(Matches(units, units) && Matches(units + u".*x?", units + u"yx"));
    EXPECT_TRUE(Matches(units + u".*", units + u'\xFFFF')) << "decided before it";
    EXPECT_FALSE(Matches(units, units + u"x") || Matches(units, units.SubStr(0, 2999)));
    KZString other = units;
    other.Set(1500, u'x');
    EXPECT_FALSE(Matches(units, other));
    EXPECT_TRUE(Matches(units + u"|" + other, other));
}

TEST(KZNFANodeSet, AgreesWithAPlainSet) {
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        KZNFANodeSet a, b;
        std::set<std::uint32_t> plainA, plainB;
        for (int i = 0; i < 20; ++i) {
            auto const id = static_cast<std::uint32_t>(random() % (round % 2 ? 130 : 400));
            ASSERT_EQ(a.Insert(id), plainA.insert(id).second);
            auto const other = static_cast<std::uint32_t>(random() % 400);
            b.Insert(other);
            plainB.insert(other);
        }
        EXPECT_EQ(std::set<std::uint32_t>(a.begin(), a.end()), plainA);
        EXPECT_EQ(a == b, plainA == plainB);
        EXPECT_NE(a < b, b < a);
        std::set<std::uint32_t> both = plainA;
        both.insert(plainB.begin(), plainB.end());
        EXPECT_EQ(a.Insert(b), both.size() != plainA.size());
        EXPECT_FALSE(a.Insert(b));
        EXPECT_EQ(std::set<std::uint32_t>(a.begin(), a.end()), both);
    }
    EXPECT_EQ(KZNFANodeSet().GetFirstSmallID(), KZNFANodeSet::None);
}

} // namespace
