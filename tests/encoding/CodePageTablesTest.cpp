#include "ZerlithCore/encoding/detail/CodePageTables.h"

#include <gtest/gtest.h>

using namespace KZEncoding;

namespace {

// A code page with ASCII, and with pairs of 0x81 and a capital letter for the letters from U+0400 on.
class SmallPage : public CodePageReader {
public:
    char16_t UnitOf(std::string_view bytes) const override {
        if (bytes.size() == 2)
            return bytes[1] >= 'A' && bytes[1] <= 'Z' ? char16_t(0x400 + bytes[1]) : invalidMark;
        if (bytes[0] == '\x81') return leadMark;
        return (bytes[0] & 0x80) != 0 ? invalidMark : char16_t(bytes[0]);
    }
    std::uint16_t CodeOf(char16_t unit) const override {
        if (unit < 0x80) return unit;
        return unit >= 0x441 && unit <= 0x45A ? std::uint16_t(0x8100 + unit - 0x400) : u'?';
    }
};

} // namespace

TEST(CodePageTables, NeedNoSystem) {
    CodePageTables const tables{SmallPage()};
    std::string const bytes = "ab\x81"
                              "A\x81!\x90z\x81";
    char16_t units[16];
    EXPECT_FALSE(tables.Decode(bytes, units, InvalidBytes::Refuse));
    auto const count = tables.Decode(bytes, units, InvalidBytes::Replace);
    ASSERT_TRUE(count);
    EXPECT_EQ(std::u16string_view(units, *count), u"ab\u0441\uFFFD!\uFFFDz\uFFFD");
    std::string out = "<";
    tables.Encode(std::u16string_view(units, *count), out);
    EXPECT_EQ(out, "<ab\x81"
                   "A?!?z?");
}
