// The stamp in front of a log line.
#pragma once

#include <cstdint>
#include <string_view>

namespace KZDetail {

/// Makes "20260302 040506> " of a moment, in local time.
///
/// Lines come many a second, so the text of the last second is kept: a stamp mostly costs one comparison.
class LogStamp {
public:
    /// The stamp for `milliseconds` after 1970-01-01 00:00 UTC; valid until the next call.
    [[nodiscard]] std::u16string_view At(std::int64_t milliseconds);

private:
    std::int64_t second_ = INT64_MIN;
    unsigned int length_ = 0;
    char16_t text_[32];
};

} // namespace KZDetail
