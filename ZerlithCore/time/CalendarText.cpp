// One function prints all calendar values and one reads them, both letter by letter of the template.
#include "ZerlithCore/time/detail/CalendarText.h"

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/time/KZDateAndTime.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <limits>
#include <string>
#include <string_view>

namespace KZDetail {
namespace {

// --- Printing. These functions write without a check: PrintCalendar makes sure that there is room.

char16_t * PutTwo(char16_t * out, unsigned int value) {
    out[0] = static_cast<char16_t>(u'0' + value / 10);
    out[1] = static_cast<char16_t>(u'0' + value % 10);
    return out + 2;
}

char16_t * PutThree(char16_t * out, unsigned int value) {
    *out = static_cast<char16_t>(u'0' + value / 100);
    return PutTwo(out + 1, value % 100);
}

char16_t * PutYear(char16_t * out, int year) {
    if (year >= 1000 && year <= 9999)
        return PutTwo(PutTwo(out, static_cast<unsigned int>(year) / 100),
                      static_cast<unsigned int>(year) % 100);
    std::array<char, 12> digits;
    auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), year).ptr;
    return std::copy(digits.data(), end, out);
}

char16_t * PutOffset(char16_t * out, std::int32_t localMinusUtc) {
    if (localMinusUtc == 0) {
        *out = u'Z';
        return out + 1;
    }
    *out = localMinusUtc < 0 ? u'-' : u'+';
    auto const minutes = static_cast<unsigned int>(std::abs(localMinusUtc) / 60);
    out = PutTwo(out + 1, minutes / 60 % 100);
    *out = u':';
    return PutTwo(out + 1, minutes % 60);
}

unsigned int LettersOf(char16_t letter) {
    switch (letter) {
    case u'Y':
    case u'y':
    case u'm':
    case u'd':
    case u'W': return DateLetters;
    case u'H':
    case u'M':
    case u'S':
    case u'L': return TimeLetters;
    case u'Z':
    case u'z': return ZoneLetters;
    default: return 0;
    }
}

// The years of this calendar have up to eight characters; an offset has six, all other fields three at most.
constexpr std::size_t longestField = 8;
constexpr std::size_t spareRoom = 5;

char16_t * PutField(char16_t * out, char16_t letter, CalendarValue const & value) {
    switch (letter) {
    case u'Y': return PutYear(out, value.date.GetYear());
    case u'y': return PutTwo(out, static_cast<unsigned int>(std::abs(value.date.GetYear() % 100)));
    case u'm': return PutTwo(out, value.date.GetMonth());
    case u'd': return PutTwo(out, value.date.GetDay());
    case u'W': return PutTwo(out, value.date.GetYearWeek());
    case u'H': return PutTwo(out, value.time.GetHour());
    case u'M': return PutTwo(out, value.time.GetMinute());
    case u'S': return PutTwo(out, value.time.GetSecond());
    case u'L': return PutThree(out, value.time.GetMillisecond());
    default: return PutOffset(out, value.localMinusUtc);
    }
}

// --- Reading

// Reads the text and the template from left to right at the same time.
class Reader {
public:
    Reader(char16_t const * text, char16_t const * format, unsigned int letters)
        : text_(text), format_(format), letters_(letters) {}

    CalendarFields Read() {
        while (*text_ && FindConversion()) {
            unsigned int const kind = LettersOf(letter_);
            if (kind == ZoneLetters && (letters_ & ZoneLetters))
                ReadOffset();
            else if ((kind & letters_) && letter_ != u'W')
                ReadNumber(kind);
        }
        return fields_;
    }

private:
    // Moves after the next conversion of the template. The template's text before it isn't compared.
    bool FindConversion() {
        while (*format_ && *format_ != u'%') ++format_;
        if (!*format_ || !format_[1]) return false;
        letter_ = format_[1];
        format_ += 2;
        return true;
    }

    [[nodiscard]] bool IsOffsetNext() const {
        if (!(letters_ & ZoneLetters)) return false;
        char16_t const * next = format_;
        while (*next && *next != u'%') ++next;
        return *next && (next[1] == u'Z' || next[1] == u'z');
    }

    void ReadNumber(unsigned int kind) {
        bool const signs = kind == DateLetters;
        char16_t const * end = text_;
        bool const negative = signs && *end == u'-';
        if (negative) ++end;
        std::int64_t value = 0;
        for (; KZEncoding::IsDigit(*end); ++end)
            if (value <= std::numeric_limits<int>::max()) value = value * 10 + (*end - u'0');
        value = std::min<std::int64_t>(value, std::numeric_limits<int>::max());
        bool const hasDigits = end != text_ && KZEncoding::IsDigit(end[-1]);
        bool const offsetNext = IsOffsetNext();
        // A field that doesn't end as the template says is dropped: the next conversion reads from the same place.
        if (*end && *end != *format_ && !(offsetNext && hasDigits)) {
            fields_.hasDropped = true;
            return;
        }
        StoreNumber(static_cast<int>(negative ? -value : value));
        text_ = offsetNext ? SkipBlanks(end) : SkipToNumber(end, signs);
        if (!*text_ && !IsEarlyEnd(end)) fields_.hasDropped = true;
    }

