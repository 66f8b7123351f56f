// The value is a whole number of 2^-shift. So its digits after the point come out exactly, one with each multiplication by
// 10. What is left then says how to round: to the nearest, or to the even digit when two are equally near.
#include "ZerlithCore/text/detail/KZFixedDigits.h"

#include <bit>
#include <charconv>
#include <cstdint>

namespace {

constexpr int fractionBits = 52;
constexpr int mostShift = 60; // ten times the part after the point fits in 64 bits
constexpr int mostDigits = 17;
constexpr std::uint64_t hiddenBit = std::uint64_t{1} << fractionBits;

} // namespace

char * KZDetail::PutFixed(char * out, char * limit, double value, int precision) noexcept {
    auto const bits = std::bit_cast<std::uint64_t>(value);
    int const shift = bits == 0 ? 1 : 1023 + fractionBits - static_cast<int>(bits >> fractionBits);
    if (shift < 1 || shift > mostShift || precision > mostDigits) return nullptr;

    std::uint64_t const mantissa = bits == 0 ? 0 : (bits & (hiddenBit - 1)) | hiddenBit;
    std::uint64_t const one = std::uint64_t{1} << shift;
    std::uint64_t whole = mantissa >> shift, rest = mantissa & (one - 1);
    std::uint64_t digits = 0, digitsLimit = 1;
    for (int i = 0; i < precision; ++i) {
        rest *= 10;
        digits = digits * 10 + (rest >> shift);
        rest &= one - 1;
        digitsLimit *= 10;
    }
    bool const isOdd = ((precision == 0 ? whole : digits) & 1) != 0;
    if (rest > one / 2 || (rest == one / 2 && isOdd)) ++digits;
    if (digits == digitsLimit) {
        ++whole;
        digits = 0;
    }

    out = std::to_chars(out, limit, whole).ptr;
    if (precision == 0) return out;
    *out = '.';
    char * const end = out + 1 + precision;
    for (char * place = end; --place != out; digits /= 10) *place = static_cast<char>('0' + digits % 10);
    return end;
}
