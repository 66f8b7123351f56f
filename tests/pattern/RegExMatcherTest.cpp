// The matcher beside two models: one that reads the pattern anew for each text, and one that goes through the states
// that are printed, with all that U+FFFE and U+FFFF do to them.
#include "ZerlithCore/pattern/KZRegEx.h"
#include "ZerlithCore/pattern/detail/RegExDFA.h"
#include "pattern/CountedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>

namespace {

using namespace KZDetail;

// Matches a pattern that is known to be right. The places in the text that a part may end at are bits; a text has 31
// units at most.
class Model {
public:
    Model(std::u16string_view pattern, std::u16string_view text) : pattern_(pattern), text_(text) {}

    bool Matches() { return (Branches(1) >> text_.size() & 1U) != 0; }

private:
    unsigned int Branches(unsigned int from) {
        unsigned int to = Sequence(from);
        while (at_ < pattern_.size() && pattern_[at_] == u'|') {
            ++at_;
            to |= Sequence(from);
        }
        return to;
    }
    unsigned int Sequence(unsigned int from) {
        while (at_ < pattern_.size() && pattern_[at_] != u'|' && pattern_[at_] != u')') from = Item(from);
        return from;
    }
    unsigned int Item(unsigned int from) {
        std::size_t const begin = at_;
        unsigned int const once = One(from);
        char16_t const suffix = at_ < pattern_.size() ? pattern_[at_] : u'\0';
        if (suffix == u'?') ++at_;
        if (suffix == u'?') return from | once;
        if (suffix != u'*') return once;
        unsigned int all = from | once;
        for (unsigned int before = 0; all != before;) {
            before = all;
            at_ = begin;
            all |= One(all);
        }
        ++at_;
        return all;
    }
    unsigned int One(unsigned int from) {
        char16_t const first = pattern_[at_++];
        if (first == u'(') {
            unsigned int const to = Branches(from);
            ++at_;
            return to;
        }
        bool const isNegated = first == u'['; // the only set is "[^a]"
        if (isNegated) at_ += 3;
        unsigned int to = 0;
        for (std::size_t i = 0; i < text_.size(); ++i)
            if (first == u'.' || (isNegated ? text_[i] != u'a' : text_[i] == first))
                to |= (from >> i & 1U) << (i + 1);
        return to;
    }

    std::u16string_view pattern_;
    std::u16string_view text_;
    std::size_t at_ = 0;
};

// The states that are printed, and how they match.
class States {
public:
    explicit States(KZParsedRegEx const & parsed)
        : root_(parsed.root), states_(BuildDFA(BuildNFA(&*root_, sets_, Branches::Apart), sets_)) {}

    bool Match(std::u16string_view text) const {
        std::uint32_t at = 0;
        for (char16_t const unit : text.substr(0, text.find(u'\0'))) {
            if (AcceptsEverything(at)) return true;
            at = states_[at].transitions.Lookup(unit);
            if (at == none) return false;
        }
        return states_[at].isAccepting;
    }

private:
    bool AcceptsEverything(std::uint32_t at) const {
        return states_[at].isAccepting &&
               std::ranges::any_of(states_[at].transitions, [at](auto const & range) {
                   return range.value == at && range.low == 0 && range.high > 0xFFFD;
               });
    }

    RegExSets sets_;
    KZSmartPtr<KZRegExSyntaxNode> root_;
    std::vector<DFAState> states_;
};

// All texts of `units` up to a length.
std::vector<std::u16string> AllTexts(std::u16string_view units, std::size_t longest) {
    std::vector<std::u16string> texts{u""};
    for (std::size_t i = 0; i < texts.size(); ++i)
        if (texts[i].size() < longest)
            for (char16_t const unit : units) texts.push_back(texts[i] + unit);
    return texts;
}

TEST(RegExMatcher, MatchesAllSmallTextsWithAllSmallPatterns) {
    constexpr std::u16string_view symbols[] = {u"a", u"b", u".", u"[^a]", u"*", u"?", u"|", u"(", u")"};
    std::vector<std::u16string> const texts = AllTexts(u"ab", 6);
    std::vector<std::u16string> const oddTexts = AllTexts(u"ab\uFFFE\uFFFF", 3);
    std::vector<std::pair<std::u16string, int>> patterns{{u"", 0}};
    for (std::size_t i = 0; i < patterns.size(); ++i) {
        auto const [pattern, length] = patterns[i];
        if (length < 5)
            for (std::u16string_view const symbol : symbols)
                patterns.emplace_back(pattern + std::u16string(symbol), length + 1);
        KZParsedRegEx const parsed = KZStringRegExParser(pattern).Parse();
        if (parsed.root.IsNull()) continue;
        KZRegEx const regEx(parsed);
        for (std::u16string const & text : texts)
            ASSERT_EQ(regEx.Match(text.c_str()), Model(pattern, text).Matches())
                << KZString(pattern).AsUTF8() << " on " << KZString(text).AsUTF8();
        if (pattern.find_first_of(u".[") == pattern.npos) continue;
        States const states(parsed);
        for (std::u16string const & text : oddTexts)
            ASSERT_EQ(regEx.Match(text.c_str()), states.Match(text))
                << KZString(pattern).AsUTF8() << " on " << KZString(text).AsUTF8();
    }
}

// Makes patterns that meet all that the matcher does, and texts that they match or nearly match.
class Maker {
public:
    std::u16string Pattern() {
        std::u16string pattern;
        for (unsigned int i = 0, items = 1 + Pick(3); i < items; ++i) pattern += Item(1);
        return pattern;
    }

