#include "ZerlithCore/messages/KZPrintf.h"
#include "ZerlithCore/messages/KZError.h"

#include <gtest/gtest.h>

namespace {

TEST(KZPrintf, ExpandsTemplates) {
    struct Case {
        char const * what;
        char16_t const * format;
        std::vector<KZString> arguments;
        char16_t const * expected;
    };
    Case const cases[] = {
        {"empty", u"", {}, u""},
        {"percent sign", u"100%%", {}, u"100%"},
        {"by index", u"%1:s-%0:s", {u"a", u"b"}, u"b-a"},
        {"without index: the first", u"%s %s", {u"a", u"b"}, u"a a"},
        {"index out of range: the first", u"%5:s", {u"a", u"b"}, u"a"},
        {"out of range: not converted", u"%5:m", {u"x"}, u"x"},
        {"index of more than 32 bits", u"%4294967297:s", {u"a", u"b"}, u"a"},
        {"index that is no number", u"%x:s", {u"a", u"b"}, u"a"},
        {"no arguments", u"x%dy", {}, u"xy"},
        {"flags and sizes are thrown away", u"%-10.3s", {u"abc"}, u"abc"},
        {"a percent sign in prose opens a conversion", u"10% of", {u"A"}, u"10A"},
        {"numbers as they stand", u"%0:d %1:f", {u"007", u"1.50"}, u"007 1.50"},
        {"letters in order of their places", u"%lx%d", {u"5"}, u"5"},
        {"no letter behind: the rest as it stands", u"a%0:s b% c", {u"1"}, u"a1 b% c"},
        {"no letter behind, no loop", u"100% % %", {u"1"}, u"100% % %"},
        {"arguments aren't templates", u"%s", {u"%s%%"}, u"%s%%"},
        {"duration", u"[%u]", {u"90061"}, u"[1 01:01:01]"},
        {"duration that is no number", u"[%u]", {u"x"}, u"[00:00:00]"},
        {"long date", u"%la", {u"2024/05/06 07:08:09"}, u"May 06, 2024"},
        {"date", u"%a", {u"2024/05/06 07:08:09"}, u"05/06/24"},
        {"long time by index", u"%1:lt", {u"x", u"2024/05/06 07:08:09"}, u"07:08:09"},
        {"time", u"%t", {u"2024/05/06 23:08:09"}, u"23:08:09"},
        {"no date: as it stands", u"%a %lt", {u"soon"}, u"soon soon"},
        {"money", u"%m|%1:m", {u"3.14159", u"-12345.678"}, u"  3.14|-12345.68"},
    };
    for (Case const & c : cases) EXPECT_EQ(KZPrintf(c.format, c.arguments), c.expected) << c.what;
}

} // namespace
