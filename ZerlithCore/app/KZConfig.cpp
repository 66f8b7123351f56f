// Each look-up reads the file from its start: up to the header of the section, then up to the line with the key.
#include "ZerlithCore/app/KZConfig.h"

#include "ZerlithCore/app/detail/KZIgnoreCase.h"
#include "ZerlithCore/text/KZWideText.h"

#include <string>
#include <string_view>

namespace {

/// Removes the next token and one delimiter after it from `rest`, and returns the token; empty when there is none. Delimiters
/// before the token are skipped. The next call may use other delimiters.
std::u16string_view TakeToken(std::u16string_view & rest, std::u16string_view delimiters) {
    std::size_t const begin = rest.find_first_not_of(delimiters);
    if (begin == std::u16string_view::npos) {
        rest = {};
        return {};
    }
    rest.remove_prefix(begin);
    std::u16string_view const token = rest.substr(0, rest.find_first_of(delimiters));
    rest.remove_prefix(token.size() < rest.size() ? token.size() + 1 : token.size());
    return token;
}

/// Reads a line of any length without its line end. False at the end of the file.
bool ReadLine(std::wstreambuf & buffer, std::u16string & line) {
    using Traits = std::char_traits<wchar_t>;
    line.clear();
    auto character = buffer.sbumpc();
    if (character == Traits::eof()) return false;
    for (; character != Traits::eof() && character != L'\n'; character = buffer.sbumpc())
        KZAppendWide(line, Traits::to_char_type(character));
    if (line.ends_with(u'\r')) line.pop_back();
    return true;
}

bool FindHeader(std::wstreambuf & buffer, std::u16string & line, std::u16string_view section) {
    while (ReadLine(buffer, line)) {
        if (!line.starts_with(u'[')) continue;
        std::u16string_view rest = std::u16string_view(line).substr(1);
        std::u16string_view const name = TakeToken(rest, u"]");
        if (!name.empty() && KZDetail::EqualIgnoringCase(name, section)) return true;
    }
    return false;
}

/// Reads lines up to the one with `key`, and sets `rest` to the part of `line` after the key.
bool FindKey(std::wstreambuf & buffer, std::u16string & line, std::u16string_view key,
             std::u16string_view & rest) {
    while (ReadLine(buffer, line)) {
        if (line.starts_with(u';')) continue;
        rest = line;
        std::u16string_view const token = TakeToken(rest, u" \t=");
        if (token.starts_with(u'[')) return false;
        if (!token.empty() && KZDetail::EqualIgnoringCase(token, key)) return true;
    }
    return false;
}

} // namespace

KZConfig::KZConfig() = default;

KZConfig::KZConfig(KZString const & fileName) : fileName_(fileName), stream_(fileName) {}

KZConfig::~KZConfig() = default;

bool KZConfig::Open(KZString const & fileName) {
    KZString const name = fileName; // a copy, since `fileName` may be this object's own name
    fileName_.Clear();
    if (stream_.is_open()) stream_.close();
    stream_.clear();
    stream_.open(name);
    if (!stream_.is_open()) return false;
    fileName_ = name;
    return true;
}

bool KZConfig::IsOpen() const { return stream_.is_open(); }

KZString const KZConfig::GetString(KZString const & section, KZString const & key,
                                   KZString const & defaultValue) const {
    KZString value;
    return GetValue(section, key, value) ? value : defaultValue;
}

long KZConfig::GetLong(KZString const & section, KZString const & key, long defaultValue) const {
    KZString value;
    return GetValue(section, key, value) ? value.AsLong() : defaultValue;
}

bool KZConfig::GetBool(KZString const & section, KZString const & key, bool defaultValue) const {
    KZString value;
    if (!GetValue(section, key, value)) return defaultValue;
    std::u16string_view const text(value);
    return KZDetail::EqualIgnoringCase(text, u"1") || KZDetail::EqualIgnoringCase(text, u"yes") ||
           KZDetail::EqualIgnoringCase(text, u"true");
}

bool KZConfig::GetValue(KZString const & section, KZString const & key, KZString & value) const {
    if (!stream_.is_open()) return false;
    stream_.clear();
    stream_.seekg(0);
    std::wstreambuf & buffer = *stream_.rdbuf();
    std::u16string line;
    std::u16string_view rest;
    if (!FindHeader(buffer, line, std::u16string_view(section)) ||
        !FindKey(buffer, line, std::u16string_view(key), rest))
        return false;

    std::u16string text(TakeToken(rest, u" =\t"));
    if (text.empty()) return false;
    for (auto token = TakeToken(rest, u" \t"); !token.empty(); token = TakeToken(rest, u" \t"))
        text.append(u" ").append(token);
    value = KZString(std::u16string_view(text));
    return true;
}
