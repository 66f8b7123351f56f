#include "ZerlithCore/text/KZStringConverter.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZWideText.h"

#include <gtest/gtest.h>

#include <array>
#include <sstream>

namespace {

using Converter = KZSmartPtr<KZStringConverter>;

// Tables with two lead bytes, 0x81 with a table of second bytes and 0x82 without one; 0x80 is U+20AC.
struct Mapping {
    std::array<char16_t, 256> bytes{}, trails{}, latin{}, kana{};
    KZMultiByteMapping mapping{};

    Mapping() {
        for (char16_t i = 0; i < 128; ++i) latin[i] = bytes[i] = i;
        bytes[0x80] = u'€';
        trails[0x40] = u'あ';
        kana[u'あ' & 0xFF] = 0x8140;
        mapping.tables[0x00] = latin.data();
        mapping.tables[u'あ' >> 8] = kana.data();
        mapping.tables[KZMultiByteMapping::Bytes] = bytes.data();
        mapping.tables[KZMultiByteMapping::Trails + 0x81] = trails.data();
    }
};

// A converter that writes directly to the string's block.
class CountingConverter : public KZStringConverter {
public:
    KZErrorID ConvertToUnicode(KZString & dest, char const * src) const override {
        dest.Reserve(1);
        GetStrDataP(dest)[0] = static_cast<char16_t>(std::string_view(src).size());
        GetStrDataP(dest)[1] = u'\0';
        *GetStrDataLenP(dest) = 1;
        return {};
    }
    KZErrorID ConvertFromUnicode(std::string &, KZString const &) const override { return {}; }
};

} // namespace

TEST(KZStringConverter, LatinWidensBytesUnsigned) {
    KZString text(u"old");
    EXPECT_TRUE(text.ConvertToUnicode("a\x80\xFF", Converter()).Good());
    EXPECT_EQ(text, u"a\u0080ÿ");
    EXPECT_EQ(text.Capacity(), 4U);
    EXPECT_EQ(text.AsMbString(Converter()), "a\x80\xFF");
    EXPECT_TRUE(text.ConvertToUnicode(nullptr, Converter()).Good());
    EXPECT_EQ(text, u"");
}

TEST(KZStringConverter, LatinTellsUnitsItLacksAndConvertsAllTheSame) {
    KZString hidden(u"ab");
    hidden += u'\0';
    hidden += u'€';
    std::tuple<char const *, KZString, char const *, int> const cases[] = {
        {"euro", u"1 €", "1 ?", 11},
        {"the first one beyond", u"\u0100", "?", 11},
        {"behind a 0 unit", hidden, "ab", 11},
        {"all Latin", u"\u00FFa",
         "\xFF"
         "a",
         0},
        {"empty", u"", "", 0}};
    for (auto const & [what, in, expected, code] : cases) {
        std::string out = "old";
        EXPECT_EQ(in.ConvertFromUnicode(out, Converter()), code) << what;
        EXPECT_EQ(out, expected) << what;
    }
}

TEST(KZStringConverter, Utf8ReplacesWhatIsBroken) {
    // Sizes around 4096, where the buffer changes. Invalid bytes take more units than were counted.
    for (std::size_t const size : {0U, 1U, 4094U, 4095U, 4096U, 4097U, 8185U, 8186U, 20000U}) {
        KZString text(u"old");
        std::string const bytes(size, 'x');
        EXPECT_TRUE(text.SetFromUTF8(bytes + "\xE2\x82\xAC\xE2\x82").Good());
        EXPECT_EQ(text, KZString(std::u16string(size, u'x') + u"€\uFFFD")) << size;
        EXPECT_EQ(text.Length(), size + 2);
        EXPECT_EQ(text.AsUTF8(), bytes + "\xE2\x82\xAC\xEF\xBF\xBD");
        for (char16_t const rest : {u'\0', u'b', u'\xD800', u'\0'}) text += rest;
        EXPECT_EQ(text.AsUTF8(), bytes + "\xE2\x82\xAC\xEF\xBF\xBD") << "up to the first 0 unit";
        text.SetFromUTF8(std::string(size, '\x80'));
        EXPECT_EQ(text, KZString(std::u16string(size, u'\uFFFD'))) << size;
    }
    // ASCII wherever the converter looks before it chooses the room.
    std::string likeASCII = "xxxxxxxx";
    for (int i = 0; i < 7; ++i) likeASCII += KZString(u'€', 100).AsUTF8() + "xxxxxxxx";
    KZString text;
    text.SetFromUTF8(likeASCII);
    EXPECT_EQ(text.AsUTF8(), likeASCII);
    EXPECT_EQ(text.Length(), 8 * 8 + 7 * 100);
    EXPECT_LE(text.Capacity(), text.Length() + 1);

    KZString const shared = u"shared";
    KZString other = shared;
    other.SetFromUTF8(std::string("a\0b", 3));
    EXPECT_EQ(other, u"a");
    EXPECT_EQ(shared, u"shared");
    EXPECT_EQ(KZString(std::u16string{0xD800}).AsUTF8(), "\xEF\xBF\xBD");
}

