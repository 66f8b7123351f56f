#include "ZerlithCore/platform/CaseMap.h"

#include <locale.h>
#include <wctype.h>

namespace KZPlatform {
namespace {

using WideMap = wint_t (*)(wint_t, locale_t);

// The locale whose only content is the Unicode character types. It's part of the C library, or comes with it.
class NeutralLocale {
public:
    NeutralLocale() noexcept : locale_(newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        if (!locale_) locale_ = newlocale(LC_CTYPE_MASK, "C", nullptr); // no more than ASCII then
    }
    ~NeutralLocale() {
        if (locale_) freelocale(locale_);
    }
    NeutralLocale(NeutralLocale const &) = delete;
    NeutralLocale & operator=(NeutralLocale const &) = delete;

    [[nodiscard]] char16_t Apply(WideMap map, char16_t unit) const noexcept {
        bool const isSurrogate = (unit & 0xF800) == 0xD800;
        wint_t const mapped = locale_ && !isSurrogate ? map(unit, locale_) : unit;
        return mapped <= 0xFFFF ? static_cast<char16_t>(mapped) : unit;
    }

private:
    locale_t locale_;
};

// Never freed: destructors of static objects may still compare texts.
CaseMap const & ReadMap(WideMap map) {
    NeutralLocale const locale;
    return *new CaseMap([&](char16_t unit) { return locale.Apply(map, unit); });
}

} // namespace

CaseMap const & UpperCaseMap() noexcept {
    static CaseMap const & map = ReadMap(towupper_l);
    return map;
}

CaseMap const & LowerCaseMap() noexcept {
    static CaseMap const & map = ReadMap(towlower_l);
    return map;
}

} // namespace KZPlatform
