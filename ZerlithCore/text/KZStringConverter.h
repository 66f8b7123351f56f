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
/// | KZMultiByteConverter  | given by tables of the caller               |
///
/// Bytes are read up to their first 0, and strings up to their first 0 unit. A null pointer to bytes is an empty
/// text.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZRefCount.h"

#include <cstdint>
#include <string>

class KZErrorID;
class KZString;

/// The interface of all converters.
///
/// Thread safety: a converter has no state besides its reference count, so several threads may use one.
class KZ_EXPORT KZStringConverter : public KZCounted<KZStringConverter, KZRefCountI> {
public:
    KZStringConverter() noexcept = default;
    ~KZStringConverter() override;

    /// Replaces `dest` by the text of `src`.
    virtual KZErrorID ConvertToUnicode(KZString & dest, char const * src) const = 0;
    /// Replaces `dest` by the bytes of `src`.
    virtual KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const = 0;
    /// False when no text can be converted, such as by a code page that doesn't exist.
    [[nodiscard]] virtual bool IsValid() const;

protected:
    /// Direct access for derived converters: the text, in a block that no other string shares, with room for
    /// `Capacity()` units and a 0 unit; and the length. A converter that writes the text must end it with a 0 unit
    /// and set the length. Both pointers are valid until the string is changed in another way.
    static char16_t * GetStrDataP(KZString & string);
    static std::uint32_t * GetStrDataLenP(KZString & string);
};

/// A converter that can't fail: derived classes override `ConvertMbToStr` and `ConvertStrToMb`.
class KZ_EXPORT KZMbStringConverter : public KZStringConverter {
public:
    ~KZMbStringConverter() override;

    /// These call the two functions below and return success.
    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const override;

    /// Replaces `dest` by the text of `src`. Does nothing in this class.
    virtual void ConvertMbToStr(KZString & dest, char const * src) const;
    /// Returns the bytes of `src`. Returns an empty string in this class.
    [[nodiscard]] virtual std::string ConvertStrToMb(KZString const & src) const;
};

/// ISO 8859-1: a byte and its unit have the same value.
class KZ_EXPORT KZLatinStringConverter : public KZMbStringConverter {
public:
    ~KZLatinStringConverter() override;

    /// Always succeeds.
    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    /// Errors: 11 when any unit of the string, also after a 0 unit, is above 255. The text is converted in spite of
    /// it, with "?" for such units.
    KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const override;
};

/// UTF-8: each maximal part of an invalid sequence becomes U+FFFD, and so does each lone surrogate on the way back.
class KZ_EXPORT KZStringUTF8Converter : public KZStringConverter {
public:
    ~KZStringUTF8Converter() override;

    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    KZErrorID ConvertFromUnicode(std::string & dest, KZString const & src) const override;
};

/// A code page of the platform.
class KZ_EXPORT KZMbCodePageConverter : public KZMbStringConverter {
public:
    /// Any number is accepted; `IsValid` tells whether there is such a page. 0 is the platform's default page.
    explicit KZMbCodePageConverter(std::uint32_t codePage);
    ~KZMbCodePageConverter() override;

    /// Errors: the system's, for bytes that have no meaning in the page and for a page that doesn't exist; `dest` is
    /// then unchanged.
    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override;
    /// A unit that the page lacks becomes "?". Errors: the system's, for a page that doesn't exist; `dest` is then
    /// empty.
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
    static constexpr unsigned Bytes = 256;  // the table with the unit of each byte; 0 for a lead byte
    static constexpr unsigned Trails = 256; // plus a lead byte: the table with the unit of each second byte

    /// Entries 0 to 255 are for units: entry h has the codes of the units with high byte h, by their low byte. A code
    /// above 255 is two bytes, the high one first; 0 means that the unit has no code. The entries from 256 on are for
    /// bytes, as said above.
    char16_t const * tables[512];
};

/// Converts by tables of the caller, who owns them and must keep them as long as the converter lives.
class KZ_EXPORT KZMultiByteConverter : public KZMbStringConverter {
public:
    explicit KZMultiByteConverter(KZMultiByteMapping const * mapping);
    ~KZMultiByteConverter() override;

    /// Leaves `dest` empty unless a table gives some unit above 255; callers rely on it. Without the table `Bytes` a
    /// byte is extended by its sign to 16 bits. A byte that no table gives a unit for, such as a lead byte at the
    /// end, becomes "?".
    void ConvertMbToStr(KZString & dest, char const * src) const override;
    /// A unit without a code becomes "?".
    [[nodiscard]] std::string ConvertStrToMb(KZString const & src) const override;

private:
    KZMultiByteMapping const * mapping_;
};
