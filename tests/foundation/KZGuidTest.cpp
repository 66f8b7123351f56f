#include "ZerlithCore/foundation/KZGuid.h"

#include <gtest/gtest.h>

namespace {

constexpr KZGuid id{0xB861C917, 0x11D3A414, 0x0400FE9A, 0xAB8796AC};
constexpr char16_t const * text = u"b861c917-a414-11d3-9afe-0004ac9687ab";

TEST(KZGuid, PrintsAndReadsTheCustomaryForm) {
    EXPECT_EQ(id.AsString(), text);
    EXPECT_EQ(KZGuid::FromString(text), id);
    EXPECT_EQ(KZGuid::FromString(u"{B861C917-A414-11D3-9AFE-0004AC9687AB}"), id);
    for (char16_t const * bad :
         {u"", u"b861c917", u"b861c917-a414-11d3-9afe-0004ac9687ag", u"b861c917xa414-11d3-9afe-0004ac9687ab",
          u"b861c917-a414-11d3-9afe-0004ac9687ab0", u"{b861c917-a414-11d3-9afe-0004ac9687ab", u"{}"})
        EXPECT_EQ(KZGuid::FromString(bad), std::nullopt);
}

TEST(KZGuid, ComparesWordByWord) {
    static_assert(KZGuid().IsNull() && !id.IsNull() && id.Word(3) == 0xAB8796AC);
    EXPECT_LT((KZGuid{1, 9, 9, 9}), (KZGuid{2, 0, 0, 0}));
    EXPECT_NE((KZGuid{1, 0, 0, 0}), (KZGuid{0, 1, 0, 0}));
    EXPECT_NE(std::hash<KZGuid>()(KZGuid{1, 0, 0, 0}), std::hash<KZGuid>()(KZGuid{0, 0, 1, 0}));
}

} // namespace
