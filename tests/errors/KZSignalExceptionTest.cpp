// Raises real faults on the main thread. The tests of threads raise them on other threads.
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZStackDump.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/FloatingPoint.h"
#include "ZerlithCore/threads/KZThread.h"
#include "files/TemporaryDirectory.h"
#include "threads/TestCallback.h"

#include <gtest/gtest.h>

#include <array>
#include <cfenv>
#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>
#include <ucontext.h>

namespace {

#ifdef __clang__ // makes no clones
#define NOINLINE __attribute__((noinline))
#else
#define NOINLINE __attribute__((noinline, noclone))
#endif

// Not checked by the sanitizers, which would report these instructions before the processor does.
#define UNCHECKED __attribute__((no_sanitize("undefined", "address", "thread")))

void * volatile glbNoBlock = reinterpret_cast<void *>(0x70000010);
int volatile glbZero = 0;
double volatile glbFloatZero = 0;
int volatile * volatile glbNull = nullptr;

NOINLINE UNCHECKED void WriteNull() { *glbNull = 1; }
NOINLINE UNCHECKED void ReadNull() { static_cast<void>(*glbNull); }
NOINLINE UNCHECKED void DivideInteger() { glbZero = 1 / glbZero; }
NOINLINE UNCHECKED void DivideFloat() { glbFloatZero = 1.0 / glbFloatZero; }
NOINLINE UNCHECKED void InvalidFloat() { glbFloatZero = glbFloatZero / glbFloatZero; }
NOINLINE UNCHECKED void CallNowhere() {
    reinterpret_cast<void (*)()>(const_cast<int *>(glbNull))();
    glbZero = 0; // so that the call isn't the last thing done, which would make it a jump
}
#if defined(__x86_64__)
int volatile glbMinusOne = -1;
double volatile glbHuge = 1e300;
double volatile glbTiny = 1e-300;
double volatile glbDenormal = 4e-320;
NOINLINE UNCHECKED void OverflowInteger() { glbZero = (-0x7FFFFFFF - 1) / glbMinusOne; }
NOINLINE UNCHECKED void OverflowFloat() { glbFloatZero = glbHuge * glbHuge; }
NOINLINE UNCHECKED void UnderflowFloat() { glbFloatZero = glbTiny * glbTiny; }
NOINLINE UNCHECKED void TakeDenormal() { glbFloatZero = glbDenormal * 2; }
NOINLINE void Illegal() { asm volatile("ud2"); }
NOINLINE void Privileged() { asm volatile("hlt"); }
NOINLINE void OldFloat() {
    unsigned short const all = 0x360;
    asm volatile("fldcw %0\n\tfld1\n\tfldz\n\tfdivrp\n\tfwait" : : "m"(all));
}
[[maybe_unused]] NOINLINE UNCHECKED void ReadMisaligned() {
    static int const words[2] = {};
    int const volatile * const volatile misaligned =
        reinterpret_cast<int const *>(reinterpret_cast<char const *>(words) + 1);
    __builtin_ia32_writeeflags_u64(__builtin_ia32_readeflags_u64() | 0x40000); // turns on the alignment check
    asm volatile("" : : : "memory");
    static_cast<void>(*misaligned);
}
#else
NOINLINE void Illegal() { asm volatile(".inst 0"); }
#endif

// A compiler that sees what is called may prove that nothing is thrown there, and drop the handlers around the call.
void (*volatile writeNull)() = WriteNull;
[[maybe_unused]] void (*volatile divideFloat)() = DivideFloat;

struct Case {
    char const * what;
    void (*fault)();
    unsigned int code;
};
constexpr Case cases[] = {
    {"WriteNull", WriteNull, 0xC0000005},           {"ReadNull", ReadNull, 0xC0000005},
    {"CallNowhere", CallNowhere, 0xC0000005},       {"Illegal", Illegal, 0xC000001D},
#if defined(__x86_64__)
    {"DivideInteger", DivideInteger, 0xC0000094},   {"DivideFloat", DivideFloat, 0xC000008E},
    {"InvalidFloat", InvalidFloat, 0xC0000090},     {"OverflowInteger", OverflowInteger, 0xC0000095},
    {"OverflowFloat", OverflowFloat, 0xC0000091},   {"UnderflowFloat", UnderflowFloat, 0xC0000093},
    {"TakeDenormal", TakeDenormal, 0xC000008D},     {"OldFloat", OldFloat, 0xC000008E},
    {"Privileged", Privileged, 0xC0000096},
#if !defined(__SANITIZE_THREAD__) // its own signal handler runs first, and faults with the check turned on
    {"ReadMisaligned", ReadMisaligned, 0x80000002},
#endif
#endif
};

class Cleaner {
public:
    explicit Cleaner(int & count) : count_(count) {}
    ~Cleaner() { ++count_; }

private:
    int & count_;
};

NOINLINE void FaultWithCleanUp(void (*fault)(), int & cleaned) {
    Cleaner const cleaner(cleaned);
    fault();
}

constexpr char16_t const * logName = u"faults-ERROR.LOG";

struct KZSignalExceptionTest : testing::Test {
    KZSignalExceptionTest() {
        GlbSetTraceLevel(0);
        KZDebug::ChangeErrorLogFileName(folder.Path(u""), logName);
        KZInitCatchSignal();
    }
    ~KZSignalExceptionTest() override {
        KZDebug::ChangeErrorLogFileName(u"", u"");
        GlbSetTraceLevel(1);
    }
    TemporaryDirectory folder;
};

TEST_F(KZSignalExceptionTest, FaultsArriveAgainAndAgainWithTheirReportMade) {
    for (int round = 0; round < 2; ++round) {
        for (Case const & each : cases) {
            SCOPED_TRACE(each.what);
            folder.Remove(logName);
            int cleaned = 0;
            try {
                FaultWithCleanUp(each.fault, cleaned);
                ADD_FAILURE() << "no exception";
            } catch (KZSignalException const & exception) {
                EXPECT_EQ(exception.GetSeHNumber(), each.code) << exception.what();
                EXPECT_NE(exception.Stack().AsUTF8().find(each.what), std::string::npos)
                    << exception.Stack().AsUTF8();
                EXPECT_NE(folder.Read(logName).find(exception.what()), std::string::npos);
            }
            EXPECT_EQ(cleaned, 1);
        }
    }
    EXPECT_THROW(writeNull(), KZException);
    EXPECT_THROW(writeNull(), std::exception);
}

bool glbIsDumped = false;

TEST_F(KZSignalExceptionTest, TellsItsReportOnceWithoutTheLockOfDumps) {
    static bool isWanted = true;
    KZDebug::AddReportHook([]() noexcept {
        if (isWanted) std::thread([] { glbIsDumped = !KZStackDump().GetStackText().empty(); }).join();
    });
    GlbSetTraceLevel(1);
    testing::internal::CaptureStdout();
    EXPECT_THROW(writeNull(), KZSignalException);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("Access violation"), std::string::npos);
    EXPECT_TRUE(glbIsDumped);
    isWanted = false;
    std::string const before = folder.Read(logName);
    GlbSetTraceLevel(0);
    KZStackDump dump;
    EXPECT_EQ(KZSignalException(dump).GetSeHNumber(), 0U);
    std::string const once = folder.Read(logName);
    EXPECT_TRUE(dump.IsReported() && once.size() > before.size());
    EXPECT_EQ(KZSignalException(dump).GetSeHNumber(), 0U);
    EXPECT_EQ(folder.Read(logName), once);
}

