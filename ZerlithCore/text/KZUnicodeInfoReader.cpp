// Reads the database line by line, and each line field by field with a cursor.
#include "ZerlithCore/text/KZUnicodeInfoReader.h"

#include <array>
#include <charconv>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <istream>
#include <string>
#include <system_error>

namespace {

constexpr std::size_t lineRoom = 4096; // with the terminator

// Reads the number at the cursor, 0 if there is none. Moves the cursor after the next semicolon, or to the end.
template <class Number>
Number ReadNumber(char const *& cursor, int base) {
    char const * const end = cursor + std::strcspn(cursor, ";");
    Number value = 0;
    std::from_chars(cursor, end, value, base);
    cursor = *end ? end + 1 : end;
    return value;
}

bool IsHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

} // namespace

bool KZUnicodeInfoReader::Read(KZUnicode::CharSetInfo & info, char const * fileName) {
    Reset(info);
    std::error_code error;
    if (!fileName || !std::filesystem::exists(fileName, error)) return false;
    // With exceptions on, a file that can only be read in part isn't taken for the whole file.
    std::ifstream stream;
    stream.exceptions(std::ios_base::badbit | std::ios_base::failbit);
    stream.open(fileName);
    stream.exceptions(std::ios_base::badbit);
    Read(info, stream);
    return true;
}

void KZUnicodeInfoReader::Read(KZUnicode::CharSetInfo & info, std::istream & stream) {
    Reset(info);
    std::array<char, lineRoom> line;
    while (stream.good() && stream.getline(line.data(), line.size())) ReadLine(info, line.data());
}

void KZUnicodeInfoReader::Reset(KZUnicode::CharSetInfo & info) { info.Reset(); }

void KZUnicodeInfoReader::ReadLine(KZUnicode::CharSetInfo & info, char const * line) {
    if (!IsHexDigit(*line)) return;
    auto const unit = static_cast<char16_t>(ReadHexValue(line) & 0xFFFFU);
    KZUnicode::CharInfo record;
    record.name = info.KeepName(ReadStringField(line));
    record.generalCategory = KZUnicode::GetGeneralCategory(std::string(ReadStringField(line)).c_str());
    record.combiningClass = static_cast<std::int32_t>(ReadLongValue(line));
    record.bidirectionalCategory =
        KZUnicode::GetBidirectionalCategory(std::string(ReadStringField(line)).c_str());
    std::string_view const decomposition = ReadStringField(line);
    record.decimalDigitValue = static_cast<std::int32_t>(ReadLongValue(line));
    record.digitValue = static_cast<std::int32_t>(ReadLongValue(line));
    record.numericValue = static_cast<std::int32_t>(ReadLongValue(line));
    record.mirrored = ReadStringField(line) == "Y";
    record.oldName = info.KeepName(ReadStringField(line));
    ReadStringField(line); // a comment, which isn't kept
    record.upperCase = static_cast<char16_t>(ReadHexValue(line));
    record.lowerCase = static_cast<char16_t>(ReadHexValue(line));
    record.titleCase = static_cast<char16_t>(ReadHexValue(line));
    if (decomposition.starts_with('<'))
        record.compatibility = KZUnicode::GetCompatibility(
            std::string(decomposition.substr(0, decomposition.find(' '))).c_str());
    info[unit] = record;
}

long KZUnicodeInfoReader::ReadLongValue(char const *& cursor) { return ReadNumber<long>(cursor, 10); }

unsigned long KZUnicodeInfoReader::ReadHexValue(char const *& cursor) {
    return ReadNumber<unsigned long>(cursor, 16);
}

std::string_view KZUnicodeInfoReader::ReadStringField(char const *& cursor) {
    std::string_view const field(cursor, std::strcspn(cursor, ";"));
    cursor += field.size();
    if (*cursor) ++cursor;
    return field;
}
