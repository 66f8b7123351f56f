// Reads a double with the C++ library where that can do it, otherwise with the C library and a locale of its own.
#include "ZerlithCore/platform/Numbers.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <locale.h>
#include <new>
#include <string>
#include <system_error>

namespace KZPlatform {

#ifdef __cpp_lib_to_chars

double ReadDouble(char const * begin, char const * end, bool isHex, bool & fits) {
    double value = 0;
    auto const format = isHex ? std::chars_format::hex : std::chars_format::general;
    fits =
        std::from_chars(begin, end, value, format).ec != std::errc::result_out_of_range && !std::isinf(value);
    return value;
}

#else

// This C++ library can't read a double without the program's locale, so the C library does it with the "C" locale.
double ReadDouble(char const * begin, char const * end, bool isHex, bool & fits) {
    static locale_t const plain = newlocale(LC_ALL_MASK, "C", nullptr);
    if (!plain) throw std::bad_alloc();
    std::string const digits = (isHex ? "0x" : "") + std::string(begin, end);
    int const before = errno;
    errno = 0;
    double const value = strtod_l(digits.c_str(), nullptr, plain);
    // ERANGE is also reported for a value so small that it lost digits; its result is the nearest double and is used.
    fits = !std::isinf(value) && (value != 0 || errno != ERANGE);
    errno = before;
    return value;
}

#endif

} // namespace KZPlatform
