/// @file
/// Tests that a program offers on a menu while it runs.
///
///     KZUnitTest menu("Server");
///     menu.AddTestCase(new KZTestCase(u"finds its configuration", [] { return KZFile::Exists(u"server.ini"); }));
///     menu.DisplayMenuAndExecuteUserChoice();
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"

#include <concepts>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

/// One test: a name and a function. Pass a callback to the constructor, or override `Run`.
///
/// Thread safety: the name may be read from any thread. Whether several threads may call `Run` depends on the test.
class KZ_EXPORT KZTestCase : public KZRefCount {
public:
    /// Any function or function object without parameters whose result is true or false; by default none. Copies share the
    /// function object.
    class Body {
    public:
        Body() noexcept = default;
        Body(std::nullptr_t) noexcept {}
        template <class Function>
        requires std::is_invocable_r_v<bool, Function &> &&
            (!std::same_as<Function, Body>)Body(Function function) {
            if constexpr (std::is_constructible_v<bool, Function const &> && !std::is_empty_v<Function>)
                if (!static_cast<bool>(function)) return;
            held_ = new Held<Function>(std::move(function));
        }

        explicit operator bool() const noexcept { return !held_.IsNull(); }
        bool operator()() const { return held_->Call(); }

    private:
        struct Callable : KZRefCount {
            virtual bool Call() = 0;
        };
        template <class Function>
        struct Held final : Callable {
            explicit Held(Function && given) : function(std::move(given)) {}
            bool Call() override { return function(); }

            Function function;
        };

        KZSmartPtr<Callable> held_;
    };

    explicit KZTestCase(KZString const & name, Body body = {});
    ~KZTestCase() override;

    [[nodiscard]] KZString const & GetName() const noexcept { return name_; }

    /// Runs the test and returns whether it passed. A test that throws has failed, too. Here: calls the callback; without a
    /// callback the test passes.
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

    /// `name`, in UTF-8, is the title of the menu.
    explicit KZUnitTest(std::string const & name);

    [[nodiscard]] KZString const & GetName() const noexcept { return name_; }

    /// Appends a test; null is ignored.
    void AddTestCase(KZSmartPtr<KZTestCase> const & testCase);
    [[nodiscard]] TestList const & GetTestList() const noexcept { return tests_; }
    /// Empties the list and returns the tests that were in it.
    [[nodiscard]] TestList TakeTestCases() noexcept { return std::exchange(tests_, {}); }
    /// The test that was added last; null when there is none.
    [[nodiscard]] KZSmartPtr<KZTestCase> GetLastTestCase() const;

    /// Runs one test, writes its result and duration to `out`, and returns whether it passed. If the test throws, the text of
    /// the exception is written, too, and the exception isn't passed on.
    static bool RunTestCase(KZTestCase & testCase, std::wostream & out);

    /// Writes the numbered `tests` to `out`, reads a choice from `in`, and runs the chosen test, or all for "a". It repeats that
    /// until the choice is to quit or the input ends.
    void DisplayMenuAndExecuteUserChoice(TestList const & tests, std::wostream & out,
                                         std::wistream & in) const;
    /// The same with this object's list on the console and the standard input.
    void DisplayMenuAndExecuteUserChoice() const;

private:
    KZString name_;
    TestList tests_;
};
