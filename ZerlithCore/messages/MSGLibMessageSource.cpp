// The message source that reads files. The lock is held while the language is changed and the text is looked up, which gives a
// shared copy of the text. The copy is expanded after the lock is released, because that calls functions of the error,
// which may be code of a program or a plug-in.
#include "ZerlithCore/messages/MSGLibMessageSource.h"

#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/MessageFile.h"
#include "ZerlithCore/text/detail/OwnErrors.h"

namespace {

KZErrorID NoFile() { return KZDetail::OwnError(KZDetail::OwnMessage::NoMessageFile); }

} // namespace

/// Holds the source's lock. What the files have to write to the console is written after the lock is released, because a
/// thread that holds the console's lock may be waiting for this one.
class MSGLibMessageSource::Guard {
public:
    explicit Guard(MSGLibMessageSource const & source) noexcept : source_(source) {
        source_.lock_.Lock();
        if (!source_.file_.IsNull()) source_.file_->deferred_ = &notices_;
    }
    ~Guard() {
        if (!source_.file_.IsNull()) source_.file_->deferred_ = nullptr;
        source_.lock_.Unlock();
        try {
            for (MessageFile::Notice const & notice : notices_) MessageFile::Say(notice);
        } catch (...) {
            // There is no memory to write it. The caller gets the operation's error all the same.
        }
    }
    Guard(Guard const &) = delete;
    Guard & operator=(Guard const &) = delete;

private:
    MSGLibMessageSource const & source_;
    std::vector<MessageFile::Notice> notices_;
};

MSGLibMessageSource::MSGLibMessageSource(char16_t const * path, char16_t const * prefix,
                                         char16_t const * language)
    : file_(path && prefix ? MessageFile::Create(path, prefix) : KZSmartPtr<MessageFile>()) {
    if (language && *language) static_cast<void>(SetLanguage(language));
}

MSGLibMessageSource::~MSGLibMessageSource() = default;

KZErrorID MSGLibMessageSource::AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                                        KZFormatContext const & context) const {
    if (error.IsNull()) return KZErrorID(0);
    KZErrorID id(0);
    {
        Guard const guard(*this);
        static_cast<void>(SwitchTo(context.GetLanguage()));
        if (!HasOpenFile()) {
            out = u"The MSGLibMessageSource specified is invalid or invalid language code. ";
            return id;
        }
        id = file_->FetchMessage(out, error->GetCode());
    }
    if (id.Good()) Expand(out, *error, context);
    return id;
}

KZErrorID MSGLibMessageSource::GetText(KZString & out, long code, KZFormatContext const & context,
                                       std::va_list * arguments) const {
    KZString text;
    {
        Guard const guard(*this);
        KZErrorID id = SwitchTo(context.GetLanguage());
        if (id.Bad() || !HasOpenFile()) return id;
        id = file_->FetchMessage(text, code);
        if (id.Bad() || !arguments) {
            out = text;
            return id;
        }
    }
    FormatText(out, text, *arguments);
    return KZErrorID(0);
}

KZErrorID MSGLibMessageSource::GetText(KZString & out, long code, KZFormatContext const & context) const {
    Guard const guard(*this);
    KZErrorID const id = SwitchTo(context.GetLanguage());
    return id.Good() && HasOpenFile() ? file_->FetchMessage(out, code) : id;
}

bool MSGLibMessageSource::IsValid() const {
    Guard const guard(*this);
    return HasOpenFile();
}

char16_t const * MSGLibMessageSource::GetDefaultLanguage() const {
    Guard const guard(*this);
    return HasOpenFile() ? file_->GetLanguageCode().c_str() : nullptr;
}

KZErrorID MSGLibMessageSource::GetAvailableLanguages(std::vector<KZString> & out) const {
    Guard const guard(*this);
    if (!HasOpenFile()) return KZErrorID(0);
    std::vector<KZString> const & languages = file_->GetAvailableLanguages(false);
    out.insert(out.end(), languages.begin(), languages.end());
    return KZErrorID(0);
}

KZErrorID MSGLibMessageSource::SetLanguage(char16_t const * language) {
    Guard const guard(*this);
    return file_.IsNull() ? NoFile() : file_->SetLanguage(language);
}

void MSGLibMessageSource::Reload() {
    Guard const guard(*this);
    if (!file_.IsNull()) file_->Reload();
}

char16_t const * MSGLibMessageSource::GetMsgPath() const {
    Guard const guard(*this);
    return HasOpenFile() ? file_->GetPath().c_str() : nullptr;
}

char16_t const * MSGLibMessageSource::GetFilePrefix() const {
    Guard const guard(*this);
    return HasOpenFile() ? file_->GetPrefix().c_str() : nullptr;
}

char16_t const * MSGLibMessageSource::GetCurrentFileName() const {
    Guard const guard(*this);
    return HasOpenFile() ? file_->GetFileName().c_str() : nullptr;
}

bool MSGLibMessageSource::HasOpenFile() const { return !file_.IsNull() && file_->IsOpen(); }

/// Makes a language the current one unless it is empty. Requires: the lock is held.
KZErrorID MSGLibMessageSource::SwitchTo(KZString const & language) const {
    if (file_.IsNull()) return NoFile();
    return language.IsNull() ? KZErrorID(0) : file_->SetLanguage(language);
}
