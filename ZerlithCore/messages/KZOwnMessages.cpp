// The library's own messages are carried and found like those of any other module.
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/KZModuleMessages.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

// clang-format off
KZ_MODULE_MESSAGES(
    {1, KZLanguage::EnglishUS, u"Multiple languages in this kind of 'messagesource' are not supported."},
    {2, KZLanguage::EnglishUS, u"Invalid (or empty) language code supplied (%s)."},
    {3, KZLanguage::EnglishUS, u"Can't get message file name associated to language code specified (%s)"},
    {4, KZLanguage::EnglishUS, u"The codepage number for language code '%s' doesn't seem to be valid (or installed ?)."},
    {5, KZLanguage::EnglishUS, u"The %0:d message cannot be found in the message file %1:s."},
    {6, KZLanguage::EnglishUS, u"Unable to open the message file."},
    {7, KZLanguage::EnglishUS, u"Error converting the datetime."},
    {8, KZLanguage::EnglishUS, u"Date '%0:s' is invalid for format '%1:s'."},
    {9, KZLanguage::EnglishUS, u"Invalid date: '%s'."},
    {10, KZLanguage::EnglishUS, u"The specified multi-bytes converter is NULL or invalid. Check the code page you "
                                u"specified if you use a code page based converter."},
    {11, KZLanguage::EnglishUS, u"The converter used does not support some of the characters in the string supplied."},
    {12, KZLanguage::EnglishUS, u"<%0:s> ID's is used by another plugin or the plugin is already loaded in the "
                                u"application."},
    {13, KZLanguage::EnglishUS, u"<%0:s> failed dependency checking (NOT LOADED)."},
    {14, KZLanguage::EnglishUS, u"<%0:s> Can't find dependent <%1:s>"},
    {15, KZLanguage::EnglishUS, u"The thread is already started."},
    {16, KZLanguage::EnglishUS, u"The test named <%0:s> failed its benchmark's tolerance of %1:d%%. Before this test, "
                                u"the average time was %2:f secs and for this one, it tooks %3:f secs. The absolute "
                                u"difference is %4:d%%. Delete the .PRF file if this is the new benchmark that you "
                                u"want to set."})
// clang-format on

// Needs no constructor to be null, so whoever looks first finds null or the source.
constinit KZSmartPtrToConst<KZMessageSource> glbKZOREMsgSourceP;

namespace {

// Sets the source before any other object of the library is built; objects of programs and plug-ins come later still.
struct Loading {
    Loading() {
        if (!glbKZOREMsgSourceP.IsNull()) return;
        glbKZOREMsgSourceP = new RCStringTableMsgSource(KZ_THIS_MODULE);
        // An owner that never lets go: the source outlives errors that static destructors make.
        glbKZOREMsgSourceP->AddRef();
    }
};

[[gnu::init_priority(101)]] Loading const loading;

} // namespace

KZErrorID KZDetail::OwnError(long code, std::initializer_list<KZString> arguments) {
    if (arguments.size() == 0) return new KZError(glbKZOREMsgSourceP, code);
    auto * const error = new KZErrorWithArgs(glbKZOREMsgSourceP, code);
    KZErrorID id(error);
    for (KZString const & argument : arguments) error->AddParam(argument);
    return id;
}

KZErrorID KZDetail::LastSystemError() { return new KZWinLastError; }
