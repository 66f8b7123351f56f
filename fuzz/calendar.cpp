// The readers of calendar values must accept any text with any template without harm, and must read what they print.
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/time/KZDateTimeEx.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Prints a value and reads it again, with a template of all letters: a valid value must come back.
void CheckRoundTrip(KZDateTimeEx const & value) {
    KZTimeZone const & utc = KZTimeZone::GetUTCTimeZone();
    KZDateTimeEx back;
    KZString const format = value.GetDefaultFormat(false, true);
    if (back.FromString(value.AsString(format, utc), format, utc).Bad() || back != value) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const * data, std::size_t size) {
    std::u16string units(size / 2, u'\0');
    std::memcpy(units.data(), data, units.size() * 2);
    std::size_t const split = units.find(u'\0');
    KZString const text(units.substr(0, split));
    KZString const format(split == units.npos ? std::u16string(u"%Y/%m/%d %H:%M:%S.%L%Z")
                                              : units.substr(split + 1));

    KZDateEx date;
    if (date.FromString(text, format) && !date.IsNull() && !date.IsValid()) std::abort();
    static_cast<void>(date.AsString(format));
    KZTimeEx time;
    time.FromString(text, format);
    if (time.AsInt() < -1 || time.AsInt() >= 86400000) std::abort();
    KZDateTimeEx value;
    bool const isRead = value.FromString(text, format).Good();
    if (!isRead && !value.IsNull()) std::abort();
    if (!value.IsNull()) CheckRoundTrip(value);
    // A date without a time is read by KZDateEx, unless the template has letters that KZDateEx doesn't know.
    bool const hasOthers = format.FindFirstOf(u"HMSLZz") != KZString::npos;
    if (isRead && value.IsOnlyDate() && !hasOthers && value.GetDate() != date) std::abort();
    KZDateTimeEx iso;
    if (iso.FromISOString(text).Good()) {
        KZDateTimeEx back;
        if (iso.IsNull() || back.FromISOString(iso.AsISOString()).Bad() || back != iso) std::abort();
    } else if (!iso.IsNull()) {
        std::abort();
    }
    char16_t buffer[24];
    value.AsString(buffer, units.size() % 25, format);
    KZDurationEx duration;
    duration.FromString(text);
    duration.Normalize();
    static_cast<void>(duration.AsString(true));
    return 0;
}
