// Splits a command line into arguments, each an option or a file name, and joins them again.
#include "ZerlithCore/app/KZCommandLine.h"

#include "ZerlithCore/app/detail/KZIgnoreCase.h"
#include "ZerlithCore/encoding/Units.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char16_t quote = u'"';

bool Contains(KZString const & set, char16_t unit) {
    return std::u16string_view(set).find(unit) != std::u16string_view::npos;
}

/// Calls `take` with each non-empty part of the line between blanks outside quotes.
template <class Take>
void SplitAtBlanks(std::u16string_view line, Take take) {
    bool isInQuotes = false;
    std::size_t start = 0;
    auto const takeUpTo = [&](std::size_t end) {
        if (end > start) take(line.substr(start, end - start));
        start = end + 1;
    };
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == quote) {
            bool const isDoubled = isInQuotes && i + 1 < line.size() && line[i + 1] == quote;
            if (isDoubled)
                ++i;
            else
                isInQuotes = !isInQuotes;
        } else if (!isInQuotes && KZEncoding::IsBlank(line[i])) {
            takeUpTo(i);
        }
    }
    takeUpTo(line.size());
}

} // namespace

KZCommandLine::KZCommandLine(unsigned int argCount, char16_t const * const * argValues,
                             KZString const & argDelimiters, KZString const & valueDelimiters,
                             bool caseSensitive) {
    Init(argCount, argValues, argDelimiters, valueDelimiters, caseSensitive);
}

KZCommandLine::KZCommandLine(KZString const & commandLine, KZString const & argDelimiters,
                             KZString const & valueDelimiters, bool caseSensitive) {
    Init(commandLine, argDelimiters, valueDelimiters, caseSensitive);
}

KZCommandLine::~KZCommandLine() = default;

bool KZCommandLine::ArgPresent(KZString const & name) const {
    return GetCommandLineArgument(name).GetArgType() != KZCommandLineArgument::Absent;
}

int KZCommandLine::GetArg(KZString const & name, int defaultValue) const {
    KZCommandLineArgument const * const found = GetCommandLineArgumentP(name);
    return found ? found->GetValueAsInt() : defaultValue;
}

double KZCommandLine::GetArg(KZString const & name, double defaultValue) const {
    KZCommandLineArgument const * const found = GetCommandLineArgumentP(name);
    return found ? found->GetValueAsDouble() : defaultValue;
}

KZString KZCommandLine::GetArg(KZString const & name, KZString const & defaultValue) const {
    KZCommandLineArgument const * const found = GetCommandLineArgumentP(name);
    return found ? found->GetValueAsString() : defaultValue;
}

void KZCommandLine::SetArg(KZString const & name, int value) { SetValue(name, value); }

void KZCommandLine::SetArg(KZString const & name, double value) { SetValue(name, value); }

void KZCommandLine::SetArg(KZString const & name, KZString const & value) { SetValue(name, value); }

bool KZCommandLine::AddArg(KZString const & name, bool value) {
    if (ArgPresent(name)) return false;
    arguments_.emplace_back(value ? KZCommandLineArgument::WithValue : KZCommandLineArgument::WithoutValue,
                            name);
    return true;
}

bool KZCommandLine::AddArg(KZString const & name, int value) { return AddValue(name, value); }

bool KZCommandLine::AddArg(KZString const & name, double value) { return AddValue(name, value); }

bool KZCommandLine::AddArg(KZString const & name, KZString const & value) { return AddValue(name, value); }

KZString KZCommandLine::GetFileName(unsigned int index) const {
    for (KZCommandLineArgument const & argument : arguments_)
        if (argument.GetArgType() == KZCommandLineArgument::NonStandard && index-- == 0)
            return argument.GetArgument();
    return {};
}

std::vector<KZString> KZCommandLine::GetNonStandardArguments() const {
    std::vector<KZString> names;
    for (KZCommandLineArgument const & argument : arguments_)
        if (argument.GetArgType() == KZCommandLineArgument::NonStandard)
            names.push_back(argument.GetArgument());
    return names;
}

unsigned int KZCommandLine::GetInvalidArguments(std::vector<KZString> const & valid,
                                                std::vector<KZString> & invalid) const {
    std::vector<KZString> unknown; // gathered apart, since `valid` and `invalid` may be the same vector
    for (KZCommandLineArgument const & argument : arguments_) {
        bool const isOption = argument.GetArgType() == KZCommandLineArgument::WithoutValue ||
                              argument.GetArgType() == KZCommandLineArgument::WithValue;
        auto const isThis = [&](KZString const & name) { return IsSameName(argument.GetArgument(), name); };
        if (isOption && std::none_of(valid.begin(), valid.end(), isThis))
            unknown.push_back(argument.GetArgument());
    }
    invalid.insert(invalid.end(), unknown.begin(), unknown.end());
    return static_cast<unsigned int>(invalid.size());
}

KZString KZCommandLine::GetCompleteCmdLine() const {
    KZString const argDelimiter = argDelimiters_.SubStr(0, 1), valueDelimiter = valueDelimiters_.SubStr(0, 1);
    KZString line = appName_;
    for (KZCommandLineArgument const & argument : arguments_) {
        if (!line.IsNull()) line += u' ';
        if (argument.GetArgType() != KZCommandLineArgument::NonStandard) line += argDelimiter;
        line += argument.GetArgument();
        if (argument.GetArgType() != KZCommandLineArgument::WithValue) continue;
        line += valueDelimiter;
        bool const isQuoted = Contains(argument.GetValueAsString(), u' ');
        if (isQuoted) line += quote;
        line += argument.GetValueAsString();
        if (isQuoted) line += quote;
    }
    return line;
}

