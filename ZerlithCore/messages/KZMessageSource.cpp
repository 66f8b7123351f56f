// The message sources that read the tables of a module, and the one with a map in memory.
#include "ZerlithCore/messages/KZMessageSource.h"

#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/KZModuleMessages.h"
#include "ZerlithCore/messages/KZPrintf.h"
#include "ZerlithCore/platform/Console.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/ModuleMessages.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace {

struct Language {
    std::u16string_view code;
    long number;
};

constexpr Language languages[] = {
    {u"enu", KZLanguage::EnglishUS},
    {u"fra", KZLanguage::French},
    {u"nld", KZLanguage::Dutch},
    {u"deu", KZLanguage::German},
    {u"jpn", KZLanguage::Japanese},
    {u"kor", KZLanguage::Korean},
    {u"ptb", KZLanguage::PortugueseBrazil},
    {u"esp", KZLanguage::Spanish},
    {u"esm", KZLanguage::SpanishMexico},
};

KZErrorID NoLanguages() { return KZDetail::OwnError(KZDetail::OwnMessage::OneLanguageOnly); }

// A copy of an argument list, which is ended even if an exception is thrown.
class ArgumentListCopy {
public:
    explicit ArgumentListCopy(std::va_list & list) noexcept { va_copy(list_, list); }
    ~ArgumentListCopy() { va_end(list_); }
    ArgumentListCopy(ArgumentListCopy const &) = delete;
    ArgumentListCopy & operator=(ArgumentListCopy const &) = delete;

    void Format(KZString & out, KZString const & format) { out.FormatArgumentList(format.c_str(), list_); }

private:
    std::va_list list_;
};

} // namespace

// --- KZMessageSource

KZMessageSource::~KZMessageSource() = default;

void KZMessageSource::Expand(KZString & text, KZErrorI const & error, KZFormatContext const & context) {
    KZExecContext const execContext(context);
    std::vector<KZString> arguments;
    for (unsigned int i = 0; i < error.GetParameterCount(); ++i)
        arguments.push_back(error.GetParameterValueAsString(i, execContext));
    text = KZPrintf(text, arguments);
}

void KZMessageSource::FormatText(KZString & out, KZString const & format, std::va_list & arguments) {
    ArgumentListCopy(arguments).Format(out, format);
}

// --- RCMessageSource

RCMessageSource::RCMessageSource(void * module) noexcept
    : module_(module), hold_(KZPlatform::ModuleHold::OfHandle(module)) {}

RCMessageSource::~RCMessageSource() = default;

KZErrorID RCMessageSource::AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                                    KZFormatContext const & context) const {
    if (error.IsNull()) return KZErrorID(0);
    RetrieveMessage(out, error->GetCode(), context.GetLanguage().c_str());
    Expand(out, *error, context);
    return KZErrorID(0);
}

KZErrorID RCMessageSource::GetText(KZString & out, long code, KZFormatContext const & context,
                                   std::va_list * arguments) const {
    constexpr std::uint32_t longest = 2999;
    RetrieveMessage(out, code, context.GetLanguage().c_str());
    if (!arguments) return KZErrorID(0);
    KZString const format = out;
    FormatText(out, format, *arguments);
    if (out.Length() > longest) out.Remove(longest, out.Length() - longest);
    return KZErrorID(0);
}

KZErrorID RCMessageSource::GetText(KZString & out, long code, KZFormatContext const & context) const {
    RetrieveMessage(out, code, context.GetLanguage().c_str());
    return KZErrorID(0);
}

bool RCMessageSource::IsValid() const { return module_ != nullptr; }

char16_t const * RCMessageSource::GetDefaultLanguage() const { return u""; }

KZErrorID RCMessageSource::GetAvailableLanguages(std::vector<KZString> &) const { return NoLanguages(); }

bool RCMessageSource::RetrieveMessage(KZString &, long, long) const { return false; }

bool RCMessageSource::RetrieveMessage(KZString & out, long code, char16_t const * language) const {
    return RetrieveMessage(out, code, GetLanguageID(language));
}

long RCMessageSource::GetLanguageID(char16_t const * language) noexcept {
    std::u16string_view const code(language ? language : u"");
    for (Language const & known : languages)
        if (std::ranges::equal(known.code, code, {}, {}, KZtowlower)) return known.number;
    return KZPlatform::neutralLanguage;
}

// --- RCStringTableMsgSource

RCStringTableMsgSource::~RCStringTableMsgSource() = default;

bool RCStringTableMsgSource::RetrieveMessage(KZString & out, long code, long) const {
    constexpr std::size_t longest = 499;
    std::u16string text;
    KZPlatform::LoadStringText(text, GetModule(), static_cast<std::uint32_t>(code), longest);
    out = KZString(std::u16string_view(text));
    return !text.empty();
}

// --- RCMessageTableSource

RCMessageTableSource::~RCMessageTableSource() = default;

bool RCMessageTableSource::RetrieveMessage(KZString & out, long code, long languageId) const {
    std::u16string text;
    if (KZPlatform::LoadMessageText(text, GetModule(), static_cast<std::uint32_t>(code), languageId)) {
        out = KZString(std::u16string_view(text));
        return true;
    }
    out = u"Internal Error in RCMessageTableSource::RetrieveMessage";
    KZPlatform::WriteToStandardOutput("Error " + std::to_string(KZPlatform::LastErrorNumber()) +
                                      " from FormatMessage\n");
    return false;
}

// --- KZInRAMMessageSource

KZInRAMMessageSource::~KZInRAMMessageSource() = default;

void KZInRAMMessageSource::Add(long code, KZString const & text) { texts_.emplace(code, text); }

KZErrorID KZInRAMMessageSource::AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                                         KZFormatContext const & context) const {
    if (error.IsNull()) return KZErrorID(0);
    KZErrorID const id = GetText(out, error->GetCode(), KZFormatContext(context.GetLanguage()));
    if (id.Good()) Expand(out, *error, context);
    return id;
}

KZErrorID KZInRAMMessageSource::GetText(KZString &, long, KZFormatContext const &, std::va_list *) const {
    return KZErrorID(0);
}

KZErrorID KZInRAMMessageSource::GetText(KZString & out, long code, KZFormatContext const &) const {
    auto const found = texts_.find(code);
    out = found != texts_.end() ? found->second : KZString(u"This message cannot be found");
    return KZErrorID(0);
}

bool KZInRAMMessageSource::IsValid() const { return true; }

char16_t const * KZInRAMMessageSource::GetDefaultLanguage() const { return u""; }

KZErrorID KZInRAMMessageSource::GetAvailableLanguages(std::vector<KZString> &) const { return NoLanguages(); }
