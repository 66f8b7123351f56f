// Configuration files of 50 sections with 20 keys each, compared with the simplest code in standard C++: getline and
// a map. The map sorts and drops comments, so it is a lower bound for the work, not a replacement.
#include "ZerlithCore/app/KZConfig.h"
#include "ZerlithCore/app/KZConfigFile.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

namespace {

constexpr int sections = 50, keys = 20;

/// A file in memory, on systems that have a file system for that.
class SampleFile {
public:
    SampleFile() {
        namespace fs = std::filesystem;
        fs::path const folder =
            fs::is_directory("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
        path_ = folder / "kzconfigbench.ini";
        std::ofstream stream(path_);
        for (int i = 0; i < sections; ++i) {
            stream << "; the section number " << i << "\n[Section" << i << "]\n";
            for (int k = 0; k < keys; ++k) stream << "key" << k << " = the value " << k << '\n';
        }
    }
    ~SampleFile() { std::filesystem::remove(path_); }

    [[nodiscard]] std::string Path() const { return path_.string(); }
    [[nodiscard]] KZString Name() const { return KZString(path_.u16string()); }

private:
    std::filesystem::path path_;
};

SampleFile const & Sample() {
    static SampleFile const file;
    return file;
}

std::map<std::string, std::map<std::string, std::string>> ReadMap(std::string const & path) {
    std::map<std::string, std::map<std::string, std::string>> result;
    std::string section;
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line);) {
        if (line.empty() || line[0] == ';') continue;
        if (line[0] == '[')
            section = line.substr(1, line.find(']') - 1);
        else
            result[section][line.substr(0, line.find(' '))] = line.substr(line.find('=') + 2);
    }
    return result;
}

void Load(benchmark::State & state) {
    KZString const name = Sample().Name();
    for (auto _ : state) benchmark::DoNotOptimize(KZConfigFile::Load(name));
}
BENCHMARK(Load)->Unit(benchmark::kMicrosecond);

void LoadStdMap(benchmark::State & state) {
    for (auto _ : state) benchmark::DoNotOptimize(ReadMap(Sample().Path()));
}
BENCHMARK(LoadStdMap)->Unit(benchmark::kMicrosecond);

/// Asks for a key in the first section, one in the middle, and the last key of the last section.
void LookUp(benchmark::State & state) {
    KZSmartPtr<KZConfigFile> const file = KZConfigFile::Load(Sample().Name());
    KZString section, key;
    section.Format(u"section%d", static_cast<int>(state.range(0)));
    key.Format(u"KEY%d", static_cast<int>(state.range(1)));
    KZString const none;
    for (auto _ : state) benchmark::DoNotOptimize(file->GetString(section, key, none));
}
BENCHMARK(LookUp)->Args({0, 0})->Args({25, 10})->Args({49, 19});

void LookUpStdMap(benchmark::State & state) {
    auto const map = ReadMap(Sample().Path());
    std::string const section = "Section25", key = "key10";
    for (auto _ : state) benchmark::DoNotOptimize(map.at(section).at(key));
}
BENCHMARK(LookUpStdMap);

KZString KeyOf(std::int64_t number) {
    KZString key;
    key.Format(u"KEY%lld", static_cast<long long>(number));
    return key;
}

/// So many lines in one section.
KZSmartPtr<KZConfigFile> FileOfKeys(std::int64_t count) {
    KZSmartPtr<KZConfigFile> file(new KZConfigFile(u""));
    for (std::int64_t key = 0; key < count; ++key) file->SetBool(u"Section", KeyOf(key), true);
    return file;
}

void LookUpAmongKeys(benchmark::State & state) {
    KZSmartPtr<KZConfigFile> const file = FileOfKeys(state.range(0));
    KZString const section = u"Section", key = KeyOf(state.range(0) / 2), none;
    for (auto _ : state) benchmark::DoNotOptimize(file->GetString(section, key, none));
}
BENCHMARK(LookUpAmongKeys)->Arg(20)->Arg(1000)->Arg(100000);

void SetNewKeys(benchmark::State & state) {
    for (auto _ : state) benchmark::DoNotOptimize(FileOfKeys(state.range(0)));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(SetNewKeys)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

void LookUpInOpenFile(benchmark::State & state) {
    KZConfig const config(Sample().Name());
    for (auto _ : state) benchmark::DoNotOptimize(config.GetString(u"Section25", u"key10", u""));
}
BENCHMARK(LookUpInOpenFile)->Unit(benchmark::kMicrosecond);

void Save(benchmark::State & state) {
    KZSmartPtr<KZConfigFile> const file = KZConfigFile::Load(Sample().Name());
    for (auto _ : state)
        if (!file->Save()) state.SkipWithError("not saved");
}
BENCHMARK(Save)->Unit(benchmark::kMicrosecond);

void SaveStdMap(benchmark::State & state) {
    auto const map = ReadMap(Sample().Path());
    std::string const path = Sample().Path() + ".map";
    for (auto _ : state) {
        std::ofstream stream(path);
        for (auto const & [name, lines] : map) {
            stream << '[' << name << "]\n";
            for (auto const & [key, value] : lines) stream << key << '=' << value << '\n';
        }
    }
    std::filesystem::remove(path);
}
BENCHMARK(SaveStdMap)->Unit(benchmark::kMicrosecond);

} // namespace