    std::u16string Text(KZRegExSyntaxNode const & node) {
        std::u16string text;
        Add(text, node);
        for (unsigned int i = Pick(3); i > 0 && !text.empty(); --i) {
            constexpr char16_t units[] = {u'a', u'x', u'\0', u'\uFFFE', u'\uFFFF', u'\u4E00'};
            text[Pick(static_cast<unsigned int>(text.size()))] = units[Pick(std::size(units))];
        }
        return text;
    }

private:
    unsigned int Pick(std::size_t count) { return static_cast<unsigned int>(random_() % count); }

    std::u16string Item(int depth) {
        constexpr std::u16string_view items[] = {u".*",
                                                 u".*",
                                                 u"error",
                                                 u"timeout after 30 s",
                                                 u"[0-9]{4}",
                                                 u"[0-9a-f]*",
                                                 u"[^,;]*,",
                                                 u"[a-mz]+",
                                                 u"x{,3}",
                                                 u"the quick brown fox jumps over",
                                                 u"\u03B1\u03B2",
                                                 u"[\u0370-\u03FF]+ ",
                                                 u"[!-\u2FFF]*",
                                                 u".{2,5}",
                                                 u"([0-9]{2}:[0-9]{2};){2}"};
        if (depth == 0 || Pick(3) != 0) return std::u16string(items[Pick(std::size(items))]);
        std::u16string group = u"(";
        for (unsigned int i = 0, branches = 1 + Pick(3); i < branches; ++i)
            group += (i > 0 ? u"|" : u"") + Item(depth - 1) + Item(depth - 1);
        constexpr std::u16string_view suffixes[] = {u")", u")?", u")*", u")+", u"){2,}"};
        return group + std::u16string(suffixes[Pick(std::size(suffixes))]);
    }

    void Add(std::u16string & text, KZRegExSyntaxNode const & node) {
        switch (node.GetType()) {
        case KZRegExSyntaxNode::CharSet: {
            auto const & set = static_cast<KZRegExSyntaxNodeCharSet const &>(node);
            auto const & range =
                *(set.GetBegin() + Pick(static_cast<std::size_t>(set.GetEnd() - set.GetBegin())));
            bool const isLow = range.low < 0x20 && range.high > 0x7F; // rather letters than any unit
            text += static_cast<char16_t>(isLow ? 0x61 + Pick(26) : range.low + Pick(range.high - range.low));
            break;
        }
        case KZRegExSyntaxNode::Repeat: {
            auto const & repeat = static_cast<KZRegExSyntaxNodeRepeat const &>(node);
            unsigned int const most =
                std::min(repeat.GetMaximum(), repeat.GetMinimum() + (Pick(3) == 0 ? 60 : 4));
            for (unsigned int i = repeat.GetMinimum() + Pick(most - repeat.GetMinimum() + 1); i > 0; --i)
                if (text.size() < 1000) Add(text, *node.GetLeftChild());
            break;
        }
        case KZRegExSyntaxNode::Sequence:
            Add(text, *node.GetLeftChild());
            Add(text, *node.GetRightChild());
            break;
        case KZRegExSyntaxNode::Alternate:
            Add(text, Pick(2) ? *node.GetLeftChild() : *node.GetRightChild());
            break;
        }
    }

