// Prints the calendar of a month, the next ten last weekdays of a month at 17:00 local time, and the present time in five
// zones. `calendar 2024/02/01` uses that date instead of today.
#include <ZerlithCore/ZerlithCore.h>

namespace {

KZDurationEx const oneDay(1, KZDurationEx::day);
KZDurationEx const oneMonth(1, KZDurationEx::month);

KZDateEx FirstOfMonth(KZDateEx const & date) { return {date.GetYear(), date.GetMonth(), 1}; }

KZDateEx LastWorkday(KZDateEx const & date) {
    KZDateEx day(date.GetYear(), date.GetMonth(), KZDateEx::GetDaysInMonth(date.GetYear(), date.GetMonth()));
    while (day.GetWeekDay() == 0 || day.GetWeekDay() == 6) day -= oneDay;
    return day;
}

void PrintMonth(std::wostream & out, KZDateEx const & today) {
    KZDateEx const first = FirstOfMonth(today);
    out << L"       " << first.AsString(u"%Y/%m") << L"\nMo Tu We Th Fr Sa Su\n";
    unsigned int column = (first.GetWeekDay() + 6) % 7;
    out << std::wstring(column * 3, L' ');
    for (KZDateEx day = first; day.GetMonth() == first.GetMonth(); ++day) {
        KZString cell;
        cell.Format(u"%2u%s", day.GetDay(), day == today ? u"*" : u" ");
        out << cell;
        column = (column + 1) % 7;
        if (column == 0) out << L'\n';
    }
    out << L"\n\n";
}

void PrintPaydays(std::wostream & out, KZDateEx const & today) {
    out << L"Last weekday of the month, 17:00 local time:\n";
    for (KZDateEx month = FirstOfMonth(today), end = month + KZDurationEx(10, KZDurationEx::month);
         month < end; month += oneMonth) {
        KZDateEx const day = LastWorkday(month);
        KZDateTimeEx const moment(day.GetYear(), day.GetMonth(), day.GetDay(), 17, 0, 0);
        out << L"  " << moment.AsString(u"%Y/%m/%d %H:%M %Z") << L'\n';
    }
    out << L'\n';
}

void PrintZones(std::wostream & out, KZDateTimeEx const & moment) {
    for (char16_t const * name :
         {u"Pacific Standard Time", u"Eastern Standard Time", u"W. Europe Standard Time",
          u"India Standard Time", u"Tokyo Standard Time"}) {
        KZTimeZone zone;
        if (!zone.FromWindowsTimeZoneName(name)) {
            out << KZString(name) << L" isn't in this computer's zone data\n";
            continue;
        }
        out << moment.AsString(u"%Y/%m/%d %H:%M:%S %Z", zone) << L"  " << zone.GetDisplayName() << L'\n';
    }
}

} // namespace

int main(int argc, char ** argv) {
    KZDateEx today = KZDateEx::GetCurrentDate();
    KZLockedCOUT console;
    std::wostream & out = console.GetCout(1);
    if (argc > 1) {
        KZString text;
        static_cast<void>(text.SetFromUTF8(argv[1]));
        if (!today.FromString(text) || !today.IsValid()) {
            out << L"No date of the form 2024/02/29: " << text << std::endl;
            return 1;
        }
    }
    PrintMonth(out, today);
    PrintPaydays(out, today);
    PrintZones(out, KZDateTimeEx::GetCurrentDateTime());
    out.flush();
    return 0;
}