#if defined(__x86_64__)
TEST_F(KZSignalExceptionTest, FloatingPointIsAsBeforeAfterAFault) {
    EXPECT_THROW(divideFloat(), KZSignalException);
    EXPECT_EQ(std::fetestexcept(FE_DIVBYZERO), 0);
    bool read = true;
    EXPECT_GT(KZString(u"1e999").AsDouble(&read), 1e300) << "reading a number is no fault";
    EXPECT_FALSE(read);
    double volatile third = 3, none = 0;
    {
        KZPlatform::QuietFloatingPoint const quiet;
        none = third / none;
    }
    third = 1 / third;
    EXPECT_GT(third, 0.3) << "an inexact result is no fault";
    EXPECT_THROW(divideFloat(), KZSignalException);
}
#endif

// Calls through a pointer: otherwise the compiler would prove that nothing here throws, and drop the callers'
// handlers.
int volatile glbDepthLimit = 0x7FFFFFFF;
template <std::size_t bytes>
struct Recursion {
    NOINLINE UNCHECKED static int Call(int depth) {
        char volatile room[bytes];
        room[0] = static_cast<char>(depth);
        return depth == glbDepthLimit ? 0 : call(depth + 1) + room[0];
    }
    static inline int (*volatile call)(int) = &Call;
};

