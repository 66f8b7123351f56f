// Reads and prints moments in the form of ISO 8601 and RFC 3339.
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/detail/OwnErrors.h"
#include "ZerlithCore/time/KZDateTimeEx.h"

#include <optional>
#include <string>

namespace {

constexpr int secondsOfHour = 3600;

/// Reads the text from left to right. Each function returns false at the first unit that can't stand there; `expected`
/// then names what should stand there, and `Position` is its place.
class IsoReader {
public:
    explicit IsoReader(std::u16string_view text) noexcept : text_(text) {}

    [[nodiscard]] bool Read();

    KZDateEx date;
    KZTimeEx time;
    std::optional<int> localMinusUtc; // seconds, if the text has an offset
    char16_t const * expected = u"";
    [[nodiscard]] long Position() const noexcept { return static_cast<long>(at_) + 1; }

private:
    [[nodiscard]] char16_t Next() const noexcept { return at_ < text_.size() ? text_[at_] : u'\0'; }
    [[nodiscard]] bool Is(std::u16string_view units) const noexcept {
        return at_ < text_.size() && units.find(text_[at_]) != units.npos;
    }
    bool Skip(std::u16string_view units) noexcept {
        bool const is = Is(units);
        if (is) ++at_;
        return is;
    }
    bool Fail(char16_t const * what) noexcept {
        expected = what;
        return false;
    }
    /// Reads `digits` digits, which make a number from `least` to `most`. If they don't, the place stays at the first.
    [[nodiscard]] bool Number(char16_t const * name, std::size_t digits, int least, int most, int & number);
    [[nodiscard]] bool Year(int & year);
    [[nodiscard]] bool Date();
    [[nodiscard]] bool Time();
    [[nodiscard]] bool Fraction(int & milliseconds);
    [[nodiscard]] bool Offset();

