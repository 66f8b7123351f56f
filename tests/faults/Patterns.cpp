// Patterns and conditions.
#include "faults/Work.h"

namespace {

class Patterns : public Work {
    bool Act() override {
        KZRegEx const pattern(parser_.Parse());
        matches_ = pattern.Match(u"abcxzz and more") ? 1 : 0;
        matches_ += pattern.Match(u"abc") ? 10 : 0;
        start_ = pattern.GetConstantStart();
        return true;
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || matches_ == 1, "another match");
        try {
            Expect(!parser_.Parse().root.IsNull(), "no memory passes for an error in the pattern");
        } catch (std::bad_alloc const &) {}
    }
    KZStringRegExParser parser_{u"[a-c]+(x|y|zz){1,3}.*"};
    int matches_ = 0;
    KZString start_;
};

class Conditions : public Work {
    void Prepare() override { kept_.FromString(u"kept = 1 AND too = 2"); }
    bool Act() override {
        KZCondition condition(kept_);
        if (!condition.FromString(
                u"(level >= 4 AND (name = \"Zo\u00EB\" OR message % .*timeout.*)) OR x < 3"))
            return false;
        KZCondition again;
        if (!again.FromString(condition.ToString(true))) return false;
        again % u"[a-c]+";
        text_ = again.ToString(true);
        if (!kept_.FromString(u"(a % x+ OR b = 2) AND @@1@c@3@2@1@0@")) return false;
        isNew_ = true;
        again = kept_;
        return true;
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || (isNew_ && text_.Find(u"@[a-c]+@") != KZString::npos), "another condition");
        Expect(kept_.ToString(false) ==
                   (isNew_ ? u"((a % \"x+\" OR b = 2) AND c = 1)" : u"kept = 1 AND too = 2"),
               "half a condition: " + kept_.ToString(false).AsUTF8());
    }
    KZCondition kept_;
    KZString text_;
    bool isNew_ = false;
};

WorkEntry const patterns("patterns", [] { return std::unique_ptr<Work>(new Patterns); });
WorkEntry const conditions("conditions", [] { return std::unique_ptr<Work>(new Conditions); });

} // namespace
