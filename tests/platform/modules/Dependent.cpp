// A module without messages that needs a library with messages.
#include "ZerlithCore/messages/KZModuleMessages.h"

extern "C" int MessagesAnswer();
extern "C" KZ_EXPORT int DependentAnswer() { return MessagesAnswer() + 1; }
extern "C" KZ_EXPORT void * DependentOwnModule() { return KZ_THIS_MODULE; }
