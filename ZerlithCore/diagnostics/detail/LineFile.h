// A file to which lines are appended.
#pragma once

#include "ZerlithCore/platform/FileHandle.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace KZDetail {

/// A file to which any number of objects and processes append lines. No line is joined to an unfinished line of another writer.
///
/// An unfinished line stays at the end of the file when a process is killed, or the disk is full, in the middle of a write. The
/// next writer fills up its last unit and ends the line before it writes its own. To notice that, each `Append` checks whether
/// the file still ends where the last `Append` of this object ended. If it doesn't, the last unit of the file is read. An
/// unfinished line that appears between this check and the write, in about a microsecond, isn't noticed.
///
/// If the disk takes only a part of a line of this object, the next `Append` writes the rest of it. If another writer has
/// written after the part, the whole line is written again. The part is never removed: by then what follows it may be another
/// writer's.
///
/// Thread safety: one object needs outside locking.
class LineFile {
public:
    /// How lines end, and how many bytes one unit of text has. A line end consists of whole units.
    struct Form {
        std::string_view lineEnd;
        std::size_t unitBytes;

        /// The last unit of a line end; a text is complete if it ends with it.
        [[nodiscard]] constexpr std::string_view LastUnit() const noexcept {
            return lineEnd.substr(lineEnd.size() - unitBytes);
        }
    };
    static constexpr Form utf8{"\n", 1};

    explicit LineFile(Form const & form) noexcept : form_(form) {}

    /// Closes the open file, if any, and opens `path`. A line that this object left open in that file is continued if nobody has
    /// written to it since. Errors: false, with the reason in the thread's last error.
    [[nodiscard]] bool Open(std::u16string_view path, KZPlatform::FileCreation creation,
                            KZPlatform::FileShare share, KZPlatform::FileProtection protection);
    [[nodiscard]] bool IsOpen() const noexcept { return file_.IsOpen(); }
    void Close() noexcept;

    /// Appends `lines`; the last line may be continued by the next call. Returns the number of bytes in the lines that were
    /// written whole, which is all of them on success. Requires: the next call's text begins with the bytes that remain, unless
    /// the file is closed in between.
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
    KZPlatform::FileHandle reader_; // reads the end of the file; opened when that is needed
    KZPlatform::FileProtection protection_ = KZPlatform::FileProtection::Usual;
    std::u16string path_;
    bool isStream_ = false;      // a pipe or a terminal, which has no end that could be read
    std::int64_t end_ = unknown; // the size of the file after the last write
    std::size_t cutBytes_ = 0;   // how many bytes of the next line are in the file already
    bool isLineOpen_ = false;    // the last write has left its line open
};

} // namespace KZDetail
