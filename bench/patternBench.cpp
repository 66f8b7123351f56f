// Matches of whole texts, compared with std::wregex, and with RE2, PCRE2 and its compiler, and ICU where the machine
// has them. The standard's engine overflows its stack on long texts, so it only gets the short ones.
#include "ZerlithCore/pattern/KZRegEx.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#ifdef HAVE_ICU
#include <unicode/regex.h>
#endif

#ifdef HAVE_RE2
#include <re2/re2.h>
#endif
#ifdef HAVE_PCRE2
#define PCRE2_CODE_UNIT_WIDTH 16
#include <pcre2.h>
#endif

namespace {

struct Row {
    char const * name;
    std::string pattern;
    std::string text;
    std::string unit; // repeated for a long text
    std::string tail;
    bool matches = true;
};

std::string Times(std::string const & text, int count) {
    std::string result;
    for (int i = 0; i < count; ++i) result += text;
    return result;
}

std::string Words(int count) {
    std::string words;
    for (int i = 0; i < count; ++i) words += (i > 0 ? "|word" : "word") + std::to_string(i) + "s";
    return words;
}

std::vector<Row> const & Rows() {
    static std::string const dog = "The quick brown fox jumps over the lazy dog";
    static std::vector<Row> const rows = {
        {"literal", dog, dog, "", ""},
        {"contains", ".*needle.*", "some words stand here, then a needle, then others", "all is well here, ",
         "needle."},
        {"class", "[a-z0-9_]+", "some_identifier_with_48_chars_in_it_and_no_blank", "identifier_42", ""},
        {"path", "(/[a-z0-9_.]+)+", "/usr/share/doc/library/readme.txt", "/usr/share/doc/library/readme.txt",
         ""},
        {"suffix", ".*[.](c|cc|cpp|cxx|h|hpp)", "some.source.file.name.cpp", "a.directory/", "a.cpp"},
        {"number", "([+\\-]?[0-9]+([.][0-9]+)?([eE][+\\-]?[0-9]{1,3})?)", "-12345678901234.567890e-123",
         "1234567890", "e9"},
        {"date", "([0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3};?)+",
         "2024/02/29 23:59:58.123", "2024/02/29 23:59:58.123;", ""},
        {"csv", "([a-z]+,)*[a-z]+", "one,two,three,four,five,six,seven", "one,two,three,four,five,six,",
         "end"},
        {"alternation", "((alpha|beta|gamma|delta|epsilon|zeta|eta|theta|iota|kappa) ?)+",
         "kappa theta iota gamma alpha eta zeta", "kappa theta iota gamma alpha eta zeta ", ""},
        {"no match", ".*error: .*[0-9]{3,9}", "disk 12: error: no space left (12)", "error: no space, ",
         "(12)", false},
        {"mail", "[a-z0-9._]+@([a-z0-9]+[.])+[a-z]{2,4}", "some.body_1234@mail.example.com", "some.body_1234",
         "@mail.example.com"},
        {"missing", "(a|aa)*c", Times("a", 40), "a", "a", false},
        {"optional", Times("a?", 20) + Times("a", 20), Times("a", 20), "", ""},
        {"blowup", "(a|b)*a(a|b){9}", "abababababababababababab", "ab", "aaaaaaaaaa"},
        {"words", Words(1000), "word999s", "", ""},
        {"words anywhere", ".*(" + Words(1000) + ").*", "the word999s", "the word ", "word1s"},
    };
    return rows;
}

std::string TextOf(Row const & row, bool isLong) {
    if (!isLong) return row.text;
    std::string text;
    while (text.size() < 65536) text += row.unit;
    return text + row.tail;
}

KZString Units(std::string const & text) { return KZString(std::u16string(text.begin(), text.end())); }

void Check(Row const & row, bool matched) {
    if (matched != row.matches) std::abort();
}

void Ours(benchmark::State & state, Row const & row, bool isLong) {
    // Only the last digit of a count is kept, since all texts here have the same number of digits.
    KZRegEx const regEx(KZStringRegExParser(Units(row.pattern)).Parse());
    KZString const text = Units(TextOf(row, isLong));
    Check(row, regEx.Match(text));
    for (auto _ : state) benchmark::DoNotOptimize(regEx.Match(text));
    state.SetItemsProcessed(state.iterations() * text.Length());
}

void CompileOurs(benchmark::State & state, Row const & row) {
    KZString const pattern = Units(row.pattern);
    for (auto _ : state) {
        KZRegEx const regEx(KZStringRegExParser(pattern).Parse());
        benchmark::DoNotOptimize(&regEx);
    }
}

void Standard(benchmark::State & state, Row const & row, bool isLong) {
    std::wregex const regEx(std::wstring(row.pattern.begin(), row.pattern.end()), std::regex::optimize);
    std::string const narrow = TextOf(row, isLong);
    std::wstring const text(narrow.begin(), narrow.end());
    for (auto _ : state) benchmark::DoNotOptimize(std::regex_match(text, regEx));
}

#ifdef HAVE_ICU
void Icu(benchmark::State & state, Row const & row, bool isLong) {
    UErrorCode error = U_ZERO_ERROR;
    icu::UnicodeString const text = icu::UnicodeString::fromUTF8(TextOf(row, isLong));
    icu::RegexMatcher matcher(icu::UnicodeString::fromUTF8(row.pattern), UREGEX_DOTALL, error);
    matcher.reset(text);
    for (auto _ : state) {
        matcher.reset();
        benchmark::DoNotOptimize(matcher.matches(error));
    }
    if (U_FAILURE(error)) state.SkipWithError("gives up");
}
#endif

#ifdef HAVE_RE2
void Re2(benchmark::State & state, Row const & row, bool isLong) {
    RE2 const regEx(row.pattern);
    std::string const text = TextOf(row, isLong);
    Check(row, RE2::FullMatch(text, regEx));
    for (auto _ : state) benchmark::DoNotOptimize(RE2::FullMatch(text, regEx));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void CompileRe2(benchmark::State & state, Row const & row) {
    for (auto _ : state) {
        RE2 const regEx(row.pattern);
        benchmark::DoNotOptimize(regEx.ok());
    }
}
#endif

#ifdef HAVE_PCRE2
void Pcre2(benchmark::State & state, Row const & row, bool isLong) {
    KZString const pattern = Units("(?:" + row.pattern + ")");
    KZString const text = Units(TextOf(row, isLong));
    int error = 0;
    PCRE2_SIZE offset = 0;
    auto * const code =
        pcre2_compile(reinterpret_cast<PCRE2_SPTR>(pattern.c_str()), pattern.Length(),
                      PCRE2_ANCHORED | PCRE2_ENDANCHORED | PCRE2_DOTALL, &error, &offset, nullptr);
    pcre2_jit_compile(code, PCRE2_JIT_COMPLETE);
    auto * const data = pcre2_match_data_create(1, nullptr);
    auto const match = [&] {
        return pcre2_match(code, reinterpret_cast<PCRE2_SPTR>(text.c_str()), text.Length(), 0, 0, data,
                           nullptr) >= 0;
    };
    if (match() != row.matches) state.SkipWithError("gives up");
    for (auto _ : state) benchmark::DoNotOptimize(match());
    state.SetItemsProcessed(state.iterations() * text.Length());
    pcre2_match_data_free(data);
    pcre2_code_free(code);
}
#endif

template <class... Arguments>
void Register(std::string const & name, Arguments... arguments) {
    benchmark::RegisterBenchmark(name.c_str(), arguments...);
}

int const isRegistered = [] {
    for (Row const & row : Rows())
        for (bool const isLong : {false, true}) {
            if (isLong && row.unit.empty()) continue;
            std::string const name = std::string(row.name) + (isLong ? "/long" : "/short");
            Register(name + "/ours", Ours, row, isLong);
            // These take it minutes.
            std::string const rowName = row.name;
            if (!isLong && rowName != "optional" && rowName != "missing" && !rowName.starts_with("words"))
                Register(name + "/wregex", Standard, row, isLong);
#ifdef HAVE_RE2
            Register(name + "/RE2", Re2, row, isLong);
#endif
#ifdef HAVE_ICU
            Register(name + "/ICU", Icu, row, isLong);
#endif
#ifdef HAVE_PCRE2
            Register(name + "/PCRE2", Pcre2, row, isLong);
#endif
        }
    for (Row const & row : Rows()) {
        Register(std::string(row.name) + "/compile/ours", CompileOurs, row);
#ifdef HAVE_RE2
        Register(std::string(row.name) + "/compile/RE2", CompileRe2, row);
#endif
    }
    return 0;
}();

} // namespace
