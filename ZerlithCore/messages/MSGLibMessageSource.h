/// @file
/// A message source on translated texts in files.
///
///     KZSmartPtr<MSGLibMessageSource> const source(new MSGLibMessageSource(u"/opt/app/messages", u"app", u"deu"));
///     KZString text;
///     KZErrorID id = source->GetText(text, 7, KZFormatContext());           // from app.deu.LAN
///     id = source->GetText(text, 7, KZFormatContext(u"fra"));               // from app.fra.LAN
#pragma once

#include "ZerlithCore/messages/KZMessageSource.h"
#include "ZerlithCore/platform/RecursiveLock.h"

class MessageFile;

/// Texts from files `prefix.language.LAN` of one directory, one a language; MessageFile has the rules for finding them.
///
/// The source has one current language. An operation with a context in another language switches it, and it stays
/// switched: an empty language in a context means whatever is current. A source without a file is invalid; its
/// operations succeed and give no text, except as told below.
///
/// Thread safety: all operations may be called from any thread; a switch and the look-up behind it are one step. The
/// texts behind returned pointers stay until `Reload` or the end of the source, but no longer tell the truth when another
/// thread switches the language. The first use of a language reads its file under the lock.
class KZ_EXPORT MSGLibMessageSource : public KZCounted<MSGLibMessageSource, KZMessageSource> {
public:
    /// `path` is the directory, empty for the current one. A `language` that is null or empty sets none; whether setting
    /// it has failed `IsValid` tells. Without (null) `path` or `prefix` there are no files, and every operation that
    /// returns an error returns 6.
    MSGLibMessageSource(char16_t const * path, char16_t const * prefix, char16_t const * language);
    MSGLibMessageSource(MSGLibMessageSource const &) = delete;
    MSGLibMessageSource & operator=(MSGLibMessageSource const &) = delete;
    ~MSGLibMessageSource() override;

    /// An invalid source gives "The MSGLibMessageSource specified is invalid or invalid language code. " with success.
    /// A null `error` leaves `out` alone. Errors: 5, and `out` is empty, when the file has no such message.
    KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                       KZFormatContext const & context) const override;
    /// Errors: those of `MessageFile::SetLanguage`, `out` is as it was then; 5, with an empty `out`, when the file has no
    /// such message. An invalid source leaves `out` alone.
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                      std::va_list * arguments) const override;
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context) const override;
    /// True when the file of the current language is open.
    bool IsValid() const override;
    /// The current language, as the caller spelled it; null when the source is invalid.
    char16_t const * GetDefaultLanguage() const override;
    /// Appends the languages that have files, as `MessageFile::GetAvailableLanguages` last found them; nothing when the
    /// source is invalid.
    KZErrorID GetAvailableLanguages(std::vector<KZString> & out) const override;

    /// Switches the language; errors as `MessageFile::SetLanguage`.
    KZErrorID SetLanguage(char16_t const * language);
    /// Forgets all texts. The source is invalid until the next `SetLanguage`, or an operation with a language in its
    /// context, which reads the file anew.
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