// Overflows the stack in various places: in its clean-up, in the allocator, in a constructor, or in its own prologue.
NOINLINE UNCHECKED std::size_t RecurseWithObjects(int depth, int & alive) {
    ++alive;
    struct Leaving {
        int & alive;
        ~Leaving() { --alive; }
    } const leaving{alive};
    std::string const text = std::to_string(depth) + " is how deep we are, in more words than fit";
    return depth == glbDepthLimit ? 0 : RecurseWithObjects(depth + 1, alive) + text.size();
}

// Faults on a stack that the program has made itself.
[[maybe_unused]] void FaultOnAnotherStack() {
    static thread_local ucontext_t thread, fiber;
    static thread_local std::array<char, 64 * 1024> stack;
    getcontext(&fiber);
    fiber.uc_stack.ss_sp = stack.data();
    fiber.uc_stack.ss_size = stack.size();
    fiber.uc_link = &thread;
    makecontext(
        &fiber, [] { EXPECT_THROW(writeNull(), KZSignalException); }, 0);
    swapcontext(&thread, &fiber);
}

TEST_F(KZSignalExceptionTest, AStackOverflowIsCaughtMoreThanOnce) {
    auto const overflow = [](auto && recurse) {
        unsigned int code = 0;
        try {
            recurse();
        } catch (KZSignalException const & exception) {
            code = exception.GetSeHNumber();
        }
        EXPECT_EQ(code, 0xC00000FDU);
    };
    auto const repeatedly = [&overflow] {
        KZInitCatchSignal();
        for (int round = 0; round < 3; ++round) {
            overflow([] { static_cast<void>(Recursion<512>::call(0)); });
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // one block leaks, and it takes long
            overflow([] { static_cast<void>(Recursion<300000>::call(0)); });
            FaultOnAnotherStack();
            int alive = 0;
            overflow([&alive] { static_cast<void>(RecurseWithObjects(0, alive)); });
            EXPECT_EQ(alive, 0);
#endif
        }
    };
    repeatedly();
    std::thread(repeatedly).join();
    for (int i = 0; i < 2; ++i) { // the second thread gets the memory of the first, if it is still intact
        KZThread thread(Callback(repeatedly));
        ASSERT_TRUE(thread.Start().Good());
        thread.Join();
    }
}

using KZSignalExceptionDeathTest = KZSignalExceptionTest;

TEST_F(KZSignalExceptionDeathTest, WhatIsNotAFaultOfThisThreadKeepsItsCourse) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::thread(WriteNull).join(), testing::KilledBySignal(SIGSEGV), "")
        << "a thread that never asked for translation";
    EXPECT_EXIT(std::raise(SIGSEGV), testing::KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(std::raise(SIGFPE), testing::KilledBySignal(SIGFPE), "");
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // sanitizers have allocators of their own
    EXPECT_EXIT(std::free(glbNoBlock), testing::KilledBySignal(SIGSEGV), "")
        << "the allocator's locks are held";
#endif
}

TEST_F(KZSignalExceptionDeathTest, AFaultThatNobodyCatchesEndsTheProcessWithItsReport) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            KZDebug::ChangeErrorLogFileName(u"/dev", u"stderr");
            std::thread([] {
                KZInitCatchSignal();
                writeNull();
            }).join();
        },
        testing::KilledBySignal(SIGABRT), "Access violation.*STACK:.*WriteNull");
}

} // namespace