void KZCommandLine::Init(unsigned int argCount, char16_t const * const * argValues,
                         KZString const & argDelimiters, KZString const & valueDelimiters,
                         bool caseSensitive) {
    ownTexts_.clear();
    ownPointers_.clear();
    argCount_ = argValues ? argCount : 0;
    argValues_ = argValues;
    argDelimiters_ = argDelimiters;
    valueDelimiters_ = valueDelimiters;
    caseSensitive_ = caseSensitive;
    ParseCommandLine();
}

void KZCommandLine::Init(KZString const & commandLine, KZString const & argDelimiters,
                         KZString const & valueDelimiters, bool caseSensitive) {
    argDelimiters_ = argDelimiters;
    valueDelimiters_ = valueDelimiters;
    caseSensitive_ = caseSensitive;
    ownTexts_.clear();
    SplitAtBlanks(std::u16string_view(commandLine), [&](std::u16string_view token) {
        KZString const text = RemoveQuotes(KZString(token));
        if (ownTexts_.empty() && LacksProgramName(text, commandLine[0])) ownTexts_.emplace_back();
        ownTexts_.push_back(text);
    });
    if (ownTexts_.empty()) ownTexts_.emplace_back();

    argCount_ = static_cast<unsigned int>(ownTexts_.size());
    argValues_ = nullptr;
    ownPointers_.assign(ownTexts_.size() + 1, nullptr);
    std::transform(ownTexts_.begin(), ownTexts_.end(), ownPointers_.begin(),
                   [](KZString const & text) { return text.c_str(); });
    ParseCommandLine();
}

void KZCommandLine::ParseCommandLine() {
    appName_ = argCount_ > 0 ? KZString(GetArgValues()[0]) : KZString();
    rawArguments_.clear();
    arguments_.clear();
    for (unsigned int i = 1; i < argCount_; ++i) {
        rawArguments_.emplace_back(GetArgValues()[i]);
        arguments_.push_back(ParseArgument(rawArguments_.back()));
    }
}

KZCommandLineArgument KZCommandLine::ParseArgument(KZString const & text) const {
    using Argument = KZCommandLineArgument;
    if (text.IsNull()) return {};
    if (!Contains(argDelimiters_, text[0])) return {Argument::NonStandard, text};

    std::u16string_view const units(text);
    std::size_t const split = units.find_first_of(std::u16string_view(valueDelimiters_));
    // "/" is a delimiter, and paths begin with it too. A second slash before the value shows that this is a path.
    bool const isPath = units[0] == u'/' && units.substr(0, split).find(u'/', 1) != std::u16string_view::npos;
    if (isPath) return {Argument::NonStandard, text};
    if (split == std::u16string_view::npos) return {Argument::WithoutValue, KZString(units.substr(1))};
    std::u16string_view const name = split > 1 ? units.substr(1, split - 1) : std::u16string_view();
    return {Argument::WithValue, KZString(name), KZString(units.substr(split + 1))};
}

KZString KZCommandLine::RemoveQuotes(KZString const & text) const {
    KZString result;
    for (auto unit = text.begin(); unit != text.end(); ++unit) {
        if (*unit != quote) {
            result += *unit;
        } else if (unit + 1 != text.end() && unit[1] == quote) {
            result += quote;
            ++unit;
        }
    }
    return result;
}

KZCommandLineArgument const * KZCommandLine::GetCommandLineArgumentP(KZString const & name) const {
    auto const found =
        std::find_if(arguments_.begin(), arguments_.end(), [&](KZCommandLineArgument const & each) {
            return IsSameName(each.GetArgument(), name);
        });
    bool const isAbsent = found == arguments_.end() || found->GetArgType() == KZCommandLineArgument::Absent;
    return isAbsent ? nullptr : &*found;
}

KZCommandLineArgument * KZCommandLine::GetCommandLineArgumentP(KZString const & name) {
    return const_cast<KZCommandLineArgument *>(std::as_const(*this).GetCommandLineArgumentP(name));
}

KZCommandLineArgument KZCommandLine::GetCommandLineArgument(KZString const & name) const {
    KZCommandLineArgument const * const found = GetCommandLineArgumentP(name);
    return found ? *found : KZCommandLineArgument();
}

bool KZCommandLine::IsSameName(KZString const & a, KZString const & b) const {
    return caseSensitive_ ? a == b : KZDetail::EqualIgnoringCase(a, b);
}

/// True when the line begins with an option instead of the program's name. A first token that looks like a path is the name,
/// although paths begin like options on some systems.
bool KZCommandLine::LacksProgramName(KZString const & firstToken, char16_t firstUnit) const {
    if (!Contains(argDelimiters_, firstUnit)) return false;
    if (firstUnit != u'/' && firstUnit != u'\\') return true;
    std::u16string_view const behind = std::u16string_view(firstToken).substr(firstToken.IsNull() ? 0 : 1);
    bool const hasValue =
        behind.find_first_of(std::u16string_view(valueDelimiters_)) != std::u16string_view::npos;
    return hasValue || behind.find_first_of(u"/\\") == std::u16string_view::npos;
}

template <class Value>
void KZCommandLine::SetValue(KZString const & name, Value const & value) {
    KZCommandLineArgument * const found = GetCommandLineArgumentP(name);
    if (found && found->GetArgType() == KZCommandLineArgument::WithValue) found->SetValue(value);
}

template <class Value>
bool KZCommandLine::AddValue(KZString const & name, Value const & value) {
    if (ArgPresent(name)) return false;
    KZCommandLineArgument added(KZCommandLineArgument::WithValue, name);
    added.SetValue(value);
    arguments_.push_back(std::move(added));
    return true;
}