TEST(KZStringConverter, CodePagesFailWithTheSystemsError) {
    Converter const jis(new KZJisConverter);
    KZString text;
    EXPECT_TRUE(text.ConvertToUnicode("\x95\x5C", jis).Good());
    EXPECT_EQ(text, u"表");
    EXPECT_EQ(text.AsMbString(932U), "\x95\x5C");
    EXPECT_EQ(text.AsMbString(1252U), "?");
    EXPECT_TRUE(text.ConvertToUnicode("ok\x82", jis).Bad());
    EXPECT_EQ(text, u"表") << "an error leaves the text alone";
    EXPECT_TRUE(text.ConvertToUnicode("", jis).Good());
    EXPECT_EQ(text, u"");
    std::string const longText(5000, 'x');
    EXPECT_TRUE(text.ConvertToUnicode(longText.c_str(), jis).Good());
    EXPECT_EQ(text.AsUTF8(), longText);
}

TEST(KZStringConverter, TellsConvertersThatAreNotValid) {
    EXPECT_TRUE(KZMbCodePageConverter(0).IsValid() && KZMbCodePageConverter(932).IsValid());
    Converter const bad(new KZMbCodePageConverter(12345));
    EXPECT_FALSE(bad->IsValid());
    KZString text(u"kept");
    EXPECT_EQ(KZString::ConvertToUnicode(text, "new", bad), 10);
    EXPECT_EQ(text, u"kept");
    std::string out = "old";
    EXPECT_TRUE(text.ConvertFromUnicode(out, bad).Bad());
    EXPECT_EQ(out, "");
}

TEST(KZStringConverter, MultiByteReadsByTables) {
    Mapping const tables;
    KZMultiByteConverter const converter(&tables.mapping);
    static constexpr std::tuple<char const *, char const *, char16_t const *> cases[] = {
        {"nothing above 255 leaves the text empty", "abc", u""},
        {"nothing but a lead byte", "a\x81", u""},
        {"pair", "a\x81@b", u"aあb"},
        {"lead byte at the end", "\x80\x81", u"€?"},
        {"lead byte without trails", "\x80\x82@", u"€?@"},
        {"trail that means nothing", "\x80\x81!", u"€?"},
        {"empty", "", u""},
    };
    for (auto const & [what, bytes, units] : cases) {
        KZString text(u"old");
        converter.ConvertMbToStr(text, bytes);
        EXPECT_EQ(text, units) << what;
    }
    EXPECT_EQ(converter.ConvertStrToMb(u"aあ€い"), "a\x81@??");
    KZString text(u"old");
    KZMultiByteConverter(nullptr).ConvertMbToStr(text, "\xFF");
    EXPECT_EQ(text, u"");
    EXPECT_TRUE(converter.ConvertToUnicode(text, (std::string(5000, 'a') + "\x80").c_str()).Good());
    EXPECT_EQ(text, KZString(std::u16string(5000, u'a') + u"€"));
    EXPECT_GE(text.Capacity(), 5001U);
    std::string bytes;
    EXPECT_TRUE(converter.ConvertFromUnicode(bytes, u"aあ").Good());
    EXPECT_EQ(bytes, "a\x81@");
}

TEST(KZStringConverter, WritesOnlyBlocksOfTheStringsOwn) {
    KZString const empty, original(u"x");
    KZString copy = original;
    EXPECT_TRUE(copy.ConvertToUnicode("12345", new CountingConverter).Good());
    EXPECT_EQ(copy, u"\5");
    EXPECT_EQ(original, u"x");
    KZString fresh;
    EXPECT_TRUE(fresh.ConvertToUnicode("1", new CountingConverter).Good());
    EXPECT_EQ(fresh, u"\1");
    EXPECT_EQ(empty, u"");
}

TEST(KZWideText, StreamsUpToTheFirstZero) {
    for (std::size_t const size : {0U, 255U, 256U, 1000U}) {
        // For one of the sizes the pair lies across the border between two pieces of 256 units.
        std::u16string units = std::u16string(size, u'x') + u"\U0001F600" + std::u16string(300, u'y');
        std::wostringstream stream;
        KZString text{std::u16string_view(units)};
        text += u'\0';
        text += u'z';
        stream << text;
        EXPECT_EQ(stream.str(), KZToWide(units)) << size;
    }
}
