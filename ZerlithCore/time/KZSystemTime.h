/// @file
/// A date and time in fields of 16 bits. In a time zone the same fields are the yearly rule for a change of clocks.
///
///     KZSystemTime const rule(0, 3, 0, 5, 2, 0, 0, 0);       // every last Sunday of March at 02:00
#pragma once

#include "ZerlithCore/time/KZExchangeTypes.h"

#include <cstdint>

/// The fields of a SYSTEMTIME, in the same order.
///
/// If the year is 0, they are a rule for the change of clocks in any year. `month` 0 means that there is no change.
/// `dayOfWeek` is the weekday, 0 for Sunday. `day` says which such weekday of the month: 1 is the first, 5 the last.
/// The time is the wall-clock time before the change. The `hour` of a rule is a signed number and may lead to another
/// day: 25 is 01:00 on the next day, and 65,535, which is -1, is 23:00 on the day before.
///
/// Thread safety: as a plain record.
struct KZSystemTime {
    std::uint16_t year = 0;
    std::uint16_t month = 0;
    std::uint16_t dayOfWeek = 0;
    std::uint16_t day = 0;
    std::uint16_t hour = 0;
    std::uint16_t minute = 0;
    std::uint16_t second = 0;
    std::uint16_t milliseconds = 0;

    constexpr KZSystemTime() noexcept = default;
    constexpr KZSystemTime(std::uint16_t ofYear, std::uint16_t ofMonth, std::uint16_t ofDayOfWeek,
                           std::uint16_t ofDay, std::uint16_t ofHour, std::uint16_t ofMinute,
                           std::uint16_t ofSecond, std::uint16_t ofMilliseconds) noexcept
        : year(ofYear)
        , month(ofMonth)
        , dayOfWeek(ofDayOfWeek)
        , day(ofDay)
        , hour(ofHour)
        , minute(ofMinute)
        , second(ofSecond)
        , milliseconds(ofMilliseconds) {}
    constexpr explicit KZSystemTime(KZExchange::SYSTEMTIME const & time) noexcept { Assign(*this, time); }

    static constexpr void Assign(KZSystemTime & out, KZExchange::SYSTEMTIME const & time) noexcept {
        out = {time.wYear, time.wMonth,  time.wDayOfWeek, time.wDay,
               time.wHour, time.wMinute, time.wSecond,    time.wMilliseconds};
    }
    static constexpr void Assign(KZExchange::SYSTEMTIME & out, KZSystemTime const & time) noexcept {
        out = {time.year, time.month,  time.dayOfWeek, time.day,
               time.hour, time.minute, time.second,    time.milliseconds};
    }

    bool operator==(KZSystemTime const &) const noexcept = default;
};

static_assert(sizeof(KZSystemTime) == 16);
