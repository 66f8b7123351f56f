#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/time/KZChrono.h"
#include "ZerlithCore/time/KZDateExceptionEx.h"
#include "ZerlithCore/time/KZDurationExceptionEx.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace std::chrono_literals;

KZTimeZone const & UTC = KZTimeZone::GetUTCTimeZone();

TEST(IsoDateTime, IsReadStrictly) {
    struct Case {
        char16_t const * text;
        char16_t const * expected; // as printed in UTC; for a text that can't be read, the end of the message
    };
    constexpr Case cases[] = {
        {u"2024-03-29T17:00:00Z", u"2024-03-29T17:00:00.000Z"},
        {u"2024-03-29t17:00:00.25z", u"2024-03-29T17:00:00.250Z"},
        {u"2024-03-29 17:00:00,1239999999+01:00", u"2024-03-29T16:00:00.123Z"},
        {u"2024-12-31T23:30-0130", u"2025-01-01T01:00:00.000Z"},
        {u"2024-03-01T00:30:00+01", u"2024-02-29T23:30:00.000Z"},
        {u"2024-03-29T17:00:00", u"2024-03-29T16:00:00.000Z"}, // local time
        {u"2024-03-29", u"2024-03-29"},
        {u"17:05", u"17:05:00.000"},
        {u"0000-01-01T00:00:00Z", u"0000-01-01T00:00:00.000Z"},
        {u"+012024-03-29T17:00:00Z", u"+012024-03-29T17:00:00.000Z"},
        {u"-000001-12-31T23:59:59.999-23:59", u"0000-01-01T23:58:59.999Z"},
        {u"", u"YYYY is expected at position 1."},
        {u" 2024-03-29", u"YYYY is expected at position 1."},
        {u"24-03-29", u"YYYY is expected at position 1."},
        {u"-000000-01-01", u"YYYYYY is expected at position 2."},
        {u"2024/03/29", u"- is expected at position 5."},
        {u"2024-13-29", u"MM is expected at position 6."},
        {u"2023-02-29", u"DD is expected at position 9."},
        {u"2024-03-29x", u"T is expected at position 11."},
        {u"2024-03-29T", u"hh is expected at position 12."},
        {u"2024-03-29T24:00", u"hh is expected at position 12."},
        {u"2024-03-29T17", u": is expected at position 14."},
        {u"2024-03-29T17:60", u"mm is expected at position 15."},
        {u"2024-03-29T17:00:60Z", u"ss is expected at position 18."},
        {u"2024-03-29T17:00:00.Z", u"0-9 is expected at position 21."},
        {u"2024-03-29T17:00:00+1:00", u"hh is expected at position 21."},
        {u"2024-03-29T17:00:00+01:60", u"mm is expected at position 24."},
        {u"2024-03-29T17:00:00+01:", u"mm is expected at position 24."},
        {u"2024-03-29T17:00:00Z ", u"the end is expected at position 21."},
        {u"17:00Z", u"the end is expected at position 6."},
        {u"２024-03-29", u"YYYY is expected at position 1."},
    };
    for (Case const & c : cases) {
        KZDateTimeEx value = KZDateTimeEx::Now();
        KZErrorID const error = value.FromISOString(c.text);
        bool const isGood = error.Good();
        KZString const start =
            KZString(u"'") + c.text + u"' isn't a date and time such as 2024-03-29T17:00:00.000+01:00: ";
        EXPECT_EQ(isGood ? value.AsISOString() : error.AsString(), isGood ? c.expected : start + c.expected);
        EXPECT_EQ(error, isGood ? 0 : 17);
        EXPECT_EQ(value.IsNull(), !isGood);
    }
    KZDateTimeEx value;
    EXPECT_EQ(value.FromISOString(KZString(std::u16string_view(u"2024-03-29\0", 11))), 17);
    EXPECT_TRUE(value.FromISOString(u"2024-03-29T17:00", UTC).Good());
    EXPECT_EQ(value.AsISOString(KZTimeZone::GetLocalTimeZone()), u"2024-03-29T18:00:00.000+01:00");
    KZTimeZoneInfo info;
    info.bias = 570;
    EXPECT_EQ(value.AsISOString(KZTimeZone(info, false)), u"2024-03-29T07:30:00.000-09:30");
    EXPECT_EQ(KZDateTimeEx().AsISOString(), u"");
}

TEST(Chrono, GivesTheSameMomentsAndDurations) {
    std::chrono::sys_time<std::chrono::nanoseconds> const before1970(-1ns);
    KZDateTimeEx const moment = KZFromChrono(before1970);
    EXPECT_EQ(moment.AsISOString(), u"1969-12-31T23:59:59.999Z");
    EXPECT_EQ(KZToChrono(moment).time_since_epoch(), -1ms);
    std::chrono::sys_days const day = std::chrono::year(2024) / 2 / 29;
    EXPECT_EQ(KZFromChrono(day).AsISOString(), u"2024-02-29T00:00:00.000Z");
    EXPECT_LT(KZToChrono(KZDateTimeEx::Now()) - std::chrono::system_clock::now(), 1s);
    EXPECT_THROW((void)KZToChrono(KZDateTimeEx()), KZDateExceptionEx);
    EXPECT_THROW((void)KZToChrono(KZDateTimeEx(KZDateEx(2023, 2, 29), KZTimeEx(0))), KZDateExceptionEx);
    EXPECT_THROW((void)KZFromChrono(std::chrono::sys_time<std::chrono::hours>::max()), KZDateExceptionEx);
    EXPECT_EQ(KZDateTimeEx::FromUnixMilliseconds(-132421585536000000).AsISOString(),
              u"-4194303-01-01T00:00:00.000Z");
    EXPECT_THROW((void)KZDateTimeEx::FromUnixMilliseconds(-132421585536000001), KZDateExceptionEx);

    EXPECT_EQ(KZFromChrono(90min), KZDurationEx(90, KZDurationEx::minute));
    EXPECT_EQ(KZFromChrono(-336h), KZDurationEx(-2, KZDurationEx::week));
    EXPECT_EQ(KZFromChrono(1999us), KZDurationEx(1, KZDurationEx::millisecond));
    EXPECT_EQ(KZFromChrono(0h), KZDurationEx());
    EXPECT_THROW((void)KZFromChrono(2147483648ms), KZDurationExceptionEx);
    EXPECT_THROW((void)KZFromChrono(std::chrono::seconds::max()), KZDurationExceptionEx);
    EXPECT_THROW((void)KZFromChrono(std::chrono::duration<double>(NAN)), KZDurationExceptionEx);
    EXPECT_EQ(KZToChrono(KZDurationEx(2, KZDurationEx::week)), 336h);
    EXPECT_THROW((void)KZToChrono(KZDurationEx(2, KZDurationEx::invalid)), KZDurationExceptionEx);
}

} // namespace
