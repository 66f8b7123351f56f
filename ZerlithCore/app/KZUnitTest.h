/// @file
/// Tests that a program offers on a menu while it runs.
///
///     KZUnitTest & menu = *application.GetMainMenu();
///     menu.AddTestCase(new KZTestCase(u"connects to the server", [] { return Connect(); }));
///     menu.DisplayMenuAndExecuteUserChoice();
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"

#include <functional>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

/// One test: a name and something to run. Built with a callback, or derived from.
///
/// Thread safety: the name is fixed; what `Run` allows is up to the test.
class KZ_EXPORT KZTestCase : public KZRefCount {
public:
    using Body = std::function<bool()>;

    explicit KZTestCase(KZString const & name, Body body = {});
    ~KZTestCase() override;

    [[nodiscard]] KZString const & GetName() const noexcept { return name_; }

    /// True when the test passed; an exception is a failure too. Here: calls the callback, and passes without one.
    virtual bool Run();

private:
    KZString name_;
    Body body_;
};

/// A named list of tests and the menu that runs them.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZUnitTest {
public:
    using TestList = std::vector<KZSmartPtr<KZTestCase>>;

    /// `name` is UTF-8 and the menu's title.
    explicit KZUnitTest(std::string const & name);

    [[nodiscard]] KZString const & GetName() const noexcept { return name_; }

    /// Appends a test; null is ignored.
    void AddTestCase(KZSmartPtr<KZTestCase> const & testCase);
    [[nodiscard]] TestList const & GetTestList() const noexcept { return tests_; }
    /// Takes all tests off the list and returns them.
    [[nodiscard]] TestList TakeTestCases() noexcept { return std::exchange(tests_, {}); }
    /// The test that was added last; null when there is none.
    [[nodiscard]] KZSmartPtr<KZTestCase> GetLastTestCase() const;

    /// Runs one test, tells its result and how long it took, and returns whether it passed. Exceptions are told and
    /// end here.
    static bool RunTestCase(KZTestCase & testCase, std::wostream & out);

    /// Shows the numbered `tests`, reads a choice, runs what was chosen, and starts over until the choice is to quit or
    /// the input ends. "a" runs all.
    void DisplayMenuAndExecuteUserChoice(TestList const & tests, std::wostream & out,
                                         std::wistream & in) const;
    /// The same with this object's list on the console and the standard input.
    void DisplayMenuAndExecuteUserChoice() const;

private:
    KZString name_;
    TestList tests_;
};
