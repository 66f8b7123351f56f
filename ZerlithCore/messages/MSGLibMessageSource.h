/// @file
/// The message source that reads its texts from files, one for each language.
///
///     KZSmartPtr<MSGLibMessageSource> const source(new MSGLibMessageSource(u"/opt/app/messages", u"app", u"deu"));
///     KZString text;
///     KZErrorID id = source->GetText(text, 7, KZFormatContext());           // from app.deu.LAN
///     id = source->GetText(text, 7, KZFormatContext(u"fra"));               // from app.fra.LAN
#pragma once

#include "ZerlithCore/messages/KZMessageSource.h"
#include "ZerlithCore/platform/RecursiveLock.h"

class MessageFile;

/// The texts are in files `prefix.language.LAN` of one directory, one file for each language. MessageFile has the rules by
/// which the file of a language is found.
///
/// The source has one current language. An operation whose context names another language makes that the current one, and it
/// stays so: a context without a language means the current one. A source without a file is invalid. Its operations succeed
/// and give no text, unless their comments say otherwise.
///
/// Thread safety: all operations may be called from any thread. No other thread can change the language between an
/// operation's own switch of the language and its look-up. The texts to which returned pointers point stay until `Reload` or
/// the end of the source, but are out of date when another thread has changed the language. The first use of a language
/// reads its file while the lock is held.
class KZ_EXPORT MSGLibMessageSource : public KZCounted<MSGLibMessageSource, KZMessageSource> {
public:
    /// `path` is the directory, empty for the current one. `language` becomes the current language unless it is null or empty;
    /// `IsValid` tells whether that has worked. If `path` or `prefix` is null, there are no files, and every operation that
    /// returns an error returns 6.
    MSGLibMessageSource(char16_t const * path, char16_t const * prefix, char16_t const * language);
    MSGLibMessageSource(MSGLibMessageSource const &) = delete;
    MSGLibMessageSource & operator=(MSGLibMessageSource const &) = delete;
    ~MSGLibMessageSource() override;

    /// The text of an invalid source is "The MSGLibMessageSource specified is invalid or invalid language code. ", with
    /// success. A null `error` leaves `out` alone. Errors: 5, with an empty `out`, when the file has no such message.
    KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                       KZFormatContext const & context) const override;
    /// An invalid source leaves `out` alone. Errors: those of `MessageFile::SetLanguage`, after which `out` is unchanged; 5,
    /// with an empty `out`, when the file has no such message.
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                      std::va_list * arguments) const override;
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context) const override;
    /// True when the file of the current language is open.
    bool IsValid() const override;
    /// The current language, as the caller spelled it; null when the source is invalid.
    char16_t const * GetDefaultLanguage() const override;
    /// Appends the languages that have files, as `MessageFile::GetAvailableLanguages` found them the last time. Appends
    /// nothing when the source is invalid.
    KZErrorID GetAvailableLanguages(std::vector<KZString> & out) const override;

    /// Makes `language` the current one. Errors: as `MessageFile::SetLanguage`.
    KZErrorID SetLanguage(char16_t const * language);
    /// Forgets all texts. The source is invalid until `SetLanguage`, or an operation whose context names a language, reads a
    /// file again.
    void Reload();

    /// The directory, as it was given; null when the source is invalid.
    char16_t const * GetMsgPath() const;
    /// Null when the source is invalid.
    char16_t const * GetFilePrefix() const;
    /// The whole path of the current file, composed of directory, prefix and language; null when the source is invalid.
    char16_t const * GetCurrentFileName() const;

private:
    class Guard;

    bool HasOpenFile() const;
    KZErrorID SwitchTo(KZString const & language) const;

    mutable KZPlatform::RecursiveLock lock_;
    KZSmartPtr<MessageFile> file_;
};
