// A block is converted in two steps, bytes to units and units to characters, and back the same way. Each step is a tight loop
// over a few kilobytes, and only one place in the library knows the rules of UTF-8.
//
// Positions: the system's position is after the last block read. The reader's position is after the characters that were
// taken. Their length in bytes is found by encoding them again, which gives exactly the bytes they came from.
//
// The mark is read when a file with content is opened, since the program may first seek to a position in the middle. It is
// read again whenever the beginning is read: a pipe can't be read in advance, and others may have rewritten the file.

#include "ZerlithCore/files/KZFileStreamBuf.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/files/detail/KZEncodedText.h"
#include "ZerlithCore/text/KZWideText.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace {

constexpr std::size_t blockBytes = 4096;
constexpr std::size_t blockCharacters = 4096;
constexpr auto escape = KZEncoding::Utf8Mode::Escape;

using std::ios_base;

bool IsSet(ios_base::openmode mode, ios_base::openmode flag) { return (mode & flag) != 0; }

} // namespace

KZFileStreamBuf::KZFileStreamBuf() = default;

KZFileStreamBuf::~KZFileStreamBuf() { close(); }

bool KZFileStreamBuf::open(KZString const & path, ios_base::openmode mode, KZTextEncoding encoding) {
    using namespace KZPlatform;
    bool const appends = IsSet(mode, ios_base::app), empties = IsSet(mode, ios_base::trunc);
    bool const reads = IsSet(mode, ios_base::in), writes = IsSet(mode, ios_base::out) || appends;
    if (is_open() || !(reads || writes) || (empties && (appends || !writes))) return false;

    FileAccess const access = reads && writes ? FileAccess::ReadWrite
                              : appends       ? FileAccess::Append
                              : writes        ? FileAccess::Write
                                              : FileAccess::Read;
    FileCreation const creation = appends                         ? FileCreation::OpenAlways
                                  : empties || (writes && !reads) ? FileCreation::CreateAlways
                                                                  : FileCreation::OpenExisting;
    if (!file_.Open(std::u16string_view(path), access, creation)) return false;
    mode_ = writes ? mode | ios_base::out : mode;
    encoding_ = encoding;
    failed_ = false;
    bool const isReady =
        FindEncoding(path) && (!IsSet(mode, ios_base::ate) || file_.Seek(0, FileOrigin::End) >= 0);
    if (!isReady) file_.Close();
    return isReady;
}

bool KZFileStreamBuf::close() {
    if (!is_open()) return false;
    try {
        WriteBlock(true);
    } catch (std::bad_alloc const &) { // WriteBlock has set `failed_`.
    }
    DropAreas();
    return file_.Close() && !failed_;
}

/// Finds the encoding of a file with content, and writes the mark into a file without. False when reading or writing fails.
bool KZFileStreamBuf::FindEncoding(KZString const & path) {
    using namespace KZPlatform;
    bool const reads = IsSet(mode_, ios_base::in), writes = IsSet(mode_, ios_base::out);
    // A file of size 0 is empty, or it is a pipe or a device, from which nothing can be read in advance.
    if (file_.Size() <= 0) {
        std::string_view const mark = KZDetail::MarkOf(encoding_);
        return !writes || mark.empty() || file_.Write(mark.data(), mark.size());
    }
    FileHandle other; // for reading, if the file is open only for writing
    bool const isReadable =
        reads || other.Open(std::u16string_view(path), FileAccess::Read, FileCreation::OpenExisting);
    char start[4];
    std::size_t count = 0;
    if (isReadable && (reads ? file_ : other).Read(start, sizeof start, count))
        encoding_ = KZDetail::EncodingByMark({start, count});
    return !reads || file_.Seek(0, FileOrigin::Begin) == 0;
}

KZFileStreamBuf::int_type KZFileStreamBuf::underflow() {
    if (!is_open() || !IsSet(mode_, ios_base::in)) return traits_type::eof();
    if (direction_ != Direction::Reading) {
        if (!WriteBlock(true)) return traits_type::eof();
        DropAreas();
        direction_ = Direction::Reading;
        decodedEnd_ = std::max<std::int64_t>(file_.Seek(0, KZPlatform::FileOrigin::Current), 0);
    }
    if (gptr() == egptr() && !ReadBlock()) return traits_type::eof();
    return traits_type::to_int_type(*gptr());
}

