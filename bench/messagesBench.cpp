// Looking up a message in a file that is open: the whole operation, and its parts. Then switching the language,
// between files in memory, and reading a file.
#include "ZerlithCore/messages/DBMessage.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/MSGLibMessageSource.h"
#include "ZerlithCore/messages/MessageFile.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

namespace {

constexpr long messages = 1000;

std::string Bytes() {
    std::ostringstream out;
    for (long id = 0; id < messages; ++id) out << DBMessage(id, u"The file %0:s can't be opened: %1:s");
    return out.str();
}

// A directory with messages in two languages.
class Messages {
public:
    Messages() : path_(std::filesystem::temp_directory_path() / ("kz-bench-" + std::to_string(getpid()))) {
        std::filesystem::create_directory(path_);
        for (char const * name : {"app.enu.LAN", "app.deu.LAN"})
            std::ofstream(path_ / name, std::ios::binary) << Bytes();
    }
    ~Messages() { std::filesystem::remove_all(path_); }

    [[nodiscard]] KZString Path() const { return path_.u16string(); }

private:
    std::filesystem::path path_;
};

// Numbers in an order that the processor's cache can't predict.
long Next(long & code) { return code = (code * 421 + 17) % messages; }

void GetText(benchmark::State & state) {
    Messages const files;
    MSGLibMessageSource const source(files.Path().c_str(), u"app", u"enu");
    KZFormatContext const context(KZString(state.range(0) ? u"enu" : u""));
    KZString text;
    long code = 1;
    for (auto _ : state) benchmark::DoNotOptimize(source.GetText(text, Next(code), context).Good());
}
BENCHMARK(GetText)->Arg(0)->Arg(1)->ArgName("language");

// The same, while `Threads` other threads do it as well.
void GetTextContended(benchmark::State & state) {
    static Messages const files;
    static MSGLibMessageSource const source(files.Path().c_str(), u"app", u"enu");
    KZFormatContext const context;
    KZString text;
    long code = state.thread_index() + 1;
    for (auto _ : state) benchmark::DoNotOptimize(source.GetText(text, Next(code), context).Good());
}
BENCHMARK(GetTextContended)->Threads(1)->Threads(2)->UseRealTime();

void PartLock(benchmark::State & state) {
    KZPlatform::RecursiveLock lock;
    for (auto _ : state) {
        lock.Lock();
        lock.Unlock();
    }
}
BENCHMARK(PartLock);

void PartFind(benchmark::State & state) {
    MessageFile::Index index;
    std::istringstream stream(Bytes());
    MessageFile::Create(KZString(), KZString())->BuildFileIndex(index, stream);
    long code = 1;
    for (auto _ : state) benchmark::DoNotOptimize(index.find(Next(code)));
}
BENCHMARK(PartFind);

void PartCopy(benchmark::State & state) {
    std::vector<KZString> const texts(messages, u"The file %0:s can't be opened: %1:s");
    KZString text;
    long code = 1;
    for (auto _ : state) benchmark::DoNotOptimize(text = texts[static_cast<std::size_t>(Next(code))]);
}
BENCHMARK(PartCopy);

void Switch(benchmark::State & state) {
    Messages const files;
    MSGLibMessageSource source(files.Path().c_str(), u"app", u"enu");
    bool german = false;
    for (auto _ : state)
        benchmark::DoNotOptimize(source.SetLanguage((german = !german) ? u"deu" : u"enu").Good());
}
BENCHMARK(Switch);

void ReadFile(benchmark::State & state) {
    Messages const files;
    MSGLibMessageSource source(files.Path().c_str(), u"app", u"enu");
    for (auto _ : state) {
        source.Reload();
        benchmark::DoNotOptimize(source.SetLanguage(u"enu").Good());
    }
    state.SetItemsProcessed(state.iterations() * messages);
}
BENCHMARK(ReadFile)->Unit(benchmark::kMicrosecond);

} // namespace
