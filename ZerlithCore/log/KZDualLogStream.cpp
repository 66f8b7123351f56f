// The buffer of the stream writes each character to the console and gathers the text for the file.
#include "ZerlithCore/log/KZDualLogStream.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/encoding/detail/Utf8Text.h"
#include "ZerlithCore/log/detail/RecordFile.h"

#include <new>

namespace {

constexpr std::size_t mostGatheredUnits = 32 * 1024;

// Writes to the buffer, not to the stream: a stream that failed once would drop all later text.
void PutToConsole(wchar_t character) {
    try {
        KZGetConsole().rdbuf()->sputc(character);
    } catch (std::bad_alloc const &) {
        // The file gets the character all the same.
    }
}

} // namespace

KZDualLogStreamBuf::~KZDualLogStreamBuf() = default;

bool KZDualLogStreamBuf::PutUnits(std::u16string_view units) {
    for (char16_t const unit : units) owner_->OnChar(unit);
    return true;
}

// One by one, since a long text as a whole would need memory.
std::streamsize KZDualLogStreamBuf::xsputn(wchar_t const * text, std::streamsize count) {
    for (wchar_t const * const end = text + count; text != end; ++text)
        KZEncoding::SplitWide(*text, [this](char16_t unit) { owner_->OnChar(unit); });
    return count;
}

KZDualLogStreamBuf::int_type KZDualLogStreamBuf::underflow() { return traits_type::eof(); }

int KZDualLogStreamBuf::sync() {
    owner_->OnEOL();
    return 0;
}

KZDualLogStream::KZDualLogStream() : std::wostream(nullptr), buffer_(*this) { init(&buffer_); }

KZDualLogStream::KZDualLogStream(KZString const & path) : KZDualLogStream() {
    using namespace KZPlatform;
    if (path.IsNull()) return;
    file_ = std::make_unique<KZDetail::RecordFile>(KZDetail::RecordFile::utf8Messages);
    isGood_ = file_->Open(path, FileCreation::CreateAlways, FileShare::ReadWrite, FileProtection::Usual);
    if (!isGood_) file_.reset();
}

KZDualLogStream::~KZDualLogStream() {
    PutToFile();
    if (file_) file_->Close();
}

bool KZDualLogStream::IsGood() const { return isGood_; }

void KZDualLogStream::OnChar(char16_t unit) {
    if (file_) GatherForFile(unit);
    joiner_.Put(unit, PutToConsole);
}

void KZDualLogStream::OnEOL() {
    PutToFile();
    joiner_.Flush(PutToConsole);
    KZGetConsole().rdbuf()->pubsync();
}

std::uint64_t KZDualLogStream::GetLostRecordCount() const { return file_ ? file_->GetLostCount() : 0; }

void KZDualLogStream::GatherForFile(char16_t unit) {
    bool const isPair = KZEncoding::IsLowSurrogate(unit) && !gathered_.empty() &&
                        KZEncoding::IsHighSurrogate(gathered_.back());
    if (gathered_.size() >= mostGatheredUnits && !isPair) PutToFile();
    try {
        if (!isTextLost_) gathered_ += unit;
    } catch (std::bad_alloc const &) {
        LoseText();
    }
}

/// Drops the whole text up to the next flush, because a piece of it is missing.
void KZDualLogStream::LoseText() {
    file_->CountLost(true);
    gathered_.clear();
    isTextLost_ = true;
}

void KZDualLogStream::PutToFile() {
    if (!file_) return;
    try {
        if (!gathered_.empty())
            file_->Put(KZEncoding::Utf8Text(gathered_, KZEncoding::Utf8Mode::Escape), false);
    } catch (std::bad_alloc const &) {
        LoseText();
    }
    file_->Flush();
    gathered_.clear();
    isTextLost_ = false;
}
