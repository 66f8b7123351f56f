#include "ZerlithCore/log/KZConsoleLogSubscriber.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/text/KZWideText.h"

#include <ostream>
#include <streambuf>
#include <string_view>

KZConsoleLogSubscriber::~KZConsoleLogSubscriber() = default;

void KZConsoleLogSubscriber::OnFlush(int level, KZString const & text) {
    if (!IsInterested(level)) return;
    // Written to the buffer, not to the stream: the stream's own state must not be used without a lock, the buffer may.
    std::wstring const wide = KZToWide(std::u16string_view(text));
    std::wstreambuf & console = *KZGetConsole().rdbuf();
    console.sputn(wide.data(), static_cast<std::streamsize>(wide.size()));
    console.pubsync();
}
