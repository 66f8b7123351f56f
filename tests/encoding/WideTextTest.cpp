#include "ZerlithCore/encoding/WideText.h"

#include <gtest/gtest.h>

using namespace KZEncoding;

TEST(WideText, JoinsAndSplitsPairs) {
    struct Case {
        char const * what;
        std::u16string units;
        std::wstring wide;
    };
    Case const cases[] = {
        {"pair", u"a\U0001F600", L"a\U0001F600"},
        {"0 unit", {u'a', 0, u'b'}, {L'a', 0, L'b'}},
        {"lone surrogates",
         {0xD800, u'a', 0xDC00, 0xD800},
         {wchar_t(0xD800), L'a', wchar_t(0xDC00), wchar_t(0xD800)}},
        {"high before a pair", {0xD800, 0xD83D, 0xDE00}, {wchar_t(0xD800), wchar_t(0x1F600)}},
    };
    for (Case const & c : cases) {
        // Among others at all places of a block.
        for (std::size_t before = 0; before < 40; ++before) {
            std::u16string const units =
                std::u16string(before, u'\u20AC') + c.units + std::u16string(40, u'y');
            std::wstring const wide = std::wstring(before, L'\u20AC') + c.wide + std::wstring(40, L'y');
            EXPECT_EQ(ToWide(units), wide) << c.what;
            std::u16string back(2 * wide.size(), u'\0');
            back.resize(FromWide(wide, back.data()));
            EXPECT_EQ(back, units) << c.what;
        }
        EXPECT_EQ(ToWide(c.units), c.wide) << c.what;
        EXPECT_EQ(FromWide(c.wide), c.units) << c.what;
    }
    EXPECT_EQ(FromWide(std::wstring{wchar_t(0x110000), wchar_t(-1)}), u"\uFFFD\uFFFD");
}
