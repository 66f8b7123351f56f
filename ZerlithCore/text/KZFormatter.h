/// @file
/// Values of the library as arguments of `std::format`, where the standard library has it, and of fmt, when its header is
/// included before this one.
///
///     #include <fmt/format.h>                     // or <format>
///     #include "ZerlithCore/text/KZFormatter.h"
///     std::string Line(KZString const & name, KZDateEx const & day) {
///         return fmt::format("{:>10} {:%Y-%m-%d}", name, day);
///     }
///
/// The text is UTF-8. A KZString, KZGuid, KZDurationEx and KZErrorID take what a text takes: fill, alignment, width,
/// precision. For a KZDateEx, KZTimeEx, KZDateTimeEx and KZDateTime the rest after the colon is a template of theirs, by which
/// a moment is printed in local time; without one they print as `AsString()` does.
///
/// Include the headers of the values that you print. ZerlithCore.h doesn't include this one, because of what `<format>`
/// costs.
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <version>

#if defined(__cpp_lib_format)
#include <format>
#endif

class KZGuid;

namespace KZDetail {

template <class T>
concept IsFormattedAsText = isOneOf<T, KZString, KZGuid, KZDurationEx, KZErrorID>;
template <class T>
concept IsFormattedByTemplate = isOneOf<T, KZDateEx, KZTimeEx, KZDateTimeEx, KZDateTime>;

/// What both libraries want of a formatter. `TextFormatter` is the library's own one of a text.
template <class Value, class TextFormatter>
class ValueFormatter : TextFormatter {
public:
    template <class Context>
    constexpr auto parse(Context & context) {
        return TextFormatter::parse(context);
    }
    template <class Context>
    auto format(Value const & value, Context & context) const {
        return TextFormatter::format(TextOf(value), context);
    }

private:
    static std::string TextOf(Value const & value) {
        if constexpr (std::is_same_v<Value, KZString>)
            return value.AsUTF8();
        else
            return KZString(value.AsString()).AsUTF8();
    }
};

template <IsFormattedByTemplate Value, class TextFormatter>
class ValueFormatter<Value, TextFormatter> {
public:
    template <class Context>
    constexpr auto parse(Context & context) {
        auto last = context.begin();
        while (last != context.end() && *last != '}') ++last;
        template_ = std::string_view(context.begin(), last);
        return last;
    }
    template <class Context>
    auto format(Value const & value, Context & context) const {
        KZString const text =
            template_.empty() ? value.AsString() : value.AsString(KZString::FromUTF8(template_));
        auto out = context.out();
        for (char const byte : text.AsUTF8()) *out++ = byte;
        return out;
    }

private:
    std::string_view template_; // a part of the format
};

} // namespace KZDetail

#if defined(__cpp_lib_format)
template <class Value>
requires KZDetail::IsFormattedAsText<Value> || KZDetail::IsFormattedByTemplate<Value>
struct std::formatter<Value, char> : KZDetail::ValueFormatter<Value, std::formatter<std::string_view, char>> {
};
#endif

#if defined(FMT_VERSION)
template <class Value>
requires KZDetail::IsFormattedAsText<Value> || KZDetail::IsFormattedByTemplate<Value>
struct fmt::formatter<Value, char> : KZDetail::ValueFormatter<Value, fmt::formatter<fmt::string_view, char>> {
};
#endif
