#include "ZerlithCore/log/KZConsoleLogSubscriber.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/text/KZUnitStreamBuf.h"
#include "ZerlithCore/text/KZWideText.h"

#include <ostream>
#include <string_view>

namespace {

/// Puts the text into a buffer in one piece.
void Put(std::wstreambuf & buffer, std::u16string_view text) {
    if (auto * const units = dynamic_cast<KZUnitStreamBuf *>(&buffer)) {
        units->PutUnits(text);
    } else {
        std::wstring const wide = KZToWide(text);
        buffer.sputn(wide.data(), static_cast<std::streamsize>(wide.size()));
    }
}

} // namespace

KZConsoleLogSubscriber::~KZConsoleLogSubscriber() = default;

void KZConsoleLogSubscriber::OnFlush(int level, KZString const & text) {
    if (!IsInterested(level)) return;
    // Written to the buffer, not to the stream: the stream's own state must not be used without a lock, the buffer may. The
    // program may have given the stream a buffer of its own.
    std::wstreambuf & console = *KZGetConsole().rdbuf();
    Put(console, std::u16string_view(text));
    console.pubsync();
}
