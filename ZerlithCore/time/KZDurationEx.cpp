// Texts of durations. The arithmetic is in the header, for constant expressions.
#include "ZerlithCore/time/KZDurationEx.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/time/KZDurationExceptionEx.h"
#include "ZerlithCore/time/detail/CalendarText.h"

#include <algorithm>
#include <istream>
#include <ostream>
#include <string>
#include <string_view>

namespace {

struct UnitName {
    std::u16string_view name;
    char16_t const * shortName;
};

constexpr UnitName unitNames[] = {{u"year", u"y"},   {u"month", u"mo"},      {u"week", u"w"},
                                  {u"day", u"d"},    {u"hour", u"h"},        {u"minute", u"m"},
                                  {u"second", u"s"}, {u"millisecond", u"ms"}};

static_assert(std::size(unitNames) == KZDurationEx::invalid);

KZDurationEx::Unit UnitOf(std::u16string_view name) {
    auto const * const found = std::ranges::find_if(
        unitNames, [name](UnitName const & unit) { return name == unit.name || name == unit.shortName; });
    return static_cast<KZDurationEx::Unit>(found - std::begin(unitNames));
}

std::u16string_view TrimBlanks(std::u16string_view text) {
    while (!text.empty() && KZEncoding::IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && KZEncoding::IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

// Removes the number from the front of `text`. Returns false for one that a duration can't hold.
bool TakeNumber(std::u16string_view & text, std::int64_t & value) {
    bool const negative = !text.empty() && text.front() == u'-';
    if (negative || (!text.empty() && text.front() == u'+')) text.remove_prefix(1);
    for (; !text.empty() && KZEncoding::IsDigit(text.front()); text.remove_prefix(1)) {
        value = value * 10 + (text.front() - u'0');
        if (value > INT32_MAX) return false;
    }
    if (negative) value = -value;
    return true;
}

} // namespace

KZDurationEx::KZDurationEx(long value, char16_t const * unit) : unit_(UnitOf(unit ? unit : u"")) {
    SetDuration(value);
}

bool KZDurationEx::FromString(KZString const & text, Unit unit) {
    unit_ = invalid;
    value_ = 0;
    std::u16string_view rest = TrimBlanks(text.c_str());
    std::int64_t value = 0;
    if (rest.empty() || !TakeNumber(rest, value)) return false;
    value_ = static_cast<std::int32_t>(value);
    rest = TrimBlanks(rest);
    if (rest.size() > 2 && rest.back() == u's') rest.remove_suffix(1);
    unit_ = rest.empty() ? unit : UnitOf(rest);
    return IsValid();
}

KZString KZDurationEx::AsString(bool longForm) const {
    KZString text;
    if (!IsValid()) return text;
    if (value_ == 0) return u"0";
    UnitName const & name = unitNames[unit_];
    if (longForm)
        text.Format(u"%d %s%s", value_, name.name.data(), value_ > 1 || value_ < -1 ? u"s" : u"");
    else
        text.Format(u"%d%s", value_, name.shortName);
    return text;
}

void KZDurationEx::Throw() const { throw KZDurationExceptionEx(*this); }

std::wostream & operator<<(std::wostream & stream, KZDurationEx const & duration) {
    return stream << duration.AsString();
}

std::wistream & operator>>(std::wistream & stream, KZDurationEx & duration) {
    return KZDetail::ReadWord(stream, duration);
}
