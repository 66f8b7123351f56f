// A file of records that reports each record it loses.
#pragma once

#include "ZerlithCore/diagnostics/detail/LineFile.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace KZDetail {

/// Gathers records and appends them to a file.
///
/// A record that the disk refuses is kept, up to 64 KB in all, and tried again with the next record. Records that come when
/// there is no more room or no memory are dropped and counted. When there is room again, a line with their number is written.
///
/// Thread safety: one object needs outside locking.
class RecordFile {
public:
    struct Form {
        LineFile::Form lines;
        /// Appends the line that reports `count` dropped records. May throw std::bad_alloc.
        void (*appendNote)(std::string & bytes, std::uint64_t count);
    };

    /// Messages as UTF-8, with lines that end in "\n".
    static Form const utf8Messages;

    explicit RecordFile(Form const & form) noexcept : form_(form), file_(form.lines) {}

    /// Closes what is open and opens `path`. Errors: false, with the reason in the thread's last error.
    [[nodiscard]] bool Open(KZString const & path, KZPlatform::FileCreation creation,
                            KZPlatform::FileShare share, KZPlatform::FileProtection protection);
    [[nodiscard]] bool IsOpen() const noexcept { return file_.IsOpen(); }
    /// Writes what is gathered and closes the file. Records that can't be written count as lost.
    void Close() noexcept;

    /// Gathers a record, and writes what is gathered if `flush` is true or it is more than 64 KB. The record consists of `head`
    /// and `body`. Requires: the file is open.
    void Put(std::string_view body, bool flush, std::string_view head = {}) noexcept;
    /// Writes what is gathered.
    void Flush() noexcept;

    /// Counts a record that was lost before `Put`. With `isTold` the line about lost records includes it.
    void CountLost(bool isTold) noexcept;
    /// The number of lost records since the object was made.
    [[nodiscard]] std::uint64_t GetLostCount() const noexcept { return lostCount_; }

private:
    [[nodiscard]] bool HasRoom(std::size_t size) const noexcept;
    [[nodiscard]] bool Gather(std::string_view head, std::string_view body) noexcept;
    bool PutNote() noexcept;
    void WriteGathered() noexcept;

    Form form_;
    LineFile file_;
    std::string gathered_;
    std::vector<std::size_t> ends_; // where each record in `gathered_` ends
    bool isLineOpen_ = false;       // the last record that was written has left its line open
    std::uint64_t lostCount_ = 0;
    std::uint64_t untoldCount_ = 0; // lost records that no line has reported yet
};

} // namespace KZDetail
