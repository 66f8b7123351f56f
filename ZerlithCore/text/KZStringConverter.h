/// @file
/// Converters between 8-bit text and KZString.
///
///     KZString name;
///     KZErrorID error = name.ConvertToUnicode("\x8B\xE2\x8D\x73", new KZMbCodePageConverter(932));
///     std::string narrow;
///     error = name.ConvertFromUnicode(narrow, new KZLatinStringConverter);
///
/// | Class                 | 8-bit text                                  |
/// |-----------------------|---------------------------------------------|
/// | KZLatinStringConverter| ISO 8859-1                                  |
/// | KZStringUTF8Converter | UTF-8                                       |
/// | KZMbCodePageConverter | a code page of the platform, by its number  |
/// | KZJisConverter        | code page 932                               |
/// | KZMultiByteConverter  | whatever the caller's tables say            |
///
/// Bytes are read up to their first 0, and texts up to their first 0 unit; null bytes are an empty text.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"

#include <cstdint>
#include <string>

class KZErrorID;
class KZString;

/// What every converter can do.
///
/// Thread safety: a converter has no state besides its count, so one may serve all threads.
class KZ_EXPORT KZStringConverter : public KZCounted<KZStringConverter, KZRefCountI> {
public:
    KZStringConverter() noexcept = default;
    ~KZStringConverter() override;

    /// Replaces `dest` by the text of `src`.
    virtual KZErrorID ConvertToUnicode(KZString & dest, char const * src) const = 0;
    /// Replaces `dest` by the bytes of `src`.
    virtual KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const = 0;
    /// True unless the converter can convert nothing at all.
    [[nodiscard]] virtual bool IsValid() const;

protected:
    /// Direct access for converters: the text, in a block of the string's own with room for `Capacity()` units and a 0
    /// unit, and the length. Whoever writes a text ends it with a 0 unit and sets the length. Both are valid until the
    /// string is changed by other means.
    static char16_t * GetStrDataP(KZString & string);
    static std::uint32_t * GetStrDataLenP(KZString & string);
};

/// A converter that can't fail: derived classes say how in two operations, which do nothing here.
class KZ_EXPORT KZMbStringConverter : public KZStringConverter {
public:
    ~KZMbStringConverter() override;

    /// By `ConvertMbToStr` and `ConvertStrToMb`; success.
    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const override;

    /// Leaves `dest` alone.
    virtual void ConvertMbToStr(KZString & dest, char const * src) const;
    /// An empty string.
    [[nodiscard]] virtual std::string ConvertStrToMb(KZString const & src) const;
};

/// ISO 8859-1: units and bytes of the same values.
class KZ_EXPORT KZLatinStringConverter : public KZMbStringConverter {
public:
    ~KZLatinStringConverter() override;

    /// Always succeeds.
    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    /// Errors: 11 when any unit of the string, also one behind a 0 unit, is above 255. The text is converted all the
    /// same, with "?" for such units.
    KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const override;
};

/// UTF-8: each maximal part of a broken sequence becomes U+FFFD, and so does each lone surrogate on the way back.
class KZ_EXPORT KZStringUTF8Converter : public KZStringConverter {
public:
    ~KZStringUTF8Converter() override;

    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const override;
};

/// A code page of the platform.
class KZ_EXPORT KZMbCodePageConverter : public KZMbStringConverter {
public:
    /// Any number will do; `IsValid` tells what it is worth. 0 is the platform's default page.
    explicit KZMbCodePageConverter(std::uint32_t codePage);
    ~KZMbCodePageConverter() override;

    /// Errors: the system's, for bytes that mean nothing in the page and for a page that isn't there; `dest` is as
    /// it was then.
    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    /// A unit that the page lacks becomes "?". Errors: the system's, for a page that isn't there; `dest` is empty then.
    KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const override;
    /// True for page 0, and for a page that the platform has.
    [[nodiscard]] bool IsValid() const override;

    [[nodiscard]] std::uint32_t GetCodePage() const noexcept { return codePage_; }

private:
    std::uint32_t codePage_;
};

/// Code page 932.
class KZ_EXPORT KZJisConverter : public KZMbCodePageConverter {
public:
    KZJisConverter();
    ~KZJisConverter() override;
};

/// The tables of a KZMultiByteConverter; each is null or has 256 entries.
struct KZMultiByteMapping {
    static constexpr unsigned Bytes = 256;  // the table by a byte: a unit, or 0 for a lead byte
    static constexpr unsigned Trails = 256; // `Trails` + lead byte: the table by the byte behind it: a unit

    /// Entries 0 to 255, by the high byte of a unit: codes by its low byte. A code above 255 is two bytes, high byte
    /// first; 0 is no code. Entry 256 and those behind it: see above.
    char16_t const * tables[512];
};

/// Converts by tables that the caller owns, and keeps for as long as the converter lives.
class KZ_EXPORT KZMultiByteConverter : public KZMbStringConverter {
public:
    explicit KZMultiByteConverter(KZMultiByteMapping const * mapping);
    ~KZMultiByteConverter() override;

    /// Leaves `dest` empty unless some table gives a unit above 255: callers rely on it. A byte without a table is
    /// sign-extended to 16 bits; one that means nothing, a lead byte at the end too, becomes "?".
    void ConvertMbToStr(KZString & dest, char const * src) const override;
    /// A unit without a code becomes "?".
    [[nodiscard]] std::string ConvertStrToMb(KZString const & src) const override;

private:
    KZMultiByteMapping const * mapping_;
};
