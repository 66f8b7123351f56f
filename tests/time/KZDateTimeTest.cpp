#include "ZerlithCore/time/KZDateTime.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/time/KZTimeZone.h"

#include <gtest/gtest.h>

namespace {

KZTimeZone const & UTC = KZTimeZone::GetUTCTimeZone();

TEST(KZDateTime, ReadsUnderATemplate) {
    struct Case {
        char const * what;
        char16_t const *text, *format;
        int error;
        std::uint32_t seconds;
    };
    constexpr char16_t const * full = KZDateTime::DefaultFormat;
    constexpr Case cases[] = {
        {"default", u"2024/05/06 07:08:09", full, 0, 1714979289},
        {"last second", u"2106/02/07 06:28:15", full, 0, 0xFFFFFFFF},
        {"one more", u"2106/02/07 06:28:16", full, 9, 0},
        {"before 1970", u"1969/12/31 23:59:59", full, 9, 0},
        {"leap day", u"2024/02/29", u"%Y/%m/%d", 0, 1709164800},
        {"no leap day", u"2023/02/29", u"%Y/%m/%d", 9, 0},
        {"missing fields are those of the start", u"2", u"%H", 0, 7200},
        {"names, any case", u"mon, 6 MAY 2024", u"%a, %d %B %Y", 0, 1714953600},
        {"short name in a long place", u"6 Sep 2024", u"%d %B %Y", 0, 1725580800},
        {"half days", u"12:30 AM,2024", u"%I:%M %p,%Y", 0, 1704069000},
        {"day of the year", u"2024-366", u"%Y-%j", 0, 1735603200},
        {"day 366 of a short year", u"2023-366", u"%Y-%j", 9, 0},
        {"short years", u"05/06/24", u"%x", 0, 1714953600},
        {"blanks for blanks", u"2024   5", u"%Y %m", 0, 1714521600},
        {"digits without separators", u"20240506", u"%Y%m%d", 0, 1714953600},
        {"percent sign", u"%2024", u"%%%Y", 0, 1704067200},
        {"text behind the end", u"2024x", u"%Y", 8, 0},
        {"empty", u"", full, 8, 0},
        {"field out of range", u"2024/13/01", u"%Y/%m/%d", 8, 0},
        {"unknown conversion", u"5", u"%Q", 8, 0},
        {"lone percent sign", u"%", u"%", 0, 0},
    };
    for (Case const & c : cases) {
        KZDateTime date(77);
        EXPECT_EQ(date.FromString(c.text, c.format, UTC), c.error) << c.what;
        EXPECT_EQ(date.AsSeconds(), c.error ? 77 : c.seconds) << c.what;
    }
    KZDateTime date;
    EXPECT_EQ(date.FromString(u"now", u"%Y").AsString(), u"Date 'now' is invalid for format '%Y'.");
    EXPECT_EQ(date.FromString(u"2023/02/30", u"%Y/%m/%d").AsString(), u"Invalid date: '2023/02/30'.");
}

TEST(KZDateTime, PrintsUnderATemplate) {
    KZDateTime const date(1714979289);
    constexpr std::pair<char16_t const *, char16_t const *> cases[] = {
        {KZDateTime::DefaultFormat, u"2024/05/06 07:08:09"},
        {u"%A, %B %d, %j, %w", u"Monday, May 06, 127, 1"},
        {u"%z %Z", u"+0000 UTC"},
        {u"\u00fc\U0001F600%H\u3042", u"\u00fc\U0001F60007\u3042"},
    };
    for (auto const & [format, expected] : cases) EXPECT_EQ(date.AsString(format, UTC), expected);
    EXPECT_EQ(KZDateTime(0xFFFFFFFF).AsString(u"%F %T", UTC), u"2106-02-07 06:28:15");
    EXPECT_EQ(KZDateTime().AsString(), u"");
    KZString out(u"kept");
    KZErrorID const id = date.AsString(out, u"%99999Y", UTC);
    EXPECT_EQ(id, 7);
    EXPECT_EQ(id.AsString(), u"Error converting the datetime.");
    EXPECT_EQ(out, u"kept");
    EXPECT_EQ(date.AsString(u"%9999Y", UTC).Length(), 9999U);
}

TEST(KZDateTime, FollowsTheLocalClock) {
    constexpr std::tuple<char const *, char16_t const *, char16_t const *, char16_t const *> cases[] = {
        {"summer", u"2024/07/15 12:00:00", u"2024/07/15 10:00:00", nullptr},
        {"last second of winter", u"2024/03/31 01:59:59", u"2024/03/31 00:59:59", nullptr},
        {"left out", u"2024/03/31 02:30:00", u"2024/03/31 01:30:00", u"2024/03/31 03:30:00"},
        {"first second of summer", u"2024/03/31 03:00:00", u"2024/03/31 01:00:00", nullptr},
        {"comes twice: the first one", u"2024/10/27 02:30:00", u"2024/10/27 00:30:00", nullptr},
        {"first second behind", u"2024/10/27 03:00:00", u"2024/10/27 02:00:00", nullptr},
    };
    for (auto const & [what, local, utc, again] : cases) {
        KZDateTime date;
        EXPECT_TRUE(date.FromString(local).Good()) << what;
        EXPECT_EQ(date.AsString(KZDateTime::DefaultFormat, UTC), utc) << what;
        EXPECT_EQ(date.AsString(), again ? again : local) << what;
    }
    EXPECT_EQ(KZDateTime(1714979289).AsString(u"%H %z %Z", KZDateTime::localTimeZone), u"09 +0200 CEST");
    EXPECT_EQ(KZFormatContext().GetTimeZone(), UTC);
    KZFormatContext const context(u"", u"", KZDateTime::localTimeZone);
    EXPECT_EQ(context.GetTimeZone(), KZTimeZone::GetLocalTimeZone());
}

TEST(KZPrintDuration, PrintsDaysWhereThereAreAny) {
    constexpr std::pair<KZDuration, char16_t const *> cases[] = {
        {0, u"00:00:00"}, {-90061, u"-1 01:01:01"}, {INT32_MIN, u"-24855 03:14:08"}};
    for (auto const & [seconds, expected] : cases) EXPECT_EQ(KZPrintDuration(seconds), expected) << seconds;
}

} // namespace
