#include "ZerlithCore/encoding/WideText.h"

#include <gtest/gtest.h>

using namespace KZEncoding;

TEST(WideText, JoinsAndSplitsPairs) {
    std::tuple<char const *, std::u16string, std::wstring> const cases[] = {
        {"pair", u"a\U0001F600", L"a\U0001F600"},
        {"0 unit", {u'a', 0, u'b'}, {L'a', 0, L'b'}},
        {"lone surrogates",
         {0xD800, u'a', 0xDC00, 0xD800},
         {wchar_t(0xD800), L'a', wchar_t(0xDC00), wchar_t(0xD800)}},
        {"high before a pair", {0xD800, 0xD83D, 0xDE00}, {wchar_t(0xD800), wchar_t(0x1F600)}},
    };
    for (auto const & [what, units, wide] : cases) {
        for (std::size_t before = 0; before < 40; ++before) { // at all places of a block
            std::u16string const text = std::u16string(before, u'\u20AC') + units + std::u16string(40, u'y');
            std::wstring const wideText = std::wstring(before, L'\u20AC') + wide + std::wstring(40, L'y');
            EXPECT_EQ(ToWide(text), wideText) << what;
            std::u16string back(2 * wideText.size(), u'\0');
            back.resize(FromWide(wideText, back.data()));
            EXPECT_EQ(back, text) << what;
        }
        EXPECT_EQ(ToWide(units), wide) << what;
        EXPECT_EQ(FromWide(wide), units) << what;
    }
    EXPECT_EQ(FromWide(std::wstring{wchar_t(0x110000), wchar_t(-1)}), u"\uFFFD\uFFFD");
}
