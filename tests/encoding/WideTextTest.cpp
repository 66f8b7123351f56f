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
        EXPECT_EQ(ToWide(units), wide) << what;
        EXPECT_EQ(FromWide(wide), units) << what;
        std::u16string filled(units.size(), u'?');
        EXPECT_EQ(FromWide(wide, filled.data()), units.size()) << what;
        EXPECT_EQ(filled, units) << what;
    }
    EXPECT_EQ(FromWide(std::wstring{wchar_t(0x110000), wchar_t(-1)}), u"\uFFFD\uFFFD");
}
