#include "ZerlithCore/text/KZCollator.h"

#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZUnicode.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

int SignOf(int value) { return (value > 0) - (value < 0); }

// A derived table that gives the hyphen no weight.
class NoHyphens : public KZTableCollator {
public:
    NoHyphens() { weights_[u'-'] = 0; }
};

class NoSmallHyphens : public KZSmallTableCollator {
public:
    NoSmallHyphens() { weights_[u'-'] = 0; }
};

} // namespace

TEST(KZCollator, ComparesByWeights) {
    KZBinaryCollator const binary;
    KZBinaryIgnoreCaseCollator const binaryCase;
    KZTableCollator const table;
    KZTableIgnoreCaseCollator const ignoreCase;
    KZTableIgnoreAccentCollator const ignoreAccent;
    KZTableIgnoreCaseAndAccentCollator const ignoreBoth;
    KZTableSortCaseAndAccentCollator const sort;
    NoHyphens const noHyphens;
    struct Case {
        KZCollator const & collator;
        char16_t const *a, *b;
        int result;
    };
    Case const cases[] = {
        {binary, u"abc", u"abd", -1},
        {binary, u"ab", u"a", 1},
        {binary, u"", u"", 0},
        {binary, u"a\uFFFFx", u"a\u0001y", 1},
        {binary, nullptr, u"a", -1},
        {binaryCase, u"ab\u00E9C", u"AB\u00C9c", 0},
        {binaryCase, u"a_", u"ab", 1},
        {table, u"abc", u"abc", 0},
        {table, u"abc", u"", 'a'},
        {table, u"", u"\uFFFF", -0xFFFF},
        {table, u"A", u"a", -32},
        {ignoreCase, u"abc", u"ABC", 0},
        {ignoreCase, u"abc\u00E9", u"ABC\u00C8", 1},
        {ignoreCase, u"e", u"\u00E9", u'E' - u'É'},
        {ignoreAccent, u"e\u00E9\u1EC5", u"\u00E9ee", 0},
        {ignoreAccent, u"\u00E9", u"E", 32},
        {ignoreBoth, u"\u00E9\u00FF", u"Ey", 0},
        {ignoreBoth, u"\u00E6", u"ae", u'Æ' - u'A'},
        {sort, u"a", u"A", 32},
        {noHyphens, u"a-", u"a", 0},
        {noHyphens, u"a-b", u"a-c", -1},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(testing::Message() << KZString(c.a).AsUTF8() << " and " << KZString(c.b).AsUTF8());
        EXPECT_EQ(c.collator.Compare(c.a, c.b), c.result);
        EXPECT_EQ(SignOf(c.collator.Compare(c.b, c.a)), -SignOf(c.result));
    }
}

TEST(KZCollator, TakesBytesAsUnitsOfTheSameValues) {
    std::unique_ptr<KZCollator> const collators[] = {
        std::make_unique<KZBinaryCollator>(), std::make_unique<KZBinaryIgnoreCaseCollator>(),
        std::make_unique<KZTableIgnoreCaseCollator>(), std::make_unique<KZSmallTableIgnoreCaseCollator>(),
        std::make_unique<KZSmallTableIgnoreCaseAndAccentCollator>()};
    struct Text {
        char16_t const * units;
        char const * bytes;
    };
    static constexpr Text texts[] = {
        {u"", ""},          {u"a", "a"}, {u"Ab", "Ab"}, {u"a\u00E9", "a\xE9"}, {u"A\u00C9", "A\xC9"},
        {u"\u00FF", "\xFF"}};
    for (auto const & collator : collators)
        for (Text const & a : texts)
            for (Text const & b : texts) {
                int const expected = collator->Compare(a.units, b.units);
                EXPECT_EQ(collator->Compare(a.units, b.bytes), expected) << a.bytes << " " << b.bytes;
                EXPECT_EQ(collator->Compare(a.bytes, b.bytes), expected) << a.bytes << " " << b.bytes;
            }
}

TEST(KZCollator, SmallTablesEndWithTheShorterText) {
    KZSmallTableCollator const small;
    KZSmallTableIgnoreAccentCollator const ignoreAccent;
    EXPECT_EQ(small.Compare("ab", "abc"), 0);
    EXPECT_EQ(small.Compare("", "x"), 0);
    EXPECT_EQ(small.Compare("abd", "abcz"), 1);
    EXPECT_EQ(small.Compare("\xFF", "a"), 0xFF - 'a');
    EXPECT_EQ(small.Compare(u"a\u3042", u"a\u3044"), -2);
    EXPECT_EQ(ignoreAccent.Compare("\xC9t\xE9", "Ete"), 0);
    EXPECT_EQ(NoSmallHyphens().Compare("a-b", "a-c"), 0) << "an equal weight 0 ends the comparison";
}

TEST(KZCollator, LivesAsLongAsItsHandles) {
    KZSmartPtrToConst<KZCollator> const one(new KZTableCollator), other = one;
    EXPECT_EQ(one->NbRef(), 2U);
    EXPECT_EQ(KZString(u"a").Compare(u"b", one), -1);
}

TEST(KZUnicode, KnowsBaseLetters) {
    static constexpr char16_t const * pairs[] = {u"ÀA", u"åa", u"çc", u"ÑN",   u"ÿy",   u"ǖu",          u"ệe",
                                                 u"ỒO", u"ΐι", u"йи", u"ｶｶ",   u"がか", u"Å\u0041",     u"ÆÆ",
                                                 u"øø", u"ßß", u"łł", u"각각", u"≠≠",   u"\u0301\u0301"};
    for (char16_t const * pair : pairs)
        EXPECT_EQ(KZUnicode::GetEquivalentChar(pair[0]), pair[1]) << KZString(pair).AsUTF8();
    // The base letter of a base letter is that letter itself.
    for (char16_t const base : KZUnicode::glbEquivalentChar)
        ASSERT_EQ(KZUnicode::GetEquivalentChar(base), base);
}
