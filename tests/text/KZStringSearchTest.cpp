#include "ZerlithCore/text/KZString.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace {

using namespace std::string_view_literals;

constexpr std::uint32_t none = KZString::npos;

TEST(KZString, SearchesFromAPosition) {
    KZString const text(u"abcabcab"), embedded(u"ab\0ab"sv), empty;
    struct Case {
        int line;
        std::uint32_t actual, expected;
    };
    Case const cases[] = {
        {__LINE__, text.Find(u"ca", 3), 5},
        {__LINE__, text.Find(u"ca", 6), none},
        {__LINE__, text.Find(u"", 3), 3},
        {__LINE__, text.Find(u"", 8), none},
        {__LINE__, text.Find(u"abcabcabc"), none},
        {__LINE__, text.Find(u'c', 3), 5},
        {__LINE__, text.Find(u'\0'), 8},
        {__LINE__, text.Find(u'\0', 8), none},
        {__LINE__, empty.Find(u'\0'), none},
        {__LINE__, embedded.Find(u'\0'), 2},
        {__LINE__, embedded.Find(u"ab", 1), none},
        {__LINE__, embedded.Find(u"ab", 3), 3},
        {__LINE__, embedded.Find(u'a', 1), none},
        {__LINE__, text.RFind(u"ab", 5), 3},
        {__LINE__, text.RFind(u"", 5), 5},
        {__LINE__, text.RFind(u"", 50), 7},
        {__LINE__, empty.RFind(u""), none},
        {__LINE__, KZString(u"aaaa").RFind(u"aa"), 2},
        {__LINE__, embedded.RFind(u"ab"), 0},
        {__LINE__, text.RFind(u'a', 5), 3},
        {__LINE__, text.RFind(u'\0'), none},
        {__LINE__, embedded.RFind(u'a'), 3},
        {__LINE__, text.FindFirstOf(u"bc", 3), 4},
        {__LINE__, text.FindFirstOf(u"xyz\x416"), none},
        {__LINE__, text.FindFirstOf(u""), none},
        {__LINE__, KZString(u"ab\x416z").FindFirstOf(u"\x415z\x416"), 2},
        {__LINE__, embedded.FindFirstOf(u"a", 1), none},
        {__LINE__, text.FindFirstNotOf(u"ab"), 2},
        {__LINE__, text.FindFirstNotOf(u"abc"), none},
        {__LINE__, text.FindFirstNotOf(u"", 50), 0},
        {__LINE__, text.FindFirstNotOf(u"x", 8), none},
        {__LINE__, text.FindLastOf(u"c", 4), 2},
        {__LINE__, embedded.FindLastOf(u"b"), 4},
        {__LINE__, text.FindLastNotOf(u"ab"), 5},
        {__LINE__, text.FindLastNotOf(u"", 2), 7},
        {__LINE__, text.FindLastNotOf(u"abc"), none},
        {__LINE__, empty.FindLastNotOf(u"a"), none},
    };
    for (Case const & c : cases) EXPECT_EQ(c.actual, c.expected) << "line " << c.line;
}

/// Edits and searches a string and a model of it at random. There are only a few different units, so that much is
/// found.
class RandomEdits {
public:
    explicit RandomEdits(unsigned seed) : random_(seed) {}

    void Step() {
        std::u16string const piece = Text(Number(6)), other = Text(Number(6));
        std::size_t const place = Number(static_cast<unsigned>(model_.size()) + 3), count = Number(12);
        auto const position = static_cast<unsigned>(place);
        std::size_t const inside = std::min(place, model_.size());
        switch (Number(6)) {
        case 0: string_.Append(piece.c_str(), 0), model_ += piece; break;
        case 1: string_.Insert(position, piece.c_str()), model_.insert(inside, piece); break;
        case 2: string_.Remove(position, static_cast<unsigned>(count)), model_.erase(inside, count); break;
        case 3: string_.Replace(piece.c_str(), other.c_str()), ReplaceInModel(piece, other); break;
        case 4: saved_ = string_; break;
        case 5:
            string_ = string_.SubStr(0, 60);
            model_.resize(std::min<std::size_t>(model_.size(), 60));
            break;
        }
        ASSERT_EQ(std::u16string_view(string_), model_);
        if (!piece.empty() && place < model_.size()) {
            EXPECT_EQ(string_.Find(piece.c_str(), position),
                      static_cast<std::uint32_t>(model_.find(piece, place)));
            EXPECT_EQ(string_.RFind(piece.c_str(), position),
                      static_cast<std::uint32_t>(model_.rfind(piece, place)));
            EXPECT_EQ(string_.Find(piece[0], position),
                      static_cast<std::uint32_t>(model_.find(piece[0], place)));
        }
    }

private:
    unsigned Number(unsigned limit) { return static_cast<unsigned>(random_()) % limit; }

    std::u16string Text(std::size_t size) {
        std::u16string text(size, u'a');
        for (char16_t & unit : text) unit = u"aaabX\x416"[Number(6)];
        return text;
    }

    void ReplaceInModel(std::u16string const & from, std::u16string const & to) {
        if (from.empty()) return;
        for (std::size_t at = 0; (at = model_.find(from, at)) != model_.npos; at += to.size())
            model_.replace(at, from.size(), to);
    }

    std::mt19937 random_;
    KZString string_, saved_;
    std::u16string model_;
};

TEST(KZString, EditsAndSearchesAsAModelDoes) {
    for (unsigned seed = 1; seed <= 40; ++seed) {
        RandomEdits edits(seed);
        for (int step = 0; step < 200 && !testing::Test::HasFailure(); ++step) edits.Step();
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
}

TEST(KZString, FindsTheTerminatorAndTheNeedleAtEveryOffset) {
    alignas(4096) static char16_t page[2048]; // each search ends at the end of the page or before
    for (std::size_t length = 0; length < 70; ++length) {
        for (std::size_t behind : {0U, 1U, 2U, 3U, 7U, 8U, 9U, 2047U - 70U}) {
            std::ranges::fill(page, u'.');
            char16_t * const end = page + 2047 - behind;
            *end = u'\0';
            ASSERT_EQ(KZString(end - length).Length(), length) << behind;
            if (length < 3) continue;
            std::copy_n(u"xyz", 3, end - 3);
            ASSERT_EQ(KZString(end - length).Find(u"xyz"), length - 3) << behind;
            ASSERT_EQ(KZString(end - length).Find(u'z'), length - 1) << behind;
        }
        KZString hidden(u'.', static_cast<unsigned>(length));
        hidden += u'\0';
        hidden += KZString(u'.', 40) + u"z";
        ASSERT_EQ(hidden.Find(u'\0'), length);
        ASSERT_TRUE(hidden.Find(u'z') == none && hidden.Find(u".z") == none) << length;
    }
}

} // namespace
