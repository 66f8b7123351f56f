// The bytes of one text.
#pragma once

#include "ZerlithCore/encoding/Utf8.h"

#include <string>
#include <string_view>

namespace KZEncoding {

/// The UTF-8 of a text, for a call that takes bytes. Only texts of more than 512 units allocate.
class Utf8Text {
public:
    /// Errors: std::bad_alloc. Requires: `mode` isn't `Strict`.
    Utf8Text(std::u16string_view units, Utf8Mode mode) {
        if (units.size() <= mostShortText) {
            bytes_ = {short_, EncodeUtf8(units, short_, mode).written};
        } else {
            AppendUtf8(long_, units, mode);
            bytes_ = long_;
        }
    }
    Utf8Text(Utf8Text const &) = delete;
    Utf8Text & operator=(Utf8Text const &) = delete;

    operator std::string_view() const noexcept { return bytes_; }

private:
    static constexpr std::size_t mostShortText = 512;

    char short_[3 * mostShortText];
    std::string long_;
    std::string_view bytes_;
};

} // namespace KZEncoding
