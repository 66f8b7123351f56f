/// @file
/// A piece of work that is repeated, each time with another call to the system failing.
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

    /// Makes the files and objects that the work starts with. No call fails here.
    virtual void Prepare() {}
    /// The work, during which one call fails, or one and all later calls. Returns true if the library reported success. Returns
    /// false or throws if it reported an error.
    virtual bool Act() = 0;
    /// Checks the result, while no call fails. `isWhole` is the result of `Act`.
    virtual void Check(bool isWhole) = 0;

    void SetPlace(std::filesystem::path place) { place_ = std::move(place); }
    void SetFailsForGood(bool failsForGood) { failsForGood_ = failsForGood; }
    /// The first thing that was wrong; empty if nothing was.
    [[nodiscard]] std::string const & Finding() const { return finding_; }

protected:
    /// Notes `what` unless `condition` holds.
    void Expect(bool condition, std::string const & what) {
        if (!condition && finding_.empty()) finding_ = what;
    }
    /// Whether all calls from the failing one on fail, so that the library can't undo anything either.
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
    /// Whether the directory has no files but these. Names that start with a point don't count.
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

/// Adds a work to the list that the driver runs.
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
