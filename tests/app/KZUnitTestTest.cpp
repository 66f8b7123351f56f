#include "ZerlithCore/app/KZUnitTest.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <stdexcept>

namespace {

/// The text of `out`, with measured times replaced by "?".
std::wstring WithoutTimes(std::wostringstream const & out) {
    std::wstring text = out.str();
    for (std::size_t end = text.find(L" ms)"); end != std::wstring::npos; end = text.find(L" ms)", end)) {
        std::size_t const begin = text.rfind(L'(', end) + 1;
        text.replace(begin, end + 3 - begin, L"?");
        end = begin;
    }
    return text;
}

TEST(KZUnitTest, RunsWhatIsChosen) {
    int runs = 0;
    KZUnitTest menu("T\xC3\xA9st");
    EXPECT_TRUE(menu.GetLastTestCase().IsNull());
    menu.AddTestCase(new KZTestCase(u"passes", [&] { return ++runs > 0; }));
    menu.AddTestCase(KZSmartPtr<KZTestCase>());
    menu.AddTestCase(new KZTestCase(u"throws", []() -> bool { throw std::runtime_error("no luck"); }));
    EXPECT_EQ(menu.GetLastTestCase()->GetName(), u"throws");

    std::wistringstream in(L"1\n 2 \r\n0\n3\nx\n\na\nq\n1\n");
    std::wostringstream out;
    menu.DisplayMenuAndExecuteUserChoice(menu.GetTestList(), out, in);
    std::wstring const ask = L"\nT\u00E9st\n  1  passes\n  2  throws\n  a  all\n  q  quit\nYour choice: ";
    std::wstring const passes = L"Running passes...\nPASSED passes (?)\n";
    std::wstring const fails = L"Running throws...\nFAILED throws (?): no luck\n";
    std::wstring expected = ask + passes + ask + fails;
    for (wchar_t const * choice : {L"0", L"3", L"x", L""})
        expected += ask + L"There is no choice \"" + choice + L"\".\n";
    expected += ask + passes + fails + L"1 of 2 passed\n" + ask;
    EXPECT_EQ(WithoutTimes(out), expected);
    EXPECT_EQ(runs, 2);
}

TEST(KZUnitTest, LeavesAtTheEndOfTheInput) {
    KZUnitTest menu("");
    menu.AddTestCase(new KZTestCase(u"grows", [&menu] {
        for (int i = 0; i < 100; ++i) menu.AddTestCase(new KZTestCase(u"more"));
        return false;
    }));
    std::wistringstream in(L"a");
    std::wostringstream out;
    menu.DisplayMenuAndExecuteUserChoice(menu.GetTestList(), out, in);
    EXPECT_NE(out.str().find(L"0 of 1 passed"), std::wstring::npos);
    EXPECT_EQ(menu.GetTestList().size(), 101U);

    std::istringstream typed("x\nq\nrest");
    std::streambuf * const former = std::cin.rdbuf(typed.rdbuf());
    testing::internal::CaptureStdout();
    menu.DisplayMenuAndExecuteUserChoice();
    std::cin.rdbuf(former);
    EXPECT_NE(testing::internal::GetCapturedStdout().find("There is no choice \"x\"."), std::string::npos);
    EXPECT_EQ(typed.get(), 'r') << "reads no more than it needs";
}

} // namespace
