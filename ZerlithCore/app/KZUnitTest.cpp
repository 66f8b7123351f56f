// The menu of test cases: reads choices from the standard input, runs the tests and prints their times.
#include "ZerlithCore/app/KZUnitTest.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/KZWideText.h"

#include <chrono>
#include <exception>
#include <iostream>
#include <streambuf>
#include <utility>

namespace {

/// Reads the standard input byte by byte and takes each byte as a character, which is enough for numbers and letters. It reads
/// no more than it needs, so others can read the rest of the input.
class NarrowInput : public std::wstreambuf {
protected:
    int_type underflow() override {
        int const byte = std::cin.get();
        if (byte == std::char_traits<char>::eof()) return traits_type::eof();
        character_ = static_cast<wchar_t>(byte);
        setg(&character_, &character_, &character_ + 1);
        return traits_type::to_int_type(character_);
    }

private:
    wchar_t character_ = 0;
};

KZString FromNarrow(std::string const & text) {
    KZString string;
    static_cast<void>(string.SetFromUTF8(text));
    return string;
}

/// The message of a failure, empty for none.
struct Outcome {
    bool passed;
    KZString message;
};

Outcome Run(KZTestCase & testCase) {
    try {
        return {testCase.Run(), {}};
    } catch (std::exception const & exception) {
        return {false, FromNarrow(exception.what())};
    } catch (...) {
        return {false, u"an exception of unknown type"};
    }
}

void ShowMenu(KZString const & title, KZUnitTest::TestList const & tests, std::wostream & out) {
    out << L'\n' << title << L'\n';
    for (std::size_t i = 0; i < tests.size(); ++i)
        out << L"  " << i + 1 << L"  " << tests[i]->GetName() << L'\n';
    out << L"  a  all\n  q  quit\nYour choice: " << std::flush;
}

void RunAll(KZUnitTest::TestList const & tests, std::wostream & out) {
    std::size_t passed = 0;
    for (KZSmartPtr<KZTestCase> const & test : tests) passed += KZUnitTest::RunTestCase(*test, out) ? 1U : 0U;
    out << passed << L" of " << tests.size() << L" passed\n";
}

/// Reads a line without the white space around it; false at the end of the input.
bool ReadChoice(std::wistream & in, KZString & choice) {
    std::wstring line;
    if (!std::getline(in, line)) return false;
    choice = KZString(std::u16string_view(KZFromWide(line)));
    choice.LTrim(u" \t");
    choice.RTrim(u" \t\r");
    return true;
}

} // namespace

KZTestCase::KZTestCase(KZString const & name, Body body) : name_(name), body_(std::move(body)) {}

KZTestCase::~KZTestCase() = default;

bool KZTestCase::Run() { return !body_ || body_(); }

KZUnitTest::KZUnitTest(std::string const & name) : name_(FromNarrow(name)) {}

void KZUnitTest::AddTestCase(KZSmartPtr<KZTestCase> const & testCase) {
    if (!testCase.IsNull()) tests_.push_back(testCase);
}

KZSmartPtr<KZTestCase> KZUnitTest::GetLastTestCase() const {
    return tests_.empty() ? KZSmartPtr<KZTestCase>() : tests_.back();
}

bool KZUnitTest::RunTestCase(KZTestCase & testCase, std::wostream & out) {
    using std::chrono::milliseconds, std::chrono::steady_clock;
    out << L"Running " << testCase.GetName() << L"...\n" << std::flush;
    auto const start = steady_clock::now();
    Outcome const outcome = Run(testCase);
    auto const time = std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
    out << (outcome.passed ? L"PASSED " : L"FAILED ") << testCase.GetName() << L" (" << time.count()
        << L" ms)";
    if (!outcome.message.IsNull()) out << L": " << outcome.message;
    out << L'\n';
    return outcome.passed;
}

void KZUnitTest::DisplayMenuAndExecuteUserChoice(TestList const & tests, std::wostream & out,
                                                 std::wistream & in) const {
    TestList const menu = tests; // a copy, since a test may add others
    for (;;) {
        ShowMenu(name_, menu, out);
        KZString choice;
        if (!ReadChoice(in, choice) || choice == u"q" || choice == u"Q") return;
        bool isNumber = false;
        unsigned int const number = choice.AsUint(&isNumber);
        if (choice == u"a" || choice == u"A")
            RunAll(menu, out);
        else if (isNumber && number >= 1 && number <= menu.size())
            RunTestCase(*menu[number - 1], out);
        else
            out << L"There is no choice \"" << choice << L"\".\n";
    }
}

void KZUnitTest::DisplayMenuAndExecuteUserChoice() const {
    NarrowInput buffer;
    std::wistream in(&buffer);
    DisplayMenuAndExecuteUserChoice(tests_, KZGetConsole(), in);
}
