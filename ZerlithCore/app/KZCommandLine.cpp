// Splits a command line into arguments, each an option or a file name, and joins them again.
//
// What is joined with long options must be split into the same again. Quotes are removed without a look at what is around
// them: n quotes in a row become n/2, rounded down. So a text's own quotes are doubled, and one more at both ends holds blanks
// together.
#include "ZerlithCore/app/KZCommandLine.h"

#include "ZerlithCore/app/detail/KZIgnoreCase.h"
#include "ZerlithCore/encoding/Units.h"

#include <algorithm>
#include <utility>

namespace {

constexpr char16_t quote = u'"';

bool HasUnit(KZString const & set, char16_t unit) {
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

bool IsOption(KZCommandLineArgument const & argument) {
    return argument.GetArgType() == KZCommandLineArgument::WithoutValue ||
           argument.GetArgType() == KZCommandLineArgument::WithValue;
}

/// The text from which splitting makes `text` again.
KZString Quoted(KZString const & text) {
    bool const hasBlank = std::ranges::any_of(std::u16string_view(text), KZEncoding::IsBlank);
    KZString quoted(hasBlank ? u"\"" : u"");
    for (char16_t const unit : std::u16string_view(text)) {
        if (unit == quote) quoted += quote;
        quoted += unit;
    }
    if (hasBlank) quoted += quote;
    return quoted;
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

void KZCommandLine::UseLongOptions(std::vector<KZString> const & withValue) {
    std::vector<KZString> names = withValue;
    std::vector<KZCommandLineArgument> arguments = ParseLong(names);
    usesLongOptions_ = true;
    withValue_.swap(names);
    arguments_.swap(arguments);
}

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
        if (IsOption(argument) && !Contains(valid, argument.GetArgument()))
            unknown.push_back(argument.GetArgument());
    }
    invalid.insert(invalid.end(), unknown.begin(), unknown.end());
    return static_cast<unsigned int>(invalid.size());
}

KZString KZCommandLine::GetCompleteCmdLine() const {
    if (usesLongOptions_) return GetLongCmdLine();
    KZString const argDelimiter = argDelimiters_.SubStr(0, 1), valueDelimiter = valueDelimiters_.SubStr(0, 1);
    KZString line = appName_;
    for (KZCommandLineArgument const & argument : arguments_) {
        if (!line.IsNull()) line += u' ';
        if (argument.GetArgType() != KZCommandLineArgument::NonStandard) line += argDelimiter;
        line += argument.GetArgument();
        if (argument.GetArgType() != KZCommandLineArgument::WithValue) continue;
        line += valueDelimiter;
        bool const isQuoted = HasUnit(argument.GetValueAsString(), u' ');
        if (isQuoted) line += quote;
        line += argument.GetValueAsString();
        if (isQuoted) line += quote;
    }
    return line;
}

// Behind "--" an option can't stand, so an option that was added behind such a file name comes before it.
KZString KZCommandLine::GetLongCmdLine() const {
    using Argument = KZCommandLineArgument;
    std::vector<Argument> arguments = arguments_;
    std::erase_if(arguments, [](Argument const & each) { return each.GetArgType() == Argument::Absent; });
    auto const mustFollowTheEnd = [&](Argument const & each) {
        bool const isFirst = &each == arguments.data();
        return !IsOption(each) && ((isFirst && appName_.IsNull()) || each.GetArgument() == u"--" ||
                                   IsOption(ParseLongArgument(each.GetArgument())));
    };
    auto const protectedFrom = std::ranges::find_if(arguments, mustFollowTheEnd);
    auto const end = std::stable_partition(protectedFrom, arguments.end(), IsOption);

    // A name in quotes doesn't look like an option.
    bool const looksLikeOption = HasUnit(argDelimiters_, appName_[0]) && !appName_.IsNull();
    KZString const name = Quoted(appName_);
    KZString line = looksLikeOption && name[0] != quote ? u'"' + name + u'"' : name;
    for (auto each = arguments.begin(); each != arguments.end(); ++each) {
        if (!line.IsNull()) line += u' ';
        if (each == end) line += u"-- ";
        line += IsOption(*each) ? SpelledLong(*each) : Quoted(each->GetArgument());
    }
    return line;
}

/// The option as `--name=value`; in the form of another delimiter if that would be read as something else.
KZString KZCommandLine::SpelledLong(KZCommandLineArgument const & option) const {
    KZString const & name = option.GetArgument();
    bool const hasValue = option.GetArgType() == KZCommandLineArgument::WithValue;
    bool const isMisread =
        HasUnit(name, u'=') || (!hasValue && (name.IsNull() || Contains(withValue_, name)));
    std::size_t const other = std::u16string_view(argDelimiters_).find_first_not_of(u'-');
    bool const isLong = !isMisread || other == std::u16string_view::npos;

    KZString text = isLong ? KZString(u"--") : KZString(argDelimiters_[static_cast<std::uint32_t>(other)]);
    text += Quoted(name);
    if (!hasValue) return text;
    text += isLong ? u'=' : valueDelimiters_[0];
    text += Quoted(option.GetValueAsString());
    return text;
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
    usesLongOptions_ = false;
    withValue_.clear();
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
    if (!HasUnit(argDelimiters_, text[0])) return {Argument::NonStandard, text};

    std::u16string_view const units(text);
    std::size_t const split = units.find_first_of(std::u16string_view(valueDelimiters_));
    // "/" is a delimiter, and paths begin with it too. A second slash before the value shows that this is a path.
    bool const isPath = units[0] == u'/' && units.substr(0, split).find(u'/', 1) != std::u16string_view::npos;
    if (isPath) return {Argument::NonStandard, text};
    if (split == std::u16string_view::npos) return {Argument::WithoutValue, KZString(units.substr(1))};
    std::u16string_view const name = split > 1 ? units.substr(1, split - 1) : std::u16string_view();
    return {Argument::WithValue, KZString(name), KZString(units.substr(split + 1))};
}

std::vector<KZCommandLineArgument> KZCommandLine::ParseLong(std::vector<KZString> const & withValue) const {
    using Argument = KZCommandLineArgument;
    std::vector<Argument> arguments;
    auto text = rawArguments_.begin();
    for (; text != rawArguments_.end() && *text != u"--"; ++text) {
        Argument argument = ParseLongArgument(*text);
        bool const takesNext = IsDashed(*text) && argument.GetArgType() == Argument::WithoutValue &&
                               Contains(withValue, argument.GetArgument());
        if (takesNext && text + 1 != rawArguments_.end())
            argument = {Argument::WithValue, argument.GetArgument(), *++text};
        arguments.push_back(argument);
    }
    if (text == rawArguments_.end()) return arguments;
    while (++text != rawArguments_.end())
        arguments.emplace_back(text->IsNull() ? Argument::Absent : Argument::NonStandard, *text);
    return arguments;
}

KZCommandLineArgument KZCommandLine::ParseLongArgument(KZString const & text) const {
    using Argument = KZCommandLineArgument;
    if (!IsDashed(text)) return ParseArgument(text);
    if (text.Length() == 1) return {Argument::NonStandard, text};
    std::u16string_view units(text);
    units.remove_prefix(units.starts_with(u"--") ? 2 : 1);
    std::size_t const split = units.find_first_of(std::u16string_view(u"=" + valueDelimiters_));
    if (split == std::u16string_view::npos) return {Argument::WithoutValue, KZString(units)};
    return {Argument::WithValue, KZString(units.substr(0, split)), KZString(units.substr(split + 1))};
}

bool KZCommandLine::Contains(std::vector<KZString> const & names, KZString const & name) const {
    return std::ranges::any_of(names, [&](KZString const & each) { return IsSameName(each, name); });
}

/// True when "-" opens an option and `text` begins with it.
bool KZCommandLine::IsDashed(KZString const & text) const {
    return text[0] == u'-' && HasUnit(argDelimiters_, u'-');
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
    if (!HasUnit(argDelimiters_, firstUnit)) return false;
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
