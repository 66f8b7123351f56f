// Reads a template as KZPrintf does: a conversion reaches from its "%" to the next letter of a fixed set.
#include "TemplateCheck.h"

#include "ZerlithCore/encoding/Utf8.h"

#include <string_view>

namespace {

constexpr std::u16string_view letters = u"sdfuatm";
constexpr std::u16string_view digits = u"0123456789";
constexpr std::u16string_view flags = u"-+#*.l0123456789";
constexpr char const * advice = "; a percent sign is \"%%\"";

bool HasOnly(std::u16string_view text, std::u16string_view units) {
    return text.find_first_not_of(units) == std::u16string_view::npos;
}

// `between` is what is between "%" and the letter.
void CheckConversion(std::u16string_view between, char16_t letter, TemplateFindings & findings) {
    std::size_t const colon = between.find(u':');
    bool const hasIndex = colon != std::u16string_view::npos;
    std::u16string_view const index = between.substr(0, hasIndex ? colon : 0);
    bool const isIndex = !hasIndex || (!index.empty() && HasOnly(index, digits));
    if (isIndex && HasOnly(between.substr(hasIndex ? colon + 1 : 0), flags)) {
        findings.arguments.insert(KZString(index).AsUint());
        return;
    }
    std::u16string const conversion = u'%' + std::u16string(between) + letter;
    findings.faults.push_back("\"" + KZEncoding::UnitsToUtf8(conversion, KZEncoding::Utf8Mode::Replace) +
                              "\" prints an argument" + advice);
}

} // namespace

TemplateFindings CheckTemplate(KZString const & text) {
    TemplateFindings findings;
    std::u16string_view rest(text);
    for (std::size_t percent; (percent = rest.find(u'%')) != std::u16string_view::npos;) {
        rest.remove_prefix(percent + 1);
        if (rest.starts_with(u'%')) {
            rest.remove_prefix(1);
            continue;
        }
        std::size_t const letter = rest.find_first_of(letters);
        if (letter == std::u16string_view::npos) {
            findings.faults.push_back(std::string("no letter of \"sdfuatm\" follows a \"%\"") + advice);
            break;
        }
        CheckConversion(rest.substr(0, letter), rest[letter], findings);
        rest.remove_prefix(letter + 1);
    }
    return findings;
}
