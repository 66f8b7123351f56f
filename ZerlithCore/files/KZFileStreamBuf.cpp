// Units go to the file as they are. Characters are gathered in the put area, which is emptied before units are written, and blocks of
// units become the characters of the get area. A position among these is found by encoding the characters before it again,
// which gives exactly the bytes they came from.

#include "ZerlithCore/files/KZFileStreamBuf.h"

#include "ZerlithCore/encoding/WideText.h"
#include "ZerlithCore/files/detail/KZEncodedText.h"
#include "ZerlithCore/files/detail/UnitFile.h"

#include <algorithm>
#include <new>

namespace {

constexpr std::size_t blockCharacters = 4096;
constexpr std::size_t pieceCharacters = 256; // that are converted on the stack

using std::ios_base;

/// Does what comes before a write. If there is no memory, the text is lost, and `file` knows it.
template <class Action>
auto Prepare(KZDetail::UnitFile & file, Action action) {
    try {
        return action();
    } catch (std::bad_alloc const &) {
        file.Fail();
        throw;
    }
}

} // namespace

KZFileStreamBuf::KZFileStreamBuf() = default;

KZFileStreamBuf::~KZFileStreamBuf() { close(); }

bool KZFileStreamBuf::open(KZString const & path, ios_base::openmode mode, KZTextEncoding encoding) {
    if (!file_) file_ = std::make_unique<KZDetail::UnitFile>();
    return file_->Open(std::u16string_view(path), mode, encoding);
}

bool KZFileStreamBuf::is_open() const noexcept { return file_ && file_->IsOpen(); }

KZTextEncoding KZFileStreamBuf::GetEncoding() const noexcept {
    return file_ ? file_->GetEncoding() : KZTextEncoding::Utf8;
}

bool KZFileStreamBuf::close() {
    if (!is_open()) return false;
    try {
        WriteArea();
    } catch (std::bad_alloc const &) { // The file knows that text is lost.
    }
    DropAreas();
    return file_->Close();
}

// --- Reading

KZFileStreamBuf::int_type KZFileStreamBuf::underflow() {
    if (!is_open() || !file_->Is(ios_base::in)) return traits_type::eof();
    if (!file_->IsReading()) {
        if (sync() != 0) return traits_type::eof();
        DropAreas();
    }
    if (gptr() == egptr() && !ReadBlock()) return traits_type::eof();
    return traits_type::to_int_type(*gptr());
}

/// Puts the next block into the get area, after the last character of the block before, so that this one can be put back. False
/// at the end of the file. Errors: as UnitFile::Read.
bool KZFileStreamBuf::ReadBlock() {
    std::ptrdiff_t const keptCount = egptr() == eback() ? 0 : 1;
    wchar_t const kept = keptCount == 0 ? L'\0' : egptr()[-1];
    DropAreas(); // There are none if anything below throws.
    characters_.resize(1 + blockCharacters);
    std::u16string_view const units = file_->Read();
    wchar_t * const begin = characters_.data();
    *begin = kept;
    wchar_t * const block = begin + keptCount;
    wchar_t * const end = block + KZEncoding::ToWide(units, block);
    if (auto const byte = file_->LoneByte()) end[-1] = KZDetail::LoneByte(*byte);
    setg(begin, block, end);
    keptCount_ = keptCount;
    return gptr() != egptr();
}

// --- Writing

KZFileStreamBuf::int_type KZFileStreamBuf::overflow(int_type character) {
    if (!StartWriting() || !WriteArea()) return traits_type::eof();
    if (!pbase()) MakePutArea();
    if (traits_type::eq_int_type(character, traits_type::eof())) return traits_type::not_eof(character);
    return sputc(traits_type::to_char_type(character));
}

/// As every buffer with a put area does it.
std::streamsize KZFileStreamBuf::xsputn(wchar_t const * text, std::streamsize count) {
    return std::wstreambuf::xsputn(text, count);
}

bool KZFileStreamBuf::PutUnits(std::u16string_view units) {
    return StartWriting() && WriteArea() && file_->Write(units);
}

int KZFileStreamBuf::sync() { return !is_open() || (WriteArea() && file_->Flush()) ? 0 : -1; }

/// False when the file isn't open for writing, or when it can't be written where the reader stands.
bool KZFileStreamBuf::StartWriting() {
    if (!is_open() || !file_->Is(ios_base::out)) return false;
    if (file_->IsWriting()) return true;
    if (!Prepare(*file_, [this] { return file_->StartWriting(ReadPosition()); })) return false;
    DropAreas();
    return true;
}

void KZFileStreamBuf::MakePutArea() {
    Prepare(*file_, [this] { characters_.resize(blockCharacters); });
    setp(characters_.data(), characters_.data() + characters_.size());
}

/// Passes on what the put area holds and empties it. False when the file doesn't take it; it is dropped then.
bool KZFileStreamBuf::WriteArea() {
    wchar_t const * next = pbase();
    wchar_t const * const end = pptr();
    setp(pbase(), epptr());
    bool isTaken = true;
    while (isTaken && next != end) {
        bool const isUtf16 = KZDetail::IsUtf16(file_->GetEncoding());
        wchar_t const * const stop = next + std::min<std::ptrdiff_t>(end - next, pieceCharacters);
        wchar_t const * const lone = isUtf16 ? std::find_if(next, stop, KZDetail::IsLoneByte) : stop;
        char16_t units[2 * pieceCharacters];
        std::wstring_view const piece(next, static_cast<std::size_t>(lone - next));
        isTaken = file_->Write({units, KZEncoding::FromWide(piece, units)});
        next = lone;
        if (lone != stop) isTaken = isTaken && file_->WriteLoneByte(static_cast<unsigned char>(*next++));
    }
    return isTaken;
}

// --- Positions

KZFileStreamBuf::pos_type KZFileStreamBuf::seekoff(off_type offset, ios_base::seekdir direction,
                                                   ios_base::openmode) {
    using KZPlatform::FileOrigin;
    if (!is_open() || sync() != 0) return off_type(-1);
    bool const isReading = file_->IsReading(), isFromReader = direction == ios_base::cur && isReading;
    if (isFromReader && offset == 0) return ReadPosition();
    if (isFromReader) offset += ReadPosition();

    FileOrigin const origin = direction == ios_base::end                    ? FileOrigin::End
                              : direction == ios_base::cur && !isFromReader ? FileOrigin::Current
                                                                            : FileOrigin::Begin;
    std::int64_t const position = file_->Seek(offset, origin);
    if (position >= 0 && isReading) DropAreas();
    return position;
}

KZFileStreamBuf::pos_type KZFileStreamBuf::seekpos(pos_type position, ios_base::openmode which) {
    return seekoff(position, ios_base::beg, which);
}

std::int64_t KZFileStreamBuf::BytesOf(wchar_t const * begin, wchar_t const * end) const {
    std::string bytes;
    KZDetail::AppendEncoded(bytes, std::wstring_view(begin, static_cast<std::size_t>(end - begin)),
                            file_->GetEncoding());
    return static_cast<std::int64_t>(bytes.size());
}

std::int64_t KZFileStreamBuf::ReadPosition() const {
    wchar_t const * const block = eback() + keptCount_;
    return gptr() < block ? file_->BlockBegin() - BytesOf(gptr(), block)
                          : file_->BlockBegin() + BytesOf(block, gptr());
}

void KZFileStreamBuf::DropAreas() noexcept {
    setg(nullptr, nullptr, nullptr);
    setp(nullptr, nullptr);
    keptCount_ = 0;
}
