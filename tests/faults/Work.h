/// @file
/// A piece of work that is done again and again, each time with another call to the system failing.
///
///     class Greeting : public Work {
///         bool Act() override { return WriteGreeting(Path(u"greeting")); }
///         void Check(bool isWhole) override { Expect(!isWhole || Read("greeting") == "hello", "half a greeting"); }
///     };
///     WorkEntry const greeting("greeting", [] { return std::unique_ptr<Work>(new Greeting); });
#pragma once

#include "ZerlithCore/ZerlithCore.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

class Work {
public:
    virtual ~Work() = default;

    /// Makes what the work starts from. Nothing fails here.
    virtual void Prepare() {}
    /// The work, in which one call fails, or one and all after it. True when it says that all is done; false, and
    /// whatever it throws, means that it told an error.
    virtual bool Act() = 0;
    /// Looks at what is there now, while nothing fails. `isWhole` is what `Act` said.
    virtual void Check(bool isWhole) = 0;

    void SetPlace(std::filesystem::path place) { place_ = std::move(place); }
    void SetFailsForGood(bool failsForGood) { failsForGood_ = failsForGood; }
    /// The first thing that wasn't as it should be; empty if all was.
    [[nodiscard]] std::string const & Finding() const { return finding_; }

protected:
    /// Notes `what` unless `condition` holds.
    void Expect(bool condition, std::string const & what) {
        if (!condition && finding_.empty()) finding_ = what;
    }
    /// Tells whether everything fails from the failing call on, so that nothing can be put back either.
    [[nodiscard]] bool FailsForGood() const { return failsForGood_; }
    /// A file in the directory of this work alone.
    [[nodiscard]] KZString Path(char const * name) const { return KZString((place_ / name).u16string()); }
    [[nodiscard]] std::string Bytes(char const * name) const { return (place_ / name).string(); }
    void Write(char const * name, std::string const & bytes) const {
        std::ofstream(place_ / name, std::ios::binary) << bytes;
    }
    [[nodiscard]] std::string Read(char const * name) const {
        std::ifstream stream(place_ / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }
    /// Tells whether the directory holds just these files, apart from what starts with a point.
    [[nodiscard]] bool HoldsOnly(std::vector<std::string> const & names) const {
        for (auto const & entry : std::filesystem::directory_iterator(place_))
            if (std::ranges::find(names, entry.path().filename().string()) == names.end()) return false;
        return true;
    }

private:
    std::filesystem::path place_;
    std::string finding_;
    bool failsForGood_ = false;
};

/// Enters a work into the list of all, which the driver goes through.
struct WorkEntry {
    using Maker = std::unique_ptr<Work> (*)();

    WorkEntry(char const * itsName, Maker itsMaker) : name(itsName), make(itsMaker), next(first) {
        first = this;
    }

    char const * name;
    Maker make;
    WorkEntry const * next;
    static inline WorkEntry const * first = nullptr;
};
