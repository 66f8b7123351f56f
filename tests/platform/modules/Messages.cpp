// A library with messages in two languages, and one message for all languages.
#include "ZerlithCore/messages/KZModuleMessages.h"

KZ_MODULE_MESSAGES({1, KZLanguage::French, u"Bonjour, %s"}, {1, KZLanguage::EnglishUS, u"Good morning, %s"},
                   {2, KZLanguage::Neutral, u"OK"}, {2, KZLanguage::German, u"Gut"},
                   {3, KZLanguage::Japanese, u"\u306f\u3044"}, {3, KZLanguage::French, u"Oui"})

extern "C" KZ_EXPORT int MessagesAnswer() { return 42; }
extern "C" KZ_EXPORT void * MessagesOwnModule() { return KZ_THIS_MODULE; }
