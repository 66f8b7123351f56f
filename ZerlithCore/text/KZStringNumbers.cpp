// KZString::AsInt, AsDouble and the like: numbers from text.
#include "ZerlithCore/text/KZString.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/platform/Numbers.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <concepts>
#include <limits>
#include <string>
#include <type_traits>

// The standard has no conversions from 16-bit units, so numbers are read here. Integers are computed digit by digit.
// For a double the end of the number is found first; its units, which are all ASCII, go to the platform, which depends on
// no locale and rounds correctly however long the number is.

namespace {

/// The value of a digit; 10 and more for other units.
unsigned DigitValue(char16_t unit) noexcept { return static_cast<unsigned>(unit) - u'0'; }

bool IsHexDigit(char32_t unit) noexcept {
    char32_t const lower = unit | 0x20;
    return KZEncoding::IsDigit(unit) || (lower >= U'a' && lower <= U'f');
}

char16_t const * SkipSpace(char16_t const * text) noexcept {
    while (KZEncoding::IsSpace(*text)) ++text;
    return text;
}

/// Steps over a sign, if there is one; returns true for a minus.
bool TakeSign(char16_t const *& text) noexcept {
    bool const minus = *text == u'-';
    if (minus || *text == u'+') ++text;
    return minus;
}

void Report(bool * success, bool value) noexcept {
    if (success) *success = value;
}

/// Reads an `Integer`. An unsigned one may have a minus sign: "-1" gives the largest value.
template <std::integral Integer>
Integer ReadInteger(char16_t const * text, bool * success) noexcept {
    using Limits = std::numeric_limits<Integer>;
    using Magnitude = std::make_unsigned_t<Integer>;
    text = SkipSpace(text);
    bool const minus = TakeSign(text);
    Magnitude const limit = static_cast<Magnitude>(static_cast<Magnitude>(Limits::max()) +
                                                   (std::is_signed_v<Integer> && minus ? 1U : 0U));
    char16_t const * const digits = text;
    Magnitude value = 0;
    bool fits = true;
    for (unsigned digit; (digit = DigitValue(*text)) < 10; ++text) {
        fits = fits && (value < limit / 10 || (value == limit / 10 && digit <= limit % 10));
        if (fits) value = static_cast<Magnitude>(value * 10 + digit);
    }
    Report(success, fits && text != digits && *text == u'\0');
    if (!fits) return minus && std::is_signed_v<Integer> ? Limits::min() : Limits::max();
    return static_cast<Integer>(minus ? Magnitude{0} - value : value);
}

/// Returns the length of `word`, which is in small letters, if `text` begins with it in any case; otherwise 0.
std::size_t StartsWith(char16_t const * text, std::u16string_view word) noexcept {
    for (std::size_t i = 0; i < word.size(); ++i) {
        if ((text[i] | 0x20) != word[i]) return 0;
    }
    return word.size();
}

/// Steps over an exponent that starts with `letter` and has a digit. Returns its value, 0 if there is none. A value
/// far beyond that of any double is limited.
std::int64_t TakeExponent(char16_t const *& text, char16_t letter) noexcept {
    constexpr std::int64_t bound = 1'000'000'000'000;
    char16_t const * place = text;
    if ((*place | 0x20) != letter) return 0;
    bool const minus = TakeSign(++place);
    if (!KZEncoding::IsDigit(*place)) return 0;
    std::int64_t value = 0;
    for (; KZEncoding::IsDigit(*place); ++place) {
        if (value < bound) value = value * 10 + DigitValue(*place);
    }
    text = place;
    return minus ? -value : value;
}

/// Where a number begins, with its first digit or point, and where it ends.
struct Extent {
    char16_t const * begin;
    char16_t const * end; // equal to `begin` if there is no number
    bool isHex;
    bool isLarge; // at least 1: if it doesn't fit into a double, it is too large, else too small
};

Extent MeasureNumber(char16_t const * text) noexcept {
    bool const isHex = text[0] == u'0' && (text[1] | 0x20) == u'x' &&
                       (IsHexDigit(text[2]) || (text[2] == u'.' && IsHexDigit(text[3])));
    auto const isDigit = isHex ? IsHexDigit : KZEncoding::IsDigit;
    char16_t const * const begin = isHex ? text + 2 : text;
    // The place of the highest digit that isn't 0: 1 for the digit just before the point, 0 for the one just after it.
    std::int64_t place = 0;
    bool isZero = true, hasDigits = false, behindPoint = false;
    char16_t const * end = begin;
    for (; isDigit(*end) || (*end == u'.' && !behindPoint); ++end) {
        if (*end == u'.') {
            behindPoint = true;
            continue;
        }
        hasDigits = true;
        isZero = isZero && *end == u'0';
        if (behindPoint ? isZero : !isZero) place += behindPoint ? -1 : 1;
    }
    if (!hasDigits) return {text, text, false, false};
    std::int64_t const exponent = TakeExponent(end, isHex ? u'p' : u'e');
    return {begin, end, isHex, (isHex ? place * 4 : place) + exponent > 0};
}

/// Reads a double without a sign and steps over it; sets `fits` to whether it lies in the range of a double.
double TakeNumber(char16_t const *& text, bool & fits) {
    auto const [begin, end, isHex, isLarge] = MeasureNumber(text);
    text = end;
    std::array<char, 64> few;
    std::string many;
    auto const count = static_cast<std::size_t>(end - begin);
    char * const digits = count <= few.size() ? few.data() : (many.resize(count), many.data());
    std::transform(begin, end, digits, [](char16_t unit) { return static_cast<char>(unit); });
    double const value = KZPlatform::ReadDouble(digits, digits + count, isHex, fits);
    if (!fits) return isLarge ? HUGE_VAL : 0.0;
    return value;
}

/// Steps over "inf", "infinity", "nan" or "nan(...)" and returns the value; 0 if the text is none of them.
double TakeWord(char16_t const *& text) noexcept {
    if (std::size_t const inf = StartsWith(text, u"inf")) {
        text += inf;
        text += StartsWith(text, u"inity");
        return HUGE_VAL;
    }
    std::size_t const nan = StartsWith(text, u"nan");
    if (nan == 0) return 0;
    text += nan;
    if (*text == u'(') {
        char16_t const * place = text + 1;
        while (KZEncoding::IsDigit(*place) || *place == u'_' ||
               ((*place | 0x20) >= u'a' && (*place | 0x20) <= u'z'))
            ++place;
        if (*place == u')') text = place + 1;
    }
    return std::numeric_limits<double>::quiet_NaN();
}

} // namespace

int KZString::AsInt(bool * success) const { return ReadInteger<std::int32_t>(c_str(), success); }

long KZString::AsLong(bool * success) const { return ReadInteger<std::int32_t>(c_str(), success); }

KZDuration KZString::AsKZDuration(bool * success) const { return ReadInteger<KZDuration>(c_str(), success); }

unsigned int KZString::AsUint(bool * success) const { return ReadInteger<std::uint32_t>(c_str(), success); }

unsigned long KZString::AsULong(bool * success) const { return ReadInteger<std::uint32_t>(c_str(), success); }

double KZString::AsDouble(bool * success) const {
    char16_t const * text = SkipSpace(c_str());
    bool const minus = TakeSign(text);
    char16_t const * const start = text;
    bool fits = true;
    double value = TakeWord(text);
    if (text == start) value = TakeNumber(text, fits);
    Report(success, fits && text != start && *text == u'\0');
    return minus && text != start ? -value : value;
}

std::int64_t KZString::AsInt64(bool * success) const { return ReadInteger<std::int64_t>(c_str(), success); }

std::uint64_t KZString::AsUInt64(bool * success) const {
    return ReadInteger<std::uint64_t>(c_str(), success);
}
