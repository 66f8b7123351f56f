/// @file
/// UTF-8 to 16-bit units and back: whole texts, bounded buffers, and streams of bytes that come in pieces.
///
///     std::u16string name = KZEncoding::Utf8ToUnits(entry->d_name, KZEncoding::Utf8Mode::Escape);
///     std::string path = KZEncoding::UnitsToUtf8(name, KZEncoding::Utf8Mode::Escape);   // the same bytes again
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace KZEncoding {

/// What happens to bytes that aren't UTF-8, and to surrogates that have no partner.
enum class Utf8Mode : unsigned char {
    /// Each maximal part of a broken sequence, and each lone surrogate, becomes U+FFFD.
    Replace,
    /// Either ends the conversion as a failure.
    Strict,
    /// A byte b (0x80 to 0xFF) becomes the unit 0xDC00 + b and comes out as that byte again, so any bytes survive a
    /// round trip. Other lone surrogates come out in the three bytes of their value: different texts stay different.
    Escape
};

/// How a conversion of buffers ended.
enum class Utf8Status : unsigned char {
    Done,       // all input is converted
    OutputFull, // the next character doesn't fit
    Incomplete, // the input ends inside a character; never when `final` is set
    Invalid     // Strict mode met what it refuses; `read` points at it
};

struct Utf8Result {
    std::size_t read;
    std::size_t written;
    Utf8Status status;
};

/// Converts as much of `bytes` as `out` takes. Characters are never torn: what isn't read stands whole at `read`.
///
/// `final` tells that no bytes follow, so that a sequence cut at the end is a broken one. `bytes.size()` units
/// always suffice. Writes behind `written` but never behind `out`.
KZ_EXPORT Utf8Result DecodeUtf8(std::string_view bytes, std::span<char16_t> out, Utf8Mode mode,
                                bool final = true) noexcept;

/// The same from units to bytes; 3 bytes a unit always suffice. Without `final` a high surrogate at the end waits.
KZ_EXPORT Utf8Result EncodeUtf8(std::u16string_view units, std::span<char> out, Utf8Mode mode,
                                bool final = true) noexcept;

/// How many units, or bytes, a well-formed text takes. Of another it is a guess, good for `reserve`.
[[nodiscard]] KZ_EXPORT std::size_t UnitsInUtf8(std::string_view bytes) noexcept;
[[nodiscard]] KZ_EXPORT std::size_t Utf8BytesOf(std::u16string_view units) noexcept;

/// Appends the converted text. False only in Strict mode; what stands in front of the fault is appended then.
KZ_EXPORT bool AppendUnits(std::u16string & out, std::string_view bytes, Utf8Mode mode);
KZ_EXPORT bool AppendUtf8(std::string & out, std::u16string_view units, Utf8Mode mode);

/// The converted text; in Strict mode what stands in front of the first fault.
[[nodiscard]] KZ_EXPORT std::u16string Utf8ToUnits(std::string_view bytes, Utf8Mode mode);
[[nodiscard]] KZ_EXPORT std::string UnitsToUtf8(std::u16string_view units, Utf8Mode mode);

/// Decodes bytes that arrive in pieces, which may cut a sequence anywhere.
class KZ_EXPORT Utf8Decoder {
public:
    explicit Utf8Decoder(Utf8Mode mode) noexcept : mode_(mode) {}

    /// Appends what `bytes` completes to `out`, and keeps the rest for the next call. False as `AppendUnits`; the
    /// decoder is then as after `Finish`.
    bool Append(std::u16string & out, std::string_view bytes);

    /// Appends what a sequence cut at the end becomes; the decoder is as new.
    bool Finish(std::u16string & out);

    /// True between characters.
    [[nodiscard]] bool IsAtBoundary() const noexcept { return pendingCount_ == 0; }

private:
    Utf8Mode mode_;
    unsigned char pendingCount_ = 0;
    char pending_[4] = {};
};

/// Encodes units that arrive in pieces, which may cut a surrogate pair.
class KZ_EXPORT Utf8Encoder {
public:
    explicit Utf8Encoder(Utf8Mode mode) noexcept : mode_(mode) {}

    /// As `Utf8Decoder::Append`, with a high surrogate kept for the next call.
    bool Append(std::string & out, std::u16string_view units);

    /// Appends what a high surrogate at the end becomes; the encoder is as new.
    bool Finish(std::string & out);

private:
    Utf8Mode mode_;
    char16_t pending_ = 0;
};

} // namespace KZEncoding
