// Reads and prints the text form of a message file, a line for each message.
#include "MessageText.h"

#include "ZerlithCore/encoding/Utf8.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <optional>

namespace {

constexpr std::string_view blanks = " \t";

struct Escape {
    char16_t letter;
    char16_t unit;
};

constexpr Escape escapes[] = {{u'n', u'\n'}, {u'r', u'\r'}, {u't', u'\t'}, {u's', u' '}, {u'\\', u'\\'}};

// A complaint about a line, without the number of the line, which the caller knows.
struct Fault {
    std::string what;
};

std::string_view Trim(std::string_view text) {
    std::size_t const begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(blanks) - begin + 1);
}

long Number(std::string_view digits) {
    std::int32_t number = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error == std::errc::result_out_of_range) throw Fault{"the number doesn't fit in 32 bits"};
    if (error != std::errc() || end != digits.data() + digits.size())
        throw Fault{"\"" + std::string(digits) + "\" is no number"};
    return number;
}

char16_t Unescaped(char16_t letter) {
    for (Escape const & escape : escapes)
        if (escape.letter == letter) return escape.unit;
    throw Fault{"a backslash stands in front of one of n, r, t, s and backslash"};
}

KZString Text(std::string_view bytes) {
    std::u16string units, text;
    if (!KZEncoding::AppendUnits(units, bytes, KZEncoding::Utf8Mode::Strict)) throw Fault{"this isn't UTF-8"};
    for (std::size_t i = 0; i < units.size(); ++i) {
        if (units[i] == u'\0') throw Fault{"a text can't have a 0 character"};
        bool const isEscape = units[i] == u'\\';
        if (isEscape) ++i;
        text += isEscape ? Unescaped(i < units.size() ? units[i] : u'\0') : units[i];
    }
    return KZString(std::u16string_view(text));
}

std::optional<TextMessage> ReadLine(std::string_view line, std::size_t number) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    line = Trim(line);
    if (line.empty() || line.front() == '#' || line.front() == ';') return std::nullopt;
    std::size_t const sign = line.find('=');
    if (sign == std::string_view::npos) throw Fault{"there is no \"=\": a message is \"number = text\""};
    return TextMessage{Number(Trim(line.substr(0, sign))), Text(Trim(line.substr(sign + 1))), number};
}

} // namespace

std::vector<TextMessage> ReadMessages(std::string_view bytes, std::vector<Complaint> & complaints) {
    constexpr std::string_view mark = "\xEF\xBB\xBF";
    if (bytes.starts_with(mark)) bytes.remove_prefix(mark.size());
    std::vector<TextMessage> messages;
    std::map<long, std::size_t> lines;
    for (std::size_t number = 1; !bytes.empty(); ++number) {
        std::size_t const end = std::min(bytes.find('\n'), bytes.size());
        try {
            if (std::optional<TextMessage> const message = ReadLine(bytes.substr(0, end), number)) {
                auto const [first, isNew] = lines.emplace(message->id, number);
                if (!isNew)
                    throw Fault{std::to_string(message->id) + " stands in line " +
                                std::to_string(first->second) + " already"};
                messages.push_back(*message);
            }
        } catch (Fault const & fault) {
            complaints.push_back({number, fault.what});
        }
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    return messages;
}

std::string PrintMessage(long id, KZString const & text) {
    std::u16string_view const units(text);
    std::u16string line;
    for (std::size_t i = 0; i < units.size(); ++i) {
        bool const isAtEnd = i == 0 || i + 1 == units.size();
        char16_t letter = 0;
        for (Escape const & escape : escapes)
            if (escape.unit == units[i] && (isAtEnd || units[i] != u' ')) letter = escape.letter;
        if (letter != 0) line += u'\\';
        line += letter != 0 ? letter : units[i];
    }
    std::string const printed = KZEncoding::UnitsToUtf8(line, KZEncoding::Utf8Mode::Replace);
    return std::to_string(id) + (printed.empty() ? " =" : " = ") + printed;
}
