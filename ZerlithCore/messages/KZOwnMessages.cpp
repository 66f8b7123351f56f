// The texts of the library's own messages, the source that finds them, and the function that makes errors of them. They are
// found like the messages of any other module.
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/KZModuleMessages.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

using KZDetail::OwnMessage;

namespace {

constexpr KZModuleMessage Own(OwnMessage message, char16_t const * text) {
    return {static_cast<long>(message), KZLanguage::EnglishUS, text};
}

} // namespace

// clang-format off
KZ_MODULE_MESSAGES(
    Own(OwnMessage::OneLanguageOnly, u"Multiple languages in this kind of 'messagesource' are not supported."),
    Own(OwnMessage::InvalidLanguage, u"Invalid (or empty) language code supplied (%s)."),
    Own(OwnMessage::NoFileName, u"Can't get message file name associated to language code specified (%s)"),
    Own(OwnMessage::InvalidCodePage,
        u"The codepage number for language code '%s' doesn't seem to be valid (or installed ?)."),
    Own(OwnMessage::NoSuchMessage, u"The %0:d message cannot be found in the message file %1:s."),
    Own(OwnMessage::NoMessageFile, u"Unable to open the message file."),
    Own(OwnMessage::CantConvertDate, u"Error converting the datetime."),
    Own(OwnMessage::DateOfAnotherFormat, u"Date '%0:s' is invalid for format '%1:s'."),
    Own(OwnMessage::InvalidDate, u"Invalid date: '%s'."),
    Own(OwnMessage::InvalidConverter, u"The specified multi-bytes converter is NULL or invalid. Check the code page you "
                                      u"specified if you use a code page based converter."),
    Own(OwnMessage::UnsupportedCharacters,
        u"The converter used does not support some of the characters in the string supplied."),
    Own(OwnMessage::IdentityInUse,
        u"<%0:s> ID's is used by another plugin or the plugin is already loaded in the application."),
    Own(OwnMessage::DependencyFailed, u"<%0:s> failed dependency checking (NOT LOADED)."),
    Own(OwnMessage::NoSuchDependency, u"<%0:s> Can't find dependent <%1:s>"),
    Own(OwnMessage::ThreadStarted, u"The thread is already started."),
    Own(OwnMessage::BenchmarkMissed,
        u"The test named <%0:s> failed its benchmark's tolerance of %1:d%%. Before this test, the average time was %2:f "
        u"secs and for this one, it tooks %3:f secs. The absolute difference is %4:d%%. Delete the .PRF file if this is "
        u"the new benchmark that you want to set."),
    Own(OwnMessage::InvalidIsoDate,
        u"'%0:s' isn't a date and time such as 2024-03-29T17:00:00.000+01:00: %2:s is expected at position %1:d."))
// clang-format on

// Initialised at compile time, so code that runs before `loading` is constructed finds null, not an arbitrary value.
constinit KZSmartPtrToConst<KZMessageSource> glbKZOREMsgSourceP;

namespace {

// Sets the source before the other static objects of the library are constructed. Those of programs and plug-ins are
// constructed after those of the library.
struct Loading {
    Loading() {
        if (!glbKZOREMsgSourceP.IsNull()) return;
        glbKZOREMsgSourceP = new RCStringTableMsgSource(KZ_THIS_MODULE);
        // This reference is never released, so the source is still there when destructors of static objects make errors.
        glbKZOREMsgSourceP->AddRef();
    }
};

[[gnu::init_priority(101)]] Loading const loading;

} // namespace

KZErrorID KZDetail::OwnError(OwnMessage message, std::initializer_list<OwnArgument> arguments) {
    auto const code = static_cast<long>(message);
    if (arguments.size() == 0) return new KZError(glbKZOREMsgSourceP, code);
    auto * const error = new KZErrorWithArgs(glbKZOREMsgSourceP, code);
    KZErrorID id(error);
    for (OwnArgument const & argument : arguments)
        std::visit([=](auto const & value) { error->AddParam(value); }, argument);
    return id;
}

KZErrorID KZDetail::LastSystemError() { return new KZWinLastError; }
