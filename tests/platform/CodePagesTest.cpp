#include "ZerlithCore/platform/CodePages.h"
#include "ZerlithCore/platform/LastError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/resource.h>
#include <thread>
#include <vector>

using namespace KZPlatform;

namespace {

std::optional<std::u16string> Decode(unsigned page, std::string const & bytes, InvalidBytes invalid) {
    std::u16string units(bytes.size(), u'\0');
    std::optional<std::size_t> const size = DecodeCodePage(page, bytes, units, invalid);
    if (!size) return std::nullopt;
    units.resize(*size);
    return units;
}

std::string Encode(unsigned page, std::u16string const & units) {
    std::string bytes = "<";
    EXPECT_TRUE(EncodeCodePage(page, units, bytes));
    return bytes.substr(1);
}

} // namespace

TEST(CodePages, ConvertsBothWays) {
    struct Case {
        unsigned page;
        char const * bytes;
        char16_t const * units;
    };
    static constexpr Case cases[] = {
        {0, "\xE2\x82\xAC", u"€"},
        {65001, "\xF0\x9F\x98\x80", u"\U0001F600"},
        {437, "\x80\xE1", u"Çß"},
        {850, "\x80\xE1", u"Çß"},
        {932, "\\\xB1\x82\xA0\x95\x5C|", u"\\ｱあ表|"},
        {936, "\xC4\xE3\xBA\xC3", u"你好"},
        {949, "\xB0\xA1\x81\x41", u"가갂"},
        {950, "\xA7\x41\xA6\x6E", u"你好"},
        {1250, "\xE8\x9E", u"čž"},
        {1251, "\xCF\xF0", u"Пр"},
        {1252, "\x80\xFF", u"€ÿ"},
        {1255, "\xE0\xC8", u"\u05D0\u05B8"}, // a letter and its vowel point stay two units
        {1258, "\xE2\xEC", u"â\u0301"},
        {20127, "a~", u"a~"},
        {28591, "\x80\xFF", u"\u0080ÿ"},
        {28605, "\xA4", u"€"},
    };
    for (Case const & c : cases) {
        EXPECT_TRUE(CodePageExists(c.page)) << c.page;
        EXPECT_EQ(Decode(c.page, c.bytes, InvalidBytes::Refuse), c.units) << c.page;
        EXPECT_EQ(Encode(c.page, c.units), c.bytes) << c.page;
        // The same before and after runs of ASCII, and across the pieces in which a long text is encoded.
        std::string const ascii(4093, 'x'), bytes = ascii + c.bytes + c.bytes + "0123456789";
        std::optional<std::u16string> const units = Decode(c.page, bytes, InvalidBytes::Refuse);
        ASSERT_TRUE(units) << c.page;
        EXPECT_EQ(units->size(), bytes.size() - 2 * (std::string_view(c.bytes).size() -
                                                     std::u16string_view(c.units).size()));
        EXPECT_EQ(Encode(c.page, *units), bytes) << c.page;
    }
}

TEST(CodePages, TellsInvalidBytes) {
    struct Case {
        unsigned page;
        char const * bytes;
        char16_t const * replaced;
    };
    static constexpr Case cases[] = {
        {0, "a\xC3", u"a\uFFFD"},           {932, "\x82", u"\uFFFD"},
        {932, "\x82!", u"\uFFFD!"},         {932, "\x82\x81\x82", u"ａ\uFFFD"},
        {1252, "\x81", u"\uFFFD"},          {20127, "abcdefgh\x80", u"abcdefgh\uFFFD"},
        {949, "\xA2\xE8", u"\uFFFD\uFFFD"},
    };
    for (Case const & c : cases) {
        SetLastErrorNumber(0);
        EXPECT_FALSE(Decode(c.page, c.bytes, InvalidBytes::Refuse)) << c.page;
        EXPECT_EQ(LastErrorNumber(), EILSEQ);
        EXPECT_EQ(Decode(c.page, c.bytes, InvalidBytes::Replace), c.replaced) << c.page;
    }
    EXPECT_EQ(Encode(932, u"a\U0001F600é"), "a???");
    EXPECT_EQ(Encode(1252, std::u16string{u'a', 0, 0xD800}), std::string("a\0?", 3));
}

TEST(CodePages, RefusesPagesThatDontExist) {
    for (unsigned const page : {1U, 42U, 933U, 28602U, 28606U, 0xFFFFFFFFU}) {
        EXPECT_FALSE(CodePageExists(page)) << page;
        SetLastErrorNumber(0);
        EXPECT_FALSE(Decode(page, "a", InvalidBytes::Replace));
        EXPECT_EQ(LastErrorNumber(), EINVAL);
        std::string bytes = "kept";
        EXPECT_FALSE(EncodeCodePage(page, u"a", bytes));
        EXPECT_EQ(bytes, "kept");
    }
}

TEST(CodePages, MapEveryPairOfBytesBack) {
    // Several pairs may have the same unit; but the pair that a unit is encoded as must be decoded to that unit.
    for (unsigned const page : {437U, 932U, 936U, 949U, 950U, 1251U, 1257U}) {
        unsigned count = 0;
        for (unsigned pair = 0x100; pair < 0x10000; ++pair) {
            std::string const bytes{static_cast<char>(pair >> 8), static_cast<char>(pair)};
            std::optional<std::u16string> const units = Decode(page, bytes, InvalidBytes::Refuse);
            if (!units) continue;
            std::string const back = Encode(page, *units);
            ASSERT_EQ(Decode(page, back, InvalidBytes::Refuse), units) << page << " " << std::hex << pair;
            count += back == bytes;
        }
        EXPECT_GT(count, 20000U) << page;
    }
}

TEST(CodePages, AFirstUseThatFailedIsTriedAgain) {
    constexpr unsigned page = 1254; // no other test uses this page, so it isn't loaded yet
    rlimit before = {};
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit const none{0, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    bool const existed = CodePageExists(page);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_FALSE(existed) << "no file can be opened";
    EXPECT_TRUE(CodePageExists(page));
    EXPECT_EQ(Encode(page, u"ğ"), "\xF0");
}

TEST(CodePages, MayBeFirstUsedOnSeveralThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([] { EXPECT_EQ(Encode(1253, u"λ"), "\xEB"); });
    for (std::thread & thread : threads) thread.join();
}
