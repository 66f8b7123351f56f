#include "ZerlithCore/messages/KZMessageSource.h"

#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/KZModuleMessages.h"

#include <gtest/gtest.h>

KZ_MODULE_MESSAGES({1, KZLanguage::EnglishUS, u"%d of %s"}, {1, KZLanguage::French, u"%d sur %s"},
                   {2, KZLanguage::Neutral, u"%3500d"}, {3, KZLanguage::Neutral, u"%1:s %0:s"})

namespace {

// Gives access to functions that are meant for derived sources.
struct Opened : RCMessageSource {
    using RCMessageSource::GetLanguageID;
};

KZString Text(KZMessageSource const & source, long code, char16_t const * language = u"",
              std::va_list * list = nullptr) {
    KZString text(u"before");
    KZFormatContext const context{KZString(language)};
    EXPECT_TRUE(
        (list ? source.GetText(text, code, context, list) : source.GetText(text, code, context)).Good());
    return text;
}

KZString Expanded(KZMessageSource const & source, long code, ...) {
    std::va_list list;
    va_start(list, code);
    KZString const first = Text(source, code, u"enu", &list), again = Text(source, code, u"enu", &list);
    va_end(list);
    EXPECT_EQ(first, again) << "the list is left where it was";
    return first;
}

KZErrorID Swapped(KZSmartPtrToConst<KZMessageSource> const & source, long code) {
    auto * const error = new KZErrorWithArgs(source, code);
    KZErrorID id(error);
    error->AddParam(KZString(u"a"));
    error->AddParam(KZString(u"b"));
    return id;
}

TEST(RCMessageSource, KnowsLanguageCodes) {
    constexpr std::pair<char16_t const *, long> cases[] = {
        {u"ENU", 1033}, {u"fra", 1036},  {u"NLD", 1043}, {u"deu", 1031}, {u"jpn", 1041},
        {u"kor", 1042}, {u"ptb", 1046},  {u"Esp", 1034}, {u"esm", 2058}, {u"xyz", 1024},
        {u"en", 1024},  {u"enus", 1024}, {u"", 1024},    {nullptr, 1024}};
    for (auto const & [code, language] : cases) EXPECT_EQ(Opened::GetLanguageID(code), language);
}

TEST(RCMessageTableSource, TakesTheLanguageOfTheContext) {
    KZSmartPtr<RCMessageTableSource> const source(new RCMessageTableSource(KZ_THIS_MODULE));
    EXPECT_TRUE(source->IsValid());
    EXPECT_EQ(Text(*source, 1, u"fra"), u"%d sur %s");
    EXPECT_EQ(Text(*source, 1, u"enu"), u"%d of %s");
    KZLanguage::SetOfThread(KZLanguage::French);
    EXPECT_EQ(Text(*source, 1), u"%d sur %s");
    KZLanguage::SetOfThread(KZLanguage::Neutral);
    EXPECT_EQ(Swapped(source, 3).AsString(), u"b a");
    EXPECT_EQ(RCMessageTableSource(*source).NbRef(), 0UL);
}

TEST(RCMessageTableSource, TellsAMissingTextOnStandardOutput) {
    RCMessageTableSource const source(KZ_THIS_MODULE);
    testing::internal::CaptureStdout();
    EXPECT_EQ(Text(source, 99), u"Internal Error in RCMessageTableSource::RetrieveMessage");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Error 42 from FormatMessage\n");
}

TEST(RCMessageTableSource, ServesTheSystemsTextsWithoutAModule) {
    RCMessageTableSource const source(nullptr);
    EXPECT_FALSE(source.IsValid());
    EXPECT_EQ(Text(source, 2, u"enu"), u"No such file or directory");
}

TEST(RCStringTableMsgSource, TakesTheLanguageOfTheThread) {
    RCStringTableMsgSource const source(KZ_THIS_MODULE);
    KZLanguage::SetOfThread(KZLanguage::French);
    EXPECT_EQ(Text(source, 1, u"enu"), u"%d sur %s");
    KZLanguage::SetOfThread(KZLanguage::Neutral);
    EXPECT_EQ(Text(source, 99), u"");
}

TEST(RCMessageSource, ExpandsArgumentListsWithinItsBound) {
    RCMessageTableSource const source(KZ_THIS_MODULE);
    EXPECT_EQ(Expanded(source, 1, 3, u"four"), u"3 of four");
    EXPECT_EQ(Expanded(source, 2, 5).Length(), 2999U);
}

TEST(KZInRAMMessageSource, KeepsTheFirstTextOfACode) {
    KZSmartPtr<KZInRAMMessageSource> const source(new KZInRAMMessageSource);
    source->Add(7, u"a");
    source->Add(7, u"b");
    source->Add(8, u"%1:s %0:s");
    KZInRAMMessageSource const copy(*source);
    source->Add(9, u"c");
    EXPECT_EQ(Text(*source, 7), u"a");
    EXPECT_EQ(Text(copy, 9), u"This message cannot be found");
    EXPECT_EQ(Expanded(*source, 7), u"before") << "the form with arguments does nothing";
    EXPECT_EQ(Swapped(source, 8).AsString(), u"b a");
    EXPECT_EQ(Swapped(source, 10).AsString(), u"This message cannot be found");
}

TEST(KZMessageSource, RefusesListsOfLanguagesAndIgnoresNullErrors) {
    RCMessageTableSource const table(KZ_THIS_MODULE);
    KZInRAMMessageSource const memory;
    for (KZMessageSource const * source : std::initializer_list<KZMessageSource const *>{&table, &memory}) {
        std::vector<KZString> languages{u"kept"};
        KZErrorID const id = source->GetAvailableLanguages(languages);
        EXPECT_EQ(id, 1);
        EXPECT_EQ(id.AsString(), u"Multiple languages in this kind of 'messagesource' are not supported.");
        EXPECT_EQ(languages.size(), 1U);
        KZString text(u"kept");
        EXPECT_TRUE(source->AsString(text, {}, KZFormatContext()).Good());
        EXPECT_EQ(text, u"kept");
    }
}

} // namespace
