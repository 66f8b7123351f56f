// Patterns and conditions.
#include "faults/Work.h"

namespace {

class Patterns : public Work {
    bool Act() override {
        KZRegEx const pattern(KZStringRegExParser(u"[a-c]+(x|y|zz){1,3}.*").Parse());
        matches_ = pattern.Match(u"abcxzz and more") ? 1 : 0;
        matches_ += pattern.Match(u"abc") ? 10 : 0;
        start_ = pattern.GetConstantStart();
        return true;
    }
    void Check(bool isWhole) override { Expect(!isWhole || matches_ == 1, "another match"); }
    int matches_ = 0;
    KZString start_;
};

class Conditions : public Work {
    bool Act() override {
        KZCondition condition;
        if (!condition.FromString(
                u"(level >= 4 AND (name = \"Zo\u00EB\" OR message % .*timeout.*)) OR x < 3"))
            return false;
        KZCondition const copy(condition);
        text_ = copy.ToString(true);
        KZCondition again;
        if (!again.FromString(text_)) return false;
        back_ = again.ToString(true);
        return true;
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || (text_ == back_ && !text_.IsNull()), "another condition");
    }
    KZString text_, back_;
};

WorkEntry const patterns("patterns", [] { return std::unique_ptr<Work>(new Patterns); });
WorkEntry const conditions("conditions", [] { return std::unique_ptr<Work>(new Conditions); });

} // namespace
