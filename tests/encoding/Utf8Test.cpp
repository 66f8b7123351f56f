#include "ZerlithCore/encoding/Utf8.h"

#include <gtest/gtest.h>

#include <random>
#include <unordered_map>
#include <unordered_set>
#include <vector>

using namespace KZEncoding;

namespace {

using Random = std::minstd_rand;

std::string EncodeByDefinition(char32_t code) {
    auto const tail = [code](int shift) { return static_cast<char>(0x80 | (code >> shift & 0x3F)); };
    auto const lead = [code](unsigned mark, int shift) { return static_cast<char>(mark | code >> shift); };
    if (code < 0x80) return {static_cast<char>(code)};
    if (code < 0x800) return {lead(0xC0, 6), tail(0)};
    if (code < 0x10000) return {lead(0xE0, 12), tail(6), tail(0)};
    return {lead(0xF0, 18), tail(12), tail(6), tail(0)};
}

std::u16string UnitsOf(char32_t code) {
    if (code < 0x10000) return {static_cast<char16_t>(code)};
    return {static_cast<char16_t>(0xD7C0 + (code >> 10)), static_cast<char16_t>(0xDC00 + (code & 0x3FF))};
}

// All byte strings with which a valid sequence can begin, and all valid sequences.
struct Definition {
    std::unordered_set<std::string> beginnings;
    std::unordered_map<std::string, char32_t> sequences;
    Definition() {
        for (char32_t code = 0; code < 0x110000; ++code) {
            if (code == 0xD800) code = 0xE000;
            std::string const sequence = EncodeByDefinition(code);
            sequences[sequence] = code;
            if (code % 64 != 0) continue;
            for (std::size_t size = 1; size < sequence.size(); ++size)
                beginnings.insert(sequence.substr(0, size));
        }
    }
};

std::u16string DecodeByDefinition(std::string const & bytes, Utf8Mode mode, bool & valid) {
    static Definition const definition;
    std::u16string units;
    valid = true;
    for (std::size_t at = 0; at < bytes.size();) {
        if (static_cast<unsigned char>(bytes[at]) < 0x80) { // ASCII is handled here for speed
            units += static_cast<char16_t>(bytes[at++]);
            continue;
        }
        std::size_t size = 1;
        while (at + size < bytes.size() && definition.beginnings.contains(bytes.substr(at, size)) &&
               (definition.beginnings.contains(bytes.substr(at, size + 1)) ||
                definition.sequences.contains(bytes.substr(at, size + 1))))
            ++size;
        std::string const part = bytes.substr(at, size);
        auto const found = definition.sequences.find(part);
        at += size;
        if (found != definition.sequences.end()) {
            units += UnitsOf(found->second);
            continue;
        }
        valid = false;
        if (mode == Utf8Mode::Strict) break;
        if (mode == Utf8Mode::Replace) units += u'\uFFFD';
        if (mode == Utf8Mode::Escape)
            for (char const byte : part)
                units += static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(byte));
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
        ASSERT_TRUE(!valid || UnitsInUtf8(bytes) == expected.size());
        ASSERT_TRUE((!valid && mode != Utf8Mode::Escape) || UnitsToUtf8(units, mode) == bytes);
    }
}

// Runs of characters of every length, with invalid bytes between them if asked for.
std::string RandomText(Random & random, std::size_t size, bool withFaults) {
    static constexpr unsigned long limits[] = {0x80, 0x80, 0x800, 0xD800, 0x110000};
    std::string text;
    while (text.size() < size) {
        auto const code = static_cast<char32_t>(random() % limits[random() % 5]);
        bool const isSurrogate = code >= 0xD800 && code < 0xE000;
        for (auto run = random() % (random() % 8 == 0 ? 200 : 20); run != 0; --run)
            text += EncodeByDefinition(isSurrogate ? u'a' : code);
        if (withFaults && random() % 4 == 0) text += static_cast<char>(random());
    }
    return text;
}

} // namespace

