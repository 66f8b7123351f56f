// Helpers for reading the text of a condition.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <string>
#include <string_view>

namespace KZDetail {

inline constexpr std::u16string_view dateCall = u"TO_DATE(";

inline std::u16string WithoutQuotes(std::u16string_view text) {
    std::u16string result(text);
    std::erase(result, u'"');
    return result;
}

// Removes the quotes around a text; doubled ones inside become one.
inline KZString Unquote(std::u16string_view text) {
    text.remove_prefix(1);
    if (text.ends_with(u'"')) text.remove_suffix(1);
    KZString result{text};
    result.Replace(u"\"\"", u"\"");
    return result;
}

} // namespace KZDetail
