#include "ZerlithCore/platform/Utf8.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

using namespace KZPlatform;

namespace {

// A decoder that is slow and plain: the codes that a valid sequence of each length may have, tried one by one.
std::u16string DecodeByDefinition(std::string const & bytes, Utf8Mode mode, bool & valid) {
    struct Form {
        unsigned lead, leadMask, tail;
        char32_t first, last;
    };
    static constexpr Form forms[] = {{0x00, 0x80, 0, 0, 0x7F},
                                     {0xC0, 0xE0, 1, 0x80, 0x7FF},
                                     {0xE0, 0xF0, 2, 0x800, 0xFFFF},
                                     {0xF0, 0xF8, 3, 0x10000, 0x10FFFF}};
    std::u16string units;
    valid = true;
    for (std::size_t at = 0; at < bytes.size();) {
        auto const byte = [&](std::size_t i) { return static_cast<unsigned char>(bytes[at + i]); };
        std::size_t broken = 1; // bytes that begin some valid sequence
        std::size_t length = 0;
        for (Form const & form : forms) {
            if ((byte(0) & form.leadMask) != form.lead) continue;
            // Grows the sequence while the codes it may still have hold a valid one.
            char32_t low = byte(0) & ~form.leadMask & 0xFF;
            std::size_t have = 0;
            for (;; ++have) {
                unsigned const open = 6 * (form.tail - static_cast<unsigned>(have));
                char32_t const first = low << open;
                char32_t const last = ((low + 1) << open) - 1;
                bool const possible =
                    first <= form.last && last >= form.first && !(first >= 0xD800 && last <= 0xDFFF);
                if (!possible) break;
                if (have == form.tail) {
                    length = have + 1;
                    break;
                }
                if (at + have + 1 == bytes.size() || (byte(have + 1) & 0xC0) != 0x80) {
                    ++have;
                    break;
                }
                low = low << 6 | (byte(have + 1) & 0x3FU);
            }
            broken = std::max<std::size_t>(have, 1);
            if (length != 0 && low >= 0x10000) {
                units += static_cast<char16_t>(0xD7C0 + (low >> 10));
                units += static_cast<char16_t>(0xDC00 + (low & 0x3FF));
            } else if (length != 0) {
                units += static_cast<char16_t>(low);
            }
        }
        if (length == 0) {
            valid = false;
            if (mode == Utf8Mode::Replace)
                units += u'\uFFFD';
            else if (mode == Utf8Mode::Escape)
                for (std::size_t i = 0; i < broken; ++i) units += static_cast<char16_t>(0xDC00 + byte(i));
            else
                return units;
            length = broken;
        }
        at += length;
    }
    return units;
}

void CheckAgainstDefinition(std::string const & bytes) {
    for (Utf8Mode const mode : {Utf8Mode::Replace, Utf8Mode::Strict, Utf8Mode::Escape}) {
        bool valid;
        std::u16string const expected = DecodeByDefinition(bytes, mode, valid);
        std::u16string units;
        ASSERT_EQ(AppendUnits(units, bytes, mode), valid || mode != Utf8Mode::Strict)
            << testing::PrintToString(bytes);
        ASSERT_EQ(units, expected) << testing::PrintToString(bytes) << " mode " << int(mode);
        if (valid) ASSERT_EQ(UnitsInUtf8(bytes), expected.size());
        if (valid || mode == Utf8Mode::Escape) ASSERT_EQ(UnitsToUtf8(units, mode), bytes);
    }
}

// Text of all lengths of sequences, with faults if asked for.
std::string RandomText(std::mt19937 & random, std::size_t size, bool withFaults) {
    std::string text;
    while (text.size() < size) {
        char32_t const ranges[] = {0x80, 0x80, 0x800, 0xD800, 0x110000};
        char32_t code = random() % ranges[random() % 5];
        if (code >= 0xD800 && code < 0xE000) code = u'a';
        std::u16string units;
        if (code >= 0x10000) units += static_cast<char16_t>(0xD7C0 + (code >> 10));
        units +=
            code >= 0x10000 ? static_cast<char16_t>(0xDC00 + (code & 0x3FF)) : static_cast<char16_t>(code);
        for (unsigned run = random() % 20; run != 0; --run) text += UnitsToUtf8(units, Utf8Mode::Strict);
        if (withFaults && random() % 4 == 0) text += static_cast<char>(random());
    }
    return text;
}

} // namespace

