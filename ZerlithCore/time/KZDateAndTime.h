/// @file
/// A date and time as separate fields, which calendar values fill and read.
///
///     KZDateAndTime fields;
///     KZDateEx(2024, 5, 6).GetDateAndTime(fields);       // 2024, 5, 6; mask: Date
///     fields.day = 7;
///     KZDateEx const next(fields);                       // 2024-05-07
#pragma once

#include "ZerlithCore/time/KZTimeZone.h"

/// The fields of a date, a time of day, or both. `mask` says which of them count: the constants below, combined by OR.
///
/// Thread safety: as a plain record.
struct KZDateAndTime {
    static constexpr unsigned int Year = 1;
    static constexpr unsigned int Month = 2;
    static constexpr unsigned int Day = 4;
    static constexpr unsigned int Hour = 8;
    static constexpr unsigned int Minute = 16;
    static constexpr unsigned int Second = 32;
    static constexpr unsigned int Millisecond = 64;
    static constexpr unsigned int TimeZone = 128;
    static constexpr unsigned int Date = 7;
    static constexpr unsigned int Time = 120;
    static constexpr unsigned int All = 255;

    int year = 0;
    unsigned int month = 0; ///< from 1
    unsigned int day = 0;   ///< from 1
    unsigned int hour = 0;
    unsigned int minute = 0;
    unsigned int second = 0;
    unsigned int millisecond = 0;
    unsigned int mask = 0;
    KZTimeZone timeZone; ///< the zone of the fields
};
