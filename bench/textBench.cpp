// The string, compared with the standard library's classes for the same work. Figures are to be compared within one
// run only.
#include "ZerlithCore/text/KZString.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

constexpr std::size_t TextSize = 64 * 1024;

/// 64 Ki units of words, the same in every run.
std::u16string Words() {
    std::u16string text;
    unsigned state = 1;
    while (text.size() < TextSize) {
        state = state * 1664525U + 1013904223U;
        text += (state >> 20) % 6 == 0 ? u' ' : static_cast<char16_t>(u'a' + (state >> 24) % 26);
    }
    return text;
}

// --- Sharing

void CopyString(benchmark::State & state) {
    KZString const text(u"a text that is shared");
    for (auto _ : state) {
        KZString copy(text);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyString);

void CopyAtomicIncrement(benchmark::State & state) {
    std::atomic<int> count{1};
    std::atomic<int> * counter = &count;
    for (auto _ : state) {
        benchmark::DoNotOptimize(counter);
        counter->fetch_add(1, std::memory_order_relaxed);
        benchmark::DoNotOptimize(counter);
        counter->fetch_sub(1, std::memory_order_acq_rel);
    }
}
BENCHMARK(CopyAtomicIncrement);

/// Copies alone: the handles are dropped outside the measured loop.
void CopyStringOnly(benchmark::State & state) {
    KZString const text(u"a text that is shared");
    constexpr std::size_t Count = 1024;
    alignas(KZString) static unsigned char room[Count * sizeof(KZString)];
    auto * const strings = reinterpret_cast<KZString *>(room);
    while (state.KeepRunningBatch(Count)) {
        for (std::size_t i = 0; i < Count; ++i) ::new (strings + i) KZString(text);
        benchmark::ClobberMemory();
        state.PauseTiming();
        std::destroy_n(strings, Count);
        state.ResumeTiming();
    }
}
BENCHMARK(CopyStringOnly)->Iterations(1 << 22);

void CopyIncrementOnly(benchmark::State & state) {
    std::atomic<int> count{1};
    std::atomic<int> * counter = &count;
    constexpr std::size_t Count = 1024;
    static void * handles[Count];
    while (state.KeepRunningBatch(Count)) {
        for (std::size_t i = 0; i < Count; ++i) {
            counter->fetch_add(1, std::memory_order_relaxed);
            handles[i] = counter;
        }
        benchmark::DoNotOptimize(handles[0]);
        benchmark::ClobberMemory();
        state.PauseTiming();
        state.ResumeTiming();
    }
}
BENCHMARK(CopyIncrementOnly)->Iterations(1 << 22);

void MakeShortString(benchmark::State & state) {
    for (auto _ : state) {
        KZString text(u"a text of twenty-odd units");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(MakeShortString);

void MakeShortStd(benchmark::State & state) {
    for (auto _ : state) {
        std::u16string text(u"a text of twenty-odd units");
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(MakeShortStd);

// --- Building

template <class String>
void AppendUnit(benchmark::State & state) {
    for (auto _ : state) {
        String text;
        for (int i = 0; i < 10'000; ++i) {
            text.push_back(static_cast<char16_t>(u'a' + i % 16));
            benchmark::ClobberMemory();
        }
        benchmark::DoNotOptimize(text);
    }
    state.SetItemsProcessed(state.iterations() * 10'000);
}
BENCHMARK(AppendUnit<KZString>);
BENCHMARK(AppendUnit<std::u16string>);

template <class String>
void AppendWord(benchmark::State & state) {
    for (auto _ : state) {
        String text;
        for (int i = 0; i < 1'000; ++i) text += u"seven78";
        benchmark::DoNotOptimize(text);
    }
    state.SetItemsProcessed(state.iterations() * 1'000);
}
BENCHMARK(AppendWord<KZString>);
BENCHMARK(AppendWord<std::u16string>);

/// The least that a growing text costs: memory that the C library resizes, and writing each unit.
class BareText {
public:
    BareText() = default;
    BareText(BareText const &) = delete;
    BareText & operator=(BareText const &) = delete;
    ~BareText() { std::free(units_); }
    void push_back(char16_t unit) { *this += {&unit, 1}; }
    void operator+=(std::u16string_view text) {
        if (capacity_ - length_ < text.size()) {
            capacity_ += capacity_ / 2 + text.size();
            units_ = static_cast<char16_t *>(std::realloc(units_, capacity_ * sizeof *units_));
            if (!units_) std::abort();
        }
        std::memcpy(units_ + length_, text.data(), text.size() * sizeof *units_);
        length_ += text.size();
    }

private:
    char16_t * units_ = nullptr;
    std::size_t length_ = 0, capacity_ = 0;
};

/// To 64 MiB, by units or by pieces of 16, so that nearly all memory is fresh from the system.
template <class String>
void AppendCold(benchmark::State & state) {
    std::conditional_t<std::is_same_v<String, KZString>, KZString, std::u16string> const piece(
        u"0123456789abcdef");
    std::int64_t const pieces = (std::int64_t{32} << 20) / state.range(0);
    for (auto _ : state) {
        String text;
        for (std::int64_t i = 0; i < pieces; ++i) {
            if (state.range(0) == 1)
                text.push_back(static_cast<char16_t>(u'a' + i % 16));
            else
                text += piece;
            benchmark::ClobberMemory();
        }
        benchmark::DoNotOptimize(text);
    }
    state.SetItemsProcessed(state.iterations() * pieces);
}
BENCHMARK(AppendCold<KZString>)->Arg(1)->Arg(16)->Unit(benchmark::kMillisecond);
BENCHMARK(AppendCold<std::u16string>)->Arg(1)->Arg(16)->Unit(benchmark::kMillisecond);
BENCHMARK(AppendCold<BareText>)->Arg(1)->Arg(16)->Unit(benchmark::kMillisecond);

template <class String>
void CopyLarge(benchmark::State & state) {
    std::u16string const source(static_cast<std::size_t>(state.range(0)), u'x');
    for (auto _ : state) {
        String text(source);
        benchmark::DoNotOptimize(text);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(CopyLarge<KZString>)->Arg(4'096)->Arg(65'536)->Arg(1'000'000);
BENCHMARK(CopyLarge<std::u16string>)->Arg(4'096)->Arg(65'536)->Arg(1'000'000);

void UnshareLarge(benchmark::State & state) {
    KZString const source(u'x', static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        KZString copy(source);
        copy.Set(0, u'y');
        benchmark::DoNotOptimize(copy);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(UnshareLarge)->Arg(4'096)->Arg(65'536)->Arg(1'000'000);

void UnshareLargeStd(benchmark::State & state) {
    std::u16string const source(static_cast<std::size_t>(state.range(0)), u'x');
    for (auto _ : state) {
        std::u16string copy(source);
        copy[0] = u'y';
        benchmark::DoNotOptimize(copy);
    }
    state.SetBytesProcessed(state.iterations() * state.range(0) * 2);
}
BENCHMARK(UnshareLargeStd)->Arg(4'096)->Arg(65'536)->Arg(1'000'000);

/// 64 Ki units with 1,024 hits of "marker".
void ReplaceString(benchmark::State & state) {
    std::u16string text = Words().substr(0, TextSize);
    for (std::size_t i = 0; i < 1024; ++i) text.replace(i * 64, 6, u"MARKER");
    KZString const source(text);
    for (auto _ : state) {
        KZString copy(source);
        copy.Replace(u"MARKER", u"replaced");
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(ReplaceString)->Unit(benchmark::kMicrosecond);

// --- Searching

void LengthOf(benchmark::State & state) {
    std::u16string const text(static_cast<std::size_t>(state.range(0)), u'x');
    char16_t const * units = text.c_str();
    KZString target;
    target.Reserve(static_cast<unsigned>(text.size()) + 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(units);
        target = units;
    }
}
BENCHMARK(LengthOf)->Arg(8)->Arg(64)->Arg(4096);

void LengthOfStd(benchmark::State & state) {
    std::u16string const text(static_cast<std::size_t>(state.range(0)), u'x');
    char16_t const * units = text.c_str();
    std::u16string target;
    target.reserve(text.size() + 1);
    for (auto _ : state) {
        benchmark::DoNotOptimize(units);
        target = units;
    }
}
BENCHMARK(LengthOfStd)->Arg(8)->Arg(64)->Arg(4096);

void FindString(benchmark::State & state) {
    KZString text(Words());
    text += u"needle78";
    for (auto _ : state) benchmark::DoNotOptimize(text.Find(u"needle78"));
}
BENCHMARK(FindString)->Unit(benchmark::kMicrosecond);

void FindStd(benchmark::State & state) {
    std::u16string const text = Words() + u"needle78";
    for (auto _ : state) benchmark::DoNotOptimize(text.find(u"needle78"));
}
BENCHMARK(FindStd)->Unit(benchmark::kMicrosecond);

/// A needle of small letters only, which in ordinary text passes the filter most often.
void FindCommonString(benchmark::State & state) {
    KZString text(Words());
    text += u"aeaeaeae";
    for (auto _ : state) benchmark::DoNotOptimize(text.Find(u"aeaeaeae"));
}
BENCHMARK(FindCommonString)->Unit(benchmark::kMicrosecond);

void FindCommonStd(benchmark::State & state) {
    std::u16string const text = Words() + u"aeaeaeae";
    for (auto _ : state) benchmark::DoNotOptimize(text.find(u"aeaeaeae"));
}
BENCHMARK(FindCommonStd)->Unit(benchmark::kMicrosecond);

/// The filter passes at every position, and every comparison only fails in the middle of the needle.
void FindHostileString(benchmark::State & state) {
    KZString const text(u'a', TextSize);
    KZString const needle(std::u16string(64, u'a') + u'b' + std::u16string(64, u'a'));
    for (auto _ : state) benchmark::DoNotOptimize(text.Find(needle));
}
BENCHMARK(FindHostileString)->Unit(benchmark::kMicrosecond);

void FindHostileStd(benchmark::State & state) {
    std::u16string const text(TextSize, u'a');
    std::u16string const needle = std::u16string(64, u'a') + u'b' + std::u16string(64, u'a');
    for (auto _ : state) benchmark::DoNotOptimize(text.find(needle));
}
BENCHMARK(FindHostileStd)->Unit(benchmark::kMicrosecond);

void FindUnitString(benchmark::State & state) {
    KZString text(Words());
    text += u'#';
    for (auto _ : state) benchmark::DoNotOptimize(text.Find(u'#'));
}
BENCHMARK(FindUnitString)->Unit(benchmark::kMicrosecond);

void FindUnitStd(benchmark::State & state) {
    std::u16string const text = Words() + u'#';
    for (auto _ : state) benchmark::DoNotOptimize(text.find(u'#'));
}
BENCHMARK(FindUnitStd)->Unit(benchmark::kMicrosecond);

void FindFirstOfString(benchmark::State & state) {
    KZString text(Words());
    text += u'#';
    for (auto _ : state) benchmark::DoNotOptimize(text.FindFirstOf(u"#;,:"));
}
BENCHMARK(FindFirstOfString)->Unit(benchmark::kMicrosecond);

void FindFirstOfStd(benchmark::State & state) {
    std::u16string const text = Words() + u'#';
    for (auto _ : state) benchmark::DoNotOptimize(text.find_first_of(u"#;,:"));
}
BENCHMARK(FindFirstOfStd)->Unit(benchmark::kMicrosecond);

void Hash32Units(benchmark::State & state) {
    KZString const text(u"thirty-two units of a file name.");
    for (auto _ : state) benchmark::DoNotOptimize(KZStringHash()(text));
}
BENCHMARK(Hash32Units);

void StdHash32Units(benchmark::State & state) {
    KZString const text(u"thirty-two units of a file name.");
    for (auto _ : state) benchmark::DoNotOptimize(std::hash<KZString>()(text));
}
BENCHMARK(StdHash32Units);

// --- Formats and numbers

void FormatString(benchmark::State & state) {
    KZString text;
    for (auto _ : state) {
        text.Format(u"%s %d %08.3f", u"pressure", 4711, 3.14159);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatString);

void FormatSnprintf(benchmark::State & state) {
    char text[128];
    for (auto _ : state) {
        std::snprintf(text, sizeof text, "%s %d %08.3f", "pressure", 4711, 3.14159);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(FormatSnprintf);

void ParseInt(benchmark::State & state) {
    KZString const text(u"1234567");
    bool good = false;
    for (auto _ : state) benchmark::DoNotOptimize(text.AsInt(&good));
}
BENCHMARK(ParseInt);

void ParseStrtol(benchmark::State & state) {
    char const * text = "1234567";
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(std::strtol(text, nullptr, 10));
    }
}
BENCHMARK(ParseStrtol);

void ParseDouble(benchmark::State & state) {
    KZString const text(u"12345.678");
    for (auto _ : state) benchmark::DoNotOptimize(text.AsDouble());
}
BENCHMARK(ParseDouble);

void ParseStrtod(benchmark::State & state) {
    char const * text = "12345.678";
    for (auto _ : state) {
        benchmark::DoNotOptimize(text);
        benchmark::DoNotOptimize(std::strtod(text, nullptr));
    }
}
BENCHMARK(ParseStrtod);

} // namespace
