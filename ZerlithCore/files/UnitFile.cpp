// Positions: the system's position is after the last block read, or after the last text written. `decodedEnd_` is what a reader has
// got. Whoever takes only a part of a block computes the position from the bytes of that part.
//
// The mark is read when a file with content is opened, since the program may first seek to a position in the middle. It is
// read again whenever the beginning is read: a pipe can't be read in advance, and others may have rewritten the file.

#include "ZerlithCore/files/detail/UnitFile.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/files/detail/KZEncodedText.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace KZDetail {

namespace {

constexpr std::size_t blockBytes = 4096;    // are read at once
constexpr std::size_t gatheredBytes = 8192; // are written at once, or more, with the text that fills them
constexpr std::size_t blockUnits = 4096;    // are encoded between two writes

using KZPlatform::FileOrigin;
using std::ios_base;

} // namespace

bool UnitFile::Open(std::u16string_view path, OpenMode mode, KZTextEncoding encoding) {
    using namespace KZPlatform;
    auto const has = [mode](OpenMode flag) { return (mode & flag) != 0; };
    bool const appends = has(ios_base::app), empties = has(ios_base::trunc);
    bool const reads = has(ios_base::in), writes = has(ios_base::out) || appends;
    if (IsOpen() || !(reads || writes) || (empties && (appends || !writes))) return false;

    FileAccess const access = reads && writes ? FileAccess::ReadWrite
                              : appends       ? FileAccess::Append
                              : writes        ? FileAccess::Write
                                              : FileAccess::Read;
    FileCreation const creation = appends                         ? FileCreation::OpenAlways
                                  : empties || (writes && !reads) ? FileCreation::CreateAlways
                                                                  : FileCreation::OpenExisting;
    if (!file_.Open(path, access, creation)) return false;
    mode_ = writes ? mode | ios_base::out : mode;
    encoding_ = encoding;
    direction_ = Direction::None;
    failed_ = false;
    bool const isReady = FindEncoding(path) && (!Is(ios_base::ate) || file_.Seek(0, FileOrigin::End) >= 0);
    if (!isReady) file_.Close();
    return isReady;
}

bool UnitFile::Close() noexcept {
    if (!IsOpen()) return false;
    try {
        static_cast<void>(Flush());
    } catch (std::bad_alloc const &) { // `Flush` has set `failed_`.
    }
    bytes_.clear();
    line_ = {};
    direction_ = Direction::None;
    return file_.Close() && !failed_;
}

/// Finds the encoding of a file with content, and writes the mark into a file without. False when reading or writing fails.
bool UnitFile::FindEncoding(std::u16string_view path) {
    using namespace KZPlatform;
    bool const reads = Is(ios_base::in), writes = Is(ios_base::out);
    // A file of size 0 is empty, or it is a pipe or a device, from which nothing can be read in advance.
    if (file_.Size() <= 0) {
        std::string_view const mark = MarkOf(encoding_);
        return !writes || mark.empty() || file_.Write(mark.data(), mark.size());
    }
    FileHandle other; // for reading, if the file is open only for writing
    bool const isReadable = reads || other.Open(path, FileAccess::Read, FileCreation::OpenExisting);
    char start[4];
    std::size_t count = 0;
    if (isReadable && (reads ? file_ : other).Read(start, sizeof start, count))
        encoding_ = EncodingByMark({start, count});
    return !reads || file_.Seek(0, FileOrigin::Begin) == 0;
}

// --- Reading

std::u16string_view UnitFile::Read() {
    if (!IsReading()) {
        direction_ = Direction::Reading;
        decodedEnd_ = std::max<std::int64_t>(file_.Seek(0, FileOrigin::Current), 0);
        pendingBytes_ = 0;
    }
    line_ = {};
    loneByte_.reset();
    blockBegin_ = decodedEnd_;
    bytes_.resize(blockBytes);
    units_.resize(blockBytes);
    std::size_t count = 0;
    for (bool isEnd = false; count == 0 && !isEnd;) {
        std::size_t read = 0;
        // A failed read must not look like the end of the file, or a program would take a part for the whole. A stream turns
        // the exception into `badbit`.
        if (!file_.Read(bytes_.data() + pendingBytes_, blockBytes - pendingBytes_, read))
            throw std::ios_base::failure("KZFileStreamBuf: the file can't be read");
        isEnd = read == 0;
        std::string_view const block(bytes_.data(), read + pendingBytes_);
        bool const waits = !isEnd && decodedEnd_ == 0 && IsPartOfMark(block);
        std::size_t taken = waits ? 0 : SkipMark(block);
        blockBegin_ = decodedEnd_ + static_cast<std::int64_t>(taken);
        if (!waits) taken += Decode(block.substr(taken), isEnd, count);
        decodedEnd_ += static_cast<std::int64_t>(taken);
        pendingBytes_ = block.size() - taken;
        std::memmove(bytes_.data(), bytes_.data() + taken, pendingBytes_);
    }
    return {units_.data(), count};
}

