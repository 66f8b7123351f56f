// Calendar values, compared with the C library's calendar.
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/KZDateTimeEx.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <ctime>

namespace {

KZDateTimeEx const sample(KZDateEx(2024, 5, 6), KZTimeEx(7, 8, 9, 10));
KZTimeZone const & UTC = KZTimeZone::GetUTCTimeZone();
constexpr std::time_t sampleSeconds = 1714979289;

KZTimeZone NewYork() {
    KZTimeZone zone;
    if (!zone.FromWindowsTimeZoneName(u"Eastern Standard Time")) std::abort();
    return zone;
}

void PrintInZone(benchmark::State & state, KZTimeZone const & zone) {
    KZString out;
    KZString const & format = sample.GetDefaultFormat(true, true);
    for (auto _ : state) {
        sample.AsString(out, format, zone);
        benchmark::DoNotOptimize(out.c_str());
    }
}
void Print(benchmark::State & state) { PrintInZone(state, UTC); }
void PrintInNewYork(benchmark::State & state) { PrintInZone(state, NewYork()); }
BENCHMARK(Print);
BENCHMARK(PrintInNewYork);

void PrintByStrftime(benchmark::State & state) {
    char out[64];
    for (auto _ : state) {
        std::tm fields{};
        gmtime_r(&sampleSeconds, &fields);
        benchmark::DoNotOptimize(std::strftime(out, sizeof out, "%Y/%m/%d %H:%M:%S", &fields));
    }
}
BENCHMARK(PrintByStrftime);

void Parse(benchmark::State & state) {
    KZString const text = u"2024/05/06 07:08:09.010";
    KZString const & format = sample.GetDefaultFormat(true, true);
    KZDateTimeEx value;
    for (auto _ : state) benchmark::DoNotOptimize(value.FromString(text, format, UTC).Good());
}
BENCHMARK(Parse);

void ParseByStrptime(benchmark::State & state) {
    std::tm fields{};
    for (auto _ : state)
        benchmark::DoNotOptimize(strptime("2024/05/06 07:08:09", "%Y/%m/%d %H:%M:%S", &fields));
}
BENCHMARK(ParseByStrptime);

void AddAMonth(benchmark::State & state) {
    KZDateTimeEx value(KZDateEx(2024, 1, 31), KZTimeEx(7, 8, 9));
    KZDurationEx const month(1, KZDurationEx::month);
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(value + month);
    }
}
BENCHMARK(AddAMonth);

void AddAMonthByTimegm(benchmark::State & state) {
    for (auto _ : state) {
        std::tm fields{};
        gmtime_r(&sampleSeconds, &fields);
        ++fields.tm_mon;
        benchmark::DoNotOptimize(timegm(&fields));
    }
}
BENCHMARK(AddAMonthByTimegm);

void AddAThousandDays(benchmark::State & state) {
    KZDateTimeEx value = sample;
    KZDurationEx const days(1000, KZDurationEx::day);
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(value + days);
    }
}
BENCHMARK(AddAThousandDays);

void WeekDay(benchmark::State & state) {
    KZDateTimeEx value = sample;
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(value.GetWeekDay(UTC));
    }
}
BENCHMARK(WeekDay);

void UTCToNewYork(benchmark::State & state) {
    KZTimeZone const zone = NewYork();
    for (auto _ : state) {
        KZDateTimeEx value = sample;
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(value.ConvertFromUTCTo(zone));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(UTCToNewYork);

void NewYorkToUTC(benchmark::State & state) {
    KZTimeZone const zone = NewYork();
    for (auto _ : state) {
        KZDateTimeEx value = sample;
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(value.ConvertToUTC(zone));
        benchmark::DoNotOptimize(value);
    }
}
BENCHMARK(NewYorkToUTC);

void UTCToNewYorkByLocaltime(benchmark::State & state) {
    setenv("TZ", "America/New_York", 1);
    tzset();
    for (auto _ : state) {
        std::tm fields{};
        benchmark::DoNotOptimize(localtime_r(&sampleSeconds, &fields));
    }
}
BENCHMARK(UTCToNewYorkByLocaltime);

void NewYorkToUTCByMktime(benchmark::State & state) {
    setenv("TZ", "America/New_York", 1);
    tzset();
    std::tm fields{};
    localtime_r(&sampleSeconds, &fields);
    for (auto _ : state) {
        std::tm copy = fields;
        benchmark::DoNotOptimize(std::mktime(&copy));
    }
}
BENCHMARK(NewYorkToUTCByMktime);

} // namespace
