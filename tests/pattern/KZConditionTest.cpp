#include "ZerlithCore/pattern/KZCondition.h"

#include "ZerlithCore/foundation/KZMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>

namespace {

// A record of texts and numbers.
class Fields : public KZConditionParams {
public:
    std::map<std::u16string, KZString> values;
};

class FieldCondition : public KZCondition {
public:
    FieldCondition() = default;
    explicit FieldCondition(KZString const & text) { isGood = FromString(text); }
    KZSmartPtr<KZCondition> NewChild() override { return KZSmartPtr<KZCondition>(new FieldCondition); }
    bool AssignFieldName(KZString const & name) override {
        return name != u"forbidden" && KZCondition::AssignFieldName(name);
    }
    bool OnEvaluate(KZConditionParams const & params) const override {
        ++evaluations;
        auto const & values = static_cast<Fields const &>(params).values;
        auto const found = values.find(GetName());
        if (found == values.end()) return false;
        if (IsRegularExpression()) return MatchRexExp(found->second);
        double const field = found->second.AsDouble();
        switch (GetOperatorValue()) {
        case Less: return field < GetNumberValue();
        case Greater: return field > GetNumberValue();
        case Equal:
            return GetValueType() == Number ? field == GetNumberValue() : found->second == GetStringValue();
        default: return false;
        }
    }

    bool isGood = true;
    static int evaluations;
};

int FieldCondition::evaluations = 0;

TEST(KZCondition, ReadsAndPrintsWhatIsTyped) {
    struct Case {
        char16_t const *text, *printed, *native;
    };
    constexpr Case cases[] = {
        {u"a = 1", u"a = 1", u"@@1@a@3@2@1@0@"},
        {u"  a\t<=  1.50 ", u"a <= 1.5", u"@@1@a@2@2@1.5@0@"},
        {u"a = -1", u"a = -1", u"@@1@a@3@5@2@-1@0@"},
        {u"a != \"x y\"", u"a != \"x y\"", u"@@1@a@4@1@3@x y@0@"},
        {u"a = \"say \"\"x\"\"\"", u"a = \"say \"\"x\"\"\"", u"@@1@a@3@1@7@say \"x\"@0@"},
        {u"a % b.*", u"a % \"b.*\"", u"@@1@a@3@4@3@b.*@0@"},
        {u"a /= b", u"a /= \"b\"", u"@@1@a@4@4@1@b@0@"},
        {u"(a = 1)", u"a = 1", u"@@1@a@3@2@1@0@"},
        {u"a = 1 AND b > 2 and c < 3", u"a = 1 AND b > 2 AND c < 3", nullptr},
        {u"(a = \"(\" AND b = 2) AND c = 3", u"a = \"(\" AND b = 2 AND c = 3", nullptr},
        // Blanks around a date go.
        {u"t > TO_DATE(1970/01/02 00:00:00)", u"t > 1970/01/02 00:00:00", nullptr},
        {u"(t > TO_DATE(\" \t02.01.1970 \" , %d.%m.%Y ) AND t < TO_DATE( 1970/01/02 00:00:07 ))",
         u"t > 1970/01/02 00:00:00 AND t < 1970/01/02 00:00:07", nullptr},
        // A quote counts only before a value; parentheses count everywhere but in quotes.
        {u"(a = 5\")", u"a = 5\"", u"@@1@a@3@5@2@5\"@0@"},
        {u"(name = O\"Brien) AND (\"x = 1)", u"name = O\"Brien AND \"x = 1", nullptr},
        {u"((a = \"x)\"\"(\")AND b % (c|d)*\") and (e = f(\") )",
         u"a = \"x)\"\"(\" AND b % \"(c|d)*\"\"\" AND e = f(\")", nullptr},
        {u"(a = (x AND b = 1) AND c = (y)z)", u"a = (x AND b = 1) AND c = (y)z", nullptr},
        {u"(a = xTO_DATE 1) AND b = 2)", u"a = xTO_DATE 1 AND b = 2)", nullptr},
        // Each part may be native.
        {u"a = 1 AND @@1@b@3@2@1@0@", u"a = 1 AND b = 1", nullptr},
        {u"(@@3@a)(@3@2@1@1@1@@@1@b@3@2@1@0@) and (c = 1)", u"a)( = 1 AND b = 1 AND c = 1", nullptr},
        {u"", u"", u""},
        {u"lonely", u"", u""},
        {u"AND a = 1", u"a = 1", u"@@0@@0@0@@1@1@@@1@a@3@2@1@0@"},
    };
    for (Case const & c : cases) {
        FieldCondition const condition{KZString(c.text)};
        SCOPED_TRACE(KZString(c.text).AsUTF8());
        EXPECT_TRUE(condition.isGood);
        EXPECT_EQ(condition.ToString(false), c.printed ? c.printed : condition.ToString(false));
        EXPECT_EQ(condition.ToString(true), c.native ? c.native : condition.ToString(true));
    }
    for (char16_t const * bad :
         {u"a =", u"a = 1 AND b <", u"(a = 1", u"a == 1", u"a = \"x", u"a = TO_DATE(today)",
          u"a = TO_DATE(1970", u"forbidden = 1", u"a = 1 AND forbidden = 1", u"a ~ b", u"(a = \"1)",
          u"(a = 1 AND (b = 2)", u"(a = (b)", u"(@@1@a@3@2@1@0@x)", u"(@@1@a@3@2@1@0@",
          u"a = 1 AND @@1@b@3@2@"})
        EXPECT_FALSE(FieldCondition(KZString(bad)).isGood) << KZString(bad).AsUTF8();
}

TEST(KZCondition, KeepsBothSidesOfAnOr) {
    testing::internal::CaptureStdout();
    FieldCondition const condition(u"a = 1 OR b = 2");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "OR Parsing not implemented!\n");
    EXPECT_TRUE(condition.isGood && condition.HasOr() && !condition.HasAnd());
    EXPECT_EQ(condition.ToString(false), u"(a = 1 OR b = 2)");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(FieldCondition(u"t = TO_DATE(soon, %Y)").isGood);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ERROR: KZCondition fails in KZDateTime::FromString()\n");
}

