/// @file
/// Records in which other programs and libraries pass dates and times; the standard's `tm` is another one.
/// They have the names that they bear there, in a namespace of their own.
///
///     KZExchange::VARIANT record{};
///     if (KZDateEx(2024, 5, 6).AsVariant(record)) std::cout << record.date << '\n';     // 45418
///     KZDateEx const back(record);                                                      // 2024-05-06
///
/// Thread safety: as plain records.
#pragma once

#include <cstdint>

namespace KZExchange {

/// A calendar date and a time of day, in fields of 16 bits.
struct SYSTEMTIME {
    std::uint16_t wYear;
    std::uint16_t wMonth;     ///< from 1
    std::uint16_t wDayOfWeek; ///< Sunday is 0
    std::uint16_t wDay;       ///< from 1
    std::uint16_t wHour;
    std::uint16_t wMinute;
    std::uint16_t wSecond;
    std::uint16_t wMilliseconds;

    bool operator==(SYSTEMTIME const &) const noexcept = default;
};
static_assert(sizeof(SYSTEMTIME) == 16);

/// A moment: units of 100 ns since 1601-01-01 00:00:00 UTC, as two halves of a 64-bit number.
struct FILETIME {
    std::uint32_t dwLowDateTime;
    std::uint32_t dwHighDateTime;

    bool operator==(FILETIME const &) const noexcept = default;
};
static_assert(sizeof(FILETIME) == 8);

/// The type mark of a VARIANT that holds a date.
inline constexpr std::uint16_t VT_DATE = 7;
/// The type mark of a VARIANT that holds nothing.
inline constexpr std::uint16_t VT_EMPTY = 0;

/// A tagged value, of which calendar values use one kind, the date.
///
/// `date` counts days from 1899-12-30 00:00. The whole part may be negative. The fraction is the time of day, and
/// always counts from midnight: -1.25 is 1899-12-29 06:00.
struct VARIANT {
    std::uint16_t vt;
    std::uint16_t wReserved1;
    std::uint16_t wReserved2;
    std::uint16_t wReserved3;
    double date;
};
static_assert(sizeof(VARIANT) == 16);

} // namespace KZExchange
