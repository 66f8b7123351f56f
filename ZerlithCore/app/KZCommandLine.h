/// @file
/// The arguments of a program, split into options and file names.
///
///     KZCommandLine line(u"tool /level:3 -v report.txt", u"/-", u":", false);
///     int const level = line.GetArg(u"level", 1);      // 3
///     bool const isVerbose = line.ArgPresent(u"V");    // true
///     KZString const file = line.GetFileName(0);       // report.txt
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <vector>

/// One argument: an option with or without a value, or anything else, which is normally a file name.
///
/// `==` and `<` compare only the names; case counts.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZCommandLineArgument {
public:
    /// The kinds of arguments.
    enum ArgumentType : int {
        WithoutValue = 0, // "/trace"
        WithValue = 1,    // "/trace:2"
        NonStandard = 2,  // "report.txt"
        Absent = 3,       // the result of a look-up when there is no such argument
    };

    KZCommandLineArgument() noexcept = default;
    KZCommandLineArgument(ArgumentType type, KZString const & argument, KZString const & value = KZString())
        : type_(type), argument_(argument), value_(value) {}

    [[nodiscard]] ArgumentType GetArgType() const noexcept { return type_; }
    /// The name of an option; the whole text of any other argument.
    [[nodiscard]] KZString const & GetArgument() const noexcept { return argument_; }

    [[nodiscard]] KZString const & GetValueAsString() const noexcept { return value_; }
    /// The value as a number; 0 if it isn't one.
    [[nodiscard]] int GetValueAsInt() const { return value_.AsInt(); }
    [[nodiscard]] double GetValueAsDouble() const { return value_.AsDouble(); }
    /// The first unit; 0 when the value is empty.
    [[nodiscard]] char16_t GetValueAsChar() const noexcept { return value_[0]; }

    /// Changes the value but not the type. Numbers are formatted with "%d" and "%g".
    void SetValue(KZString const & value) { value_ = value; }
    void SetValue(int value) { value_.Format(u"%d", value); }
    void SetValue(double value) { value_.Format(u"%g", value); }
    void SetValue(char16_t value) { value_ = value; }

    friend bool operator==(KZCommandLineArgument const & a, KZCommandLineArgument const & b) {
        return a.argument_ == b.argument_;
    }
    friend bool operator<(KZCommandLineArgument const & a, KZCommandLineArgument const & b) {
        return a.argument_ < b.argument_;
    }

private:
    ArgumentType type_ = Absent;
    KZString argument_;
    KZString value_;
};

/// A command line, which is split into its arguments when the object is made.
///
/// The first argument is the name of the program. Any other argument that begins with an argument delimiter is an option.
/// Its name ends at the first value delimiter; the value may contain more of them:
///
///     /a           option `a` without a value
///     /a:1:2       option `a` with the value `1:2`
///     /a:          option `a` with an empty value
///     /usr/lib/x   a path and not an option, since the name contains a second "/"
///     -a-b         option `a-b`
///
/// `UseLongOptions` adds the forms that are usual on Linux.
///
/// If two options have the same name, the first one is found. Splitting can't fail: an argument that isn't an option is kept
/// for `GetNonStandardArguments`. Errors: std::bad_alloc only.
///
/// Thread safety: any number of threads may call the const operations, while no thread changes the object.
class KZ_EXPORT KZCommandLine {
public:
    /// Takes the arguments as the system passes them. `argValues` has `argCount` entries; a null entry counts as empty. It stays
    /// the caller's and must exist as long as `GetArgValues` is used.
    KZCommandLine(unsigned int argCount, char16_t const * const * argValues, KZString const & argDelimiters,
                  KZString const & valueDelimiters, bool caseSensitive);
    /// Splits `commandLine` at blanks and tabs outside double quotes. Inside quotes a doubled quote stands for one. A quote that
    /// isn't closed reaches to the end. If the line begins with an option and not with a path, the name of the program is
    /// empty.
    KZCommandLine(KZString const & commandLine, KZString const & argDelimiters,
                  KZString const & valueDelimiters, bool caseSensitive);
    KZCommandLine(KZCommandLine const & other) = default;
    KZCommandLine & operator=(KZCommandLine const & other) = default;
    virtual ~KZCommandLine();

    /// Splits the arguments again, so that `--name=value`, `--name value` and `-x` are options, too. Values that were set and
    /// arguments that were added before are lost, so call it first. "-" must be among the argument delimiters.
    ///
    ///     --name=value   option `name` with the value `value`; so are `--name:value` and `-name=value`
    ///     --name value   the same if `withValue` has the name; otherwise an option without a value, and a file name
    ///     --name         option `name` without a value; so is `-name`
    ///     --             ends the options: all arguments behind it are file names
    ///     -              a file name
    ///
    /// Options that begin with another delimiter, such as `/name:value`, are split as before. An option of `withValue` takes any
    /// next argument as its value, also one that looks like an option; at the end of the line it has no value. Errors:
    /// std::bad_alloc, and nothing has changed.
    void UseLongOptions(std::vector<KZString> const & withValue = {});
    [[nodiscard]] bool UsesLongOptions() const noexcept { return usesLongOptions_; }

    [[nodiscard]] KZString const & GetArgDelimiters() const noexcept { return argDelimiters_; }
    [[nodiscard]] KZString const & GetValueDelimiters() const noexcept { return valueDelimiters_; }
    [[nodiscard]] bool IsCaseSensitive() const noexcept { return caseSensitive_; }
    /// Sets whether later look-ups distinguish upper and lower case.
    void SetCaseSensitivity(bool caseSensitive) noexcept { caseSensitive_ = caseSensitive; }

