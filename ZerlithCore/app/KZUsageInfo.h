/// @file
/// Descriptions of a program's options, and their display.
///
///     KZUsageInfo usage;
///     usage.AddCmdLineArgDesc("level:{number}", "How much the tool prints.");
///     KZWriteUsage(KZGetConsole(), u"tool", {usage});
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <iosfwd>
#include <vector>

/// A general text and the descriptions of options, in the order in which they were added. Errors: std::bad_alloc, and nothing
/// has changed.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZUsageInfo {
public:
    [[nodiscard]] KZString const & GetGeneralInfo() const noexcept { return generalInfo_; }
    void SetGeneralInfo(KZString const & text) { generalInfo_ = text; }

    [[nodiscard]] unsigned int GetCmdLineArgDescCount() const noexcept {
        return static_cast<unsigned int>(descriptions_.size());
    }
    /// Sets `option`, `description` and `flag` to those at `index`, from 0. False, and nothing is set, when there are fewer.
    bool GetCmdLineArgDesc(unsigned int index, KZString & option, KZString & description, bool & flag) const;
    /// Appends a description. `option` is the option without its delimiter. `flag` is stored and returned, but the display
    /// doesn't use it. Narrow texts are UTF-8; null counts as empty.
    void AddCmdLineArgDesc(KZString const & option, KZString const & description, bool flag = false);
    void AddCmdLineArgDesc(char const * option, char const * description, bool flag = false);
    /// The names of the options: of "level:{number}" and "log[:file]" the parts "level" and "log".
    [[nodiscard]] std::vector<KZString> GetCmdLineArgNames() const;

private:
    struct Description {
        KZString option;
        KZString description;
        bool flag;
    };

    KZString generalInfo_;
    std::vector<Description> descriptions_;
};

/// Writes how `appName` is used: a banner, and for each of `infos` the general text and the options in two columns of 20
/// and 54 units. A long option gets a line of its own; descriptions are broken at blanks. An option "level:{number}" is shown
/// as "/level:{number}", with `longOptions` as "--level={number}". Thread safety: as `stream`.
KZ_EXPORT void KZWriteUsage(std::wostream & stream, KZString const & appName,
                            std::vector<KZUsageInfo> const & infos, bool longOptions = false);
