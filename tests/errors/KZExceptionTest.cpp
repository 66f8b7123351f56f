#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/errors/KZErrorID.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

namespace {

std::wostringstream glbTold;

// Collects what is written to the locked console while it exists.
struct ConsoleCapture {
    ConsoleCapture() {
        glbTold.str(L"");
        KZLockedCOUT::SetStreamSource([](unsigned int level) -> std::wostream & {
            EXPECT_EQ(level, 1U);
            return glbTold;
        });
    }
    ~ConsoleCapture() { KZLockedCOUT::SetStreamSource(nullptr); }
};

TEST(KZErrorI, HasNoParametersOfItsOwn) {
    struct Plain : KZErrorI {
        Plain() : KZErrorI(7, SeverityError) {}
        unsigned long AddRef() const override { return 1; }
        unsigned long Release() const override { return 0; }
        KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override {
            return KZObjectI::QueryInterface(iuid);
        }
        KZErrorID AsString(KZString &, KZFormatContext const &) const override { return KZErrorID(); }
    } const error;
    EXPECT_TRUE(error.GetIUID() == 3 && error.IsKindOf(3) && !error.IsKindOf(4) && error.GetCode() == 7);
    EXPECT_TRUE(error.GetParameterCount() == 0 && error.GetParameterType(0) == KZErrorI::ParamNone);
    EXPECT_EQ(error.GetParameterValue(0), nullptr);
}

TEST(KZException, ShowsTheUserWhatStandsBehindTheMarker) {
    std::pair<char16_t const *, char const *> const cases[] = {{u"plain", "plain"},
                                                               {u"report###***###short", "short"},
                                                               {u"a###***###b###***###c", "b###***###c"},
                                                               {u"###***###", ""},
                                                               {u"", ""},
                                                               {u"\u20ac", "\xE2\x82\xAC"}};
    for (auto const & [message, shown] : cases) {
        KZException const exception(message, true);
        EXPECT_STREQ(exception.what(), shown);
        EXPECT_EQ(KZString(exception.What()).AsUTF8(), shown);
        EXPECT_TRUE(exception.Stack().IsNull());
    }
}

TEST(KZException, WritesItsReportOnceWhenTracing) {
    ConsoleCapture const capture;
    KZException const exception(u"the whole report###***###short", true);
    GlbSetTraceLevel(0);
    exception.LogInErrorFile();
    EXPECT_EQ(glbTold.str(), L"");
    GlbSetTraceLevel(1);
    exception.LogInErrorFile();
    EXPECT_EQ(glbTold.str(), L"") << "it counts as logged, though nobody listened";
    exception.LogInErrorFile(KZException::LogAlways);
    KZException const copy(exception);
    copy.LogInErrorFile();
    EXPECT_EQ(glbTold.str(), L"the whole report");
}

TEST(KZException, ComposesItsReport) {
    ConsoleCapture const capture;
    KZException(u"what happened", true).LogInErrorFile();
    EXPECT_NE(glbTold.str().find(L"\nEXCEPTION: what happened\nSTACK:\n\n\n"), std::wstring::npos);
}

__attribute__((noinline)) KZException MakeDeepInside() { return KZException(u"deep"); }

TEST(KZException, StackNamesTheFunctionThatMadeIt) {
    if (std::getenv("KZ_DISABLE_STACK")) GTEST_SKIP() << "stacks are disabled from outside";
    EXPECT_NE(MakeDeepInside().Stack().AsUTF8().find("MakeDeepInside"), std::string::npos)
        << MakeDeepInside().Stack().AsUTF8();
}

TEST(KZExceptionDeathTest, AnEmptyVariableDisablesStacks) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    EXPECT_EXIT(
        {
            setenv("KZ_DISABLE_STACK", "", 1);
            KZString const first = KZException(u"x").Stack();
            unsetenv("KZ_DISABLE_STACK");
            bool const both = first == u"(Stack disabled - KZ_DISABLE_STACK is defined)" &&
                              KZException(u"y").Stack() == first;
            std::_Exit(both ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(KZException, KeepsTheNumberOfTheSystem) {
    KZWindowsLastErrorException const last;
    EXPECT_EQ(KZWindowsLastErrorException(last).GetErrorNumber(), last.GetErrorNumber());
}

} // namespace
