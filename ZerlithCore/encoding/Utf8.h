/// @file
/// UTF-8 to 16-bit units and back: whole texts, buffers of a fixed size, and streams whose bytes come in pieces.
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

/// How bytes that aren't UTF-8, and surrogates without a partner, are converted.
enum class Utf8Mode : unsigned char {
    /// Each maximal part of a broken sequence, and each lone surrogate, becomes U+FFFD.
    Replace,
    /// Both are failures and end the conversion.
    Strict,
    /// A byte b (0x80 to 0xFF) that isn't UTF-8 becomes the unit 0xDC00 + b, which becomes that byte again on the way
    /// back. So any bytes survive a round trip. Other lone surrogates are encoded like a character of their value, in
    /// three bytes, so that different texts give different bytes.
    Escape
};

/// How a conversion into a buffer ended.
enum class Utf8Status : unsigned char {
    Done,       // all input is converted
    OutputFull, // the next character doesn't fit
    Incomplete, // the input ends inside a character; never when `final` is set
    Invalid     // only in Strict mode: `read` is the position of the fault
};

struct Utf8Result {
    std::size_t read;
    std::size_t written;
    Utf8Status status;
};

/// Converts as much of `bytes` as fits into `out`. Characters are never cut: the one at `read` is whole and not
/// converted.
///
/// `final` means that no bytes follow, so that a sequence cut at the end is an invalid one. `bytes.size()` units are
/// always enough. May write to `out` after `written`, but never beyond its end.
KZ_EXPORT Utf8Result DecodeUtf8(std::string_view bytes, std::span<char16_t> out, Utf8Mode mode,
                                bool final = true) noexcept;

/// The same from units to bytes; 3 bytes for each unit are always enough. Without `final` a high surrogate at the end
/// isn't converted: its partner may follow.
KZ_EXPORT Utf8Result EncodeUtf8(std::u16string_view units, std::span<char> out, Utf8Mode mode,
                                bool final = true) noexcept;

/// The number of units, or bytes, that a well-formed text takes. For other texts it is a guess, useful for `reserve`.
[[nodiscard]] KZ_EXPORT std::size_t UnitsInUtf8(std::string_view bytes) noexcept;
[[nodiscard]] KZ_EXPORT std::size_t Utf8BytesOf(std::u16string_view units) noexcept;

/// Appends the converted text. False only in Strict mode; what precedes the fault is then appended.
KZ_EXPORT bool AppendUnits(std::u16string & out, std::string_view bytes, Utf8Mode mode);
KZ_EXPORT bool AppendUtf8(std::string & out, std::u16string_view units, Utf8Mode mode);

/// Returns the converted text; in Strict mode what precedes the first fault.
[[nodiscard]] KZ_EXPORT std::u16string Utf8ToUnits(std::string_view bytes, Utf8Mode mode);
[[nodiscard]] KZ_EXPORT std::string UnitsToUtf8(std::u16string_view units, Utf8Mode mode);
/// The same for the units before the first 0.
[[nodiscard]] KZ_EXPORT std::string TerminatedToUtf8(std::u16string_view units, Utf8Mode mode);

/// Decodes bytes that come in pieces, which may cut a sequence anywhere.
class KZ_EXPORT Utf8Decoder {
public:
    explicit Utf8Decoder(Utf8Mode mode) noexcept : mode_(mode) {}

    /// Appends the characters that are complete with `bytes` to `out`, and keeps an incomplete one for the next call.
    /// False as for `AppendUnits`; the decoder is then as after `Finish`.
    bool Append(std::u16string & out, std::string_view bytes);

    /// To be called after the last piece: converts an incomplete sequence as an invalid one. Then the decoder is as
    /// new.
    bool Finish(std::u16string & out);

    /// True when no incomplete character is kept.
    [[nodiscard]] bool IsAtBoundary() const noexcept { return pendingCount_ == 0; }

private:
    Utf8Mode mode_;
    unsigned char pendingCount_ = 0;
    char pending_[4] = {};
};

/// Encodes units that come in pieces, which may cut a surrogate pair.
class KZ_EXPORT Utf8Encoder {
public:
    explicit Utf8Encoder(Utf8Mode mode) noexcept : mode_(mode) {}

    /// Like `Utf8Decoder::Append`; a high surrogate at the end is kept for the next call.
    bool Append(std::string & out, std::u16string_view units);

    /// To be called after the last piece: converts a kept high surrogate as a lone one. Then the encoder is as new.
    bool Finish(std::string & out);

private:
    Utf8Mode mode_;
    char16_t pending_ = 0;
};

} // namespace KZEncoding