TEST(Utf8, DecodesEverySequenceAsDefined) {
    // All lead bytes, followed by all combinations of the bytes at the borders of the rules; at both ends of a block.
    static constexpr unsigned char edges[] = {0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC2, 0xFF};
    for (unsigned lead = 0x7F; lead < 256; ++lead)
        for (unsigned char const second : edges)
            for (unsigned char const third : edges)
                for (int const fourth : {0x80, 0xC2}) {
                    std::string const bytes{char(lead), char(second), char(third), char(fourth)};
                    if (lead >= 0xC0) CheckAgainstDefinition(bytes);
                    CheckAgainstDefinition(std::string(14, 'x') + bytes + std::string(20, 'y'));
                    if (HasFatalFailure()) return;
                }
}

TEST(Utf8, EncodesEveryCode) {
    for (char32_t code = 0; code < 0x110000; ++code) {
        if (code == 0xD800) code = 0xE000;
        ASSERT_EQ(UnitsToUtf8(UnitsOf(code), Utf8Mode::Strict), EncodeByDefinition(code));
    }
}

TEST(Utf8, ConvertsLongTextsAsDefined) {
    Random random(20110402);
    for (std::size_t size = 0; size < 300; ++size) {
        CheckAgainstDefinition(RandomText(random, size, true));
        std::string const text = RandomText(random, size * 10, false);
        CheckAgainstDefinition(text);
        ASSERT_EQ(Utf8BytesOf(Utf8ToUnits(text, Utf8Mode::Strict)), text.size());
        if (HasFatalFailure()) return;
    }
}

TEST(Utf8, TreatsLoneSurrogatesByMode) {
    std::tuple<char const *, std::u16string, char const *, char const *> const cases[] = {
        {"high at the end", {u'a', 0xD800}, "a\xEF\xBF\xBD", "a\xED\xA0\x80"},
        {"high before another unit", {0xDBFF, u'z'}, "\uFFFDz", "\xED\xAF\xBFz"},
        {"high before a pair", {0xD800, 0xD83D, 0xDE00}, "\uFFFD\U0001F600", "\xED\xA0\x80\U0001F600"},
        {"low alone", {0xDC7F}, "\xEF\xBF\xBD", "\xED\xB1\xBF"},
        {"escaped bytes", {0xDC80, 0xDCFF}, "\xEF\xBF\xBD\xEF\xBF\xBD", "\x80\xFF"},
        {"low that an escape could be, in a pair", {0xD83D, 0xDC80}, "\xF0\x9F\x92\x80", "\xF0\x9F\x92\x80"},
    };
    for (auto const & [what, units, replaced, escaped] : cases) {
        EXPECT_EQ(UnitsToUtf8(units, Utf8Mode::Replace), replaced) << what;
        EXPECT_EQ(UnitsToUtf8(units, Utf8Mode::Escape), escaped) << what;
        // The same after a block of other text.
        EXPECT_EQ(UnitsToUtf8(std::u16string(21, u'é') + units, Utf8Mode::Escape).substr(42), escaped)
            << what;
    }
    std::string out;
    EXPECT_FALSE(AppendUtf8(out, std::u16string{u'a', 0xD800, u'b'}, Utf8Mode::Strict));
    EXPECT_EQ(out, "a");
}

TEST(Utf8, FillsBuffersToTheLastCharacterThatFits) {
    Random random(7);
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
    Random random(11);
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
    // Strict mode: an invalid sequence that continues into the next piece. After the failure the decoder is as new.
    Utf8Decoder strict(Utf8Mode::Strict);
    std::u16string units;
    EXPECT_TRUE(strict.Append(units, "a\xE2\x82"));
    EXPECT_FALSE(strict.Append(units, "b"));
    EXPECT_TRUE(strict.Append(units, "\xE2\x82\xAC") && strict.Finish(units));
    EXPECT_EQ(units, u"a€");
    EXPECT_TRUE(strict.Append(units, "\xE2"));
    EXPECT_FALSE(strict.Finish(units));
}
