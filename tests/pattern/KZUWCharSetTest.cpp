#include "ZerlithCore/pattern/KZUWCharSet.h"

#include <gtest/gtest.h>

#include <bitset>
#include <random>
#include <vector>

namespace {

std::vector<std::pair<unsigned int, unsigned int>> Ranges(KZUWCharSet const & set) {
    std::vector<std::pair<unsigned int, unsigned int>> ranges;
    for (auto range = set.GetBegin(); range != set.GetEnd(); ++range)
        ranges.emplace_back(range->low, range->high);
    return ranges;
}

TEST(KZUWCharSet, KeepsSortedMergedRanges) {
    KZUWCharSet set;
    set.AddRange('a', 'c');
    set.DelChar('b');
    EXPECT_EQ(Ranges(set), (std::vector<std::pair<unsigned int, unsigned int>>{{'a', 'b'}, {'c', 'd'}}));
    set.AddChar(u'b');
    EXPECT_EQ(Ranges(set).size(), 1U);
    EXPECT_TRUE(set.IsInSet('b') && !set.IsInSet('d') && KZUWCharSet('\xE9').IsInSet(u'\u00E9'));
    set.AddRange(u'z', u'x');
    EXPECT_EQ(set.GetCount(), 3);

    KZUWCharSet all;
    all.AddAllChars();
    EXPECT_TRUE(all.IsInSet(u'\0') && all.IsInSet(u'\uFFFE') && !all.IsInSet(u'\uFFFF'));
    EXPECT_EQ(all.GetCount(), 65535);
    KZUWCharSet top;
    top.AddRange(u'\uFFFE', u'\uFFFF');
    top.AddChar(u'\uFFFF');
    EXPECT_EQ(top.GetCount(), 1);
    all.DelRange(u'\0', u'\uFFFF');
    EXPECT_TRUE(all.IsEmpty());
    EXPECT_FALSE(all < KZUWCharSet());
    EXPECT_TRUE(KZUWCharSet() < top);
}

// Small sets, so that ranges meet often; each operation is done on a plain set of bits as well.
TEST(KZUWCharSet, AgreesWithBitsOnRandomOperations) {
    constexpr std::size_t size = 24;
    using Bits = std::bitset<size>;
    std::mt19937 random(7);
    KZUWCharSet sets[3];
    Bits bits[3];
    for (int step = 0; step < 40000; ++step) {
        auto const a = random() % 3;
        auto const b = random() % 3;
        auto const low = static_cast<char16_t>(random() % size);
        auto const high = static_cast<char16_t>(random() % size);
        KZUWCharSet common;
        switch (random() % 8) {
        case 0:
        case 1:
            sets[a].AddRange(low, high);
            for (std::size_t i = low; i <= high; ++i) bits[a].set(i);
            break;
        case 2:
            sets[a].DelRange(low, high);
            for (std::size_t i = low; i <= high; ++i) bits[a].reset(i);
            break;
        case 3: sets[a] |= sets[b], bits[a] |= bits[b]; break;
        case 4: sets[a] /= sets[b], bits[a] &= ~bits[b]; break;
        case 5: sets[a] &= sets[b], bits[a] &= bits[b]; break;
        default: {
            KZUWCharSet left = sets[a], right = sets[b];
            common.AddChar('x');
            common.ComputeDifference(left, right);
            EXPECT_EQ(common.IsEmpty(), !(sets[a] & sets[b]));
            EXPECT_FALSE((left & common) || (right & common));
            EXPECT_EQ((left |= common), sets[a]);
            EXPECT_EQ((right |= common), sets[b]);
        }
        }
        Bits seen;
        for (std::size_t i = 0; i < size; ++i) seen[i] = sets[a].IsInSet(static_cast<char16_t>(i));
        ASSERT_EQ(seen, bits[a]) << "step " << step;
        ASSERT_EQ(sets[a].GetCount(), bits[a].count());
        auto const ranges = Ranges(sets[a]);
        for (std::size_t i = 1; i < ranges.size(); ++i)
            ASSERT_LT(ranges[i - 1].second, ranges[i].first) << step;
        ASSERT_EQ(sets[a] == sets[b], bits[a] == bits[b]);
        ASSERT_EQ((sets[a] & sets[b]), (bits[a] & bits[b]).any());
    }
}

} // namespace
