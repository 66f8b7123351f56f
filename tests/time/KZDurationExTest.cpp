#include "ZerlithCore/time/KZDurationEx.h"

#include "ZerlithCore/time/KZDurationExceptionEx.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using Duration = KZDurationEx;

static_assert(std::is_trivially_copyable_v<Duration>);
static_assert(Duration(2, Duration::week).As(Duration::day) == Duration(14, Duration::day));

TEST(KZDurationEx, ConvertsByItsTable) {
    // Lengths in milliseconds, for units that are multiples of each other. Months and years are not.
    constexpr std::int64_t lengths[] = {0, 0, 604800000, 86400000, 3600000, 60000, 1000, 1};
    for (unsigned int from = Duration::week; from < Duration::invalid; ++from)
        for (unsigned int to = from + 1; to < Duration::invalid; ++to) {
            auto const large = static_cast<Duration::Unit>(from);
            auto const small = static_cast<Duration::Unit>(to);
            std::int64_t const ratio = lengths[from] / lengths[to];
            EXPECT_EQ(Duration(3, large).As(small).GetDuration(), static_cast<std::int32_t>(3 * ratio))
                << from << to;
            if (ratio > INT32_MAX / 3) continue;
            EXPECT_EQ(Duration(2 * ratio + 1, small).As(large, true), Duration(2, large)) << from << to;
            EXPECT_EQ(Duration(2 * ratio + 1, small).As(large, false), Duration(3, large)) << from << to;
        }
    constexpr long ofYear[] = {1, 12, 52, 365, 8760, 525600, 31536000};
    constexpr long ofMonth[] = {0, 1, 4, 30, 720, 43200, 2592000};
    for (unsigned int unit = Duration::month; unit <= Duration::second; ++unit) {
        auto const to = static_cast<Duration::Unit>(unit);
        EXPECT_EQ(Duration(2, Duration::year).As(to), Duration(2 * ofYear[unit], to));
        EXPECT_EQ(Duration(2 * ofYear[unit], to).As(Duration::year), Duration(2, Duration::year));
        EXPECT_EQ(Duration(2, Duration::month).As(to), Duration(2 * ofMonth[unit], to));
    }
    EXPECT_EQ(Duration(-25, Duration::hour).As(Duration::day, false), Duration(-1, Duration::day));
}

TEST(KZDurationEx, HasNoWayFromYearsToMilliseconds) {
    Duration year(1, Duration::year);
    EXPECT_EQ(year.AsMilliSeconds(), 31536000000);
    EXPECT_FALSE(year.ConvertTo(Duration::millisecond, true));
    EXPECT_EQ(year, Duration(1, Duration::millisecond));
    EXPECT_FALSE(year.ConvertTo(Duration::month, true));
    EXPECT_EQ(year, Duration(1, Duration::month));
    Duration invalid(5, Duration::invalid);
    EXPECT_FALSE(invalid.ConvertTo(Duration::day, true));
    EXPECT_EQ(invalid, Duration(5, Duration::invalid));
    EXPECT_TRUE(invalid.ConvertTo(static_cast<Duration::Unit>(9), true));
    EXPECT_EQ(invalid.GetDuration(), 0);
    EXPECT_TRUE(Duration(0, Duration::year).ConvertTo(Duration::millisecond, true));
    EXPECT_TRUE(Duration(1, Duration::year) > Duration(INT32_MAX, Duration::millisecond));
}

TEST(KZDurationEx, RefusesTheOneValue) {
    EXPECT_THROW(Duration(0x80000000), KZDurationExceptionEx);
    Duration top(INT32_MAX, Duration::day);
    try {
        ++top;
        FAIL();
    } catch (KZDurationExceptionEx const & exception) {
        EXPECT_EQ(exception.GetDuration(), Duration(INT32_MAX, Duration::day));
        EXPECT_EQ(KZString(exception.What()), u"2147483647 days");
    }
    EXPECT_EQ(top.GetDuration(), INT32_MAX);
    EXPECT_EQ((top += Duration(2, Duration::day)).GetDuration(), INT32_MIN + 1L); // others wrap around
    EXPECT_THROW(Duration(1) / 0, KZDurationExceptionEx);
    EXPECT_THROW(Duration(1 << 30, Duration::second) *= 2, KZDurationExceptionEx);
    Duration packed;
    packed.FromInt64(Duration(-7, Duration::week).AsInt64());
    EXPECT_EQ(packed, Duration(-7, Duration::week));
}

