#include "ZerlithCore/log/KZDualLogStream.h"

#include "ZerlithCore/diagnostics/KZConsole.h"

namespace {

void PutEverywhere(KZOFileStream * file, wchar_t character) {
    if (file) file->put(character);
    KZGetConsole().put(character);
}

} // namespace

KZDualLogStreamBuf::~KZDualLogStreamBuf() = default;

KZDualLogStreamBuf::int_type KZDualLogStreamBuf::overflow(int_type character) {
    if (!traits_type::eq_int_type(character, traits_type::eof())) {
        std::u16string units;
        KZAppendWide(units, traits_type::to_char_type(character));
        for (char16_t const unit : units) owner_->OnChar(unit);
    }
    return traits_type::not_eof(character);
}

KZDualLogStreamBuf::int_type KZDualLogStreamBuf::underflow() { return traits_type::eof(); }

int KZDualLogStreamBuf::sync() {
    owner_->OnEOL();
    return 0;
}

KZDualLogStream::KZDualLogStream() : std::wostream(nullptr), buffer_(*this) { init(&buffer_); }

KZDualLogStream::KZDualLogStream(KZString const & path) : KZDualLogStream() {
    if (path.IsNull()) return;
    file_ = std::make_unique<KZOFileStream>(path, std::ios_base::out | std::ios_base::trunc);
    isGood_ = file_->is_open();
    if (!isGood_) file_.reset();
}

KZDualLogStream::~KZDualLogStream() = default;

bool KZDualLogStream::IsGood() const { return isGood_; }

void KZDualLogStream::OnChar(char16_t unit) {
    joiner_.Put(unit, [this](wchar_t character) { PutEverywhere(file_.get(), character); });
}

void KZDualLogStream::OnEOL() {
    joiner_.Flush([this](wchar_t character) { PutEverywhere(file_.get(), character); });
    if (file_) file_->flush();
    KZGetConsole().flush();
}
