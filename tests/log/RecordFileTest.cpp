// What holds for all writers of log files: no record is joined to a part of another one or lost without a report,
// whatever happens to processes, disk and memory.
#include "ZerlithCore/log/KZDualLogStream.h"
#include "ZerlithCore/log/KZFileLogSubscriber.h"
#include "ZerlithCore/log/KZLogFile.h"
#include "ZerlithCore/log/KZLogManager.h"

#include "files/TemporaryDirectory.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <sstream>
#include <string>

#include <sys/resource.h>

namespace {

constexpr int unlimited = -1, failed = -2;
thread_local int allocationsLeft = unlimited; // how many more allocations of this thread succeed

struct Sink {
    std::function<void(KZString const &)> put; // writes a line as a record
    std::function<std::uint64_t()> lost;
};
struct Kind {
    Sink (*make)(KZString const & path);
    std::size_t unitBytes, stampUnits;
};
Kind const kinds[] = {
    {[](KZString const & path) -> Sink {
         auto const log = std::make_shared<KZLogFile>();
         log->SetAutoFlush(true);
         EXPECT_TRUE(log->Open(path.c_str()));
         return {[log](KZString const & line) { log->Log(line.c_str()); },
                 [log] { return log->GetLostRecordCount(); }};
     },
     2, 17},
    {[](KZString const & path) -> Sink {
         auto const subscriber = std::make_shared<KZFileLogSubscriber>(path, 0, true, true);
         return {[subscriber](KZString const & line) { subscriber->OnFlush(0, line); },
                 [subscriber] { return subscriber->GetLostRecordCount(); }};
     },
     1, 0},
    {[](KZString const & path) -> Sink {
         auto const stream = std::make_shared<KZDualLogStream>(path);
         return {[stream](KZString const & line) { *stream << line << std::flush; },
                 [stream] { return stream->GetLostRecordCount(); }};
     },
     1, 0},
    {[](KZString const & path) -> Sink {
         auto const manager = std::make_shared<KZLogManager>();
         KZSmartPtr<KZFileLogSubscriber> const subscriber(new KZFileLogSubscriber(path, 0, true, true));
         manager->Subscribe(manager->AddChannel(u"x"), subscriber);
         return {[manager](KZString const & line) {
                     (*manager->GetChannel(0U))->GetStream().GetStream(0) << line << std::flush;
                 },
                 [subscriber] { return subscriber->GetLostRecordCount(); }};
     },
     1, 0},
};

/// A line with a number in it; a part of it can be told from the whole.
KZString Line(int number, unsigned int size = 700) {
    std::string const text = '<' + std::to_string(number) + std::string(size, '.') + ">\n";
    return KZString(std::u16string(text.begin(), text.end()));
}

/// The numbers in the form that `Numbers` returns.
std::string Sequence(int begin, int end) {
    std::string text;
    for (; begin < end; ++begin) text += ' ' + std::to_string(begin);
    return text;
}

/// Limits the size of the files that this process writes. A write beyond it is cut, and a signal then ends the
/// process unless that is ignored.
void LimitFileSize(rlim_t bytes) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(bytes, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
}

class RecordFileTest : public testing::TestWithParam<Kind> {
protected:
    Sink Make() const { return GetParam().make(path); }

    /// The numbers of the records that are complete on lines of their own, and the notes on lost ones.
    std::string Numbers() const {
        std::string bytes = folder.Read(u"x.log"), line, numbers;
        EXPECT_EQ(bytes.size() % GetParam().unitBytes, 0U);
        if (GetParam().unitBytes == 2) {
            std::u16string units(bytes.size() / 2, u'\0');
            std::memcpy(units.data(), bytes.data(), bytes.size());
            bytes.assign(units.begin(), units.end());
        }
        for (std::istringstream in(bytes); std::getline(in, line);) {
            line.erase(0, GetParam().stampUnits);
            if (line.ends_with('\r')) line.pop_back();
            if (line.starts_with("*** ")) numbers += " lost" + line.substr(line.find(':') + 1);
            bool const isFilled = line.find_first_not_of('.', line.find('.')) + 1 == line.size();
            if (line.starts_with('<') && line.ends_with('>') && isFilled)
                numbers += ' ' + std::to_string(std::atoi(&line[1]));
        }
        return numbers;
    }
    void AppendBytes(std::size_t count) const {
        std::ofstream(folder.Root() / "x.log", std::ios::binary | std::ios::app) << std::string(count, '#');
    }