FieldCondition Term(char16_t const * name, int value) {
    FieldCondition term;
    static_cast<void>(term.AssignFieldName(name));
    term == value;
    return term;
}

TEST(KZCondition, EvaluatesFromLeftToRight) {
    Fields fields;
    fields.values = {{u"a", u"1"}, {u"b", u"2"}, {u"text", u"a timeout occurred"}};
    FieldCondition condition = Term(u"a", 1);
    condition & Term(u"b", 3) || Term(u"b", 2);
    EXPECT_EQ(condition.ToString(false), u"((a = 1 AND b = 3) OR b = 2)");
    EXPECT_TRUE(condition.Evaluate(fields));
    condition & Term(u"a", 2);
    EXPECT_FALSE(condition.Evaluate(fields));

    // Each joined condition is asked only while it can change the result.
    FieldCondition lazy = Term(u"a", 2);
    lazy & Term(u"a", 1) & Term(u"a", 1);
    FieldCondition::evaluations = 0;
    EXPECT_FALSE(lazy.Evaluate(fields));
    EXPECT_EQ(FieldCondition::evaluations, 1);

    EXPECT_TRUE(FieldCondition(u"text % .*timeout.* AND a < 2").Evaluate(fields));
    EXPECT_FALSE(FieldCondition(u"text /= .*timeout.*").Evaluate(fields));
    EXPECT_TRUE(FieldCondition().Evaluate(fields));
    FieldCondition either;
    either || Term(u"a", 7);
    EXPECT_FALSE(either.Evaluate(fields));
    either || Term(u"a", 1);
    EXPECT_TRUE(either.Evaluate(fields));
    EXPECT_FALSE(KZCondition(KZString(u"a = 1")).Evaluate(fields)); // nobody knows the field
    FieldCondition plain = Term(u"text", 0);
    plain % u"b";
    plain == KZString(u"a timeout occurred");
    EXPECT_TRUE(plain.Evaluate(fields) && !plain.IsRegularExpression());
    EXPECT_TRUE(FieldCondition().IsNull() && !plain.IsNull());
    EXPECT_EQ((plain == 'x').ToString(false), u"text = \"x\"");
    EXPECT_EQ((plain == u'y').ToString(false), u"text = \"y\"");
    plain == KZString(u"a timeout occurred");
    KZString const large(u"((((((((a{9}){9}){9}){9}){9}){9}){9}){9}){9}");
    EXPECT_THROW(plain % large, std::bad_alloc);
    EXPECT_TRUE(plain.Evaluate(fields) && !plain.IsRegularExpression()) << "unchanged";
    EXPECT_FALSE(plain.FromString(KZString(u"text % ") + large));
}

