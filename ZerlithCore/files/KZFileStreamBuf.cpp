// A block goes through two steps, bytes to units and units to characters, and back: each step is a tight loop over a
// few kilobytes, and the rules of UTF-8 stand in one place of the library only.
//
// Position: the system stands behind the block that was read last. The reader stands behind the characters taken,
// whose length in bytes is found by encoding them again, which by the escape rule gives the very bytes they came from.

#include "ZerlithCore/files/KZFileStreamBuf.h"

#include "ZerlithCore/platform/Utf8.h"
#include "ZerlithCore/text/KZWideText.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr std::size_t blockBytes = 4096;
constexpr std::size_t blockCharacters = 4096;
constexpr auto escape = KZPlatform::Utf8Mode::Escape;

using std::ios_base;

bool IsSet(ios_base::openmode mode, ios_base::openmode flag) { return (mode & flag) != 0; }

bool IsHighSurrogate(wchar_t character) { return character >= 0xD800 && character <= 0xDBFF; }

std::int64_t BytesOf(std::wstring_view characters) {
    return static_cast<std::int64_t>(KZPlatform::UnitsToUtf8(KZFromWide(characters), escape).size());
}

} // namespace

KZFileStreamBuf::KZFileStreamBuf() = default;

KZFileStreamBuf::~KZFileStreamBuf() { close(); }

bool KZFileStreamBuf::open(KZString const & path, ios_base::openmode mode) {
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
    if (IsSet(mode, ios_base::ate) && file_.Seek(0, FileOrigin::End) < 0) {
        file_.Close();
        return false;
    }
    mode_ = writes ? mode | ios_base::out : mode;
    failed_ = false;
    return true;
}

bool KZFileStreamBuf::close() {
    if (!is_open()) return false;
    bool const written = WriteBlock(true) && !failed_;
    DropAreas();
    return file_.Close() && written;
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

/// Decodes the next block into the get area, behind the last character of the block before, which can thus be put
/// back. False at the end of the file and after a failure.
bool KZFileStreamBuf::ReadBlock() {
    bytes_.resize(blockBytes);
    units_.resize(blockBytes);
    characters_.assign(egptr() - (eback() == egptr() ? 0 : 1), egptr());
    areaBegin_ = decodedEnd_ - BytesOf(characters_);
    std::size_t const kept = characters_.size();
    while (characters_.size() == kept) {
        std::size_t count = 0;
        // Not the end of the file: a stream turns the exception into `badbit`, so that nobody takes half for all.
        if (!file_.Read(bytes_.data() + pendingBytes_, blockBytes - pendingBytes_, count))
            throw std::ios_base::failure("KZFileStreamBuf: the file can't be read");
        if (count + pendingBytes_ == 0) break;
        std::string_view const block(bytes_.data(), count + pendingBytes_);
        auto const result = KZPlatform::DecodeUtf8(block, units_, escape, count == 0);
        std::u16string_view decoded(units_.data(), result.written);
        if (decodedEnd_ == 0 && decoded.starts_with(u'\uFEFF')) {
            decoded.remove_prefix(1);
            areaBegin_ = 3;
        }
        decodedEnd_ += static_cast<std::int64_t>(result.read);
        pendingBytes_ = block.size() - result.read;
        std::memmove(bytes_.data(), bytes_.data() + result.read, pendingBytes_);
        characters_ += KZToWide(decoded);
    }
    wchar_t * const begin = characters_.data();
    setg(begin, begin + kept, begin + characters_.size());
    return gptr() != egptr();
}

bool KZFileStreamBuf::StartWriting() {
    if (gptr() != egptr() && file_.Seek(ReadPosition(), KZPlatform::FileOrigin::Begin) < 0) return false;
    DropAreas();
    direction_ = Direction::Writing;
    characters_.resize(blockCharacters);
    setp(characters_.data(), characters_.data() + characters_.size());
    return true;
}

/// Writes what the put area holds and makes it empty. A high surrogate at its end waits for its partner, unless
/// `isLast`. What can't be written is dropped, and remembered for `close`.
bool KZFileStreamBuf::WriteBlock(bool isLast) {
    if (pptr() == pbase()) return true;
    std::wstring_view text(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    bool const waits = !isLast && IsHighSurrogate(text.back());
    if (waits) text.remove_suffix(1);
    bytes_.clear();
    KZPlatform::AppendUtf8(bytes_, KZFromWide(text), escape);
    bool const placed = !(IsSet(mode_, ios_base::app) && IsSet(mode_, ios_base::in)) ||
                        file_.Seek(0, KZPlatform::FileOrigin::End) >= 0;
    bool const written = placed && file_.Write(bytes_.data(), bytes_.size());
    failed_ = failed_ || !written;
    characters_.front() = characters_[text.size()];
    setp(characters_.data(), characters_.data() + characters_.size());
    pbump(waits ? 1 : 0);
    return written;
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