    TemporaryDirectory folder;
    KZString const path = folder.Path(u"x.log");
};

class AppendedRecordFileTest : public RecordFileTest {};

// Two objects append in turn and are replaced by new ones, processes end in the middle of a record, and parts of any
// length are left in the file.
TEST_P(AppendedRecordFileTest, NoRecordIsJoinedToAPiece) {
    std::mt19937 random(7);
    Sink sinks[] = {Make(), Make()};
    int next = 0;
    auto const put = [&](Sink const & sink) { sink.put(Line(next++)); };
    for (int step = 0; step < 300; ++step) {
        Sink & sink = sinks[random() % 2];
        auto const action = random() % 8, size = 1 + random() % 2000;
        if (action == 0) sink = Make();
        if (action == 1) AppendBytes(size % 10 + 1);
        if (action > 2) put(sink);
        if (action != 2) continue;
        put(sink);
        ChildProcess child([&] {
            rlimit const noCore{};
            setrlimit(RLIMIT_CORE, &noCore);
            LimitFileSize(std::filesystem::file_size(folder.Root() / "x.log") + size % 500);
            put(sinks[size % 2]);
            return 0;
        });
        EXPECT_EQ(child.Status(), -1);
    }
    put(sinks[0]);
    EXPECT_EQ(Numbers(), Sequence(0, next));
}

// The disk is full for some time; in between it takes a part of another process's record.
TEST_P(RecordFileTest, AFullDiskLosesNothingInSilence) {
    constexpr int count = 150;
    for (rlim_t const limit : {0U, 1000U, 1001U, 20'001U}) {
        for (bool const isShared : {false, true}) {
            SCOPED_TRACE(testing::Message() << limit << isShared);
            folder.Remove(u"x.log");
            ChildProcess child([&] {
                if (!std::freopen("/dev/null", "w", stdout)) return 0;
                std::signal(SIGXFSZ, SIG_IGN);
                Sink const sink = Make();
                LimitFileSize(limit);
                for (int i = 0; i < count; ++i) {
                    sink.put(Line(i));
                    if (!isShared || i != 10) continue;
                    LimitFileSize(RLIM_INFINITY);
                    AppendBytes(1);
                    LimitFileSize(limit);
                }
                LimitFileSize(RLIM_INFINITY);
                for (int i = count; i < count + 3; ++i) sink.put(Line(i));
                return static_cast<int>(sink.lost());
            });
            int const lost = child.Status();
            EXPECT_GT(lost, 20);
            EXPECT_EQ(Numbers(), Sequence(0, count - lost) + " lost " + std::to_string(lost) +
                                     Sequence(count, count + 3));
        }
    }
}

// The n-th allocation during a record fails, for every n: the record is in the file or reported as lost, and the next
// one is whole.
TEST_P(RecordFileTest, ARecordWithoutMemoryIsCounted) {
    Sink const sink = Make();
    std::string before, after;
    testing::internal::CaptureStdout();
    for (int n = 0; n == 0 || allocationsLeft == failed; n += 2) {
        // longer each time, so that each buffer has to grow
        KZString const line = Line(n, 700 + 150 * static_cast<unsigned int>(n)), nextLine = Line(n + 1);
        allocationsLeft = n / 2;
        sink.put(line);
        if (allocationsLeft != failed) allocationsLeft = unlimited;
        sink.put(nextLine);
        after = Numbers();
        EXPECT_TRUE(after == before + Sequence(n, n + 2) ||
                    after == before + " lost 1" + Sequence(n + 1, n + 2))
            << n << before << '|' << after;
        before = after;
    }
    testing::internal::GetCapturedStdout();
    EXPECT_NE(after.find("lost"), after.npos);
}

INSTANTIATE_TEST_SUITE_P(All, RecordFileTest, testing::ValuesIn(kinds));
INSTANTIATE_TEST_SUITE_P(All, AppendedRecordFileTest, testing::Values(kinds[0], kinds[1]));

} // namespace

void * operator new(std::size_t size) {
    if (allocationsLeft >= 0 && --allocationsLeft == unlimited) {
        allocationsLeft = failed;
        throw std::bad_alloc();
    }
    if (void * const block = std::malloc(size != 0 ? size : 1)) return block;
    throw std::bad_alloc();
}
// Inlined, they would look to the compiler as if they freed what another function allocates.
[[gnu::noinline]] void operator delete(void * block) noexcept { std::free(block); }
[[gnu::noinline]] void operator delete(void * block, std::size_t) noexcept { std::free(block); }