TEST(Utf8, DecodesEverySequenceAsDefined) {
    // All leads, and for each place behind them the bytes around every border of a rule, at both ends of a block.
    static constexpr unsigned char edges[] = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F,
                                              0xA0, 0xBF, 0xC2, 0xE0, 0xF0, 0xFF};
    for (unsigned lead = 0; lead < 256; ++lead)
        for (unsigned char const second : edges)
            for (unsigned char const third : edges)
                for (unsigned char const fourth : edges) {
                    std::string const bytes{char(lead), char(second), char(third), char(fourth)};
                    CheckAgainstDefinition(bytes);
                    CheckAgainstDefinition(std::string(14, 'x') + bytes + std::string(20, 'y'));
                    if (HasFatalFailure()) return;
                }
}

TEST(Utf8, EncodesEveryCodeSoThatItComesBack) {
    for (char32_t code = 0; code < 0x110000; ++code) {
        if (code == 0xD800) code = 0xE000;
        std::u16string units;
        if (code < 0x10000)
            units = {static_cast<char16_t>(code)};
        else
            units = {static_cast<char16_t>(0xD7C0 + (code >> 10)),
                     static_cast<char16_t>(0xDC00 + (code & 0x3FF))};
        std::string const bytes = UnitsToUtf8(units, Utf8Mode::Strict);
        ASSERT_EQ(bytes.size(), code < 0x80 ? 1 : code < 0x800 ? 2 : code < 0x10000 ? 3 : 4) << code;
        bool valid;
        ASSERT_EQ(DecodeByDefinition(bytes, Utf8Mode::Strict, valid), units) << code;
        ASSERT_TRUE(valid);
    }
}

TEST(Utf8, ConvertsLongTextsAsDefined) {
    std::mt19937 random(20110402);
    for (std::size_t size = 0; size < 300; ++size) {
        CheckAgainstDefinition(RandomText(random, size, true));
        std::string const text = RandomText(random, size * 60, false);
        CheckAgainstDefinition(text);
        ASSERT_EQ(Utf8BytesOf(Utf8ToUnits(text, Utf8Mode::Strict)), text.size());
        if (HasFatalFailure()) return;
    }
}

TEST(Utf8, TreatsLoneSurrogatesByMode) {
    struct Case {
        char const * what;
        std::u16string units;
        char const * replaced;
        char const * escaped;
    };
    Case const cases[] = {
        {"high at the end", {u'a', 0xD800}, "a\xEF\xBF\xBD", "a\xED\xA0\x80"},
        {"high before another unit",
         {0xDBFF, u'a'},
         "\xEF\xBF\xBD"
         "a",
         "\xED\xAF\xBF"
         "a"},
        {"high before a pair",
         {0xD800, 0xD83D, 0xDE00},
         "\xEF\xBF\xBD\xF0\x9F\x98\x80",
         "\xED\xA0\x80\xF0\x9F\x98\x80"},
        {"low alone", {0xDC7F}, "\xEF\xBF\xBD", "\xED\xB1\xBF"},
        {"escaped bytes", {0xDC80, 0xDCFF}, "\xEF\xBF\xBD\xEF\xBF\xBD", "\x80\xFF"},
        {"low that an escape could be, in a pair", {0xD83D, 0xDC80}, "\xF0\x9F\x92\x80", "\xF0\x9F\x92\x80"},
    };
    for (Case const & c : cases) {
        EXPECT_EQ(UnitsToUtf8(c.units, Utf8Mode::Replace), c.replaced) << c.what;
        EXPECT_EQ(UnitsToUtf8(c.units, Utf8Mode::Escape), c.escaped) << c.what;
        // The same behind a block of other text.
        EXPECT_EQ(UnitsToUtf8(std::u16string(21, u'é') + c.units, Utf8Mode::Escape).substr(42), c.escaped)
            << c.what;
    }
    std::string out;
    EXPECT_FALSE(AppendUtf8(out, std::u16string{u'a', 0xD800, u'b'}, Utf8Mode::Strict));
    EXPECT_EQ(out, "a");
}

