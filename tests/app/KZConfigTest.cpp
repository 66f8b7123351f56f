#include "ZerlithCore/app/KZConfig.h"

#include "ZerlithCore/app/KZCommaSeparatedValues.h"
#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

namespace {

TEST(KZConfig, FindsValues) {
    TemporaryDirectory const folder;
    folder.Write(u"test.ini", "\xEF\xBB\xBF[Other] ; text behind a header\n"
                              "k=other\n"
                              " [A]\n" // Not in the first column, so no header; but it ends [Other].
                              "behind=x\n"
                              "[]]odd]\n"
                              "k=odd\n"
                              "[open\n"
                              "k=open\n"
                              "[A]\r\n"
                              ";k=comment\n"
                              "\n"
                              " \t =\n"
                              "  K \t= first \t second  third \t\r\n"
                              "k=later\n"
                              "empty=\n"
                              "alone\n"
                              "blank value\n"
                              "eq=a=b =c\n"
                              "= =shift=1\n"
                              "\xC3\xA4\xFF=\xF0\x9F\x98\x80\n"
                              "long=" +
                                  std::string(9000, 'l') +
                                  "\n"
                                  "[a]\n"
                                  "last=1");
    struct Case {
        char const * what;
        char16_t const *section, *key;
        int line;
        KZString expected;
    };
    Case const cases[] = {
        {"first match, runs of blanks", u"a", u"k", __LINE__, u"first second third"},
        {"text behind the header", u"OTHER", u"k", __LINE__, u"other"},
        {"indented header ends the section", u"Other", u"behind", __LINE__, u"-"},
        {"a header's name follows its leading brackets", u"odd", u"k", __LINE__, u"odd"},
        {"header without bracket", u"open", u"k", __LINE__, u"open"},
        {"empty value", u"A", u"empty", __LINE__, u"-"},
        {"key alone", u"A", u"alone", __LINE__, u"-"},
        {"blank as delimiter", u"A", u"blank", __LINE__, u"value"},
        {"one equals sign goes from the value", u"A", u"eq", __LINE__, u"a b =c"},
        {"delimiters in front of the key", u"A", u"shift", __LINE__, u"1"},
        {"any bytes", u"A", u"\u00C4\xDCFF", __LINE__, u"\U0001F600"},
        {"long line", u"A", u"long", __LINE__, KZString(u'l', 9000)},
        {"second section of the name", u"A", u"last", __LINE__, u"-"},
        {"comment", u"A", u";k", __LINE__, u"-"},
        {"missing section", u"B", u"k", __LINE__, u"-"},
        {"no section", u"", u"k", __LINE__, u"-"},
        {"no key", u"A", u"", __LINE__, u"-"},
    };
    KZConfig const config(folder.Path(u"test.ini"));
    for (Case const & each : cases)
        EXPECT_EQ(config.GetString(each.section, each.key, u"-"), each.expected)
            << each.what << ", line " << each.line;
}

TEST(KZConfig, ReadsNumbersAndTruthFromAnOpenFile) {
    TemporaryDirectory const folder;
    folder.Write(u"test.ini", "[A]\none=1\nyes=YES\ntrue=True\non=on\nn=-12x\n");
    KZString const path = folder.Path(u"test.ini");
    KZConfig config;
    EXPECT_FALSE(config.IsOpen());
    EXPECT_EQ(config.GetLong(u"A", u"n", 3), 3);
    ASSERT_TRUE(config.Open(path));
    for (char16_t const * key : {u"one", u"yes", u"true"}) EXPECT_TRUE(config.GetBool(u"A", key, false));
    EXPECT_FALSE(config.GetBool(u"A", u"on", true));
    EXPECT_TRUE(config.GetBool(u"A", u"none", true));
    EXPECT_EQ(config.GetLong(u"A", u"n", 3), -12);
    EXPECT_EQ(config.GetLong(u"A", u"on", 3), 0);

    folder.Write(u"test.ini", "[A]\nn=5\n");
    EXPECT_EQ(config.GetLong(u"A", u"n", 3), 5) << "changes show at once";
    EXPECT_TRUE(config.Open(config.GetFileName()));
    EXPECT_EQ(config.GetFileName(), path);
    EXPECT_FALSE(config.Open(folder.Path(u"missing.ini")));
    EXPECT_EQ(config.GetFileName(), u"");
    EXPECT_EQ(config.GetLong(u"A", u"n", 3), 3);
    EXPECT_EQ(KZConfig(u"missing.ini").GetFileName(), u"missing.ini");
    EXPECT_FALSE(KZConfig(folder.Path(u"")).IsOpen()) << "a folder";
}

TEST(KZCommaSeparatedValues, TakesItemsFromTheFront) {
    KZCommaSeparatedValues values;
    EXPECT_EQ(values.Get(), u"");
    values.Put(u"a");
    values.Put(5);
    values.Put(values.GetText());
    EXPECT_EQ(values.GetText(), u"a,5,a,5");
    EXPECT_EQ(values.Get(), u"a");
    EXPECT_EQ(values.GetInt(), 5);
    EXPECT_EQ(values.GetInt(), 0);
    EXPECT_EQ(values.GetInt(), 5);
    EXPECT_TRUE(values.IsEmpty());
    KZCommaSeparatedValues gaps(u",x,");
    EXPECT_EQ(gaps.Get(), u"");
    EXPECT_EQ(gaps.Get(), u"x");
    EXPECT_TRUE(gaps.IsEmpty());
}

} // namespace
