#include "ZerlithCore/log/KZFileLogSubscriber.h"

#include "ZerlithCore/encoding/detail/Utf8Text.h"
#include "ZerlithCore/log/detail/RecordFile.h"

#include <new>
#include <string_view>

namespace {

using Guard = KZGuard<KZCriticalSection>;

} // namespace

KZFileLogSubscriber::KZFileLogSubscriber(KZString const & fileName, int level, bool autoFlush, bool append,
                                         KZFile::Protection protection)
    : KZLogSubscriberI(level)
    , fileName_(fileName)
    , file_(std::make_unique<KZDetail::RecordFile>(KZDetail::RecordFile::utf8Messages))
    , autoFlush_(autoFlush)
    , append_(append)
    , protection_(protection) {}

KZFileLogSubscriber::~KZFileLogSubscriber() { Close(); }

void KZFileLogSubscriber::OnFlush(int level, KZString const & text) {
    if (!IsInterested(level)) return;
    try {
        KZEncoding::Utf8Text const bytes(std::u16string_view(text), KZEncoding::Utf8Mode::Escape);
        Guard const guard(lock_);
        if (!OpenIfNeeded()) return file_->CountLost(false);
        file_->Put(bytes, autoFlush_);
    } catch (std::bad_alloc const &) {
        Guard const guard(lock_);
        file_->CountLost(true);
    }
}

bool KZFileLogSubscriber::IsValid() const {
    Guard const guard(lock_);
    return file_->IsOpen();
}

void KZFileLogSubscriber::Close() {
    Guard const guard(lock_);
    file_->Close();
}

std::uint64_t KZFileLogSubscriber::GetLostRecordCount() const {
    Guard const guard(lock_);
    return file_->GetLostCount();
}

bool KZFileLogSubscriber::OpenIfNeeded() {
    using Creation = KZFile::Creation;
    return file_->IsOpen() || file_->Open(fileName_, append_ ? Creation::OpenAlways : Creation::CreateAlways,
                                          KZFile::Share::ReadWrite, protection_);
}
