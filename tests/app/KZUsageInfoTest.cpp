#include "ZerlithCore/app/KZUsageInfo.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

/// The rows of one description, without the padding at the end of each, which is checked here.
std::wstring Rows(KZString const & option, KZString const & description) {
    KZUsageInfo info;
    info.AddCmdLineArgDesc(option, description);
    std::wostringstream out;
    KZWriteUsage(out, u"tool", {info});
    std::wistringstream in(out.str().substr(out.str().find(L"Options list: \n") + 15));
    std::wstring rows;
    for (std::wstring row; std::getline(in, row);) {
        EXPECT_TRUE(row.size() == 79 || option.Length() > 20) << row.size();
        rows += row.substr(0, row.find_last_not_of(L' ') + 1) + L'\n';
    }
    return rows;
}

TEST(KZUsageInfo, IsWrittenUnderABanner) {
    KZUsageInfo first, second;
    first.AddCmdLineArgDesc("level:{number}", "How much is t\xC3\xB6ld.", true);
    second.SetGeneralInfo(u"Of a plug-in:");
    second.AddCmdLineArgDesc(u"x", KZString());
    std::wostringstream out;
    KZWriteUsage(out, u"tool", {first, second});
    std::wstring const banner = std::wstring(78, L'*') + L'\n', pad(54 - 17, L' ');
    EXPECT_EQ(out.str(), banner + banner + L"USAGE: tool [options list] \n" + banner +
                             L"Options list: \n"
                             L"   /level:{number}       How much is t\u00F6ld." +
                             pad + L"\nOf a plug-in:\n   /x" + std::wstring(20 + 54, L' ') + L"\n");
    KZString option, description;
    bool flag = false;
    EXPECT_TRUE(first.GetCmdLineArgDesc(0, option, description, flag) && flag && option == u"level:{number}");
    EXPECT_FALSE(first.GetCmdLineArgDesc(1, option, description, flag));

    first.AddCmdLineArgDesc("log[:file:name]", "");
    out.str({});
    KZWriteUsage(out, u"tool", {first, second}, true);
    for (wchar_t const * row :
         {L"\n  --level={number}       How", L"\n  --log[=file:name]      ", L"\n  --x  "})
        EXPECT_NE(out.str().find(row), std::wstring::npos) << row;
    EXPECT_EQ(first.GetCmdLineArgNames(), (std::vector<KZString>{u"level", u"log"}));
}

TEST(KZUsageInfo, BreaksLinesAtBlanks) {
    std::wstring const indent(25, L' ');
    KZString const w54(u'w', 54), w55(u'w', 55);
    std::wstring const wide54(54, L'w');
    std::wstring const lead = L"   /o" + std::wstring(20, L' ');
    std::tuple<char const *, KZString, KZString, std::wstring> const cases[] = {
        {"20 units stand in the row", u"abcdefghijklmnopqrst", u"d", L"   /abcdefghijklmnopqrst d\n"},
        {"21 don't", u"abcdefghijklmnopqrstu", u"d", L"   /abcdefghijklmnopqrstu\n" + indent + L"d\n"},
        {"long option alone", u"abcdefghijklmnopqrstu", u"", L"   /abcdefghijklmnopqrstu\n"},
        {"54 units fit", u"o", w54, lead + wide54 + L"\n"},
        {"55 are cut", u"o", w55, lead + wide54 + L"\n" + indent + L"w\n"},
        {"blank right behind the limit", u"o", w54 + u" x", lead + wide54 + L"\n" + indent + L"x\n"},
        {"only one blank is dropped", u"o", w54 + u"  x", lead + wide54 + L"\n" + indent + L" x\n"},
        {"last blank before the limit", u"o", KZString(u"a b ") + w54,
         lead + L"a b\n" + indent + wide54 + L"\n"},
    };
    for (auto const & [what, option, description, expected] : cases)
        EXPECT_EQ(Rows(option, description), expected) << what;
}

} // namespace
