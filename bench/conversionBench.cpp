// Conversions and comparisons, compared with the functions of the C and C++ libraries for the same work.
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/KZCollator.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZStringConverter.h"

#include <benchmark/benchmark.h>

#include <clocale>
#include <codecvt>
#include <cstdlib>
#include <cwchar>
#include <cwctype>
#include <iconv.h>
#include <locale>
#include <string>
#include <vector>

namespace {

constexpr std::size_t TextSize = 1 << 20;

struct Script {
    char const * name;
    std::vector<char16_t const *> words;
};

Script const & ScriptOf(benchmark::State const & state) {
    static Script const scripts[] = {
        {"ASCII", {u"the ", u"quick ", u"brown ", u"fox jumps ", u"over "}},
        {"LatinGreek", {u"été ", u"λόγος ", u"naïve ", u"over ", u"ἀρχή ", u"Größe "}},
        {"CJK", {u"日本語", u"漢字", u"文章。", u"東京"}},
        {"Japanese", {u"日本語の", u"テキスト", u"です。", u"ASCII ", u"ｶﾅ"}},
    };
    return scripts[state.range(0)];
}

// Words in an order without a period, which the processor's branch predictor could learn.
std::u16string Units(benchmark::State & state, std::size_t utf8Size = TextSize) {
    Script const & script = ScriptOf(state);
    state.SetLabel(script.name);
    std::u16string text;
    unsigned random = 1;
    for (std::size_t size = 0; size < utf8Size;) {
        random = random * 1664525U + 1013904223U;
        char16_t const * const word = script.words[(random >> 16) % script.words.size()];
        size += KZEncoding::Utf8BytesOf(word);
        text += word;
    }
    return text;
}

std::string Utf8(benchmark::State & state) {
    return KZEncoding::UnitsToUtf8(Units(state), KZEncoding::Utf8Mode::Strict);
}

void CountBytes(benchmark::State & state, std::size_t size) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

using StandardConverter = std::wstring_convert<std::codecvt_utf8_utf16<char16_t>, char16_t>;

// --- UTF-8 to units

void FromUtf8(benchmark::State & state) {
    std::string const bytes = Utf8(state);
    KZString text;
    for (auto _ : state) {
        text.SetFromUTF8(bytes);
        benchmark::DoNotOptimize(text.c_str());
    }
    CountBytes(state, bytes.size());
}
BENCHMARK(FromUtf8)->DenseRange(0, 2);

void FromUtf8Buffer(benchmark::State & state) {
    std::string const bytes = Utf8(state);
    std::vector<char16_t> units(bytes.size());
    for (auto _ : state) {
        auto const result = KZEncoding::DecodeUtf8(bytes, units, KZEncoding::Utf8Mode::Replace);
        benchmark::DoNotOptimize(result);
    }
    CountBytes(state, bytes.size());
}
BENCHMARK(FromUtf8Buffer)->DenseRange(0, 2);

void FromUtf8_Codecvt(benchmark::State & state) {
    std::string const bytes = Utf8(state);
    StandardConverter converter;
    for (auto _ : state) benchmark::DoNotOptimize(converter.from_bytes(bytes));
    CountBytes(state, bytes.size());
}
BENCHMARK(FromUtf8_Codecvt)->DenseRange(0, 2);

void FromUtf8_Mbstowcs(benchmark::State & state) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::string const bytes = Utf8(state);
    std::vector<wchar_t> wide(bytes.size() + 1);
    for (auto _ : state) benchmark::DoNotOptimize(std::mbstowcs(wide.data(), bytes.c_str(), wide.size()));
    CountBytes(state, bytes.size());
}
BENCHMARK(FromUtf8_Mbstowcs)->DenseRange(0, 2);

// --- Units to UTF-8

void ToUtf8(benchmark::State & state) {
    KZString const text(Units(state));
    std::size_t size = 0;
    for (auto _ : state) {
        std::string const bytes = text.AsUTF8();
        size = bytes.size();
        benchmark::DoNotOptimize(bytes.data());
    }
    CountBytes(state, size);
}
BENCHMARK(ToUtf8)->DenseRange(0, 2);

void ToUtf8Buffer(benchmark::State & state) {
    std::u16string const units = Units(state);
    std::vector<char> bytes(units.size() * 3);
    std::size_t size = 0;
    for (auto _ : state) {
        size = KZEncoding::EncodeUtf8(units, bytes, KZEncoding::Utf8Mode::Replace).written;
        benchmark::DoNotOptimize(bytes.data());
    }
    CountBytes(state, size);
}
BENCHMARK(ToUtf8Buffer)->DenseRange(0, 2);

void ToUtf8_Codecvt(benchmark::State & state) {
    std::u16string const units = Units(state);
    StandardConverter converter;
    std::size_t size = 0;
    for (auto _ : state) {
        std::string const bytes = converter.to_bytes(units);
        size = bytes.size();
        benchmark::DoNotOptimize(bytes.data());
    }
    CountBytes(state, size);
}
BENCHMARK(ToUtf8_Codecvt)->DenseRange(0, 2);

