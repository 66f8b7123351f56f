// Before each write the end of the file is checked: if it isn't where the last write ended, an unfinished line there
// is ended first.
#include "ZerlithCore/diagnostics/detail/LineFile.h"

#include <array>
#include <new>

namespace KZDetail {

using KZPlatform::FileAccess;
using KZPlatform::FileCreation;
using KZPlatform::FileOrigin;
using KZPlatform::FileShare;

bool LineFile::Open(std::u16string_view path, FileCreation creation, FileShare share,
                    KZPlatform::FileProtection protection) {
    Close();
    if (!isLineOpen_ || path != path_) end_ = unknown;
    path_ = path;
    protection_ = protection;
    if (!file_.Open(path, FileAccess::Append, creation, share, protection)) return false;
    isStream_ = file_.Seek(0, FileOrigin::Current) < 0;
    return true;
}

void LineFile::Close() noexcept {
    cutBytes_ = 0;
    reader_.Close();
    file_.Close();
}

std::size_t LineFile::Append(std::string_view lines) noexcept {
    std::size_t done = 0;
    while (done + cutBytes_ != lines.size()) {
        if (!GoToEnd()) return done;
        std::string_view const rest = lines.substr(done + cutBytes_);
        std::size_t written = 0;
        bool const isTaken = file_.WriteOnce(rest.data(), rest.size(), written) && written != 0;
        end_ += static_cast<std::int64_t>(written);
        std::size_t const place = done + cutBytes_ + written;
        done = place == lines.size() ? place : BeginOfLine(lines, place);
        cutBytes_ = place - done;
        if (written != 0) isLineOpen_ = cutBytes_ == 0 && !lines.substr(0, done).ends_with(form_.LastUnit());
        if (!isTaken) return done;
    }
    return done;
}

/// The beginning of the line in which `place` lies.
std::size_t LineFile::BeginOfLine(std::string_view lines, std::size_t place) const noexcept {
    for (std::size_t begin = place - place % form_.unitBytes; begin != 0; begin -= form_.unitBytes)
        if (lines.substr(0, begin).ends_with(form_.LastUnit())) return begin;
    return 0;
}

/// Prepares the end of the file for the next write. False if that fails.
bool LineFile::GoToEnd() noexcept {
    if (isStream_) return true;
    std::int64_t const end = file_.Seek(0, FileOrigin::End);
    if (end == end_) return true;
    cutBytes_ = 0; // Another writer has written after our unfinished line, so it is written again as a whole.
    return StartLine(end);
}

/// Ends the line that is unfinished at `end`, if there is one. False if that fails.
bool LineFile::StartLine(std::int64_t end) noexcept {
    while (!IsLineEnd(end)) {
        // Another writer may be in the middle of a write: wait for it, and look again if the file has grown.
        std::int64_t const before = end;
        file_.AwaitWriters();
        end = file_.Seek(0, FileOrigin::End);
        if (end != before) continue;

        std::array<char, 16> bytes{};
        std::size_t size = static_cast<std::size_t>(end) % form_.unitBytes;
        if (size != 0) size = form_.unitBytes - size;
        size += form_.lineEnd.copy(bytes.data() + size, form_.lineEnd.size());
        std::size_t written = 0;
        bool const isTaken = file_.WriteOnce(bytes.data(), size, written) && written == size;
        end_ = isTaken ? end + static_cast<std::int64_t>(size) : unknown;
        return isTaken;
    }
    end_ = end;
    return true;
}

/// True when the file has no unfinished line at `end`. If the file can't be read, only a length that isn't a whole number of
/// units shows an unfinished line.
bool LineFile::IsLineEnd(std::int64_t end) noexcept {
    if (end <= 0) return true;
    auto const unit = static_cast<std::int64_t>(form_.unitBytes);
    if (end % unit != 0) return false;
    std::array<char, 4> last{};
    std::size_t count = 0;
    bool const isRead = OpenReader() && reader_.Seek(end - unit, FileOrigin::Begin) >= 0 &&
                        reader_.Read(last.data(), form_.unitBytes, count) && count == form_.unitBytes;
    if (isRead) return std::string_view(last.data(), count) == form_.LastUnit();
    reader_.Close();
    return true;
}

bool LineFile::OpenReader() noexcept {
    try {
        return reader_.IsOpen() || reader_.Open(path_, FileAccess::Read, FileCreation::OpenExisting,
                                                FileShare::ReadWrite, protection_);
    } catch (std::bad_alloc const &) {
        return false;
    }
}

} // namespace KZDetail
