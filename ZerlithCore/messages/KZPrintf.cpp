// Expands templates in one pass. A conversion goes from its "%" to the next letter of a fixed set. Of what is between them only
// an index before ":" is read.
#include "ZerlithCore/messages/KZPrintf.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/time/KZDateTime.h"

#include <string_view>

namespace {

constexpr std::u16string_view letters = u"sdfuatm";

struct Conversion {
    std::u16string_view text; // from "%" to the letter, both included

    char16_t Letter() const noexcept { return text.back(); }
    bool IsLong() const noexcept { return text[text.size() - 2] == u'l'; }
};

// The index between "%" and the first ":"; 0 when there is none. A number that is too big is read as the largest one, and no
// list has that many arguments.
std::size_t IndexOf(Conversion const & conversion) {
    std::size_t const colon = conversion.text.find(u':');
    if (colon == std::u16string_view::npos) return 0;
    return KZString(conversion.text.substr(1, colon - 1)).AsUint();
}

KZString Date(KZString const & argument, char16_t const * format) {
    KZDateTime date;
    KZString text = argument;
    if (date.FromString(argument).Good()) static_cast<void>(date.AsString(text, format));
    return text;
}

KZString Money(KZString const & argument) {
    KZString text;
    text.Format(u"%6.2f", argument.AsDouble());
    return text;
}

KZString Converted(KZString const & argument, Conversion const & conversion) {
    switch (conversion.Letter()) {
    case u'u': return KZPrintDuration(argument.AsKZDuration());
    case u'a': return Date(argument, conversion.IsLong() ? u"%B %d, %Y" : u"%x");
    case u't': return Date(argument, conversion.IsLong() ? u"%X" : u"%H:%M:%S");
    case u'm': return Money(argument);
    default: return argument;
    }
}

void Append(KZString & out, std::u16string_view text) {
    if (!text.empty()) out.Append(text.data(), static_cast<unsigned int>(text.size()));
}

void AppendArgument(KZString & out, Conversion const & conversion, std::vector<KZString> const & arguments) {
    if (arguments.empty()) return;
    std::size_t const index = IndexOf(conversion);
    out += index < arguments.size() ? Converted(arguments[index], conversion) : arguments.front();
}

} // namespace

KZString KZPrintf(KZString const & format, std::vector<KZString> const & arguments) {
    KZString out;
    std::u16string_view rest(format.c_str());
    for (;;) {
        std::size_t const percent = rest.find(u'%');
        Append(out, rest.substr(0, percent));
        if (percent == std::u16string_view::npos) return out;
        rest.remove_prefix(percent);
        if (rest.size() > 1 && rest[1] == u'%') {
            out += u'%';
            rest.remove_prefix(2);
            continue;
        }
        std::size_t const letter = rest.find_first_of(letters);
        if (letter == std::u16string_view::npos) break;
        AppendArgument(out, {rest.substr(0, letter + 1)}, arguments);
        rest.remove_prefix(letter + 1);
    }
    Append(out, rest);
    return out;
}
