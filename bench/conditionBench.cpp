// A condition of three terms, one a pattern, over a million records.
#include "ZerlithCore/pattern/KZCondition.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

namespace {

struct Record {
    double level;
    double size;
    KZString message;
};

class RecordParams : public KZConditionParams {
public:
    Record const * record = nullptr;
};

class RecordCondition : public KZCondition {
public:
    KZSmartPtr<KZCondition> NewChild() override { return KZSmartPtr<KZCondition>(new RecordCondition); }
    bool AssignFieldName(KZString const & name) override {
        isLevel_ = name == u"level";
        return KZCondition::AssignFieldName(name);
    }
    void LocalCopy(KZCondition const & other) override {
        KZCondition::LocalCopy(other);
        isLevel_ = static_cast<RecordCondition const &>(other).isLevel_;
    }
    bool OnEvaluate(KZConditionParams const & params) const override {
        Record const & record = *static_cast<RecordParams const &>(params).record;
        if (IsRegularExpression()) return MatchRexExp(record.message);
        double const value = isLevel_ ? record.level : record.size;
        return GetOperatorValue() == Less ? value < GetNumberValue() : value >= GetNumberValue();
    }

private:
    bool isLevel_ = false;
};

void AMillionRecords(benchmark::State & state) {
    std::vector<Record> records;
    for (int i = 0; i < 1000000; ++i)
        records.push_back({static_cast<double>(i % 7), static_cast<double>(i % 1000),
                           i % 3 ? u"connection from 10.0.0.7 accepted" : u"connection timeout after 30 s"});
    RecordCondition condition;
    if (!condition.FromString(u"level >= 3 AND size < 900 AND message % .*timeout.*")) std::abort();
    RecordParams params;
    for (auto _ : state) {
        long passed = 0;
        for (Record const & record : records) {
            params.record = &record;
            passed += condition.Evaluate(params) ? 1 : 0;
        }
        benchmark::DoNotOptimize(passed);
    }
}
BENCHMARK(AMillionRecords)->Unit(benchmark::kMillisecond);

} // namespace
