/// @file
/// The arguments of a program, split into options and file names.
///
///     KZCommandLine line(u"tool /level:3 -v report.txt", u"/-", u":", false);
///     line.GetArg(u"level", 1);      // 3
///     line.ArgPresent(u"V");         // true
///     line.GetFileName(0);           // report.txt
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <vector>

/// One argument: an option with or without a value, or anything else, which is normally a file name.
///
/// `==` and `<` compare the names only, by case.
///
/// Thread safety: one object needs outside locking.
class KZ_EXPORT KZCommandLineArgument {
public:
    /// The kinds of arguments.
    enum ArgumentType : int {
        WithoutValue = 0, // "/trace"
        WithValue = 1,    // "/trace:2"
        NonStandard = 2,  // "report.txt"
        Absent = 3,       // what a look-up gives when there is no such argument
    };

    KZCommandLineArgument() noexcept = default;
    KZCommandLineArgument(ArgumentType type, KZString const & argument, KZString const & value = KZString())
        : type_(type), argument_(argument), value_(value) {}

    [[nodiscard]] ArgumentType GetArgType() const noexcept { return type_; }
    /// The name of an option; the whole text of any other argument.
    [[nodiscard]] KZString const & GetArgument() const noexcept { return argument_; }

    [[nodiscard]] KZString const & GetValueAsString() const noexcept { return value_; }
    /// 0 for what is no number.
    [[nodiscard]] int GetValueAsInt() const { return value_.AsInt(); }
    [[nodiscard]] double GetValueAsDouble() const { return value_.AsDouble(); }
    /// The first unit; 0 when the value is empty.
    [[nodiscard]] char16_t GetValueAsChar() const noexcept { return value_[0]; }

    /// Changes the value and not the type. Numbers are formatted with "%d" and "%g".
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

/// A command line, taken apart once and asked often.
///
/// The first argument is the name of the program. Any other is an option when it begins with one of the argument
/// delimiters; the first of the value delimiters in it splits name and value, which may hold more of them:
///
///     /a           option `a` without a value
///     /a:1:2       option `a` with the value `1:2`
///     /a:          option `a` with an empty value
///     /usr/lib/x   no option but a path: a second "/" stands in the name
///     -a-b         option `a-b`
///
/// Where a name stands twice, the first one is found. Nothing here fails: an argument that is no option can be seen
/// through `GetNonStandardArguments`.
///
/// Thread safety: any number of threads may ask; changes belong to the start of the program.
class KZ_EXPORT KZCommandLine {
public:
    /// Takes the arguments as the system gives them. `argValues` has `argCount` entries (null ones count as empty),
    /// stays the caller's, and must live as long as `GetArgValues` is used.
    KZCommandLine(unsigned int argCount, char16_t const * const * argValues, KZString const & argDelimiters,
                  KZString const & valueDelimiters, bool caseSensitive);
    /// Splits `commandLine` at blanks and tabs outside double quotes; a doubled quote inside quotes is one that stays,
    /// and a quote never closed reaches to the end. A line that begins with an argument delimiter has no program
    /// name, which is then empty, unless it begins with a path.
    KZCommandLine(KZString const & commandLine, KZString const & argDelimiters,
                  KZString const & valueDelimiters, bool caseSensitive);
    KZCommandLine(KZCommandLine const & other) = default;
    KZCommandLine & operator=(KZCommandLine const & other) = default;
    virtual ~KZCommandLine();

    [[nodiscard]] KZString const & GetArgDelimiters() const noexcept { return argDelimiters_; }
    [[nodiscard]] KZString const & GetValueDelimiters() const noexcept { return valueDelimiters_; }
    [[nodiscard]] bool IsCaseSensitive() const noexcept { return caseSensitive_; }
    /// Decides how names are looked up from now on.
    void SetCaseSensitivity(bool caseSensitive) noexcept { caseSensitive_ = caseSensitive; }

