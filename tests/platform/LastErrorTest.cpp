#include "ZerlithCore/platform/LastError.h"

#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/platform/Language.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <thread>

namespace {

using namespace KZPlatform;

TEST(LastError, BelongsToTheThreadAndSurvivesOtherCalls) {
    SetLastErrorNumber(EACCES);
    errno = ENOENT;
    std::thread([] {
        EXPECT_EQ(LastErrorNumber(), 0);
        SetLastErrorNumber(EIO);
    }).join();
    EXPECT_EQ(LastErrorNumber(), EACCES);
    EXPECT_EQ(ErrorText(EACCES, englishLanguage), u"Permission denied");
    EXPECT_EQ(ErrorText(-1), std::nullopt);
}

TEST(LastError, TextsWithoutNumberAreToldOnAnyThreadUntilManyOthersCame) {
    SetLastErrorText(u"first");
    int const first = LastErrorNumber();
    SetLastErrorText(u"second");
    int const second = LastErrorNumber();
    EXPECT_NE(first, second);
    SetLastErrorText(u"first");
    EXPECT_EQ(LastErrorNumber(), first);
    std::thread([=] { EXPECT_EQ(ErrorText(second), u"second"); }).join();
    for (char16_t i = 0; i < 255; ++i) SetLastErrorText(std::u16string{u'x', i});
    EXPECT_EQ(ErrorText(first), std::nullopt);
    EXPECT_EQ(ErrorText(second), u"second");
    SetLastErrorText(u"second");
    EXPECT_EQ(LastErrorNumber(), second);
    EXPECT_EQ(ErrorText(LastErrorNumber() + 1000), std::nullopt);
}

TEST(LastError, BecomesAnErrorObject) {
    SetThreadLanguage(englishLanguage);
    SetLastErrorNumber(EISDIR);
    KZErrorID const id(new KZWinLastError);
    SetLastErrorNumber(0);
    EXPECT_EQ(id, EISDIR);
    EXPECT_EQ(id.AsString(), u"Is a directory");
    SetThreadLanguage(neutralLanguage);
}

TEST(Language, FollowsTheNameOfALocale) {
    constexpr std::pair<char const *, long> cases[] = {
        {"fr_FR.UTF-8", 1036},  {"fr", 1036},    {"fr_CA@euro", 3084},
        {"fr_SN", 1036},        {"pt_BR", 1046}, {"es_MX.utf8", 2058},
        {"C", englishLanguage}, {"POSIX", 1033}, {"", 1033},
        {"C.UTF-8", 1033},      {"xx_YY", 1033},
    };
    for (auto const & [locale, language] : cases) EXPECT_EQ(LanguageOfLocale(locale), language) << locale;
    EXPECT_STREQ(LocaleOfLanguage(1043), "nl_NL.UTF-8");
    EXPECT_STRNE(LocaleOfLanguage(ThreadLanguage()), "C") << "never neutral";
}

} // namespace