TEST(Utf8, FillsBuffersToTheLastCharacterThatFits) {
    std::mt19937 random(7);
    std::string const text = RandomText(random, 400, false);
    std::u16string const units = Utf8ToUnits(text, Utf8Mode::Strict);
    for (std::size_t size = 0; size <= units.size(); ++size) {
        std::vector<char16_t> out(size + 1, 0xABCD);
        Utf8Result const decoded = DecodeUtf8(text, std::span(out.data(), size), Utf8Mode::Strict);
        ASSERT_EQ(decoded.status, size == units.size() ? Utf8Status::Done : Utf8Status::OutputFull);
        ASSERT_GE(decoded.written + 1, size); // a pair may not fit
        ASSERT_EQ(out.back(), 0xABCD);
        ASSERT_EQ(UnitsToUtf8({out.data(), decoded.written}, Utf8Mode::Strict), text.substr(0, decoded.read));
    }
    for (std::size_t size = 0; size <= text.size(); ++size) {
        std::vector<char> out(size + 1, '~');
        Utf8Result const encoded = EncodeUtf8(units, std::span(out.data(), size), Utf8Mode::Strict);
        ASSERT_GE(encoded.written + 3, size);
        ASSERT_EQ(out.back(), '~');
        ASSERT_EQ(std::string(out.data(), encoded.written),
                  UnitsToUtf8(units.substr(0, encoded.read), Utf8Mode::Strict));
    }
}

TEST(Utf8, JoinsPiecesCutAnywhere) {
    std::mt19937 random(11);
    for (int round = 0; round < 2000; ++round) {
        std::string const text =
            RandomText(random, 60, round % 2 != 0) + std::string("\xF0\x9F\x98", random() % 4);
        for (Utf8Mode const mode : {Utf8Mode::Replace, Utf8Mode::Escape}) {
            Utf8Decoder decoder(mode);
            Utf8Encoder encoder(mode);
            std::u16string units;
            std::string bytes;
            for (std::size_t at = 0; at < text.size();) {
                std::size_t const size = 1 + random() % 5;
                ASSERT_TRUE(decoder.Append(units, std::string_view(text).substr(at, size)));
                at += size;
            }
            ASSERT_TRUE(decoder.Finish(units) && decoder.IsAtBoundary());
            ASSERT_EQ(units, Utf8ToUnits(text, mode)) << testing::PrintToString(text);
            for (char16_t const unit : units) ASSERT_TRUE(encoder.Append(bytes, {&unit, 1}));
            ASSERT_TRUE(encoder.Finish(bytes));
            ASSERT_EQ(bytes, UnitsToUtf8(units, mode));
        }
    }
    // A fault that a piece border hides, in strict mode; the decoder goes on as new.
    Utf8Decoder strict(Utf8Mode::Strict);
    std::u16string units;
    EXPECT_TRUE(strict.Append(units, "a\xE2\x82"));
    EXPECT_FALSE(strict.Append(units, "b"));
    EXPECT_TRUE(strict.Append(units, "\xE2\x82\xAC") && strict.Finish(units));
    EXPECT_EQ(units, u"a€");
    EXPECT_TRUE(strict.Append(units, "\xE2"));
    EXPECT_FALSE(strict.Finish(units));
}