    /// The first argument as it stands.
    [[nodiscard]] KZString const & GetAppName() const noexcept { return appName_; }
    /// The number of arguments with the program's name, as the constructor found them.
    [[nodiscard]] unsigned int GetArgCount() const noexcept { return argCount_; }
    /// The arguments with the program's name: the caller's array, or one that lives as long as this object and ends
    /// in a null.
    [[nodiscard]] char16_t const * const * GetArgValues() const noexcept {
        return ownPointers_.empty() ? argValues_ : ownPointers_.data();
    }
    /// All arguments but the first, as they stand.
    [[nodiscard]] std::vector<KZString> const & GetRawArgumentListVector() const noexcept {
        return rawArguments_;
    }
    /// The same, taken apart, in order; and what `AddArg` added.
    [[nodiscard]] std::vector<KZCommandLineArgument> const & GetParsedArgumentVector() const noexcept {
        return arguments_;
    }

    /// True for an option of this name, and for any other argument of this whole text.
    [[nodiscard]] bool ArgPresent(KZString const & name) const;

    /// The value of an argument; `defaultValue` only when it is absent. An option without a value gives 0 or the
    /// empty text.
    [[nodiscard]] int GetArg(KZString const & name, int defaultValue) const;
    [[nodiscard]] double GetArg(KZString const & name, double defaultValue) const;
    [[nodiscard]] KZString GetArg(KZString const & name, KZString const & defaultValue) const;

    /// Changes the value of an option that has one; does nothing for all others.
    void SetArg(KZString const & name, int value);
    void SetArg(KZString const & name, double value);
    void SetArg(KZString const & name, KZString const & value);

    /// Appends an option; false, and no change, when the name is present. With a bool: an option with an empty value
    /// for true, one without a value for false.
    bool AddArg(KZString const & name, bool value);
    bool AddArg(KZString const & name, int value);
    bool AddArg(KZString const & name, double value);
    bool AddArg(KZString const & name, KZString const & value);
    bool AddArg(KZString const & name, char16_t const * value) { return AddArg(name, KZString(value)); }

    /// The `index`-th argument that is no option, from 0; empty when there are fewer.
    [[nodiscard]] KZString GetFileName(unsigned int index) const;
    /// All arguments that are no options.
    [[nodiscard]] std::vector<KZString> GetNonStandardArguments() const;
    /// Appends to `invalid` the names of the options that aren't in `valid`. The result is the size of `invalid`, which
    /// counts what it held before, too.
    unsigned int GetInvalidArguments(std::vector<KZString> const & valid,
                                     std::vector<KZString> & invalid) const;
    /// The command line put together again, with the first delimiter of each kind. A value that holds a blank stands
    /// in double quotes; a name never does.
    [[nodiscard]] KZString GetCompleteCmdLine() const;

protected:
    void Init(unsigned int argCount, char16_t const * const * argValues, KZString const & argDelimiters,
              KZString const & valueDelimiters, bool caseSensitive);
    void Init(KZString const & commandLine, KZString const & argDelimiters, KZString const & valueDelimiters,
              bool caseSensitive);
    void SetAppName(KZString const & name) { appName_ = name; }

    void ParseCommandLine();
    [[nodiscard]] KZCommandLineArgument ParseArgument(KZString const & text) const;
    /// `text` without its lone double quotes, and with one for each doubled one.
    [[nodiscard]] KZString RemoveQuotes(KZString const & text) const;
    /// The first argument of this name; null when there is none. Valid until an argument is added.
    [[nodiscard]] KZCommandLineArgument const * GetCommandLineArgumentP(KZString const & name) const;
    [[nodiscard]] KZCommandLineArgument * GetCommandLineArgumentP(KZString const & name);
    /// The same as a copy, of type `Absent` when there is none.
    [[nodiscard]] KZCommandLineArgument GetCommandLineArgument(KZString const & name) const;

private:
    [[nodiscard]] bool IsSameName(KZString const & a, KZString const & b) const;
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
    std::vector<KZCommandLineArgument> arguments_;
    // The texts are never written, so that copies of this object share them and their pointers stay true.
    std::vector<KZString> ownTexts_;
    std::vector<char16_t const *> ownPointers_;
};