TEST(KZDurationEx, AddsNumbersInTheSmallerUnit) {
    Duration const hour(1, Duration::hour);
    Duration const day(1, Duration::day);
    EXPECT_EQ(day + Duration(2, Duration::hour), Duration(26, Duration::hour));
    EXPECT_EQ(hour + day, Duration(2, Duration::hour)); // the number of the days, taken as hours
    EXPECT_EQ(day - Duration(2, Duration::hour), Duration(22, Duration::hour));
    EXPECT_EQ(Duration() + day, day);
    EXPECT_EQ(Duration() - day, Duration(-1, Duration::day));
    EXPECT_EQ(day + Duration(5, Duration::invalid), day);
    EXPECT_EQ(Duration(7, Duration::day) * -3 / 2, Duration(-10, Duration::day));
}

TEST(KZDurationEx, NormalizesWithoutLoss) {
    constexpr std::pair<Duration, Duration> cases[] = {
        {Duration(1209600, Duration::second), Duration(2, Duration::week)},
        {Duration(365, Duration::day), Duration(365, Duration::day)},
        {Duration(90, Duration::minute), Duration(90, Duration::minute)},
        {Duration(-24, Duration::month), Duration(-2, Duration::year)},
        {Duration(52, Duration::week), Duration(52, Duration::week)},
        {Duration(0, Duration::millisecond), Duration(0, Duration::millisecond)},
    };
    for (auto const & [from, to] : cases) {
        Duration value = from;
        value.Normalize();
        EXPECT_EQ(value, to) << from.AsString().AsUTF8();
        EXPECT_TRUE(value.IsEquivalent(from));
    }
    EXPECT_LT(Duration(6, Duration::day), Duration(1, Duration::week));
    EXPECT_GE(Duration(1, Duration::week), Duration(7, Duration::day));
    EXPECT_NE(Duration(1, Duration::week), Duration(7, Duration::day));
    EXPECT_FALSE(Duration(1, Duration::invalid) < Duration(2, Duration::day) ||
                 Duration(1, Duration::invalid).IsEquivalent(Duration(1, Duration::day)));
}

TEST(KZDurationEx, ReadsAndPrintsUnits) {
    constexpr struct {
        char16_t const * text;
        Duration value;
    } cases[] = {
        {u"3 weeks", Duration(3, Duration::week)},    {u"  -12months ", Duration(-12, Duration::month)},
        {u"5", Duration(5, Duration::minute)},        {u"7 s", Duration(7, Duration::second)},
        {u"7ms", Duration(7, Duration::millisecond)}, {u"2mos", Duration(2, Duration::month)},
        {u"day", Duration(0, Duration::day)},         {u"1 millisecond", Duration(1, Duration::millisecond)},
    };
    for (auto const & c : cases) {
        Duration value;
        EXPECT_TRUE(value.FromString(c.text, Duration::minute)) << KZString(c.text).AsUTF8();
        EXPECT_EQ(value, c.value) << KZString(c.text).AsUTF8();
        for (bool const isLong : {true, false})
            EXPECT_TRUE(value.GetDuration() == 0 || Duration(value.AsString(isLong)) == value);
    }
    for (char16_t const * bad :
         {u"", u"  ", u"5 fortnights", u"5 Days", u"2147483648 s", u"-2147483648", u"5 days x"})
        EXPECT_FALSE(Duration(KZString(bad)).IsValid()) << KZString(bad).AsUTF8();
    EXPECT_EQ(Duration(1, Duration::day).AsString(true), u"1 day");
    EXPECT_EQ(Duration(-2, Duration::day).AsString(true), u"-2 days");
    EXPECT_EQ(Duration(0, Duration::day).AsString(true), u"0");
    EXPECT_EQ(Duration(1, u"mo"), Duration(1, Duration::month));
    EXPECT_FALSE(Duration(1, KZString(u"moon")).IsValid());
    std::wstringstream stream;
    stream << Duration(90, Duration::second);
    Duration read;
    EXPECT_TRUE(stream >> read);
    EXPECT_EQ(read, Duration(90, Duration::second));
}

} // namespace