    std::u16string_view text_;
    std::size_t at_ = 0;
};

bool IsoReader::Number(char16_t const * name, std::size_t digits, int least, int most, int & number) {
    int sum = 0;
    for (std::size_t i = at_; i < at_ + digits; ++i) {
        if (i >= text_.size() || !KZEncoding::IsDigit(text_[i])) return Fail(name);
        sum = sum * 10 + (text_[i] - u'0');
    }
    if (sum < least || sum > most) return Fail(name);
    at_ += digits;
    number = sum;
    return true;
}

/// A year has four digits, or a sign and six.
bool IsoReader::Year(int & year) {
    if (!Is(u"+-")) return Number(u"YYYY", 4, 0, 9999, year);
    bool const isNegative = Next() == u'-';
    ++at_;
    if (!Number(u"YYYYYY", 6, isNegative ? 1 : 0, 999999, year)) return false;
    if (isNegative) year = -year;
    return true;
}

bool IsoReader::Date() {
    int year = 0;
    int month = 0;
    int day = 0;
    if (!Year(year)) return false;
    if (!Skip(u"-")) return Fail(u"-");
    if (!Number(u"MM", 2, 1, 12, month)) return false;
    if (!Skip(u"-")) return Fail(u"-");
    auto const last = static_cast<int>(KZDateEx::GetDaysInMonth(year, static_cast<unsigned int>(month)));
    if (!Number(u"DD", 2, 1, last, day)) return false;
    date.SetDate(year, static_cast<unsigned int>(month), static_cast<unsigned int>(day));
    return true;
}

/// A fraction of a second may have any number of digits; those after the third are dropped.
bool IsoReader::Fraction(int & milliseconds) {
    if (!KZEncoding::IsDigit(Next())) return Fail(u"0-9");
    for (int weight = 100; KZEncoding::IsDigit(Next()); weight /= 10)
        milliseconds += (text_[at_++] - u'0') * weight;
    return true;
}

bool IsoReader::Time() {
    int hour = 0;
    int minute = 0;
    int second = 0;
    int milliseconds = 0;
    if (!Number(u"hh", 2, 0, 23, hour)) return false;
    if (!Skip(u":")) return Fail(u":");
    if (!Number(u"mm", 2, 0, 59, minute)) return false;
    if (Skip(u":")) {
        if (!Number(u"ss", 2, 0, 59, second)) return false;
        if (Skip(u".,") && !Fraction(milliseconds)) return false;
    }
    time = KZTimeEx((hour * secondsOfHour + minute * 60 + second) * 1000 + milliseconds);
    return true;
}

bool IsoReader::Offset() {
    if (Skip(u"Zz")) {
        localMinusUtc = 0;
        return true;
    }
    if (!Is(u"+-")) return true;
    int const sign = Next() == u'-' ? -1 : 1;
    ++at_;
    int hours = 0;
    int minutes = 0;
    if (!Number(u"hh", 2, 0, 23, hours)) return false;
    bool const hasMinutes = Skip(u":") || KZEncoding::IsDigit(Next());
    if (hasMinutes && !Number(u"mm", 2, 0, 59, minutes)) return false;
    localMinusUtc = sign * (hours * secondsOfHour + minutes * 60);
    return true;
}

bool IsoReader::Read() {
    bool const isTimeAlone = text_.size() > 2 && text_[2] == u':';
    if (isTimeAlone) {
        if (!Time()) return false;
    } else {
        if (!Date()) return false;
        if (Skip(u"Tt ") && !(Time() && Offset())) return false;
    }
    return at_ == text_.size() || Fail(time.IsNull() ? u"T" : u"the end");
}

void AppendDigits(std::u16string & text, unsigned int number, std::size_t digits) {
    std::size_t const end = text.size() + digits;
    text.resize(end);
    for (std::size_t i = 1; i <= digits; ++i, number /= 10)
        text[end - i] = static_cast<char16_t>(u'0' + number % 10);
}

void AppendDate(std::u16string & text, KZDateEx const & date) {
    int const year = date.GetYear();
    auto const size = static_cast<unsigned int>(year < 0 ? -year : year);
    bool const isLong = year < 0 || year > 9999;
    if (isLong) text += year < 0 ? u'-' : u'+';
    AppendDigits(text, size, !isLong ? 4 : size > 999999 ? 7 : 6);
    text += u'-';
    AppendDigits(text, date.GetMonth(), 2);
    text += u'-';
    AppendDigits(text, date.GetDay(), 2);
}

void AppendTime(std::u16string & text, KZTimeEx const & time) {
    AppendDigits(text, time.GetHour(), 2);
    text += u':';
    AppendDigits(text, time.GetMinute(), 2);
    text += u':';
    AppendDigits(text, time.GetSecond(), 2);
    text += u'.';
    AppendDigits(text, time.GetMillisecond(), 3);
}

void AppendOffset(std::u16string & text, std::int32_t localMinusUtc) {
    if (localMinusUtc == 0) {
        text += u'Z';
        return;
    }
    text += localMinusUtc < 0 ? u'-' : u'+';
    auto const seconds = static_cast<unsigned int>(localMinusUtc < 0 ? -localMinusUtc : localMinusUtc);
    AppendDigits(text, seconds / secondsOfHour, 2);
    text += u':';
    AppendDigits(text, seconds / 60 % 60, 2);
}

} // namespace

KZErrorID KZDateTimeEx::FromISOString(KZString const & text, KZTimeZone const & zone) {
    SetNull();
    IsoReader reader{static_cast<std::u16string_view>(text)};
    if (!reader.Read())
        return KZDetail::OwnError(KZDetail::OwnMessage::InvalidIsoDate,
                                  {text, reader.Position(), KZString(reader.expected)});
    KZDateTimeEx const local(reader.date, reader.time);
    *this = local;
    if (reader.localMinusUtc)
        *this = local.Moved(*reader.localMinusUtc * std::int64_t{-1000});
    else
        ConvertToUTC(zone);
    return {};
}

KZString KZDateTimeEx::AsISOString(KZTimeZone const & zone) const {
    std::int32_t const offset = IsDateAndTime() ? zone.GetLocalMinusUTC(Seconds()) : 0;
    KZDateTimeEx const local = offset == 0 ? *this : Moved(offset * std::int64_t{1000});
    std::u16string text;
    if (HasDate()) AppendDate(text, local.date_);
    if (IsDateAndTime()) text += u'T';
    if (HasTime()) AppendTime(text, local.time_);
    if (IsDateAndTime()) AppendOffset(text, offset);
    return KZString(std::u16string_view(text));
}
