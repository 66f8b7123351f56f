#include "ZerlithCore/text/KZString.h"

#include "ZerlithCore/time/KZDateTime.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <sstream>
#include <vector>

namespace {

template <class Signed, class Unsigned>
struct Reading {
    int line;
    char16_t const * text;
    Signed asInt;
    bool intGood;
    Unsigned asUint;
    bool uintGood;
};

TEST(KZString, ReadsIntegers) {
    constexpr Reading<int, unsigned> cases[] = {
        {__LINE__, u"", 0, false, 0, false},
        {__LINE__, u"12", 12, true, 12, true},
        {__LINE__, u"\t 7", 7, true, 7, true},
        {__LINE__, u"\n7", 7, true, 7, true},
        {__LINE__, u"+007", 7, true, 7, true},
        {__LINE__, u"12 ", 12, false, 12, false},
        {__LINE__, u"0x10", 0, false, 0, false},
        {__LINE__, u"-", 0, false, 0, false},
        {__LINE__, u"- 1", 0, false, 0, false},
        {__LINE__, u"-1", -1, true, 0xFFFFFFFF, true},
        {__LINE__, u"2147483647", INT_MAX, true, 2147483647, true},
        {__LINE__, u"2147483648", INT_MAX, false, 2147483648, true},
        {__LINE__, u"-2147483648", INT_MIN, true, 2147483648, true},
        {__LINE__, u"-2147483649", INT_MIN, false, 2147483647, true},
        {__LINE__, u"4294967295", INT_MAX, false, 0xFFFFFFFF, true},
        {__LINE__, u"4294967296", INT_MAX, false, 0xFFFFFFFF, false},
        {__LINE__, u"99999999999999999999999x", INT_MAX, false, 0xFFFFFFFF, false},
        {__LINE__, u"\uFF11", 0, false, 0, false},
    };
    for (auto const & c : cases) {
        bool intGood = !c.intGood, longGood = !c.intGood, uintGood = !c.uintGood, ulongGood = !c.uintGood;
        KZString const text(c.text);
        EXPECT_EQ(text.AsInt(&intGood), c.asInt) << "line " << c.line;
        EXPECT_EQ(text.AsLong(&longGood), c.asInt) << "line " << c.line;
        EXPECT_EQ(text.AsUint(&uintGood), c.asUint) << "line " << c.line;
        EXPECT_EQ(text.AsULong(&ulongGood), c.asUint) << "line " << c.line;
        EXPECT_EQ(text.AsKZDuration(), c.asInt) << "line " << c.line;
        EXPECT_TRUE(intGood == c.intGood && longGood == c.intGood) << "line " << c.line;
        EXPECT_TRUE(uintGood == c.uintGood && ulongGood == c.uintGood) << "line " << c.line;
    }
}

TEST(KZString, ReadsIntegersOf64Bits) {
    constexpr Reading<std::int64_t, std::uint64_t> cases[] = {
        {__LINE__, u"", 0, false, 0, false},
        {__LINE__, u" -5", -5, true, UINT64_MAX - 4, true},
        {__LINE__, u"9223372036854775807", INT64_MAX, true, INT64_MAX, true},
        {__LINE__, u"9223372036854775808", INT64_MAX, false, 9223372036854775808U, true},
        {__LINE__, u"-9223372036854775808", INT64_MIN, true, 9223372036854775808U, true},
        {__LINE__, u"18446744073709551615", INT64_MAX, false, UINT64_MAX, true},
        {__LINE__, u"18446744073709551616", INT64_MAX, false, UINT64_MAX, false},
        {__LINE__, u"12a", 12, false, 12, false},
    };
    for (auto const & c : cases) {
        bool intGood = !c.intGood, uintGood = !c.uintGood;
        EXPECT_EQ(KZString(c.text).AsInt64(&intGood), c.asInt) << "line " << c.line;
        EXPECT_EQ(KZString(c.text).AsUInt64(&uintGood), c.asUint) << "line " << c.line;
        EXPECT_TRUE(intGood == c.intGood && uintGood == c.uintGood) << "line " << c.line;
    }
}

TEST(KZString, ReadsDoublesAsTheStandardDoes) {
    char const * const shapes =
        "0 1 -1.5 +2. .25 1e3 1E+3 1e-3 0x1p4 -0X1.8P+1 0x.8 0x1. 0xap-1 inf -Infinity iNf NaN "
        "nan(123_x) -0 1e308 1.7976931348623157e308 1e309 -1e999999999999999999999 5e-324 "
        "2.2250738585072014e-308 1e-400 0e999999 0x1p99999 0x1p-99999 9007199254740993 0.1 "
        "123456789012345678901234567890";
    char const * const broken = "- . e5 +-1 1e 1e+ 1.2.3 0x 0x. 0xg 0x1p infinite nan( nan(+)";
    std::string const zeros(400, '0');
    std::vector<std::string> cases = {"",         " ", "12 ", " \t\n4", std::string(2000, '9') + "e-2000",
                                      "1" + zeros};
    cases.insert(cases.end(), {"0." + zeros + "1e401", "1" + zeros + "e-400", "0." + zeros + "1"});
    std::istringstream words(std::string(shapes) + " " + broken);
    for (std::string word; words >> word;) cases.push_back(word);
    for (std::string const & text : cases) {
        char * end = nullptr;
        errno = 0;
        double const expected = std::strtod(text.c_str(), &end);
        bool good = false;
        double const actual = KZString(std::u16string(text.begin(), text.end())).AsDouble(&good);
        EXPECT_EQ(good, end != text.c_str() && *end == '\0' && (errno == 0 || text == "5e-324")) << text;
        bool const same = actual == expected && std::signbit(actual) == std::signbit(expected);
        EXPECT_TRUE(same || (std::isnan(actual) && std::isnan(expected))) << text << ": " << actual;
    }
}

TEST(KZString, ReadsLocalMoments) {
    bool good = false;
    KZDateTime const moment = KZString(u"2024/05/06 07:08:09").AsKZDateTime(&good);
    EXPECT_TRUE(good);
    EXPECT_EQ(moment.AsString(), u"2024/05/06 07:08:09");
    EXPECT_TRUE(KZString(u"2024/05/06").AsKZDateTime(&good).IsNull());
    EXPECT_FALSE(good);
}

} // namespace
