// Each look-up reads the file from its start: up to the header of the section, then up to the line with the key.
#include "ZerlithCore/app/KZConfig.h"

#include "ZerlithCore/app/detail/KZIgnoreCase.h"
#include "ZerlithCore/files/detail/UnitFile.h"

#include <string>
#include <string_view>
#include <utility>

namespace {

using KZDetail::UnitFile;

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
bool ReadLine(UnitFile & file, std::u16string & line) {
    if (!file.ReadLine(line)) return false;
    if (line.ends_with(u'\r')) line.pop_back();
    return true;
}

bool FindHeader(UnitFile & file, std::u16string & line, std::u16string_view section) {
    while (ReadLine(file, line)) {
        if (!line.starts_with(u'[')) continue;
        std::u16string_view rest = std::u16string_view(line).substr(1);
        std::u16string_view const name = TakeToken(rest, u"]");
        if (!name.empty() && KZDetail::EqualIgnoringCase(name, section)) return true;
    }
    return false;
}

/// Reads lines up to the one with `key`, and sets `rest` to the part of `line` after the key.
bool FindKey(UnitFile & file, std::u16string & line, std::u16string_view key, std::u16string_view & rest) {
    while (ReadLine(file, line)) {
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

KZConfig::KZConfig(KZString const & fileName) {
    Open(fileName);
    fileName_ = fileName;
}

KZConfig::~KZConfig() = default;

bool KZConfig::Open(KZString const & fileName) {
    KZString const name = fileName; // a copy, since `fileName` may be this object's own name
    fileName_.Clear();
    file_.reset();
    auto file = std::make_unique<UnitFile>();
    if (!file->Open(std::u16string_view(name), std::ios_base::in)) return false;
    file_ = std::move(file);
    fileName_ = name;
    return true;
}

bool KZConfig::IsOpen() const { return file_ != nullptr; }

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
    if (!file_) return false;
    file_->Seek(0, KZPlatform::FileOrigin::Begin);
    std::u16string line;
    std::u16string_view rest;
    if (!FindHeader(*file_, line, std::u16string_view(section)) ||
        !FindKey(*file_, line, std::u16string_view(key), rest))
        return false;

    std::u16string text(TakeToken(rest, u" =\t"));
    if (text.empty()) return false;
    for (auto token = TakeToken(rest, u" \t"); !token.empty(); token = TakeToken(rest, u" \t"))
        text.append(u" ").append(token);
    value = KZString(std::u16string_view(text));
    return true;
}
