// The names of character properties, the table of base letters, and the memory for the names of characters.
#include "ZerlithCore/text/KZUnicode.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr std::string_view generalCategoryKeys[] = {
    "Mn", "Mc", "Me", "Nd", "Nl", "No", "Zs", "Zl", "Zp", "Cc", "Cf", "Cs", "Co", "Cn", "Lu",
    "Ll", "Lt", "Lm", "Lo", "Pc", "Pd", "Ps", "Pe", "Pi", "Pf", "Po", "Sm", "Sc", "Sk", "So"};
constexpr std::string_view bidirectionalKeys[] = {"L",  "R", "EN", "ES", "ET", "AN",
                                                  "CS", "B", "S",  "WS", "ON"};
constexpr std::string_view compatibilityKeys[] = {
    "<font>", "<noBreak>",  "<initial>", "<medial>", "<final>", "<isolated>", "<circle>",   "<super>",
    "<sub>",  "<vertical>", "<wide>",    "<narrow>", "<small>", "<square>",   "<fraction>", "<compat>"};
static_assert(std::size(generalCategoryKeys) == static_cast<std::size_t>(KZUnicode::GeneralCategory::None));
static_assert(std::size(bidirectionalKeys) ==
              static_cast<std::size_t>(KZUnicode::BidirectionalCategory::None));
static_assert(std::size(compatibilityKeys) == static_cast<std::size_t>(KZUnicode::Compatibility::None));

// Returns the value after the last one for an unknown key.
template <class Value, std::size_t Size>
Value ValueOf(std::string_view const (&keys)[Size], char const * key) noexcept {
    auto const * const found = key ? std::ranges::find(keys, std::string_view(key)) : std::end(keys);
    return static_cast<Value>(found - std::begin(keys));
}

// `count` units from `unit` on, `unitStep` apart, whose base letters begin with `base` and are `baseStep` apart.
struct EquivalentRun {
    char16_t unit;
    char16_t base;
    unsigned char count;
    unsigned char unitStep;
    signed char baseStep;
};

constexpr EquivalentRun equivalentRuns[] = {
#include "ZerlithCore/text/generated/EquivalentCharTable.inl"
};

consteval std::array<char16_t, 0x10000> MakeEquivalents() {
    std::array<char16_t, 0x10000> table;
    for (unsigned unit = 0; unit < table.size(); ++unit) table[unit] = static_cast<char16_t>(unit);
    for (EquivalentRun const & run : equivalentRuns)
        for (int i = 0; i < run.count; ++i)
            table[static_cast<unsigned>(run.unit + i * run.unitStep)] =
                static_cast<char16_t>(run.base + i * run.baseStep);
    return table;
}

} // namespace

constinit std::array<char16_t, 0x10000> const KZUnicode::glbEquivalentChar = MakeEquivalents();

KZUnicode::GeneralCategory KZUnicode::GetGeneralCategory(char const * key) noexcept {
    return ValueOf<GeneralCategory>(generalCategoryKeys, key);
}

KZUnicode::BidirectionalCategory KZUnicode::GetBidirectionalCategory(char const * key) noexcept {
    return ValueOf<BidirectionalCategory>(bidirectionalKeys, key);
}

KZUnicode::Compatibility KZUnicode::GetCompatibility(char const * key) noexcept {
    return ValueOf<Compatibility>(compatibilityKeys, key);
}

// Names lie one after the other in blocks, so that 65536 records cost a few dozen allocations. A name never moves.
struct KZUnicode::CharSetInfo::Pool {
    static constexpr std::size_t blockSize = 65536;
    std::vector<std::unique_ptr<char[]>> blocks;
    std::size_t used = blockSize;
    std::shared_ptr<Pool const> older; // the names that this object shares with the one it was copied from
};

void KZUnicode::CharSetInfo::Reset() {
    records_.assign(0x10000, CharInfo());
    pool_.reset();
}

char const * KZUnicode::CharSetInfo::KeepName(std::string_view name) {
    if (name.empty()) return "";
    // A copy of this object shares the names it has; new ones go to a pool that isn't shared.
    bool const isShared = pool_.use_count() > 1;
    if (!pool_ || isShared) {
        auto fresh = std::make_shared<Pool>();
        if (isShared) fresh->older = pool_;
        pool_ = std::move(fresh);
    }
    std::size_t const size = name.size() + 1;
    if (size > Pool::blockSize - pool_->used) {
        pool_->blocks.push_back(std::make_unique<char[]>(std::max(size, Pool::blockSize)));
        pool_->used = 0;
    }
    char * const kept = pool_->blocks.back().get() + pool_->used;
    *std::ranges::copy(name, kept).out = '\0';
    pool_->used = std::min(pool_->used + size, Pool::blockSize);
    return kept;
}
