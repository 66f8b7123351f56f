// Log lines: the log file with stamps, compared with the formatted output of the C and C++ libraries; the cost of a channel;
// and lines on the console.
#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/log/KZConsoleLogSubscriber.h"
#include "ZerlithCore/log/KZFileLogSubscriber.h"
#include "ZerlithCore/log/KZLogFile.h"
#include "ZerlithCore/log/KZLogManager.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace {

std::string const path = (std::filesystem::temp_directory_path() / "kz-log-bench.log").string();

// The file is emptied before each run, so that runs can be compared, and removed after the last one.
std::u16string FreshFile() {
    std::ofstream(path).flush();
    return {path.begin(), path.end()};
}

void LogLine(benchmark::State & state) {
    static std::unique_ptr<KZLogFile> log;
    if (state.thread_index() == 0) {
        log = std::make_unique<KZLogFile>();
        log->SetAutoFlush(state.range(0) != 0);
        log->Open(FreshFile().c_str());
    }
    int i = 0;
    for (auto _ : state) log->Log(u"request %d of %s took %d ms", ++i, u"client", 42);
    if (state.thread_index() == 0) {
        log.reset();
        std::filesystem::remove(path);
    }
}

// The same line with a stamp made by the C library. `fprintf` has a lock of its own; the wide stream needs one.

void PeerFprintf(benchmark::State & state) {
    static std::FILE * file;
    if (state.thread_index() == 0) file = std::fopen(path.c_str(), "w");
    int i = 0;
    for (auto _ : state) {
        std::time_t const now = std::time(nullptr);
        std::tm parts{};
        localtime_r(&now, &parts);
        std::fprintf(file, "%04d%02d%02d %02d%02d%02d> request %d of %s took %d ms\r\n", parts.tm_year + 1900,
                     parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec, ++i,
                     "client", 42);
        if (state.range(0) != 0) std::fflush(file);
    }
    if (state.thread_index() == 0) {
        std::fclose(file);
        std::filesystem::remove(path);
    }
}

void PeerWofstream(benchmark::State & state) {
    static std::unique_ptr<std::wofstream> file;
    static std::mutex lock;
    if (state.thread_index() == 0) file = std::make_unique<std::wofstream>(path);
    int i = 0;
    for (auto _ : state) {
        std::time_t const now = std::time(nullptr);
        std::tm parts{};
        localtime_r(&now, &parts);
        wchar_t stamp[32];
        std::wcsftime(stamp, 32, L"%Y%m%d %H%M%S> ", &parts);
        std::lock_guard const guard(lock);
        *file << stamp << L"request " << ++i << L" of " << L"client" << L" took " << 42 << L" ms\r\n";
        if (state.range(0) != 0) file->flush();
    }
    if (state.thread_index() == 0) {
        file.reset();
        std::filesystem::remove(path);
    }
}

BENCHMARK(LogLine)->ArgName("flush")->Arg(0)->Arg(1)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(PeerFprintf)->ArgName("flush")->Arg(0)->Arg(1)->ThreadRange(1, 4)->UseRealTime();
BENCHMARK(PeerWofstream)->ArgName("flush")->Arg(0)->Arg(1)->ThreadRange(1, 4)->UseRealTime();

class Listener : public KZLogSubscriberI {
public:
    using KZLogSubscriberI::KZLogSubscriberI;
    void OnFlush(int, KZString const & text) override { benchmark::DoNotOptimize(text.Length()); }
};

// Messages of a hundred characters, written one by one, as one text, or as a KZString. Level 1 has an interested subscriber,
// level 2 has none.
void ChannelCharacters(benchmark::State & state) {
    KZLogManager manager;
    manager.AddChannel(u"bench");
    manager.Subscribe(0, KZSmartPtr<KZLogSubscriberI>(new Listener(1)));
    std::wostream & stream =
        (*manager.GetChannel(0U))->GetStream().GetStream(static_cast<int>(state.range(0)));
    std::wstring const text(100, L'x');
    KZString const units(u'x', 100);
    for (auto _ : state) {
        if (state.range(1) == 2) {
            stream << units;
        } else if (state.range(1) == 1) {
            stream << text;
        } else {
            for (wchar_t const character : text) stream.rdbuf()->sputc(character);
        }
        stream.flush();
    }
    state.SetItemsProcessed(state.iterations() * 100);
}
BENCHMARK(ChannelCharacters)->ArgNames({"level", "text"})->ArgsProduct({{2, 1}, {0, 1, 2}});

/// Standard output goes to /dev/null while an object exists.
class Silence {
public:
    Silence() {
        int const nothing = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nothing, STDOUT_FILENO);
        close(nothing);
    }
    ~Silence() {
        dup2(output_, STDOUT_FILENO);
        close(output_);
    }

private:
    int output_ = dup(STDOUT_FILENO);
};

KZString const line(u"a line of eighty units, as programs write them to their consoles and to log files.");

// A line straight to the console, or through a channel with the console's subscriber.
void ConsoleLine(benchmark::State & state) {
    Silence const silence;
    KZLogManager manager;
    manager.AddChannel(u"bench");
    manager.Subscribe(0, KZSmartPtr<KZLogSubscriberI>(new KZConsoleLogSubscriber(1)));
    std::wostream & channel = (*manager.GetChannel(0U))->GetStream().GetStream(1);
    std::wostream & stream = state.range(0) != 0 ? channel : KZGetConsole();
    for (auto _ : state) stream << line << std::endl;
}
BENCHMARK(ConsoleLine)->ArgName("channel")->Arg(0)->Arg(1);

void ChannelToFile(benchmark::State & state) {
    KZLogManager manager;
    manager.AddChannel(u"bench");
    manager.Subscribe(0, KZSmartPtr<KZLogSubscriberI>(
                             new KZFileLogSubscriber(KZString(FreshFile()), 1, state.range(0) != 0, false)));
    std::wostream & stream = (*manager.GetChannel(0U))->GetStream().GetStream(1);
    for (auto _ : state) stream << line << std::endl;
    std::filesystem::remove(path);
}
BENCHMARK(ChannelToFile)->ArgName("flush")->Arg(0)->Arg(1);

} // namespace
