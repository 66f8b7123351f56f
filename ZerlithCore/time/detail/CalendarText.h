// Prints and reads all calendar values by templates such as "%Y/%m/%d".
#pragma once

#include "ZerlithCore/text/KZWideText.h"
#include "ZerlithCore/time/KZDateEx.h"
#include "ZerlithCore/time/KZTimeEx.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>

namespace KZDetail {

// The letters of a template that a kind of value knows. Other letters are printed as they are, and ignored in reading.
enum CalendarLetters : unsigned int { DateLetters = 1, TimeLetters = 2, ZoneLetters = 4, AllLetters = 7 };

struct CalendarValue {
    KZDateEx date;
    KZTimeEx time;
    std::int32_t localMinusUtc = 0; // seconds
};

// Prints into `buffer`, with a terminator, until fewer than 5 of its `capacity` units are left. Returns false when the
// text was cut.
bool PrintCalendar(char16_t * buffer, std::size_t capacity, char16_t const * format,
                   CalendarValue const & value, unsigned int letters);
// Prints into a string, without a limit.
void PrintCalendar(KZString & out, KZString const & format, CalendarValue const & value,
                   unsigned int letters);

struct CalendarFields {
    int year = 0;
    unsigned int month = 1;
    unsigned int day = 1;
    unsigned int hour = 0;
    unsigned int minute = 0;
    unsigned int second = 0;
    unsigned int millisecond = 0;
    std::int32_t localMinusUtc = 0;
    unsigned int read = 0;   // the fields that were in the text, as bits of KZDateAndTime
    bool hasDropped = false; // whether the text of a field didn't fit
};

// Reads `text` by `format`, until one of them ends.
CalendarFields ReadCalendar(char16_t const * text, char16_t const * format, unsigned int letters);

char16_t const * SkipBlanks(char16_t const * text);

// Reads a word of a stream as `FromString` of the value does; sets failbit if that fails.
template <class Value>
std::wistream & ReadWord(std::wistream & stream, Value & value) {
    std::wstring word;
    if (stream >> word && !value.FromString(KZString(KZFromWide(word))))
        stream.setstate(std::ios_base::failbit);
    return stream;
}

} // namespace KZDetail
