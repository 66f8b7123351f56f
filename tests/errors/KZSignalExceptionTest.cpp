// Faults that are really raised, each on the main thread; threads have theirs in the tests of threads.
#include "ZerlithCore/errors/KZSignalException.h"
#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/errors/KZErrorID.h"

#include <gtest/gtest.h>

#include <cfenv>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace {

#define NOINLINE __attribute__((noinline, noclone))

// The sanitizers look at these instructions before the processor does.
#define UNCHECKED __attribute__((no_sanitize("undefined", "address", "thread")))

int volatile glbZero = 0;
double volatile glbFloatZero = 0;
int volatile * volatile glbNull = nullptr;

NOINLINE UNCHECKED void WriteNull() { *glbNull = 1; }
NOINLINE UNCHECKED void ReadNull() { static_cast<void>(*glbNull); }
NOINLINE UNCHECKED void DivideInteger() { glbZero = 1 / glbZero; }
NOINLINE UNCHECKED void DivideFloat() { glbFloatZero = 1.0 / glbFloatZero; }
NOINLINE UNCHECKED void InvalidFloat() { glbFloatZero = glbFloatZero / glbFloatZero; }
NOINLINE void Illegal() {
#if defined(__x86_64__)
    asm volatile("ud2");
#else
    asm volatile(".inst 0");
#endif
}

struct Case {
    char const * what;
    void (*fault)();
    unsigned int code;
};
constexpr Case cases[] = {
    {"WriteNull", WriteNull, 0xC0000005},
    {"ReadNull", ReadNull, 0xC0000005},
    {"Illegal", Illegal, 0xC000001D},
#if defined(__x86_64__)
    {"DivideInteger", DivideInteger, 0xC0000094},
    {"DivideFloat", DivideFloat, 0xC000008E},
    {"InvalidFloat", InvalidFloat, 0xC0000090},
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

std::string Contents(std::string const & file) {
    std::ifstream in(file);
    return {std::istreambuf_iterator<char>(in), {}};
}

struct KZSignalExceptionTest : testing::Test {
    KZSignalExceptionTest() {
        GlbSetTraceLevel(0);
        std::string const path = testing::TempDir();
        KZString directory;
        static_cast<void>(directory.SetFromUTF8(path.substr(0, path.size() - 1)));
        KZDebug::ChangeErrorLogFileName(directory, u"faults-ERROR.LOG");
        logFile = KZDebug::GetErrorLogFileName().AsUTF8();
        std::remove(logFile.c_str());
        KZInitCatchSignal();
    }
    ~KZSignalExceptionTest() override {
        std::remove(logFile.c_str());
        KZDebug::ChangeErrorLogFileName(u"", u"");
        GlbSetTraceLevel(1);
    }
    std::string logFile;
};

TEST_F(KZSignalExceptionTest, FaultsArriveAgainAndAgainWithTheirReportMade) {
    for (int round = 0; round < 2; ++round) {
        for (Case const & each : cases) {
            SCOPED_TRACE(each.what);
            std::remove(logFile.c_str());
            int cleaned = 0;
            try {
                FaultWithCleanUp(each.fault, cleaned);
                ADD_FAILURE() << "no exception";
            } catch (KZSignalException const & exception) {
                EXPECT_EQ(exception.GetSeHNumber(), each.code) << exception.what();
                EXPECT_NE(exception.Stack().AsUTF8().find(each.what), std::string::npos)
                    << exception.Stack().AsUTF8();
                EXPECT_NE(Contents(logFile).find(exception.what()), std::string::npos);
            }
            EXPECT_EQ(cleaned, 1);
        }
    }
    EXPECT_THROW(WriteNull(), KZException);
    EXPECT_THROW(WriteNull(), std::exception);
}

#if defined(__x86_64__)
TEST_F(KZSignalExceptionTest, FloatingPointIsAsBeforeAfterAFault) {
    EXPECT_THROW(DivideFloat(), KZSignalException);
    double const volatile third = 1.0 / 3.0;
    EXPECT_GT(third, 0.3);
    EXPECT_EQ(std::fetestexcept(FE_DIVBYZERO), 0);
    EXPECT_THROW(DivideFloat(), KZSignalException);
}
#endif

NOINLINE UNCHECKED int Recurse(int depth) {
    char volatile room[512];
    room[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : Recurse(depth + 1) + room[0];
}

TEST_F(KZSignalExceptionTest, AStackOverflowIsCaughtMoreThanOnce) {
    for (int round = 0; round < 3; ++round) {
        unsigned int code = 0;
        try {
            static_cast<void>(Recurse(0));
        } catch (KZSignalException const & exception) {
            code = exception.GetSeHNumber();
        }
        EXPECT_EQ(code, 0xC00000FDU) << round;
    }
}

using KZSignalExceptionDeathTest = KZSignalExceptionTest;

TEST_F(KZSignalExceptionDeathTest, WhatIsNotAFaultOfThisThreadKeepsItsCourse) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(std::thread(WriteNull).join(), testing::KilledBySignal(SIGSEGV), "")
        << "a thread that never asked for translation";
    EXPECT_EXIT(std::raise(SIGSEGV), testing::KilledBySignal(SIGSEGV), "");
    EXPECT_EXIT(std::raise(SIGFPE), testing::KilledBySignal(SIGFPE), "");
}

} // namespace
