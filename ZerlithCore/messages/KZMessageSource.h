/// @file
/// Message sources: they have the texts that belong to codes, in tables of a module or in a map in memory. A source that
/// reads message files is in MSGLibMessageSource.h.
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

/// Gives the text of a code in a language, and the complete text of an error.
///
/// A source is counted. Each error that was made with a source holds it.
///
/// Thread safety: the operations may be called from any thread.
class KZ_EXPORT KZMessageSource : public KZRefCountI {
public:
    ~KZMessageSource() override;

    unsigned long AddRef() const override = 0;
    unsigned long Release() const override = 0;
    /// Puts the text of `error`, with its arguments filled in, into `out`, in the language of `context`. A null `error` leaves
    /// `out` alone.
    virtual KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                               KZFormatContext const & context) const = 0;
    /// Puts the text of `code` into `out`. Unless `arguments` is null, the text is a format that they are printed by, as by
    /// `KZString::Format`. The caller's list isn't advanced.
    virtual KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                              std::va_list * arguments) const = 0;
    /// Puts the text of `code` into `out`, without replacing anything in it.
    virtual KZErrorID GetText(KZString & out, long code, KZFormatContext const & context) const = 0;
    virtual bool IsValid() const = 0;
    /// The language of a text when none is named. Valid as long as the source. Null only for an MSGLibMessageSource that isn't
    /// valid.
    virtual char16_t const * GetDefaultLanguage() const = 0;
    virtual KZErrorID GetAvailableLanguages(std::vector<KZString> & out) const = 0;

    /// Puts the text of `code` into `out`, with `arguments` printed by it, as by `KZString::Format`. Their types are checked.
    template <KZFormattable... Arguments>
    KZErrorID GetFormattedText(KZString & out, long code, KZFormatContext const & context,
                               Arguments const &... arguments) const {
        KZString format;
        KZErrorID id = GetText(format, code, context);
        if (id.Good()) out.Format(format.c_str(), arguments...);
        return id;
    }

protected:
    /// Replaces the template in `text` by its expansion. The arguments are those of `error`, as texts made in `context`.
    static void Expand(KZString & text, KZErrorI const & error, KZFormatContext const & context);
    /// Prints `arguments` by `format`, as `KZString::Format` does, into `out`. The caller's list isn't advanced.
    static void FormatText(KZString & out, KZString const & format, std::va_list & arguments);
};

/// The messages of a module. When a text is missing, the result is success all the same, and the text says so or is empty.
///
/// The source keeps the module in memory, and so does each error that was made with the source: its text can still be asked
/// for after a host has unloaded the plug-in that made it. A source that is a static object of the module keeps the module in
/// memory until the process ends. To let the module be unloaded, make sources only where they are needed.
class KZ_EXPORT RCMessageSource : public KZCounted<RCMessageSource, KZMessageSource> {
public:
    RCMessageSource(RCMessageSource const &) = default;
    RCMessageSource & operator=(RCMessageSource const &) = delete;
    ~RCMessageSource() override;

    /// Always success.
    KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                       KZFormatContext const & context) const override;
    /// Always success. A text with arguments is cut after 2,999 units.
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
    /// `module` is KZ_THIS_MODULE or the handle of a loaded module.
    explicit RCMessageSource(void * module) noexcept;

    /// Puts the text of `code` in the language numbered `languageId` into `out`, and tells whether there was one.
    virtual bool RetrieveMessage(KZString & out, long code, long languageId) const;
    /// The same for a language code, whose number `GetLanguageID` gives.
    virtual bool RetrieveMessage(KZString & out, long code, char16_t const * language) const;

    /// The number of a language code of three letters, case ignored: "enu", "fra", "nld", "deu", "jpn", "kor", "ptb",
    /// "esp", "esm". Any other text, and null, gives 1024, the neutral language.
    static long GetLanguageID(char16_t const * language) noexcept;

    [[nodiscard]] void * GetModule() const noexcept { return module_; }

private:
    void * module_;
    KZPlatform::ModuleHold hold_;
};

/// The string table of a module. Its texts have at most 499 units. They are in the language of the thread; the language of
/// the context is ignored. A missing text is empty.
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
/// If there is no text in the language that is asked for, the first of these is taken: a text in another form of that
/// language, a text for all languages, an English one, the first one in the table. In place of a missing text the result is
/// "Internal Error in RCMessageTableSource::RetrieveMessage", and a line with the error number is written to standard output.
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

    /// Adds the text of `code`. If the code has a text already, it keeps that.
    void Add(long code, KZString const & text);

    KZErrorID AsString(KZString & out, KZSmartPtrToConst<KZErrorI> const & error,
                       KZFormatContext const & context) const override;
    /// Does nothing and succeeds; `out` stays as it is. Callers rely on it.
    KZErrorID GetText(KZString & out, long code, KZFormatContext const & context,
                      std::va_list * arguments) const override;
    /// For a missing code the text is "This message cannot be found", and the result is success.
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
