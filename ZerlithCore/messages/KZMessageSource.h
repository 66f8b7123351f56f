/// @file
/// Where the texts of codes come from: tables of a module, or a map in memory. MSGLibMessageSource.h has those in files.
///
///     KZSmartPtr<KZInRAMMessageSource> const source(new KZInRAMMessageSource);
///     source->Add(7, u"%1:s isn't in %0:s");
///     KZErrorWithArgs * const error = new KZErrorWithArgs(source, 7);
#pragma once

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/platform/ModuleHold.h"

#include <cstdarg>
#include <map>
#include <vector>

/// Turns a code into text in a language, and an error into its finished text.
///
/// A source lives as long as anybody holds it; errors do.
///
/// Thread safety: the operations may be called from any thread.
class KZ_EXPORT KZMessageSource : public KZRefCountI {
public:
    ~KZMessageSource() override;

    unsigned long AddRef() const override = 0;
    unsigned long Release() const override = 0;
    /// Puts the finished text of `error`, in the language of `context`, into `out`. A null `error` leaves `out` alone.
    virtual KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                               KZFormatContext const & context) const = 0;
    /// Puts the text of `code` into `out`, expanded printf-style by `arguments` (as `KZString::Format` does) unless
    /// that is null. The list is left where it was.
    virtual KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                              std::va_list * arguments) const = 0;
    /// Puts the text of `code` into `out` as it stands.
    virtual KZErrorID GetText(KZString & out, long code, KZFormatContext const & context) const = 0;
    virtual bool IsValid() const = 0;
    /// Valid as long as the source. Null only for an MSGLibMessageSource that isn't valid.
    virtual char16_t const * GetDefaultLanguage() const = 0;
    virtual KZErrorID GetAvailableLanguages(std::vector<KZString> & out) const = 0;

    /// Puts the text of `code` into `out`, expanded by `arguments`, whose types are known, as `KZString::Format` does it.
    template <KZFormattable... Arguments>
    KZErrorID GetFormattedText(KZString & out, long code, KZFormatContext const & context,
                               Arguments const &... arguments) const {
        KZString format;
        KZErrorID id = GetText(format, code, context);
        if (id.Good()) out.Format(format.c_str(), arguments...);
        return id;
    }

protected:
    /// Expands the template in `text` by the parameters of `error`, made in `context`.
    static void Expand(KZString & text, KZErrorI const & error, KZFormatContext const & context);
    /// Puts the expansion of a printf-style `format` into `out`. The list is left where it was.
    static void FormatText(KZString & out, KZString const & format, std::va_list & arguments);
};

/// Messages of a module. A text that can't be had is told by the words of the text, never by an error.
///
/// The module stays in memory as long as the source, and so as long as any error on it: its text can be asked for after a
/// host has let go of the plug-in that made it. A source that is a static object of the module keeps it to the end of the
/// process; make sources where they are needed if the module is to leave memory.
class KZ_EXPORT RCMessageSource : public KZCounted<RCMessageSource, KZMessageSource> {
public:
    RCMessageSource(RCMessageSource const &) = default;
    RCMessageSource & operator=(RCMessageSource const &) = delete;
    ~RCMessageSource() override;

    /// Always success.
    KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                       KZFormatContext const & context) const override;
    /// Always success. An expanded text is cut to 2,999 units.
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                      std::va_list * arguments) const override;
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context) const override;
    /// True when there is a module.
    bool IsValid() const override;
    /// Empty.
    char16_t const * GetDefaultLanguage() const override;
    /// Errors: always 1; `out` is untouched.
    KZErrorID GetAvailableLanguages(std::vector<KZString> & out) const override;

protected:
    /// `module`: KZ_THIS_MODULE, or the handle of a loaded module.
    explicit RCMessageSource(void * module) noexcept;

    /// Puts the text of `code` in the language numbered `languageId` into `out`, and tells whether there was one.
    virtual bool RetrieveMessage(KZString & out, long code, long languageId) const;
    /// The same by a language code, which `GetLanguageID` turns into a number.
    virtual bool RetrieveMessage(KZString & out, long code, char16_t const * language) const;

    /// The number of a language code of three letters, case ignored: "enu", "fra", "nld", "deu", "jpn", "kor", "ptb",
    /// "esp", "esm". Any other text, and null, gives 1024, the neutral language.
    static long GetLanguageID(char16_t const * language) noexcept;

    [[nodiscard]] void * GetModule() const noexcept { return module_; }

private:
    void * module_;
    KZPlatform::ModuleHold hold_;
};

/// The string table of a module: texts of 499 units at most, in the language of the thread, whatever language is asked
/// for. A missing text is empty.
class KZ_EXPORT RCStringTableMsgSource : public RCMessageSource {
public:
    explicit RCStringTableMsgSource(void * module) noexcept : RCMessageSource(module) {}
    ~RCStringTableMsgSource() override;

protected:
    using RCMessageSource::RetrieveMessage;
    bool RetrieveMessage(KZString & out, long code, long languageId) const override;
};

/// The message table of a module, or of the system when `module` is null; a code of the system is an error number.
///
/// A text is taken in the language asked for, or the nearest to it that there is: another form of that language, one
/// for all languages, English, the first. A missing text is
/// "Internal Error in RCMessageTableSource::RetrieveMessage", and a line with the error number on standard output.
class KZ_EXPORT RCMessageTableSource : public RCMessageSource {
public:
    explicit RCMessageTableSource(void * module) noexcept : RCMessageSource(module) {}
    ~RCMessageTableSource() override;

protected:
    using RCMessageSource::RetrieveMessage;
    bool RetrieveMessage(KZString & out, long code, long languageId) const override;
};

/// Messages in a map in memory, one text for all languages. Copies have a map of their own.
///
/// Thread safety: fill it before sharing it.
class KZ_EXPORT KZInRAMMessageSource : public KZCounted<KZInRAMMessageSource, KZMessageSource> {
public:
    KZInRAMMessageSource() = default;
    KZInRAMMessageSource(KZInRAMMessageSource const &) = default;
    KZInRAMMessageSource & operator=(KZInRAMMessageSource const &) = default;
    ~KZInRAMMessageSource() override;

    /// Sets the text of `code`; a code that has one keeps it.
    void Add(long code, KZString const & text);

    KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                       KZFormatContext const & context) const override;
    /// Does nothing: `out` stays as it was, with success. Callers rely on it.
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                      std::va_list * arguments) const override;
    /// "This message cannot be found" for a missing code, with success.
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context) const override;
    /// True.
    bool IsValid() const override;
    /// Empty.
    char16_t const * GetDefaultLanguage() const override;
    /// Errors: always 1; `out` is untouched.
    KZErrorID GetAvailableLanguages(std::vector<KZString> & out) const override;

private:
    std::map<long, KZString> texts_;
};
