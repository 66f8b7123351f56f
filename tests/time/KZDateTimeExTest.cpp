#include "ZerlithCore/time/KZDateTimeEx.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/time/KZDateAndTime.h"
#include "ZerlithCore/time/KZDateExceptionEx.h"
#include "ZerlithCore/time/KZDateTime.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

using namespace KZExchange;

namespace {

KZTimeZone const & UTC = KZTimeZone::GetUTCTimeZone();

static_assert(std::is_trivially_copyable_v<KZDateTimeEx>);
static_assert(KZDateTimeEx().AsInt64() == 0xFFFFFFFF && KZDateTimeEx(0xFFFFFFFFLL).IsNull());

// 2024-05-06 07:08:09.010 UTC.
KZDateTimeEx const sample(KZDateEx(2024, 5, 6), KZTimeEx(7, 8, 9, 10));

TEST(KZDateTimeEx, ReadsUnderATemplate) {
    struct Case {
        char const * what;
        char16_t const *text, *format;
        char16_t const * expected; // in UTC, by the default template; null: can't be read
    };
    constexpr char16_t const * full = u"%Y/%m/%d %H:%M:%S.%L";
    constexpr char16_t const * iso = u"%Y-%m-%dT%H:%M:%S%Z";
    constexpr Case cases[] = {
        {"local time", u"2024/05/06 09:08:09.010", full, u"2024/05/06 07:08:09.010"},
        {"local time in winter", u"2024/01/06 09:08:09", full, u"2024/01/06 08:08:09.000"},
        {"date only", u" 2024/05/06", full, u"2024/05/06"},
        {"time only", u"09:08:09", u"%H:%M:%S.%L", u"09:08:09.000"},
        {"blank", u"   ", full, u""},
        {"UTC", u"2024-05-06 07:08 Z", u"%Y-%m-%d %H:%M %Z", u"2024/05/06 07:08:00.000"},
        {"offset behind digits", u"2024-05-06 07:08+05:30", u"%Y-%m-%d %H:%M%z", u"2024/05/06 01:38:00.000"},
        {"negative offset", u"2024-05-06 07:08 -00:30", u"%Y-%m-%d %H:%M %Z", u"2024/05/06 07:38:00.000"},
        {"broken offset: the zone counts", u"2024-05-06 09:08 +5:30", u"%Y-%m-%d %H:%M %Z",
         u"2024/05/06 07:08:00.000"},
        {"left out by the clock", u"2024/03/31 02:30:00", full, u"2024/03/31 01:30:00.000"},
        {"twice on the clock: the first", u"2024/10/27 02:30:00", full, u"2024/10/27 00:30:00.000"},
        {"no such day", u"2023/02/29 10:00:00", full, nullptr},
        {"no such hour", u"2023/02/28 24:00:00", full, nullptr},
        {"nothing to read", u"soon", full, nullptr},
        {"every field", u"2026-03-20T09:30:00Z", iso, u"2026/03/20 09:30:00.000"},
        {"no offset", u"2026-03-20T09:30:00", iso, u"2026/03/20 08:30:00.000"},
        {"an early end", u"2026-03-20T", iso, u"2026/03/20"},
        {"letters for the next field", u"2026-03-20Tnoon", iso, nullptr},
        {"letters before an offset", u"garbage", iso, nullptr},
        {"a number before an offset", u"20 March", iso, nullptr},
        {"a blank for a letter", u"2026-03-20 09:30:00Z", iso, nullptr},
        {"a time for a date", u"09:08:09", full, nullptr},
        {"a tail", u"2024/05/06x", u"%Y/%m/%d", nullptr},
        {"a year that goes round", u"-8386583/03/20", full, nullptr},
        {"no such year", u"0000/03/20", full, nullptr},
        {"no such millisecond", u"2024/05/06 09:08:09.1000", full, nullptr},
        {"UTC in the middle", u"07:08Z2024/05/06", u"%H:%M%Z%Y/%m/%d", u"2024/05/06 07:08:00.000"},
    };
    for (Case const & c : cases) {
        KZDateTimeEx value = sample;
        KZErrorID const error = value.FromString(c.text, c.format);
        EXPECT_EQ(error, c.expected ? 0 : 9) << c.what;
        EXPECT_EQ(value.AsString(value.GetDefaultFormat(false, true), UTC), c.expected ? c.expected : u"")
            << c.what;
    }
    EXPECT_EQ(KZDateTimeEx().FromString(u"soon").AsString(), u"Invalid date: 'soon'.");
    EXPECT_THROW(KZDateTimeEx(KZString(u"soon")), KZDateExceptionEx);
    EXPECT_EQ(KZDateTimeEx(u"2024/05/06 09:08:09.010"), sample);
    EXPECT_EQ(KZDateTimeEx(u"09:08:09"), KZDateTimeEx(KZDateEx(), KZTimeEx(9, 8, 9)));
    EXPECT_TRUE(KZDateTimeEx(u"SYSDATE") >= sample);
}

TEST(KZDateTimeEx, PrintsInAZone) {
    EXPECT_EQ(sample.AsString(), u"2024/05/06 09:08:09.010");
    EXPECT_EQ(sample.AsString(u"%d.%m.%y %H.%M %Z week %W", KZTimeZone::GetLocalTimeZone()),
              u"06.05.24 09.08 +02:00 week 19");
    EXPECT_EQ(sample.AsString(u"%H%z", UTC), u"07Z");
    EXPECT_EQ(sample.GetDefaultFormat(false, false), u"%Y/%m/%d %H:%M:%S");
    KZTimeZoneInfo info;
    info.bias = 210;
    EXPECT_EQ(sample.AsString(u"%H:%M%Z", KZTimeZone(info, false)), u"03:38-03:30");
    EXPECT_EQ(sample.GetOffset(KZTimeZone(info, false)), 12600); // the bias, as it stands
    EXPECT_EQ(sample.GetOffset(), 7200);
    EXPECT_EQ(KZDateTimeEx(KZDateEx(2024, 5, 6), KZTimeEx()).GetOffset(), -3600);
    char16_t buffer[10];
    EXPECT_FALSE(sample.AsString(buffer, 10, u"abc%Z%Z%Z"));
    EXPECT_EQ(KZString(buffer), u"abc+02:00");
    EXPECT_EQ(KZDateTimeEx(KZDateEx(2024, 5, 6), KZTimeEx()).AsString(), u"2024/05/06");
}

// A printed value is read back unchanged, with every letter, in zones on both sides of UTC.
TEST(KZDateTimeEx, ReadsWhatItPrints) {
    constexpr char16_t const * formats[] = {u"%Y/%m/%d %H:%M:%S.%L", u"%d.%m.%Y; %H h %M m %S s %L ms",
                                            u"%y-%m-%d %H:%M:%S,%L %Z", u"%L %S %M %H %d %m %Y%z"};
    std::mt19937_64 random(6);
    for (int i = 0; i < 2000; ++i) {
        auto const ms = static_cast<std::int64_t>(random() % (80LL * 365 * 86400000)) - 10LL * 365 * 86400000;
        KZDateTimeEx const value(KZDateEx(1990, 1, 1) + static_cast<long>(ms / 86400000),
                                 KZTimeEx(static_cast<int>(std::abs(ms) % 86400000)));
        KZTimeZoneInfo info;
        info.bias = static_cast<int>(random() % 1440) - 720;
        KZTimeZone const zone(info, false);
        for (char16_t const * format : formats) {
            if (std::u16string_view(format).find(u'y') != std::u16string_view::npos &&
                value.GetDate(zone).GetYear() > 2069)
                continue;
            KZDateTimeEx read;
            ASSERT_TRUE(read.FromString(value.AsString(format, zone), format, zone).Good())
                << value.AsString(format, zone).AsUTF8();
            ASSERT_EQ(read, value) << value.AsString(format, zone).AsUTF8() << " seed 6, " << i;
        }
    }
}

TEST(KZDateTimeEx, MovesByTheWallClockOrByTheMoment) {
    auto const at = [](char16_t const * local) { return KZDateTimeEx(KZString(local)); };
    EXPECT_EQ(at(u"2024/03/30 12:00") + KZDurationEx(1, KZDurationEx::day), at(u"2024/03/31 12:00"));
    EXPECT_EQ(KZDurationEx(24, KZDurationEx::hour) + at(u"2024/03/30 12:00"), at(u"2024/03/31 13:00"));
    EXPECT_EQ(at(u"2024/01/31 00:30") + KZDurationEx(1, KZDurationEx::month), at(u"2024/02/29 00:30"));
    EXPECT_EQ(at(u"2024/12/31 23:59:59") + 1L, at(u"2025/01/01 00:00:00"));
    EXPECT_EQ(--at(u"2025/01/01 00:00:00"), at(u"2024/12/31 23:59:59"));
    KZDateTimeEx const date(KZDateEx(2024, 5, 6), KZTimeEx());
    EXPECT_EQ(date + KZDurationEx(-1, KZDurationEx::second),
              KZDateTimeEx(KZDateEx(2024, 5, 5), KZTimeEx(23, 59, 59)));
    EXPECT_EQ(date + KZDurationEx(1, KZDurationEx::week), KZDateTimeEx(KZDateEx(2024, 5, 13), KZTimeEx()));
    KZDateTimeEx const time(KZDateEx(), KZTimeEx(23, 0, 0));
    EXPECT_EQ(time + KZDurationEx(2, KZDurationEx::hour), KZDateTimeEx(KZDateEx(), KZTimeEx(1, 0, 0)));
    EXPECT_EQ(KZDateTimeEx() + 5L, KZDateTimeEx());

    EXPECT_EQ(sample - KZDateTimeEx(KZDateEx(2024, 5, 6), KZTimeEx(7, 8, 8, 11)), KZDurationEx(0));
    EXPECT_EQ(sample - date, KZDurationEx(25689));
    EXPECT_EQ(time - KZDateTimeEx(KZDateEx(), KZTimeEx(22, 0, 0)),
              KZDurationEx(3600000, KZDurationEx::millisecond));
    EXPECT_FALSE((sample - time).IsValid());
    EXPECT_FALSE((sample - KZDateTimeEx(KZDateEx(1600, 1, 1), KZTimeEx(0))).IsValid());
    EXPECT_LT(sample, date);
}

TEST(KZDateTimeEx, ExchangesRecordsToTheLastUnit) {
    FILETIME file{};
    EXPECT_TRUE(sample.AsFileTime(file, UTC));
    EXPECT_EQ(std::uint64_t{file.dwHighDateTime} << 32 | file.dwLowDateTime, 133594528890100000U);
    EXPECT_EQ(KZDateTimeEx(file, UTC), sample);
    SYSTEMTIME system{};
    EXPECT_TRUE(sample.AsSystemTime(system));
    EXPECT_EQ(system, (SYSTEMTIME{2024, 5, 1, 6, 9, 8, 9, 10}));
    EXPECT_EQ(KZDateTimeEx(system), sample);
    std::tm fields{};
    EXPECT_TRUE(sample.AsStructTM(fields));
    EXPECT_EQ(fields.tm_yday, 126);
    EXPECT_EQ(KZDateTimeEx(fields), sample - KZDurationEx(10, KZDurationEx::millisecond));
    KZDateTime moment;
    EXPECT_TRUE(sample.AsKZDateTime(moment));
    EXPECT_EQ(moment.AsSeconds(), 1714979289U);
    EXPECT_EQ(KZDateTimeEx(moment, UTC), KZDateTimeEx(fields));
    KZDateTimeEx back = sample;
    KZDateEx date;
    KZTimeEx time;
    EXPECT_TRUE(back.FromKZDateTime(moment) && date.FromKZDateTime(moment) &&
                time.FromKZDateTime(moment, false));
    EXPECT_TRUE(date == KZDateEx(2024, 5, 6) && time == KZTimeEx(7, 8, 9));
    EXPECT_FALSE(back.FromKZDateTime(KZDateTime()) || date.FromKZDateTime(KZDateTime()) ||
                 time.FromKZDateTime(KZDateTime()));
    EXPECT_TRUE(back.IsNull() && date.IsNull() && time.IsNull());

    constexpr struct {
        double days;
        KZDateEx date;
        KZTimeEx time;
    } doubles[] = {
        {0.0, {1899, 12, 30}, {0, 0, 0}},         {-1.25, {1899, 12, 29}, {6, 0, 0}},
        {2.5, {1900, 1, 1}, {12, 0, 0}},          {-657434.0, {100, 1, 1}, {0, 0, 0}},
        {2958465.75, {9999, 12, 31}, {18, 0, 0}}, {-0.5, {1899, 12, 30}, {12, 0, 0}},
    };
    for (auto const & c : doubles) {
        KZDateTimeEx const value(c.days, UTC);
        EXPECT_EQ(value, KZDateTimeEx(c.date, c.time)) << c.days;
        double asDouble = 7;
        EXPECT_TRUE(value.AsDouble(asDouble, UTC));
        EXPECT_EQ(asDouble, c.days == -0.5 ? 0.5 : c.days);
    }
    for (int ms = 0; ms < 86400000; ms += 997) {
        KZDateTimeEx const value(KZDateEx(1812, 6, 24), KZTimeEx(ms));
        double days = 0;
        ASSERT_TRUE(value.AsDouble(days, UTC));
        ASSERT_EQ(KZDateTimeEx(days, UTC), value) << ms;
    }
    VARIANT variant{};
    EXPECT_TRUE(KZDateEx(2024, 5, 6).AsVariant(variant));
    EXPECT_EQ(variant.vt, VT_DATE);
    EXPECT_EQ(KZDateEx(variant), KZDateEx(2024, 5, 6));
    variant.vt = VT_EMPTY;
    EXPECT_TRUE(KZDateTimeEx(variant).IsNull());
    for (double bad : {1e300, -657435.0, 2958466.0, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_TRUE(KZDateTimeEx(bad, UTC).IsNull()) << bad;
    EXPECT_TRUE(KZDateTimeEx(FILETIME{0xFFFFFFFF, 0xFFFFFFFF}, UTC).IsNull());
    EXPECT_TRUE(KZDateTimeEx(SYSTEMTIME{2023, 2, 0, 29, 0, 0, 0, 0}).IsNull());
    fields.tm_mon = 12;
    EXPECT_TRUE(KZDateTimeEx(fields).IsNull());
    EXPECT_FALSE(KZDateTimeEx().AsStructTM(fields) || KZDateTimeEx().AsSystemTime(system) ||
                 KZDateTimeEx().AsFileTime(file) || KZDateTimeEx().AsVariant(variant) ||
                 KZDateTimeEx().AsKZDateTime(moment));
    EXPECT_TRUE(KZTimeEx(9, 8, 7, 6).AsSystemTime(system));
    EXPECT_EQ(KZTimeEx(system), KZTimeEx(9, 8, 7, 6));
    EXPECT_TRUE(KZDateTimeEx(system).IsOnlyTime());
}

TEST(KZDateTimeEx, TakesFieldsByTheirMask) {
    KZDateAndTime fields;
    EXPECT_TRUE(sample.GetDateAndTime(fields));
    EXPECT_EQ(fields.mask, 255U);
    EXPECT_EQ(fields.hour, 9U);
    EXPECT_EQ(KZDateTimeEx(fields), sample);
    fields.mask = KZDateAndTime::All & ~KZDateAndTime::TimeZone;
    fields.hour = 7;
    EXPECT_EQ(KZDateTimeEx(fields, UTC), sample);
    fields.mask = KZDateAndTime::Date;
    fields.day = 32;
    fields.year = 0;
    fields.month = 0;
    EXPECT_THROW(KZDateTimeEx{fields}, KZDateExceptionEx);
    KZDateTimeEx value = sample;
    fields.mask = KZDateAndTime::Hour;
    fields.hour = 23;
    EXPECT_TRUE(value.SetDateAndTime(fields));
    EXPECT_EQ(value.AsString(), u"2024/05/06 23:08:09.010");
    EXPECT_EQ(KZDateTimeEx(2024, 5, 6, 9, 8, 9, 10), sample);
    EXPECT_THROW(KZDateTimeEx(2024, 2, 30, 0, 0, 0), KZDateExceptionEx);
    EXPECT_THROW(KZDateTimeEx(2024, 2, 28, 24, 0, 0), KZDateExceptionEx);
    EXPECT_EQ(value.GetWeekDay(), 1U);
    EXPECT_EQ(KZDateTimeEx(2024, 5, 7, 1, 0, 0).GetWeekDay(UTC), 1U);

    bool good = false;
    EXPECT_EQ(KZString(u"2024/05/06 09:08:09.010").AsKZDateTimeEx(&good), sample);
    EXPECT_TRUE(good);
    EXPECT_EQ(KZString(u"2024/05/06 09:08:09").AsKZDateTime(&good).AsSeconds(), 1714979289U);
    EXPECT_TRUE(good && KZString(u"soon").AsKZDateTime(&good).IsNull() && !good);
    EXPECT_EQ(KZString(u"2024/05/06").AsKZDateEx(), KZDateEx(2024, 5, 6));
    EXPECT_TRUE(KZString(u"noon").AsKZTimeEx(&good).IsNull());
    EXPECT_FALSE(good);
    EXPECT_EQ(KZString(u"5").AsKZDurationEx(), KZDurationEx(5, KZDurationEx::second));

    std::wstringstream stream;
    KZDateTimeEx const date(KZDateEx(2024, 5, 6), KZTimeEx());
    stream << sample << L' ' << date << L" noon";
    KZDateTimeEx a, b;
    std::wstring word;
    EXPECT_TRUE(stream >> a >> b >> word);
    EXPECT_EQ(a, sample);
    EXPECT_EQ(b, date);
    EXPECT_EQ(word, L"noon");
}

} // namespace
