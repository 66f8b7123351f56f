// Conversions between calendar values and the records of other programs, without regard to zones. A null date or time
// gives the record's zero. Each function returns false, and leaves its target unchanged, when the value can't be
// converted.
#pragma once

#include "ZerlithCore/time/KZDateEx.h"
#include "ZerlithCore/time/KZTimeEx.h"

namespace KZDetail {

struct DateAndTime {
    KZDateEx date;
    KZTimeEx time;
};

bool ToTm(DateAndTime const & value, std::tm & out);
bool ToSystemTime(DateAndTime const & value, KZExchange::SYSTEMTIME & out);
bool ToFileTime(DateAndTime const & value, KZExchange::FILETIME & out);
bool ToDouble(DateAndTime const & value, double & out);
bool ToVariant(DateAndTime const & value, KZExchange::VARIANT & out);

// Date fields that are all zero give a null date.
bool FromTm(std::tm const & in, DateAndTime & value);
bool FromSystemTime(KZExchange::SYSTEMTIME const & in, DateAndTime & value);
bool FromFileTime(KZExchange::FILETIME const & in, DateAndTime & value);
bool FromDouble(double in, DateAndTime & value);
bool FromVariant(KZExchange::VARIANT const & in, DateAndTime & value);

// Milliseconds since 1970, and back.
std::int64_t ToMilliseconds(DateAndTime const & value);
DateAndTime FromMilliseconds(std::int64_t milliseconds);

// The date and the time `milliseconds` after the start of 1970 in UTC, as local time or as UTC.
DateAndTime ValueAt(std::int64_t milliseconds, bool local);
// `seconds` since 1970 in UTC. The null KZDateTime, and what it can't hold, count as not convertible.
bool ToKZDateTime(std::int64_t seconds, KZDateTime & out);

} // namespace KZDetail
