#include "ZerlithCore/log/KZConsoleLogSubscriber.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/text/KZWideText.h"

#include <ostream>
#include <streambuf>
#include <string_view>

KZConsoleLogSubscriber::~KZConsoleLogSubscriber() = default;

void KZConsoleLogSubscriber::OnFlush(int level, KZString const & text) {
    if (!IsInterested(level)) return;
    // Past the stream to its buffer, which unlike the stream's own state may be used without a lock.
    std::wstring const wide = KZToWide(std::u16string_view(text));
    std::wstreambuf & console = *KZGetConsole().rdbuf();
    console.sputn(wide.data(), static_cast<std::streamsize>(wide.size()));
    console.pubsync();
}
