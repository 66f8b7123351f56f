#include "ZerlithCore/time/KZDateException.h"

#include <gtest/gtest.h>

namespace {

TEST(KZDateException, CarriesTheDateAndTellsItInLocalTime) {
    KZDateTime const moment(1000000000);
    try {
        throw KZDateException(moment);
    } catch (KZException const & exception) {
        EXPECT_EQ(KZString(exception.What()), moment.AsString());
        EXPECT_EQ(dynamic_cast<KZDateException const &>(exception).dateTime(), moment);
    }
    KZDateException const told(KZString(u"no such date"));
    EXPECT_STREQ(told.what(), "no such date");
    EXPECT_TRUE(told.dateTime().IsNull());
}

} // namespace