TEST(KZCondition, ReadsBackItsNativeForm) {
    std::mt19937 random(29);
    std::function<void(KZCondition &, int)> const fill = [&](KZCondition & condition, int depth) {
        auto const pick = [&random](unsigned int count) { return static_cast<int>(random() % count); };
        KZString text;
        for (int i = pick(5); i > 0; --i) text += u"@x\"1 \u4E2D"[pick(6)];
        EXPECT_TRUE(condition.AssignFieldName(text));
        int const op = 1 + pick(6);
        switch (pick(6)) {
        case 0: condition.AssignDouble(op, (pick(2000001) - 1000000) / 64.0); break;
        case 1: condition.AssignKZString(op, text); break;
        case 2: condition.AssignKZDateTime(op, KZDateTime(static_cast<std::uint32_t>(random()))); break;
        case 3: condition % text; break;
        case 4: condition /= text; break;
        default: break; // no operator
        }
        for (int i = depth > 0 ? pick(4) : 0; i > 0; --i) {
            FieldCondition child;
            fill(child, depth - 1);
            pick(2) ? condition & child : condition || child;
        }
    };
    for (int i = 0; i < 300; ++i) {
        bool const isSmall = i % 10 == 0;
        FieldCondition condition;
        fill(condition, isSmall ? 2 : 4);
        KZString const native = condition.ToString(true);
        FieldCondition const back(native);
        ASSERT_TRUE(back.isGood) << native.AsUTF8() << " seed 29, " << i;
        ASSERT_EQ(back.ToString(true), native);
        // Cut anywhere, it is refused and changes nothing; unless what goes is a null condition, which has no text.
        for (std::uint32_t length = 2; isSmall && length < native.Length(); ++length) {
            FieldCondition cut = Term(u"kept", 1);
            KZString const part = native.SubStr(0, length);
            KZString const expected = cut.FromString(part) ? part : KZString(u"@@4@kept@3@2@1@0@");
            ASSERT_EQ(cut.ToString(true), expected) << length << " of " << native.AsUTF8();
        }
    }
    for (char16_t const * bad :
         {u"@@", u"@@4294967295@a@3@2@1@0@", u"@@1@a@7@2@1@0@", u"@@1@a@3@6@1@0@", u"@@1@a@3@1@9@x@0@",
          u"@@1@a@3@2@1@4294967295@1@@@1@b@3@2@1@0@", u"@@1@a@3@2@1@0@x", u"@@1@a@3@2@1x@0@",
          u"@@1@a@3@3@4294967296@0@", u"@@1@a@3@2@1@1@2@@@0@@0@0@@0@", u"@@99999999999999999999@"})
        EXPECT_FALSE(FieldCondition(KZString(bad)).isGood) << KZString(bad).AsUTF8();
}

TEST(KZCondition, HasNoLimitsButOneOfParentheses) {
    Fields fields;
    fields.values = {{u"a", u"1"}, {u"b", u"2"}};
    KZString chain(u"a = 1");
    for (int i = 0; i < 5000; ++i) chain += u" AND a = 1";
    FieldCondition const flat(chain);
    EXPECT_EQ(flat.ToString(false), chain);
    EXPECT_TRUE(flat.Evaluate(fields));
    EXPECT_FALSE(FieldCondition(chain + u" AND b = 1").Evaluate(fields));
    FieldCondition const back(flat.ToString(true));
    EXPECT_TRUE(back.isGood && back.ToString(true) == flat.ToString(true));
    auto const nested = [](unsigned int depth) {
        return KZString(u'(', depth) + u"a = 1" + KZString(u')', depth);
    };
    EXPECT_TRUE(FieldCondition(nested(1000)).isGood && !FieldCondition(nested(1001)).isGood);

    // What a program builds: each condition has the last one joined to it, and something after it.
    KZSmartPtr<KZCondition> deep(new FieldCondition);
    for (int i = 0; i < 20000; ++i) {
        KZSmartPtr<KZCondition> outer(new FieldCondition);
        *outer &* deep & Term(u"b", i == 10000 ? 1 : 2);
        deep = outer;
    }
    EXPECT_FALSE(deep->Evaluate(fields));
    EXPECT_EQ(deep->ToString(false).Length(), 200000U);
    EXPECT_TRUE(FieldCondition(deep->ToString(true)).isGood);
}

// Sees how much memory there is in use while a text is read.
class WatchedCondition : public KZCondition {
public:
    KZSmartPtr<KZCondition> NewChild() override { return KZSmartPtr<KZCondition>(new WatchedCondition); }
    bool PostAssignSuppliedValue() override {
        most = std::max(most, KMMemoryPool::GetUsedMemory());
        return true;
    }
    static inline std::size_t most = 0;
};

TEST(KZCondition, TakesMemoryForWhatItKeepsOnly) {
    KZString text, closing;
    for (int i = 0; i < 300; ++i) {
        text += i % 2 == 0 ? u"a = 1 AND (" : u"a = b OR ";
        if (i % 2 == 0) closing += u')';
    }
    text += u"c = \"" + KZString(u'x', 200'000) + u"\"" + closing;
    testing::internal::CaptureStdout();
    std::size_t const before = KMMemoryPool::GetUsedMemory();
    WatchedCondition condition;
    EXPECT_TRUE(condition.FromString(text));
    testing::internal::GetCapturedStdout();
    EXPECT_LT(WatchedCondition::most - before, 2'000'000U);
}

} // namespace