    // Whether the text ends at `text` before the next conversion: it may have a part of the template's text before that
    // conversion, and blanks. For "%Y/%m" the texts "2024" and "2024/ " end early, but "2024/x" doesn't.
    [[nodiscard]] bool IsEarlyEnd(char16_t const * text) const {
        char16_t const * literal = format_;
        for (; *text && *text == *literal && *literal != u'%'; ++text) ++literal;
        while (*literal && *literal != u'%') ++literal;
        return !*literal || !*SkipBlanks(text);
    }

    // A "-" directly after a field separates it from the next; a later one is the sign of the next.
    static char16_t const * SkipToNumber(char16_t const * text, bool signs) {
        char16_t const * const start = text;
        while (*text && !KZEncoding::IsDigit(*text) && !(signs && *text == u'-' && text != start)) ++text;
        return text;
    }

    void StoreNumber(int value) {
        auto const number = static_cast<unsigned int>(value);
        switch (letter_) {
        case u'Y': fields_.year = value; break;
        case u'y': fields_.year = value < 70 ? value + 2000 : value < 100 ? value + 1900 : value; break;
        case u'm': fields_.month = number; break;
        case u'd': fields_.day = number; break;
        case u'H': fields_.hour = number; break;
        case u'M': fields_.minute = number; break;
        case u'S': fields_.second = number; break;
        default: fields_.millisecond = number; break;
        }
        fields_.read |= BitOf(letter_);
    }

    static unsigned int BitOf(char16_t letter) {
        switch (letter) {
        case u'm': return KZDateAndTime::Month;
        case u'd': return KZDateAndTime::Day;
        case u'H': return KZDateAndTime::Hour;
        case u'M': return KZDateAndTime::Minute;
        case u'S': return KZDateAndTime::Second;
        case u'L': return KZDateAndTime::Millisecond;
        default: return KZDateAndTime::Year;
        }
    }

    // Reads "Z", or a sign, hours, ":" and minutes if these are the whole rest of the text. Reads nothing otherwise.
    void ReadOffset() {
        if (*text_ == u'Z') {
            ++text_;
            fields_.localMinusUtc = 0;
            fields_.read |= KZDateAndTime::TimeZone;
            return;
        }
        std::u16string_view const rest(text_);
        bool const fits = rest.size() == 6 && (rest[0] == u'+' || rest[0] == u'-') && rest[3] == u':' &&
                          KZEncoding::IsDigit(rest[1]) && KZEncoding::IsDigit(rest[2]) &&
                          KZEncoding::IsDigit(rest[4]) && KZEncoding::IsDigit(rest[5]);
        if (!fits) return;
        int const minutes =
            ((rest[1] - u'0') * 10 + rest[2] - u'0') * 60 + (rest[4] - u'0') * 10 + rest[5] - u'0';
        fields_.localMinusUtc = (rest[0] == u'-' ? -minutes : minutes) * 60;
        fields_.read |= KZDateAndTime::TimeZone;
        text_ += rest.size();
    }

    char16_t const * text_;
    char16_t const * format_;
    unsigned int letters_;
    char16_t letter_ = 0;
    CalendarFields fields_;
};

} // namespace

bool PrintCalendar(char16_t * buffer, std::size_t capacity, char16_t const * format,
                   CalendarValue const & value, unsigned int letters) {
    if (capacity == 0) return *format == 0;
    char16_t * out = buffer;
    char16_t const * const stop = buffer + (capacity > spareRoom ? capacity - spareRoom : 0);
    char16_t const * const end = buffer + capacity;
    for (; *format && out < stop; ++format) {
        if (*format != u'%' || !format[1]) {
            *out++ = *format;
            continue;
        }
        char16_t const letter = *++format;
        if (!(LettersOf(letter) & letters)) {
            *out++ = letter;
        } else if (static_cast<std::size_t>(end - out) > longestField) {
            out = PutField(out, letter, value);
        } else {
            // Near the end of the buffer the field is printed elsewhere first, since it may be longer than the room
            // left.
            std::array<char16_t, longestField> field;
            char16_t const * const fieldEnd = PutField(field.data(), letter, value);
            if (fieldEnd - field.data() >= end - out) break;
            out = std::copy(static_cast<char16_t const *>(field.data()), fieldEnd, out);
        }
    }
    *out = 0;
    return *format == 0;
}

void PrintCalendar(KZString & out, KZString const & format, CalendarValue const & value,
                   unsigned int letters) {
    // A conversion takes two units of the template and prints eight at most.
    std::size_t const room = std::size_t{format.Length()} * (longestField / 2) + spareRoom + longestField + 2;
    std::array<char16_t, 256> small;
    std::u16string large;
    if (room > small.size()) large.resize(room);
    char16_t * const buffer = large.empty() ? small.data() : large.data();
    PrintCalendar(buffer, room, format.c_str(), value, letters);
    out.Assign(buffer, 0);
}

CalendarFields ReadCalendar(char16_t const * text, char16_t const * format, unsigned int letters) {
    return Reader(text, format, letters).Read();
}

char16_t const * SkipBlanks(char16_t const * text) {
    while (*text == u' ') ++text;
    return text;
}

} // namespace KZDetail
