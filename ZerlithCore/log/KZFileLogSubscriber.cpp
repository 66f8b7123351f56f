#include "ZerlithCore/log/KZFileLogSubscriber.h"

#include "ZerlithCore/platform/Utf8.h"

#include <string_view>
#include <tuple>

namespace {

using Guard = KZGuard<KZCriticalSection>;

constexpr std::size_t bufferBytes = 64 * 1024;

} // namespace

KZFileLogSubscriber::KZFileLogSubscriber(KZString const & fileName, int level, bool autoFlush, bool append)
    : KZLogSubscriberI(level), fileName_(fileName), autoFlush_(autoFlush), append_(append) {}

KZFileLogSubscriber::~KZFileLogSubscriber() { Close(); }

void KZFileLogSubscriber::OnFlush(int level, KZString const & text) {
    if (!IsInterested(level)) return;
    Guard const guard(lock_);
    if (!OpenIfNeeded()) return;
    KZPlatform::AppendUtf8(gathered_, std::u16string_view(text), KZPlatform::Utf8Mode::Escape);
    if (autoFlush_ || gathered_.size() >= bufferBytes) WriteGathered();
}

bool KZFileLogSubscriber::IsValid() const {
    Guard const guard(lock_);
    return file_.IsOpen();
}

void KZFileLogSubscriber::Close() {
    Guard const guard(lock_);
    WriteGathered();
    file_.Close();
}

bool KZFileLogSubscriber::OpenIfNeeded() {
    if (file_.IsOpen()) return true;
    return append_ ? file_.Open(fileName_, KZFile::Access::Append, KZFile::Creation::OpenAlways)
                   : file_.Open(fileName_, KZFile::Access::Write, KZFile::Creation::CreateAlways);
}

/// What the system refuses is dropped: there is nobody to tell.
void KZFileLogSubscriber::WriteGathered() {
    if (!gathered_.empty()) std::ignore = file_.Write(gathered_.data(), gathered_.size());
    gathered_.clear();
}
