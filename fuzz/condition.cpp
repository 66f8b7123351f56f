// Reads a condition in both forms, prints it in the native form and reads that again: the result must be the same.
#include "ZerlithCore/pattern/KZCondition.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(unsigned char const * data, std::size_t size) {
    std::u16string const text(data, data + size);
    // Nested counts in patterns multiply and take long; patterns have a fuzz target of their own.
    if (std::ranges::count(text, u'{') > 3) return 0;
    KZCondition condition;
    if (!condition.FromString(KZString(std::u16string_view(text)))) return 0;
    KZString const native = condition.ToString(true);
    KZCondition back;
    if (!back.FromString(native) || back.ToString(true) != native) std::abort();
    KZString const printed = condition.ToString(false);
    static_cast<void>(back.FromString(printed));
    KZConditionParams const params;
    static_cast<void>(condition.Evaluate(params));
    return 0;
}
