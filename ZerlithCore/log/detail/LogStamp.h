// The date and time at the beginning of a log line.
#pragma once

#include <cstdint>
#include <string_view>

namespace KZDetail {

/// Makes "20260302 040506> " of a moment, in local time.
///
/// Many lines come in one second, so the text of the last second is kept and a stamp mostly costs one comparison.
class LogStamp {
public:
    /// The stamp for `milliseconds` after 1970-01-01 00:00 UTC; valid until the next call.
    [[nodiscard]] std::u16string_view At(std::int64_t milliseconds);
    /// True if the last stamp was for the same second.
    [[nodiscard]] bool IsKept(std::int64_t milliseconds) const noexcept {
        return SecondOf(milliseconds) == second_;
    }

private:
    static constexpr std::int64_t SecondOf(std::int64_t milliseconds) noexcept {
        return milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
    }

    std::int64_t second_ = INT64_MIN;
    unsigned int length_ = 0;
    char16_t text_[32];
};

} // namespace KZDetail
