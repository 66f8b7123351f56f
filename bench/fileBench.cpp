// Text files of a megabyte: lines read and written through the wide file streams, beside the narrow streams of the standard
// library, which convert nothing.
#include "ZerlithCore/files/KZFileStream.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace {

constexpr int lines = 1 << 14;
constexpr int lineBytes = 64;
constexpr char16_t const * line = u"a line of sixty-four bytes, one letter of which isn't ASCII: \u00E9\n";

/// A file on a memory file system where there is one.
std::filesystem::path Sample() {
    namespace fs = std::filesystem;
    return (fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path()) /
           "kzfilebench.txt";
}

KZString Name() { return KZString(Sample().u16string()); }

void WriteLines(benchmark::State & state) {
    KZString const text(line);
    for (auto _ : state) {
        KZOFileStream stream(Name());
        for (int i = 0; i < lines; ++i) stream << text;
        if (!stream.close()) state.SkipWithError("not written");
    }
    state.SetBytesProcessed(state.iterations() * lines * lineBytes);
}
BENCHMARK(WriteLines)->Unit(benchmark::kMicrosecond);

void WriteLinesStd(benchmark::State & state) {
    std::string const text = KZString(line).AsUTF8();
    for (auto _ : state) {
        std::ofstream stream(Sample());
        for (int i = 0; i < lines; ++i) stream << text;
    }
    state.SetBytesProcessed(state.iterations() * lines * lineBytes);
}
BENCHMARK(WriteLinesStd)->Unit(benchmark::kMicrosecond);

void ReadLines(benchmark::State & state) {
    KZOFileStream out(Name());
    for (int i = 0; i < lines; ++i) out << KZString(line);
    out.close();
    for (auto _ : state) {
        KZFileStream stream(Name());
        int count = 0;
        for (std::wstring text; std::getline(stream, text);) ++count;
        if (count != lines) state.SkipWithError("not read");
    }
    state.SetBytesProcessed(state.iterations() * lines * lineBytes);
    std::filesystem::remove(Sample());
}
BENCHMARK(ReadLines)->Unit(benchmark::kMicrosecond);

void ReadLinesStd(benchmark::State & state) {
    std::ofstream out(Sample());
    for (int i = 0; i < lines; ++i) out << KZString(line).AsUTF8();
    out.close();
    for (auto _ : state) {
        std::ifstream stream(Sample());
        int count = 0;
        for (std::string text; std::getline(stream, text);) ++count;
        if (count != lines) state.SkipWithError("not read");
    }
    state.SetBytesProcessed(state.iterations() * lines * lineBytes);
    std::filesystem::remove(Sample());
}
BENCHMARK(ReadLinesStd)->Unit(benchmark::kMicrosecond);

} // namespace
