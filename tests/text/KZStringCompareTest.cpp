#include "ZerlithCore/text/KZCollator.h"
#include "ZerlithCore/text/KZString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <sstream>

namespace {

constexpr std::size_t PageSize = 4096;

// Two pages. Texts are put at the end of the first one, so that a block after the terminator reaches into the second.
class Page {
public:
    char16_t const * Put(std::u16string const & text) {
        char16_t * const place = units() + PageSize / sizeof(char16_t) - text.size() - 1;
        std::ranges::copy(text, place);
        place[text.size()] = u'\0';
        return place;
    }

private:
    char16_t * units() { return reinterpret_cast<char16_t *>(memory_); }

    alignas(PageSize) unsigned char memory_[2 * PageSize] = {};
};

} // namespace

TEST(KZStringCompare, OrdersByUnitsUpToTheFirstZero) {
    std::minstd_rand random(42);
    auto const a = std::make_unique<Page>();
    auto const b = std::make_unique<Page>();
    for (int round = 0; round < 20000; ++round) {
        // Texts that are equal up to some position, at all alignments to each other.
        std::u16string left(random() % 40, u'x'), right(random() % 40, u'x');
        static constexpr char16_t units[] = {u'\x01', u'w', u'y', u'\xFFFF', u'\0'};
        if (!left.empty() && random() % 2) left[random() % left.size()] = units[random() % 5];
        if (!right.empty() && random() % 2) right[random() % right.size()] = units[random() % 5];
        std::u16string const leftText = left.c_str(), rightText = right.c_str();
        int const expected = (leftText > rightText) - (leftText < rightText);
        ASSERT_EQ(KZString{std::u16string_view(left)}.Compare(b->Put(right)), expected);
        ASSERT_EQ(KZBinaryCollator().Compare(a->Put(left), b->Put(right)), expected);
    }
}

TEST(KZStringCompare, UsesTheCollatorOfItsFlags) {
    struct Case {
        char16_t const *a, *b;
        int signs[4]; // the expected signs, by flags
    };
    static constexpr Case cases[] = {
        {u"abc", u"ABC", {1, 0, 1, 0}}, {u"été", u"ete", {1, 1, 0, 0}}, {u"Été", u"ete", {1, 1, -1, 0}},
        {u"a", u"b", {-1, -1, -1, -1}}, {u"ab", u"a", {1, 1, 1, 1}},    {u"", u"", {0, 0, 0, 0}},
    };
    for (Case const & c : cases)
        for (long flags = 0; flags < 4; ++flags) {
            int const result = KZString(c.a).Compare(KZString(c.b), flags);
            EXPECT_EQ((result > 0) - (result < 0), c.signs[flags])
                << KZString(c.a).AsUTF8() << " flags " << flags;
            EXPECT_EQ(KZString(c.a).IsEqual(c.b, flags), c.signs[flags] == 0);
            EXPECT_EQ(KZString(c.a).Compare(nullptr, flags), c.a[0] ? -1 : 0);
        }
    EXPECT_EQ(KZString(u"a").Compare(nullptr, KZSmartPtrToConst<KZCollator>()), -1);
    EXPECT_EQ(KZString(u"a").Compare(u"A", KZSmartPtrToConst<KZCollator>()), 1);
    EXPECT_TRUE(KZString(u"a") < u"b" && KZString(u"a") != KZString(u"b") && KZString() == u"");
}

TEST(KZStringCase, MapsUpToTheFirstZero) {
    KZString text(u"straße ÿ");
    KZString const copy = text;
    text += u'\0';
    text += u'a';
    text.Upper();
    EXPECT_EQ(std::u16string_view(text), std::u16string_view(u"STRAßE Ÿ\0a", 10));
    text.Lower();
    EXPECT_EQ(text, copy);
    KZString empty;
    empty.Upper();
    EXPECT_TRUE(empty.IsNull());
    EXPECT_NE(empty.c_str(), KZString().c_str()) << "a block of its own";
}

TEST(KZString, PrintsQuotedInTestMessages) {
    std::ostringstream stream;
    PrintTo(KZString(u"a\"é"), &stream);
    EXPECT_EQ(stream.str(), "\"a\\\"\xC3\xA9\"");
}