// --- Code page 932

void FromCodePage932(benchmark::State & state) {
    KZSmartPtr<KZStringConverter> const converter(new KZJisConverter);
    std::string const bytes = KZString(Units(state)).AsMbString(converter);
    KZString text;
    for (auto _ : state) {
        text.ConvertToUnicode(bytes.c_str(), converter);
        benchmark::DoNotOptimize(text.c_str());
    }
    CountBytes(state, bytes.size());
}
BENCHMARK(FromCodePage932)->Arg(0)->DenseRange(2, 3);

void ToCodePage932(benchmark::State & state) {
    KZSmartPtr<KZStringConverter> const converter(new KZJisConverter);
    KZString const text(Units(state));
    std::string bytes;
    for (auto _ : state) {
        text.ConvertFromUnicode(bytes, converter);
        benchmark::DoNotOptimize(bytes.data());
    }
    CountBytes(state, bytes.size());
}
BENCHMARK(ToCodePage932)->Arg(0)->DenseRange(2, 3);

void FromCodePage932_Iconv(benchmark::State & state) {
    std::string bytes = KZString(Units(state)).AsMbString(932U);
    std::vector<char> out(bytes.size() * 2);
    iconv_t const descriptor = iconv_open("UTF-16LE", "CP932");
    for (auto _ : state) {
        char * in = bytes.data();
        char * to = out.data();
        std::size_t inLeft = bytes.size();
        std::size_t outLeft = out.size();
        benchmark::DoNotOptimize(iconv(descriptor, &in, &inLeft, &to, &outLeft));
    }
    iconv_close(descriptor);
    CountBytes(state, bytes.size());
}
BENCHMARK(FromCodePage932_Iconv)->Arg(0)->DenseRange(2, 3);

// --- Case

constexpr std::size_t CaseTextSize = 64 * 1024;

std::u16string MixedUnits() {
    std::u16string text;
    unsigned random = 1;
    while (text.size() < CaseTextSize) {
        random = random * 1664525U + 1013904223U;
        static constexpr std::u16string_view letters = u"abcXYZ éàÖß λΣώ жШя あ漢 -";
        text += letters[(random >> 16) % letters.size()];
    }
    return text;
}

void Upper(benchmark::State & state) {
    KZString text(MixedUnits());
    for (auto _ : state) {
        text.Upper();
        benchmark::DoNotOptimize(text.c_str());
    }
}
BENCHMARK(Upper);

void Upper_Towupper(benchmark::State & state) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::u16string const units = MixedUnits();
    std::wstring text(units.begin(), units.end());
    for (auto _ : state) {
        for (wchar_t & character : text)
            character = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(character)));
        benchmark::DoNotOptimize(text.data());
    }
}
BENCHMARK(Upper_Towupper);

// --- Comparison

void CompareIgnoreCase(benchmark::State & state) {
    KZString const a(u"The Configuration Of the Été Now");
    KZString const b(u"the configuration of the été now");
    for (auto _ : state) benchmark::DoNotOptimize(a.Compare(b, KZString::IgnoreCase));
}
BENCHMARK(CompareIgnoreCase);

void CompareByTable(benchmark::State & state) {
    KZString const a(u"the quick brown fox jumps over i");
    KZString const b(u"THE QUICK BROWN FOX JUMPS OVER I");
    KZTableIgnoreCaseCollator const collator;
    for (auto _ : state) benchmark::DoNotOptimize(collator.Compare(a.c_str(), b.c_str()));
}
BENCHMARK(CompareByTable);

void CompareIgnoreCase_Wcscasecmp(benchmark::State & state) {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    std::wstring const a(L"The Configuration Of the Été Now");
    std::wstring const b(L"the configuration of the été now");
    for (auto _ : state) benchmark::DoNotOptimize(wcscasecmp(a.c_str(), b.c_str()));
}
BENCHMARK(CompareIgnoreCase_Wcscasecmp);

void CompareEqual(benchmark::State & state) {
    KZString const a(u'x', static_cast<unsigned>(state.range(0)));
    KZString const b(u'x', static_cast<unsigned>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(a == b);
}
BENCHMARK(CompareEqual)->Arg(4)->Arg(32)->Arg(1024);

void CompareEqual_Standard(benchmark::State & state) {
    std::u16string const a(static_cast<std::size_t>(state.range(0)), u'x');
    std::u16string const b(static_cast<std::size_t>(state.range(0)), u'x');
    for (auto _ : state) benchmark::DoNotOptimize(a.compare(b));
}
BENCHMARK(CompareEqual_Standard)->Arg(4)->Arg(32)->Arg(1024);

void CompareEqual_Wcscmp(benchmark::State & state) {
    std::wstring const a(static_cast<std::size_t>(state.range(0)), L'x');
    std::wstring const b(static_cast<std::size_t>(state.range(0)), L'x');
    for (auto _ : state) benchmark::DoNotOptimize(std::wcscmp(a.c_str(), b.c_str()));
}
BENCHMARK(CompareEqual_Wcscmp)->Arg(4)->Arg(32)->Arg(1024);

} // namespace