KZFileStreamBuf::int_type KZFileStreamBuf::overflow(int_type character) {
    if (!is_open() || !IsSet(mode_, ios_base::out)) return traits_type::eof();
    if (direction_ != Direction::Writing ? !StartWriting() : !WriteBlock(false)) return traits_type::eof();
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    return sputc(traits_type::to_char_type(character));
}

int KZFileStreamBuf::sync() { return WriteBlock(true) ? 0 : -1; }

KZFileStreamBuf::pos_type KZFileStreamBuf::seekoff(off_type offset, ios_base::seekdir direction,
                                                   ios_base::openmode) {
    using KZPlatform::FileOrigin;
    if (!is_open() || !WriteBlock(true)) return off_type(-1);
    bool const isFromReader = direction == ios_base::cur && direction_ == Direction::Reading;
    if (isFromReader && offset == 0) return ReadPosition();
    if (isFromReader) offset += ReadPosition();

    FileOrigin const origin = direction == ios_base::end                    ? FileOrigin::End
                              : direction == ios_base::cur && !isFromReader ? FileOrigin::Current
                                                                            : FileOrigin::Begin;
    std::int64_t const position = file_.Seek(offset, origin);
    if (position >= 0 && direction_ == Direction::Reading) DropAreas();
    return position;
}

KZFileStreamBuf::pos_type KZFileStreamBuf::seekpos(pos_type position, ios_base::openmode which) {
    return seekoff(position, ios_base::beg, which);
}

/// Decodes the next block into the get area, after the last character of the block before, so that this one can be put
/// back. False at the end of the file. Throws std::ios_base::failure if the system can't read.
bool KZFileStreamBuf::ReadBlock() {
    std::wstring const kept(egptr() - (eback() == egptr() ? 0 : 1), egptr());
    setg(nullptr, nullptr, nullptr); // stays so if anything below throws
    bytes_.resize(blockBytes);
    units_.resize(blockBytes);
    characters_ = kept;
    areaBegin_ = decodedEnd_ - BytesOf(kept);
    for (bool isEnd = false; characters_.size() == kept.size() && !isEnd;) {
        std::size_t count = 0;
        // A failed read must not look like the end of the file, or a program would take a part for the whole. A stream turns
        // the exception into `badbit`.
        if (!file_.Read(bytes_.data() + pendingBytes_, blockBytes - pendingBytes_, count))
            throw std::ios_base::failure("KZFileStreamBuf: the file can't be read");
        isEnd = count == 0;
        std::string_view const block(bytes_.data(), count + pendingBytes_);
        std::size_t read = 0;
        if (isEnd || decodedEnd_ != 0 || !KZDetail::IsPartOfMark(block)) {
            read = SkipMark(block);
            read += Decode(block.substr(read), isEnd);
        }
        decodedEnd_ += static_cast<std::int64_t>(read);
        pendingBytes_ = block.size() - read;
        std::memmove(bytes_.data(), bytes_.data() + read, pendingBytes_);
    }
    wchar_t * const begin = characters_.data();
    setg(begin, begin + kept.size(), begin + characters_.size());
    return gptr() != egptr();
}

/// Reads the mark in the file's first block, sets the encoding by it, and returns its length; 0 for other blocks.
std::size_t KZFileStreamBuf::SkipMark(std::string_view block) {
    if (decodedEnd_ != 0 || block.empty()) return 0;
    encoding_ = KZDetail::EncodingByMark(block);
    std::size_t const length = KZDetail::MarkOf(encoding_).size();
    areaBegin_ = static_cast<std::int64_t>(length);
    return length;
}