    /// The first argument, unchanged.
    [[nodiscard]] KZString const & GetAppName() const noexcept { return appName_; }
    /// The number of arguments that the constructor found, the program's name included.
    [[nodiscard]] unsigned int GetArgCount() const noexcept { return argCount_; }
    /// The arguments, the program's name included: the caller's array, or one that exists as long as this object and ends in a
    /// null.
    [[nodiscard]] char16_t const * const * GetArgValues() const noexcept {
        return ownPointers_.empty() ? argValues_ : ownPointers_.data();
    }
    /// All arguments except the first, unchanged.
    [[nodiscard]] std::vector<KZString> const & GetRawArgumentListVector() const noexcept {
        return rawArguments_;
    }
    /// The same arguments, split into names and values, in order, and those that `AddArg` added.
    [[nodiscard]] std::vector<KZCommandLineArgument> const & GetParsedArgumentVector() const noexcept {
        return arguments_;
    }

    /// True if there is an option of this name, or another argument that equals `name`.
    [[nodiscard]] bool ArgPresent(KZString const & name) const;

    /// The value of an argument; `defaultValue` if it is absent. For an option without a value 0 or an empty text.
    [[nodiscard]] int GetArg(KZString const & name, int defaultValue) const;
    [[nodiscard]] double GetArg(KZString const & name, double defaultValue) const;
    [[nodiscard]] KZString GetArg(KZString const & name, KZString const & defaultValue) const;

    /// Changes the value of an option that has one. Does nothing for an option without a value and for a missing one.
    void SetArg(KZString const & name, int value);
    void SetArg(KZString const & name, double value);
    void SetArg(KZString const & name, KZString const & value);

    /// Appends an option. False, without a change, when the name is present already. With the bool true the option has an empty
    /// value, with false it has no value.
    bool AddArg(KZString const & name, bool value);
    bool AddArg(KZString const & name, int value);
    bool AddArg(KZString const & name, double value);
    bool AddArg(KZString const & name, KZString const & value);
    bool AddArg(KZString const & name, char16_t const * value) { return AddArg(name, KZString(value)); }

    /// The argument number `index`, from 0, among those that aren't options; empty when there are fewer.
    [[nodiscard]] KZString GetFileName(unsigned int index) const;
    /// All arguments that aren't options.
    [[nodiscard]] std::vector<KZString> GetNonStandardArguments() const;
    /// Appends to `invalid` the names of the options that aren't in `valid`. Returns the size of `invalid`, which includes what
    /// it held before.
    unsigned int GetInvalidArguments(std::vector<KZString> const & valid,
                                     std::vector<KZString> & invalid) const;
    /// The arguments joined into one command line, with the first delimiter of each kind. A value with a blank gets double
    /// quotes, a name never does.
    ///
    /// With long options, a KZCommandLine made of the result with the same delimiters and the same `UseLongOptions` has the same
    /// options and file names. Options come before a "--". What can't be kept: empty arguments that are no values, names with
    /// delimiters that `AddArg` gave, and, in a line without a program's name, a first option that looks like a path, such as
    /// `/a=\b`.
    [[nodiscard]] KZString GetCompleteCmdLine() const;

protected:
    // As the constructors.
    void Init(unsigned int argCount, char16_t const * const * argValues, KZString const & argDelimiters,
              KZString const & valueDelimiters, bool caseSensitive);
    void Init(KZString const & commandLine, KZString const & argDelimiters, KZString const & valueDelimiters,
              bool caseSensitive);
    void SetAppName(KZString const & name) { appName_ = name; }

    /// Splits the raw arguments into names and values.
    void ParseCommandLine();
    [[nodiscard]] KZCommandLineArgument ParseArgument(KZString const & text) const;
    /// `text` with single double quotes removed, and with one quote in place of each doubled one.
    [[nodiscard]] KZString RemoveQuotes(KZString const & text) const;
    /// The first argument of this name; null when there is none. Valid until an argument is added.
    [[nodiscard]] KZCommandLineArgument const * GetCommandLineArgumentP(KZString const & name) const;
    [[nodiscard]] KZCommandLineArgument * GetCommandLineArgumentP(KZString const & name);
    /// The same as a copy, of type `Absent` when there is none.
    [[nodiscard]] KZCommandLineArgument GetCommandLineArgument(KZString const & name) const;

private:
    [[nodiscard]] bool IsSameName(KZString const & a, KZString const & b) const;
    [[nodiscard]] std::vector<KZCommandLineArgument> ParseLong(std::vector<KZString> const & withValue) const;
    [[nodiscard]] KZCommandLineArgument ParseLongArgument(KZString const & text) const;
    [[nodiscard]] bool Contains(std::vector<KZString> const & names, KZString const & name) const;
    [[nodiscard]] bool IsDashed(KZString const & text) const;
    [[nodiscard]] KZString GetLongCmdLine() const;
    [[nodiscard]] KZString SpelledLong(KZCommandLineArgument const & option) const;
    [[nodiscard]] bool LacksProgramName(KZString const & firstToken, char16_t firstUnit) const;
    template <class Value>
    void SetValue(KZString const & name, Value const & value);
    template <class Value>
    bool AddValue(KZString const & name, Value const & value);

    unsigned int argCount_ = 0;
    char16_t const * const * argValues_ = nullptr;
    std::vector<KZString> rawArguments_;
    KZString appName_;
    KZString argDelimiters_;
    KZString valueDelimiters_;
    bool caseSensitive_ = false;
    bool usesLongOptions_ = false;
    std::vector<KZString> withValue_; // the long options that take the next argument as their value
    std::vector<KZCommandLineArgument> arguments_;
    // The texts are never changed, so copies of this object share them and the pointers stay valid.
    std::vector<KZString> ownTexts_;
    std::vector<char16_t const *> ownPointers_;
};