    std::mt19937 random_{17};
};

TEST(RegExMatcher, AgreesWithThePrintedStatesOnRandomPatterns) {
    Maker maker;
    int matches = 0;
    for (int i = 0; i < 300; ++i) {
        std::u16string const pattern = maker.Pattern();
        KZParsedRegEx const parsed = KZStringRegExParser(pattern).Parse();
        ASSERT_FALSE(parsed.root.IsNull()) << KZString(pattern).AsUTF8();
        States const states(parsed);
        KZRegEx const regEx(parsed);
        for (int j = 0; j < 20; ++j) {
            std::u16string const text = maker.Text(*parsed.root);
            bool const expected = states.Match(text);
            ASSERT_EQ(regEx.Match(KZString(text)), expected)
                << KZString(pattern).AsUTF8() << " on " << KZString(text).AsUTF8();
            matches += expected ? 1 : 0;
        }
    }
    EXPECT_GT(matches, 2000) << "others do not";
    EXPECT_LT(matches, 5000);
}

// A pattern of half a million states: the shared rows are full after some thousand units, and so are those that a match
// borrows.
KZString const manyStates(u"(a|b)*a(a|b){9}(a|b){9}");

KZString RandomText(unsigned int seed, std::size_t length) {
    std::mt19937 random(seed);
    std::u16string text;
    while (text.size() < length) text += random() % 2 ? u'a' : u'b';
    return KZString(text);
}

bool HasAInFrontOf18(KZString const & text) { return text[text.Length() - 19] == u'a'; }

TEST(RegExMatcher, MatchesWithMoreStatesThanFitInMemory) {
    KZRegEx const regEx(KZStringRegExParser(manyStates).Parse());
    std::size_t const before = usedBytes;
    for (unsigned int seed = 0; seed < 4; ++seed) {
        KZString const text = RandomText(seed, 12000 + seed);
        EXPECT_EQ(regEx.Match(text), HasAInFrontOf18(text));
        // These end where the shared rows end.
        for (unsigned int i = 0; i < 300; ++i)
            EXPECT_FALSE(regEx.Match(RandomText(1000 * seed + i, 8 + i % 30) + u"cc"));
    }
    EXPECT_LT(usedBytes - before, 8'000'000U);
}

TEST(RegExMatcher, MatchesWithoutMemory) {
    struct Case {
        char16_t const * pattern;
        char16_t const * match;
        char16_t const * other;
    };
    constexpr Case cases[] = {
        {u"[a-z]+(, [a-z]+)*", u"one, two, three", u"one, two,"},
        {u".*timeout.*", u"a timeout after 30 s", u"a time"},
        {u".*[.](c|cpp)", u"file.cpp", u"file.hpp"},
        {u"the quick brown fox.*", u"the quick brown fox jumps", u"the quick brown"},
    };
    for (Case const & c : cases) {
        KZString const match(c.match);
        KZString const other(c.other);
        for (int allowed = 0; allowed < 12; ++allowed) {
            KZRegEx const regEx(KZStringRegExParser(c.pattern).Parse());
            allowedBlocks = allowed;
            bool const isMatch = regEx.Match(match);
            bool const isOther = regEx.Match(other);
            allowedBlocks = -1;
            EXPECT_TRUE(isMatch && !isOther) << KZString(c.pattern).AsUTF8() << " with " << allowed;
            EXPECT_TRUE(regEx.Match(match) && !regEx.Match(other));
        }
    }
}

TEST(RegExMatcher, MatchesInManyThreads) {
    std::vector<KZString> texts;
    for (unsigned int i = 0; i < 12; ++i) texts.push_back(RandomText(i, i < 10 ? 300 : 7000));
    KZRegEx const regEx(KZStringRegExParser(manyStates).Parse());
    KZRegEx const end(KZStringRegExParser(u".*(aab|bba){3}").Parse());
    auto const matchAll = [&](std::size_t first) {
        for (std::size_t i = 0; i < texts.size(); ++i) {
            KZString const & text = texts[(first + i) % texts.size()];
            EXPECT_EQ(regEx.Match(text), HasAInFrontOf18(text));
            EXPECT_TRUE(end.Match(text + u"aabbbaaab"));
        }
    };
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i) threads.emplace_back(matchAll, 3 * i);
    for (std::thread & thread : threads) thread.join();
}

TEST(RegExMatcher, KnowsThousandsOfWords) {
    RegExSets sets;
    KZParsedRegEx const pets = KZStringRegExParser(u"car|cat|dog|do").Parse();
    EXPECT_EQ(BuildNFA(&*pets.root, sets, Branches::Together).nodes.size(), 6U)
        << "branches share their beginnings";
    EXPECT_EQ(BuildNFA(&*pets.root, sets, Branches::Apart).nodes.size(), 17U);
    std::mt19937 random(5);
    std::u16string words;
    std::vector<KZString> all;
    for (int i = 0; i < 3000; ++i) {
        std::u16string word;
        for (auto length = 4 + random() % 7; length > 0; --length)
            word += static_cast<char16_t>(u'a' + random() % 26);
        words += (i > 0 ? u"|" : u"") + word;
        all.emplace_back(word);
    }
    KZRegEx const exactly(KZStringRegExParser(words).Parse());
    KZRegEx const anywhere(KZStringRegExParser(u".*(" + words + u").*").Parse());
    for (KZString const & word : all) {
        EXPECT_TRUE(exactly.Match(word) && anywhere.Match(u"... " + word + u"s"));
        EXPECT_FALSE(exactly.Match(word + u"0") ||
                     anywhere.Match(word.SubStr(0, 3) + u" " + word.SubStr(0, 3)));
    }
}

} // namespace