/// Appends the characters of `block` and returns how many bytes they took. A character that is cut at the end of the block is
/// left for the next call, unless `isLast`.
std::size_t KZFileStreamBuf::Decode(std::string_view block, bool isLast) {
    if (!KZDetail::IsUtf16(encoding_)) {
        auto const result = KZEncoding::DecodeUtf8(block, units_, escape, isLast);
        characters_ += KZToWide({units_.data(), result.written});
        return result.read;
    }
    std::size_t count = KZDetail::DecodeUtf16(block, units_.data(), encoding_);
    if (!isLast && count != 0 && KZEncoding::IsHighSurrogate(units_[count - 1])) --count;
    characters_ += KZToWide({units_.data(), count});
    if (!isLast || block.size() % 2 == 0) return 2 * count;
    characters_ += KZDetail::LoneByte(static_cast<unsigned char>(block.back()));
    return block.size();
}

bool KZFileStreamBuf::StartWriting() {
    // The system's position is after all that was read, which may be more than what was taken.
    bool const hasFailed = std::exchange(failed_, true); // stays true if `resize` throws
    bool const isAhead = gptr() != egptr() || pendingBytes_ != 0;
    if (isAhead && file_.Seek(ReadPosition(), KZPlatform::FileOrigin::Begin) < 0) return false;
    DropAreas();
    direction_ = Direction::None;
    characters_.resize(blockCharacters);
    direction_ = Direction::Writing;
    failed_ = hasFailed;
    setp(characters_.data(), characters_.data() + characters_.size());
    return true;
}

/// Writes what the put area holds and empties it. A high surrogate at its end stays there until its partner comes, unless
/// `isLast`. Text that can't be written is dropped, and `close` returns false later.
bool KZFileStreamBuf::WriteBlock(bool isLast) {
    if (pptr() == pbase()) return true;
    bool const hasFailed = std::exchange(failed_, true); // stays true if anything throws
    std::wstring_view text(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    bool const waits = !isLast && KZEncoding::IsHighSurrogate(static_cast<char32_t>(text.back()));
    if (waits) text.remove_suffix(1);
    bytes_.clear();
    bool const isPlaced = PrepareToWrite();
    KZDetail::AppendEncoded(bytes_, text, encoding_);
    bool const isWritten = isPlaced && file_.Write(bytes_.data(), bytes_.size());
    failed_ = hasFailed || !isWritten;
    characters_.front() = characters_[text.size()];
    setp(characters_.data(), characters_.data() + characters_.size());
    pbump(waits ? 1 : 0);
    return isWritten;
}

/// Moves to where the block is to be written: to the end of the file when appending, never before the end of the mark, and in
/// UTF-16 to the start of a unit, for which it puts a zero byte before the text if necessary.
bool KZFileStreamBuf::PrepareToWrite() {
    using KZPlatform::FileOrigin;
    bool const appends = IsSet(mode_, ios_base::app), moves = appends && IsSet(mode_, ios_base::in);
    if (encoding_ == KZTextEncoding::Utf8) return !moves || file_.Seek(0, FileOrigin::End) >= 0;
    auto const mark = static_cast<std::int64_t>(KZDetail::MarkOf(encoding_).size());
    std::int64_t place = file_.Seek(0, appends ? FileOrigin::End : FileOrigin::Current);
    if (place >= 0 && place < mark) place = file_.Seek(mark, FileOrigin::Begin);
    if (KZDetail::IsUtf16(encoding_) && place % 2 == 1) bytes_ += '\0';
    return place >= 0 || !moves; // A pipe has no positions, so a failed seek is no error there.
}

std::int64_t KZFileStreamBuf::BytesOf(std::wstring_view characters) const {
    std::string bytes;
    KZDetail::AppendEncoded(bytes, characters, encoding_);
    return static_cast<std::int64_t>(bytes.size());
}

std::int64_t KZFileStreamBuf::ReadPosition() const {
    return areaBegin_ + BytesOf({eback(), static_cast<std::size_t>(gptr() - eback())});
}

void KZFileStreamBuf::DropAreas() noexcept {
    setg(nullptr, nullptr, nullptr);
    setp(nullptr, nullptr);
    direction_ = Direction::None;
    pendingBytes_ = 0;
}
