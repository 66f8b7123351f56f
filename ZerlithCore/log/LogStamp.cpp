// The text of a stamp is kept and made anew only when the second has changed.
#include "ZerlithCore/log/detail/LogStamp.h"

#include "ZerlithCore/platform/Clock.h"

#include <algorithm>

namespace {

/// Appends `value` in at least `digits` digits.
char16_t * Put(char16_t * out, int value, int digits) {
    char16_t reversed[12];
    int count = 0;
    bool const isNegative = value < 0;
    for (unsigned int rest = isNegative ? 0U - static_cast<unsigned int>(value)
                                        : static_cast<unsigned int>(value);
         rest != 0 || count < digits - (isNegative ? 1 : 0); rest /= 10)
        reversed[count++] = static_cast<char16_t>(u'0' + rest % 10);
    if (isNegative) reversed[count++] = u'-';
    return std::reverse_copy(reversed, reversed + count, out);
}

} // namespace

std::u16string_view KZDetail::LogStamp::At(std::int64_t milliseconds) {
    if (!IsKept(milliseconds)) {
        KZPlatform::CalendarTime const time = KZPlatform::ToLocalTime(milliseconds);
        char16_t * out = Put(text_, time.year, 4);
        for (int const part : {time.month, time.day}) out = Put(out, part, 2);
        *out++ = u' ';
        for (int const part : {time.hour, time.minute, time.second}) out = Put(out, part, 2);
        *out++ = u'>';
        *out++ = u' ';
        length_ = static_cast<unsigned int>(out - text_);
        second_ = SecondOf(milliseconds);
    }
    return {text_, length_};
}
