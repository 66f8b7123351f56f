#include "ZerlithCore/time/KZTimeEx.h"

#include "ZerlithCore/time/KZDateAndTime.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

static_assert(std::is_trivially_copyable_v<KZTimeEx>);
static_assert(KZTimeEx(24, 0, 0).IsNull() && KZTimeEx(86400000).IsNull() && KZTimeEx(-5).AsInt() == -1);
static_assert(++KZTimeEx(23, 59, 59) == KZTimeEx(0, 0, 0));

KZDateAndTime Fields(unsigned int mask, unsigned int hour, unsigned int minute, unsigned int second,
                     unsigned int ms) {
    KZDateAndTime fields;
    fields.mask = mask;
    fields.hour = hour;
    fields.minute = minute;
    fields.second = second;
    fields.millisecond = ms;
    return fields;
}

TEST(KZTimeEx, StoresTheFieldsOfTheMask) {
    KZTimeEx const halfPast(10, 30, 20, 7);
    int const base = halfPast.AsInt();
    std::tuple<char const *, KZTimeEx, KZDateAndTime, int> const cases[] = {
        {"all four are summed", halfPast, Fields(120, 1, 70, 0, 0), 7800000},
        {"all four reach midnight", halfPast, Fields(120, 23, 60, 0, 0), -1},
        {"hour", halfPast, Fields(KZDateAndTime::Hour, 9, 1, 1, 1), base - 3600000},
        {"minute takes off the old number only", halfPast, Fields(KZDateAndTime::Minute, 1, 40, 1, 1),
         base + 2400000 - 30},
        {"second likewise", halfPast, Fields(KZDateAndTime::Second, 1, 1, 50, 1), base + 50000 - 20},
        {"millisecond", halfPast, Fields(KZDateAndTime::Millisecond, 1, 1, 1, 9), base + 2},
        {"two of them, from the old numbers", halfPast, Fields(48, 1, 40, 50, 1),
         base + 2400000 - 30 + 50000 - 20},
        {"part of a null time", KZTimeEx(), Fields(KZDateAndTime::Hour, 5, 0, 0, 0), 18000000},
        {"none", halfPast, Fields(7, 5, 5, 5, 5), base},
        {"hours beyond any day", halfPast, Fields(KZDateAndTime::Hour, 0xFFFFFFFF, 0, 0, 0), -1},
    };
    for (auto const & [what, before, fields, after] : cases) {
        KZTimeEx time = before;
        EXPECT_EQ(time.SetDateAndTime(fields), after >= 0) << what;
        EXPECT_EQ(time.AsInt(), after) << what;
    }
}

TEST(KZTimeEx, GoesRoundAtMidnight) {
    KZTimeEx const night(23, 0, 0);
    EXPECT_EQ(KZDurationEx(25, KZDurationEx::hour) + night, KZTimeEx(0, 0, 0));
    EXPECT_EQ(night - KZDurationEx(-61, KZDurationEx::minute), KZTimeEx(0, 1, 0));
    EXPECT_EQ(KZTimeEx(0, 0, 0) - 1L, KZTimeEx(23, 59, 59));
    KZTimeEx time(1, 0, 0);
    EXPECT_EQ(time.AddOrSubstractAux(KZDurationEx(49, KZDurationEx::hour), false), -2);
    EXPECT_EQ(time, KZTimeEx(0, 0, 0));
    EXPECT_EQ(time + KZDurationEx(1, KZDurationEx::day), time);
    EXPECT_TRUE((KZTimeEx() + 5L).IsNull());
    EXPECT_EQ(night - KZTimeEx(22, 0, 0), KZDurationEx(3600000, KZDurationEx::millisecond));
}

TEST(KZTimeEx, ReadsAndPrintsUnderATemplate) {
    constexpr std::tuple<char16_t const *, char16_t const *, bool, int> cases[] = {
        {u"01:02:03.004", u"%H:%M:%S.%L", true, 3723004},
        {u"01:02", u"%H:%M:%S.%L", true, 3720000},
        {u"23h59", u"%Hh%M", true, 86340000},
        {u"  ", u"%H:%M:%S.%L", true, -1},
        {u"24:00:00", u"%H:%M:%S", false, -1},
        {u"10:60:00", u"%H:%M:%S", false, -1},
        {u"-1:00:00", u"%H:%M:%S", false, -1},
        {u"noon", u"%H:%M:%S", false, -1},
        {u"4294967296:00:00", u"%H:%M:%S", false, -1},
    };
    for (auto const & [text, format, good, milliseconds] : cases) {
        KZTimeEx time(1, 1, 1);
        EXPECT_EQ(time.FromString(text, format), good) << KZString(text).AsUTF8();
        EXPECT_EQ(time.AsInt(), milliseconds) << KZString(text).AsUTF8();
    }
    EXPECT_EQ(KZTimeEx(1, 2, 3, 4).AsString(), u"01:02:03.004");
    EXPECT_EQ(KZTimeEx(1, 2, 3, 4).AsString(u"%L %Y %d%"), u"004 Y d%");
    EXPECT_EQ(KZTimeEx(u"SYSTIME").IsNull(), false);
    std::wstringstream stream;
    stream << KZTimeEx(1, 2, 3, 4);
    KZTimeEx read;
    EXPECT_TRUE(stream >> read);
    EXPECT_EQ(read, KZTimeEx(1, 2, 3, 4));
}

} // namespace