/// Reads the mark in the file's first block, sets the encoding by it, and returns its length; 0 for other blocks.
std::size_t UnitFile::SkipMark(std::string_view block) {
    if (decodedEnd_ != 0 || block.empty()) return 0;
    encoding_ = EncodingByMark(block);
    return MarkOf(encoding_).size();
}

/// Decodes `block` and returns how many bytes that took; `count` is the number of units. A character that is cut at the end of the
/// block is left for the next call, unless `isLast`.
std::size_t UnitFile::Decode(std::string_view block, bool isLast, std::size_t & count) {
    if (!IsUtf16(encoding_)) {
        auto const result = KZEncoding::DecodeUtf8(block, units_, KZEncoding::Utf8Mode::Escape, isLast);
        count = result.written;
        return result.read;
    }
    count = DecodeUtf16(block, units_.data(), encoding_);
    if (!isLast && count != 0 && KZEncoding::IsHighSurrogate(units_[count - 1])) --count;
    if (!isLast || block.size() % 2 == 0) return 2 * count;
    units_[count++] = KZEncoding::replacementUnit;
    loneByte_ = static_cast<unsigned char>(block.back());
    return block.size();
}

bool UnitFile::ReadLine(std::u16string & line) {
    line.clear();
    for (bool hasText = false;; hasText = true) {
        if (line_.empty()) line_ = Read();
        if (line_.empty()) return hasText;
        std::size_t const length = KZUnitScan::FindUnit(line_.data(), line_.size(), u'\n');
        line += line_.substr(0, length);
        bool const isWhole = length != line_.size();
        line_.remove_prefix(isWhole ? length + 1 : length);
        if (isWhole) return true;
    }
}

// --- Writing

bool UnitFile::StartWriting(std::int64_t readPosition) {
    if (IsWriting()) return true;
    bool const isAhead =
        IsReading() && readPosition != decodedEnd_ + static_cast<std::int64_t>(pendingBytes_);
    if (isAhead && file_.Seek(readPosition, FileOrigin::Begin) < 0) {
        failed_ = true;
        return false;
    }
    bytes_.clear();
    direction_ = Direction::Writing;
    return true;
}

bool UnitFile::Write(std::u16string_view units) {
    bool const hasFailed = std::exchange(failed_, true); // stays true if anything fails or throws
    while (!units.empty()) {
        std::u16string_view const piece = units.substr(0, blockUnits);
        units.remove_prefix(piece.size());
        Gather(piece);
        if (bytes_.size() >= gatheredBytes && !WriteGathered()) return false;
    }
    failed_ = hasFailed;
    return true;
}

bool UnitFile::WriteLoneByte(unsigned char byte) {
    bool const hasFailed = std::exchange(failed_, true);
    if (bytes_.size() % 2 == 1) bytes_ += '\0';
    bytes_ += static_cast<char>(byte);
    failed_ = hasFailed;
    return true;
}

bool UnitFile::Flush() {
    if (!IsWriting()) return true;
    bool const hasFailed = std::exchange(failed_, true);
    encoder_.Finish(bytes_);
    if (!WriteGathered()) return false;
    failed_ = hasFailed;
    return true;
}

void UnitFile::Gather(std::u16string_view units) {
    if (!IsUtf16(encoding_)) {
        encoder_.Append(bytes_, units);
    } else {
        if (bytes_.size() % 2 == 1) bytes_ += '\0'; // fills up a lone byte
        AppendEncoded(bytes_, units, encoding_);
    }
}

bool UnitFile::WriteGathered() {
    if (bytes_.empty()) return true;
    bool const isWritten = PrepareToWrite() && file_.Write(bytes_.data(), bytes_.size());
    bytes_.clear();
    return isWritten;
}

/// Moves to where the block is to be written: to the end of the file when appending, never before the end of the mark, and in
/// UTF-16 to the start of a unit, for which it puts a zero byte before the text if necessary.
bool UnitFile::PrepareToWrite() {
    bool const appends = Is(ios_base::app), moves = appends && Is(ios_base::in);
    if (encoding_ == KZTextEncoding::Utf8) return !moves || file_.Seek(0, FileOrigin::End) >= 0;
    auto const mark = static_cast<std::int64_t>(MarkOf(encoding_).size());
    std::int64_t place = file_.Seek(0, appends ? FileOrigin::End : FileOrigin::Current);
    if (place >= 0 && place < mark) place = file_.Seek(mark, FileOrigin::Begin);
    if (IsUtf16(encoding_) && place % 2 == 1) bytes_.insert(0, 1, '\0');
    return place >= 0 || !moves; // A pipe has no positions, so a failed seek is no error there.
}

std::int64_t UnitFile::Seek(std::int64_t offset, FileOrigin origin) {
    if (!Flush()) return -1;
    std::int64_t const position = file_.Seek(offset, origin);
    if (position >= 0 && IsReading()) {
        direction_ = Direction::None;
        line_ = {};
    }
    return position;
}

} // namespace KZDetail
