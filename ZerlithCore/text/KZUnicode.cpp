#include "ZerlithCore/text/KZUnicode.h"

namespace {

// `count` units from `unit` on, `unitStep` apart, whose base letters begin with `base` and are `baseStep` apart.
struct EquivalentRun {
    char16_t unit;
    char16_t base;
    unsigned char count;
    unsigned char unitStep;
    signed char baseStep;
};

constexpr EquivalentRun EquivalentRuns[] = {
#include "ZerlithCore/text/generated/EquivalentCharTable.inl"
};

consteval std::array<char16_t, 0x10000> MakeEquivalents() {
    std::array<char16_t, 0x10000> table;
    for (unsigned unit = 0; unit < table.size(); ++unit) table[unit] = static_cast<char16_t>(unit);
    for (EquivalentRun const & run : EquivalentRuns)
        for (int i = 0; i < run.count; ++i)
            table[static_cast<unsigned>(run.unit + i * run.unitStep)] =
                static_cast<char16_t>(run.base + i * run.baseStep);
    return table;
}

} // namespace

constinit std::array<char16_t, 0x10000> const KZUnicode::glbEquivalentChar = MakeEquivalents();
