#include "ZerlithCore/messages/KZErrorCode.h"

#include "ZerlithCore/messages/KZError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <future>

namespace {

TEST(KZErrorCode, KeepsWhatItCan) {
    KZErrorID const missing = KZFromErrorCode(std::make_error_code(std::errc::no_such_file_or_directory));
    EXPECT_EQ(missing.AsString(), u"No such file or directory");
    EXPECT_EQ(KZErrorID(new KZWinLastError), ENOENT) << "it is the thread's last error, too";
    EXPECT_EQ(KZToErrorCode(missing), std::errc::no_such_file_or_directory);
    EXPECT_EQ(KZToErrorCode(missing).category(), std::system_category());
    // A number of a text of the system's, which has no number of its own.
    std::error_code const text(0x20000000, KZErrorCategory());
    EXPECT_EQ(KZToErrorCode(KZFromErrorCode(text)), text);

    KZErrorID const own(new KZError(glbKZOREMsgSourceP, 15));
    EXPECT_EQ(KZToErrorCode(own), std::error_code(15, KZErrorCategory()));
    EXPECT_EQ(KZToErrorCode(own).message(), "error 15");
    EXPECT_EQ(KZFromErrorCode(KZToErrorCode(own)).AsString(), own.AsString());
    EXPECT_NE(KZToErrorCode(KZErrorID(new KZErrorString(u"x"))), std::errc::operation_not_permitted);

    KZErrorID const other = KZFromErrorCode(std::make_error_code(std::future_errc::no_state));
    EXPECT_EQ(other, -1);
    EXPECT_EQ(other.AsString().Find(u"future: "), 0U);
    EXPECT_FALSE(KZToErrorCode(KZErrorID()));
    EXPECT_TRUE(KZFromErrorCode(std::error_code(0, std::future_category())).Good());
}

} // namespace
