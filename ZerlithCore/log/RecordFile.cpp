// Records are gathered in a buffer, with the position at which each ends, so that after a failed write it is known
// which records the file has. Records for which there is no room are counted and reported when the file takes lines
// again.
#include "ZerlithCore/log/detail/RecordFile.h"

#include <algorithm>
#include <new>

namespace KZDetail {

namespace {

constexpr std::size_t bufferBytes = 64 * 1024;

void AppendMessageNote(std::string & bytes, std::uint64_t count) {
    bytes += "*** messages lost: " + std::to_string(count) + '\n';
}

} // namespace

constinit RecordFile::Form const RecordFile::utf8Messages{LineFile::utf8, &AppendMessageNote};

bool RecordFile::Open(KZString const & path, KZPlatform::FileCreation creation, KZPlatform::FileShare share,
                      KZPlatform::FileProtection protection) {
    Close();
    isLineOpen_ = false;
    return file_.Open(std::u16string_view(path), creation, share, protection);
}

void RecordFile::Close() noexcept {
    Flush();
    lostCount_ += ends_.size();
    untoldCount_ += ends_.size();
    gathered_.clear();
    ends_.clear();
    file_.Close();
}

void RecordFile::Put(std::string_view body, bool flush, std::string_view head) noexcept {
    std::size_t const size = head.size() + body.size();
    if (untoldCount_ != 0 || !HasRoom(size)) WriteGathered();
    if (!PutNote() || !HasRoom(size) || !Gather(head, body)) return CountLost(true);
    if (flush || gathered_.size() > bufferBytes) WriteGathered();
}

void RecordFile::Flush() noexcept {
    if (!IsOpen()) return;
    WriteGathered();
    if (untoldCount_ != 0 && PutNote()) WriteGathered();
}

void RecordFile::CountLost(bool isTold) noexcept {
    ++lostCount_;
    if (isTold) ++untoldCount_;
}

/// Also true for a record that is larger than the buffer, if the buffer is empty.
bool RecordFile::HasRoom(std::size_t size) const noexcept {
    return gathered_.empty() || gathered_.size() + size <= bufferBytes;
}

/// False, with nothing changed, when there is no memory.
bool RecordFile::Gather(std::string_view head, std::string_view body) noexcept {
    std::size_t const size = gathered_.size();
    try {
        gathered_.append(head).append(body);
        ends_.push_back(gathered_.size());
        return true;
    } catch (std::bad_alloc const &) {
        gathered_.resize(size);
        return false;
    }
}

/// Gathers the line that reports lost records, if there are any. False while earlier records are still unwritten: more may get
/// lost meanwhile, and one line shall report them all.
bool RecordFile::PutNote() noexcept {
    if (untoldCount_ == 0) return true;
    if (!gathered_.empty()) return false;
    try {
        std::string note;
        if (isLineOpen_) note = form_.lines.lineEnd;
        form_.appendNote(note, untoldCount_);
        if (!Gather({}, note)) return false;
    } catch (std::bad_alloc const &) {
        return false;
    }
    ends_.pop_back(); // The line is no record, so it must not count as one if it is lost.
    untoldCount_ = 0;
    return true;
}

void RecordFile::WriteGathered() noexcept {
    if (gathered_.empty()) return;
    std::size_t const done = file_.Append(gathered_);
    if (done == gathered_.size()) {
        isLineOpen_ = !gathered_.ends_with(form_.lines.LastUnit());
        gathered_.clear();
        ends_.clear();
        // The memory of a very large record isn't kept.
        if (gathered_.capacity() > 2 * bufferBytes) gathered_ = std::string();
        return;
    }
    gathered_.erase(0, done);
    ends_.erase(ends_.begin(), std::upper_bound(ends_.begin(), ends_.end(), done));
    for (std::size_t & end : ends_) end -= done;
}

} // namespace KZDetail
