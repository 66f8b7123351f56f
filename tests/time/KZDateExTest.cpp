#include "ZerlithCore/time/KZDateEx.h"

#include "ZerlithCore/time/KZDateAndTime.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <type_traits>

namespace {

static_assert(std::is_trivially_copyable_v<KZDateEx>);
static_assert((KZDateEx(2024, 1, 31) + KZDurationEx(1, KZDurationEx::month)) == KZDateEx(2024, 2, 29));
static_assert(KZDateEx(2024, 1, 1).AsInt() == (2024 << 9 | 1 << 5 | 1));

// A calendar that only knows the lengths of months, and goes from day to day.
struct Walker {
    int year;
    unsigned int month, day;

    [[nodiscard]] unsigned int Days() const {
        if (month == 2) return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0 ? 29 : 28;
        return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
    }
    void NextMonth() {
        month = month % 12 + 1;
        if (month == 1) ++year;
    }
    void PreviousMonth() {
        if (month == 1) --year;
        month = (month + 10) % 12 + 1;
    }
    void Add(long days) {
        long total = static_cast<long>(day) + days;
        for (; total < 1; total += Days()) PreviousMonth();
        for (; total > static_cast<long>(Days()); NextMonth()) total -= Days();
        day = static_cast<unsigned int>(total);
    }
    [[nodiscard]] KZDateEx Date() const { return {year, month, day}; }
};

TEST(KZDateEx, KnowsEveryDayOfTwoCenturies) {
    unsigned int weekDay = 1; // 1900-01-01 was a Monday
    unsigned int yearDay = 1, mondays = 1;
    KZDateEx stepped(1899, 12, 31);
    for (Walker walker{1900, 1, 1}; walker.year <= 2100;) {
        KZDateEx const date = walker.Date();
        ASSERT_EQ(++stepped, date) << date.AsString().AsUTF8();
        ASSERT_EQ(date.GetYearDay(), yearDay) << date.AsString().AsUTF8();
        ASSERT_EQ(date.GetWeekDay(), walker.year < 1970 ? 0 : weekDay) << date.AsString().AsUTF8();
        ASSERT_EQ(walker.year < 1970 ? mondays : date.GetYearWeek(), mondays) << date.AsString().AsUTF8();
        KZDateEx next = date;
        ASSERT_EQ(--(next += 1), date);
        walker.Add(1);
        weekDay = (weekDay + 1) % 7;
        bool const newYear = walker.month == 1 && walker.day == 1;
        yearDay = newYear ? 1 : yearDay + 1;
        mondays = (newYear ? 0 : mondays) + (weekDay == 1 ? 1 : 0);
    }
}

TEST(KZDateEx, MovesByMonthsAndYearsFromEveryMonthsEnd) {
    for (Walker from{1896, 1, 1}; from.year <= 2104; from.NextMonth()) {
        KZDateEx const end(from.year, from.month, from.Days());
        Walker to{from.year, from.month, 1};
        for (int months = 1; months <= 30; ++months) {
            to.NextMonth();
            KZDateEx const expected(to.year, to.month, std::min(from.Days(), to.Days()));
            ASSERT_EQ(end + KZDurationEx(months, KZDurationEx::month), expected)
                << end.AsString().AsUTF8() << months;
            KZDateEx const last(to.year, to.month, to.Days());
            ASSERT_EQ(last - KZDurationEx(months, KZDurationEx::month),
                      KZDateEx(from.year, from.month, std::min(from.Days(), to.Days())))
                << last.AsString().AsUTF8() << months;
            ASSERT_TRUE(months % 12 || end + KZDurationEx(months / 12, KZDurationEx::year) == expected);
        }
    }
}

TEST(KZDateEx, MovesByDaysAsAWalkFromMonthToMonthDoes) {
    std::mt19937 random(20240506);
    for (int i = 0; i < 300; ++i) {
        Walker walker{static_cast<int>(random() % 6000) - 2000, static_cast<unsigned int>(random() % 12 + 1),
                      static_cast<unsigned int>(random() % 28 + 1)};
        KZDateEx date = walker.Date();
        long const days = static_cast<long>(random() % 3000000) - 1500000;
        KZDateEx const start = date;
        walker.Add(days);
        ASSERT_EQ(date += days, walker.Date()) << start.AsString().AsUTF8() << " + " << days;
        ASSERT_EQ((date - start), KZDurationEx(days, KZDurationEx::day));
    }
    EXPECT_EQ(KZDateEx(2000, 1, 1) + 10000000L, KZDateEx(29379, 1, 26));
    // After the last date of the range comes the first. A date that doesn't exist stays unchanged.
    EXPECT_EQ((++KZDateEx(4194303, 12, 31)).GetYear(), -4194304);
    EXPECT_EQ(KZDateEx(2023, 2, 30) + 1L, KZDateEx(2023, 2, 30));
    EXPECT_EQ(KZDateEx() + KZDurationEx(1, KZDurationEx::day), KZDateEx());
    EXPECT_EQ(KZDurationEx(48, KZDurationEx::hour) + KZDateEx(2024, 5, 6), KZDateEx(2024, 5, 6));
    EXPECT_EQ(KZDateEx(2024, 5, 6) - KZDurationEx(-2, KZDurationEx::week), KZDateEx(2024, 5, 20));
}

TEST(KZDateEx, StoresTheFieldsOfTheMaskAndDropsBadOnes) {
    KZDateAndTime fields;
    fields.year = 0x800000;
    fields.month = 13;
    fields.day = 30;
    fields.mask = 7;
    KZDateEx date(2023, 2, 5);
    EXPECT_FALSE(date.SetDateAndTime(fields));
    EXPECT_EQ(date, KZDateEx(2023, 2, 30));
    fields.month = 4;
    fields.mask = KZDateAndTime::Month;
    EXPECT_TRUE(date.SetDateAndTime(fields));
    EXPECT_EQ(date, KZDateEx(2023, 4, 30));
    KZDateAndTime read;
    EXPECT_TRUE(date.GetDateAndTime(read, 6));
    EXPECT_EQ(read.mask, 6U);
    EXPECT_EQ(read.year, 0);
    EXPECT_EQ(read.day, 30U);
}

TEST(KZDateEx, ReadsUnderATemplate) {
    struct Case {
        char const * what;
        char16_t const *text, *format;
        bool good;
        KZDateEx date;
    };
    Case const cases[] = {
        {"default", u"2024/05/06", u"%Y/%m/%d", true, {2024, 5, 6}},
        {"blanks in front", u"   2024/5/6", u"%Y/%m/%d", true, {2024, 5, 6}},
        {"only blanks", u"   ", u"%Y/%m/%d", true, {}},
        {"dash behind a field separates", u"2024-05-06", u"%Y-%m-%d", true, {2024, 5, 6}},
        {"text between isn't compared", u"2024/then 05/then 06", u"%Y/%m/%d", true, {2024, 5, 6}},
        {"short year below 70", u"6.5.69", u"%d.%m.%y", true, {2069, 5, 6}},
        {"short year from 70 on", u"6.5.70", u"%d.%m.%y", true, {1970, 5, 6}},
        {"negative year", u"-5/05/06", u"%Y/%m/%d", true, {-5, 5, 6}},
        {"year alone", u"2024", u"%Y/%m/%d", true, {2024, 1, 1}},
        {"letters", u"twenty/05/06", u"%Y/%m/%d", false, {0, 1, 1}},
        {"field with a tail is dropped: day 1", u"2024/05/06x", u"%Y/%m/%d", true, {2024, 5, 1}},
        {"no such day", u"2023/02/29", u"%Y/%m/%d", false, {2023, 2, 29}},
        {"month beyond its range", u"2024/13/06", u"%Y/%m/%d", false, {2024, 0, 6}},
        {"year 0", u"0/05/06", u"%Y/%m/%d", false, {0, 5, 6}},
        {"number without end", u"99999999999999999999999999/05/06", u"%Y/%m/%d", false, {0, 5, 6}},
        {"unknown letters and a lone sign", u"2024", u"%Q%%%Y%", true, {2024, 1, 1}},
        {"empty template", u"2024", u"", false, {0, 1, 1}},
    };
    for (Case const & c : cases) {
        KZDateEx date(1, 1, 1);
        bool const good = date.FromString(c.text, c.format);
        EXPECT_EQ(good, c.good) << c.what;
        EXPECT_EQ(date, c.date) << c.what << ": " << date.AsInt();
    }
    KZDateEx today;
    KZDateEx const before = KZDateEx::GetCurrentDate();
    EXPECT_TRUE(today.FromString(u"SYSDATE"));
    EXPECT_LE(before, today);
}

TEST(KZDateEx, PrintsUnderATemplate) {
    KZDateEx const date(2024, 5, 6);
    EXPECT_EQ(date.AsString(), u"2024/05/06");
    EXPECT_EQ(date.AsString(u"%d.%m.%y week %W of %Y%% %H"), u"06.05.24 week 19 of 2024% H");
    EXPECT_EQ(KZDateEx(-4194304, 1, 2).AsString(u"%Y|%y"), u"-4194304|04");
    EXPECT_EQ(KZDateEx().AsString(), u"");
    char16_t buffer[12];
    EXPECT_FALSE(date.AsString(buffer, 12, u"%Y/%m/%d"));
    EXPECT_EQ(KZString(buffer), u"2024/05");
    for (std::size_t capacity = 0; capacity < 30; ++capacity) {
        std::u16string out(40, u'#');
        bool const isWhole = KZDateEx(-4194304, 1, 2).AsString(out.data(), capacity, u"abcdef%Y");
        EXPECT_EQ(out.find_first_not_of(u'#', capacity), out.npos) << capacity << " units and no more";
        EXPECT_EQ(isWhole, out.c_str() == std::u16string(u"abcdef-4194304")) << capacity;
    }
    KZString const longFormat(u'x', 5000);
    EXPECT_EQ(date.AsString(longFormat + u"%Y").Length(), 5004U);

    std::wstringstream stream;
    stream << date << L' ' << KZDateEx(1999, 12, 31) << L" never";
    KZDateEx a, b, c;
    EXPECT_TRUE(stream >> a >> b);
    EXPECT_EQ(a, date);
    EXPECT_EQ(b, KZDateEx(1999, 12, 31));
    EXPECT_FALSE(stream >> c);
}

} // namespace
