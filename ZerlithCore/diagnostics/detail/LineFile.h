// A file to which lines are appended.
#pragma once

#include "ZerlithCore/platform/FileHandle.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KZDetail {

/// A file to which any number of objects and processes append lines, so that no line is joined to a piece of another one.
///
/// A piece is left behind when a process is killed, or the disk is full, in the middle of a write. Whoever finds one at the
/// end of the file ends its line first, after filling up its last unit. So each `Append` looks whether the file still ends
/// where the last one ended; if it doesn't, it looks at what stands there. A piece that appears between this look and the
/// write, in about a microsecond, is missed.
///
/// A line of this object that the disk took in part is completed by the next `Append`, or written again as a whole when
/// somebody has written behind it. Nothing is ever cut off: it could be somebody else's by then.
///
/// Thread safety: one object needs outside locking.
class LineFile {
public:
    /// How lines end, and how many bytes a unit of text has; a line end consists of whole units.
    struct Form {
        std::string_view lineEnd;
        std::size_t unitBytes;

        /// What the last line of a text that is complete ends with.
        [[nodiscard]] constexpr std::string_view LastUnit() const noexcept {
            return lineEnd.substr(lineEnd.size() - unitBytes);
        }
    };
    static constexpr Form utf8{"\n", 1};

    explicit LineFile(Form const & form) noexcept : form_(form) {}

    /// Closes what is open and opens `path`. A line that this object left open there itself goes on, if nobody has written
    /// since. Errors: false, with the reason in the thread's last error.
    [[nodiscard]] bool Open(std::u16string_view path, KZPlatform::FileCreation creation,
                            KZPlatform::FileShare share, KZPlatform::FileProtection protection);
    [[nodiscard]] bool IsOpen() const noexcept { return file_.IsOpen(); }
    void Close() noexcept;

    /// Appends `lines`, of which the last one may go on in the next call. Returns how many bytes are done with: all of them,
    /// or those in front of the first line that isn't in the file, or only in part. What remains must be where the next
    /// call's text begins, unless the file is closed in between.
    [[nodiscard]] std::size_t Append(std::string_view lines) noexcept;

private:
    [[nodiscard]] std::size_t BeginOfLine(std::string_view lines, std::size_t place) const noexcept;
    [[nodiscard]] bool GoToEnd() noexcept;
    [[nodiscard]] bool StartLine(std::int64_t end) noexcept;
    [[nodiscard]] bool IsLineEnd(std::int64_t end) noexcept;
    [[nodiscard]] bool OpenReader() noexcept;

    static constexpr std::int64_t unknown = -1;

    Form form_;
    KZPlatform::FileHandle file_;
    KZPlatform::FileHandle reader_; // for looks at the end; opened when one is needed
    KZPlatform::FileProtection protection_ = KZPlatform::FileProtection::Usual;
    std::u16string path_;
    bool isStream_ = false;      // a pipe or a terminal: it has no end to look at
    std::int64_t end_ = unknown; // of the file, after the last write
    std::size_t cutBytes_ = 0;   // of the line to come that are in the file already
    bool isLineOpen_ = false;    // the last write has left its line open
};

} // namespace KZDetail
