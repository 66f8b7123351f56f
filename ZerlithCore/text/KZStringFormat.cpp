// KZString::Format: the printf-style formatter.
#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/text/KZString.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/text/KZWideText.h"
#include "ZerlithCore/text/detail/KZFixedDigits.h"
#include "ZerlithCore/text/detail/KZUnitBuffer.h"
#include "ZerlithCore/text/detail/KZUnitScan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cmath>
#include <cstring>
#include <utility>

// The format is read once. Each conversion is put together in pieces (prefix, zeros, body) and written to a buffer that
// starts on the stack and moves to the heap when it grows. The string gets the result at the end, so arguments may
// point into the string. Numbers are made by std::to_chars, whose digits are the C locale's whatever the program's
// locale is; for most doubles in "%f" a shorter way leads to the same digits (KZFixedDigits.h).
//
// Arguments come with their types, or from a started list, from which each is read with the type that its conversion
// says. The class `Arguments` hides that difference.
//
// A huge width or precision can't exhaust memory: padding stops at `maxPadding` units.

namespace {

using KZDetail::FormatArgument;
using KZDetail::UnitBuffer;
using Kind = FormatArgument::Kind;

constexpr int maxPadding = 1 << 20;

/// More digits than any double has after its point; the digits beyond are zeros.
constexpr int maxDoubleDigits = 1100;

enum class ArgumentSize { Char, Short, Default, Long, Quad };

/// One conversion of the format.
struct Conversion {
    bool left = false, plus = false, blank = false, alternate = false, zeros = false;
    int width = 0;
    int precision = -1; // -1: none given
    ArgumentSize size = ArgumentSize::Default;
    char16_t letter = u'\0';
};

/// The pieces of a number, between which padding may be put.
struct Number {
    std::string_view sign;
    std::size_t zeros = 0; // between sign and digits
    std::string_view digits;
    std::size_t moreZeros = 0; // after the digits
    std::string_view exponent;

    [[nodiscard]] std::size_t Size() const noexcept {
        return sign.size() + zeros + digits.size() + moreZeros + exponent.size();
    }
};

/// The letters of all conversions, as bits from 'A' on.
constexpr std::uint64_t conversionLetters = [] {
    std::uint64_t letters = 0;
    for (char const letter : std::string_view("dsuxcfgiXpSeEGoCn"))
        letters |= std::uint64_t{1} << (letter - 'A');
    return letters;
}();

constexpr bool IsConversion(char16_t letter) noexcept {
    return letter >= u'A' && letter < u'A' + 64 && (conversionLetters >> (letter - u'A') & 1) != 0;
}

/// Reads a decimal number, stopping at the largest int.
int ReadNumber(char16_t const *& format) noexcept {
    std::int64_t value = 0;
    for (; *format >= u'0' && *format <= u'9'; ++format) {
        value = std::min<std::int64_t>(value * 10 + (*format - u'0'), INT_MAX);
    }
    return static_cast<int>(value);
}

/// Gives the arguments, one after the other.
class Arguments {
public:
    Arguments(FormatArgument const * typed, std::size_t count) noexcept : next_(typed), left_(count) {}
    explicit Arguments(std::va_list list) : isTyped_(false) { va_copy(list_, list); }
    ~Arguments() {
        if (!isTyped_) va_end(list_);
    }
    Arguments(Arguments const &) = delete;
    Arguments & operator=(Arguments const &) = delete;

    /// The argument for `conversion`. A conversion that can't show it is changed to one that can, such as "%d" to "%s".
    FormatArgument Take(Conversion & conversion) {
        if (!isTyped_) return TakeListed(conversion);
        FormatArgument const argument = TakeTyped();
        if (!CanShow(conversion.letter, argument.kind)) {
            constexpr char16_t own[] = {u'd', u'd', u'u', u'c', u'g', u's', u's', u's', u'p', u'p'};
            conversion.letter = own[static_cast<std::size_t>(argument.kind)];
            conversion.size = ArgumentSize::Default;
        }
        return argument;
    }

    /// The argument for a `*`; `fallback` if it isn't an integer.
    int TakeInt(int fallback) {
        if (!isTyped_) return va_arg(list_, int);
        FormatArgument const argument = TakeTyped();
        auto const value = static_cast<std::int64_t>(argument.bits);
        switch (argument.kind) {
        case Kind::Unsigned: return argument.bits > INT_MAX ? INT_MAX : static_cast<int>(argument.bits);
        case Kind::Signed:
        case Kind::Character: return static_cast<int>(std::clamp<std::int64_t>(value, INT_MIN, INT_MAX));
        default: return fallback;
        }
    }

private:
    FormatArgument TakeTyped() noexcept {
        if (left_ == 0) return {};
        --left_;
        return *next_++;
    }

    static bool CanShow(char16_t letter, Kind kind) noexcept {
        bool const isText = kind >= Kind::Units && kind <= Kind::Wide;
        switch (letter) {
        case u'e':
        case u'E':
        case u'f':
        case u'g':
        case u'G': return kind <= Kind::Double;
        case u's':
        case u'S': return kind == Kind::None || isText || kind == Kind::Untyped;
        case u'p': return kind != Kind::Double;
        case u'n': return true;
        default: return kind != Kind::Double && !isText;
        }
    }

    FormatArgument TakeListed(Conversion const & conversion) {
        switch (conversion.letter) {
        case u'd':
        case u'i':
            if (conversion.size == ArgumentSize::Quad) return va_arg(list_, long long);
            if (conversion.size == ArgumentSize::Long) return va_arg(list_, long);
            return va_arg(list_, int);
        case u'o':
        case u'u':
        case u'x':
        case u'X':
            if (conversion.size == ArgumentSize::Quad) return va_arg(list_, unsigned long long);
            if (conversion.size == ArgumentSize::Long) return va_arg(list_, unsigned long);
            return va_arg(list_, unsigned int);
        case u'c':
        case u'C': return va_arg(list_, int);
        case u'e':
        case u'E':
        case u'f':
        case u'g':
        case u'G': return va_arg(list_, double);
        case u'n': return TakeTarget(conversion.size);
        default: return va_arg(list_, void const *);
        }
    }

    FormatArgument TakeTarget(ArgumentSize size) {
        switch (size) {
        case ArgumentSize::Quad: return va_arg(list_, long long *);
        case ArgumentSize::Long: return va_arg(list_, long *);
        case ArgumentSize::Short: return va_arg(list_, short *);
        case ArgumentSize::Char: return va_arg(list_, signed char *);
        default: return va_arg(list_, int *);
        }
    }

    FormatArgument const * next_ = nullptr;
    std::size_t left_ = 0;
    bool isTyped_ = true;
    std::va_list list_;
};

class Formatter {
public:
    Formatter(UnitBuffer & out, Arguments & arguments) noexcept : arguments_(arguments), out_(out) {}

    void Run(char16_t const * format) {
        for (;;) {
            char16_t const * const start = format;
            while (*format != u'%' && *format != u'\0') ++format;
            out_.Put(std::u16string_view(start, static_cast<std::size_t>(format - start)));
            if (*format == u'\0') return out_.Cut(std::min(out_.Size(), end_));
            ++format;
            Conversion conversion = Read(format);
            Write(conversion);
        }
    }

private:
    /// Reads what follows the "%" up to the letter. A width or precision of `*` is taken from the arguments.
    Conversion Read(char16_t const *& format) {
        Conversion conversion;
        bool const hasWidth = ReadFlags(format, conversion);
        if (!hasWidth) conversion.width = std::min(ReadNumber(format), maxPadding);
        if (*format == u'.') {
            ++format;
            if (*format == u'*') {
                ++format;
                conversion.precision = std::max(arguments_.TakeInt(-1), -1);
            } else {
                conversion.precision = ReadNumber(format);
            }
        }
        ReadSizes(format, conversion);
        conversion.letter = *format;
        if (*format != u'\0') ++format;
        return conversion;
    }

    /// Reads flags and returns true when a `*` gave the width.
    bool ReadFlags(char16_t const *& format, Conversion & conversion) {
        for (bool hasWidth = false;; ++format) {
            switch (*format) {
            case u'-': conversion.left = true; break;
            case u'+': conversion.plus = true; break;
            case u' ': conversion.blank = true; break;
            case u'#': conversion.alternate = true; break;
            case u'0': conversion.zeros = true; break;
            case u'*': {
                int const width = arguments_.TakeInt(0);
                if (width < 0) conversion.left = true;
                conversion.width = width > -maxPadding && width < maxPadding ? std::abs(width) : maxPadding;
                hasWidth = true;
                break;
            }
            default: return hasWidth;
            }
        }
    }

    static void ReadSizes(char16_t const *& format, Conversion & conversion) noexcept {
        ArgumentSize & size = conversion.size;
        for (;; ++format) {
            switch (*format) {
            case u'h': size = size == ArgumentSize::Short ? ArgumentSize::Char : ArgumentSize::Short; break;
            case u'l': size = size == ArgumentSize::Long ? ArgumentSize::Quad : ArgumentSize::Long; break;
            case u'F':
            case u'L':
            case u'N': break;
            case u'I':
                if (format[1] != u'6' || format[2] != u'4') return;
                size = ArgumentSize::Quad;
                format += 2;
                break;
            default: return;
            }
        }
    }

    void Write(Conversion & conversion) {
        if (!IsConversion(conversion.letter)) {
            if (conversion.letter != u'\0') out_.Put(conversion.letter); // "%%" too
            return;
        }
        FormatArgument const argument = arguments_.Take(conversion);
        switch (conversion.letter) {
        case u'd':
        case u'i': return WriteSigned(conversion, argument);
        case u'p': return WritePointer(conversion, argument);
        case u'e':
        case u'E':
        case u'f':
        case u'g':
        case u'G': return WriteDouble(conversion, DoubleOf(argument));
        case u'c':
        case u'C': return WriteUnit(conversion, argument);
        case u's':
        case u'S': return WriteText(conversion, argument);
        case u'n': return StoreSize(argument);
        default: return WriteUnsigned(conversion, argument);
        }
    }

    // --- Integers

    /// The number of bytes that are printed: the argument's own. An h in the conversion makes it less, another size
    /// can make it more.
    static std::size_t BytesOf(Conversion const & conversion, FormatArgument const & argument) noexcept {
        std::size_t const own = argument.kind == Kind::Untyped || argument.kind == Kind::Pointer
                                    ? sizeof(void *)
                                    : std::size_t{argument.bytes};
        switch (conversion.size) {
        case ArgumentSize::Quad: return sizeof(long long);
        case ArgumentSize::Long: return std::max(sizeof(long), own);
        case ArgumentSize::Short: return sizeof(short);
        case ArgumentSize::Char: return sizeof(char);
        default: return std::max(sizeof(int), own);
        }
    }

    static std::string_view SignOf(Conversion const & conversion, bool negative) noexcept {
        return negative ? "-" : conversion.plus ? "+" : conversion.blank ? " " : "";
    }

    void WriteSigned(Conversion const & conversion, FormatArgument const & argument) {
        std::size_t const unused = 64 - 8 * BytesOf(conversion, argument);
        std::int64_t const value = static_cast<std::int64_t>(argument.bits << unused) >> unused;
        auto const bits = static_cast<std::uint64_t>(value);
        WriteInteger(conversion, SignOf(conversion, value < 0), value < 0 ? 0 - bits : bits, 10);
    }

    void WriteUnsigned(Conversion const & conversion, FormatArgument const & argument) {
        std::size_t const unused = 64 - 8 * BytesOf(conversion, argument);
        std::uint64_t const value = argument.bits << unused >> unused;
        bool const marked = conversion.alternate && value != 0;
        switch (conversion.letter) {
        case u'o': return WriteInteger(conversion, "", value, 8);
        case u'x': return WriteInteger(conversion, marked ? "0x" : "", value, 16);
        case u'X': return WriteInteger(conversion, marked ? "0X" : "", value, 16);
        default: return WriteInteger(conversion, "", value, 10);
        }
    }

    void WriteInteger(Conversion const & conversion, std::string_view sign, std::uint64_t value, int base) {
        std::array<char, 24> digits;
        char * end = digits.data();
        if (value != 0 || conversion.precision != 0) {
            end = std::to_chars(end, digits.data() + digits.size(), value, base).ptr;
        }
        if (conversion.letter == u'X') MakeUpper(digits.data(), end);
        auto const count = static_cast<int>(end - digits.data());
        int zeros = std::max(std::min(conversion.precision, maxPadding) - count, 0);
        // "%#o" puts a 0 before an octal number that doesn't begin with one.
        if (base == 8 && conversion.alternate && zeros == 0 && (count == 0 || digits[0] != '0')) zeros = 1;
        WriteNumber(conversion, conversion.zeros && conversion.precision < 0,
                    {sign, static_cast<std::size_t>(zeros), {digits.data(), end}, 0, {}});
    }

    /// Writes a pointer as the system's printf does.
    void WritePointer(Conversion const & conversion, FormatArgument const & argument) {
        bool const isNumber = argument.kind <= Kind::Character;
        std::uint64_t const address =
            isNumber ? argument.bits : reinterpret_cast<std::uintptr_t>(argument.pointer);
        if (address == 0) return WriteField(conversion, std::string_view("(nil)"));
        WriteInteger(conversion, "0x", address, 16);
    }

    // --- Doubles

    static double DoubleOf(FormatArgument const & argument) noexcept {
        if (argument.kind == Kind::Double) return argument.real;
        if (argument.kind == Kind::Unsigned) return static_cast<double>(argument.bits);
        return static_cast<double>(static_cast<std::int64_t>(argument.bits));
    }

    void WriteDouble(Conversion const & conversion, double value) {
        bool const upper = conversion.letter == u'E' || conversion.letter == u'G';
        std::string_view const sign = SignOf(conversion, std::signbit(value));
        value = std::fabs(value);
        if (!std::isfinite(value)) {
            std::string_view const word =
                std::isnan(value) ? (upper ? "NAN" : "nan") : (upper ? "INF" : "inf");
            return WriteNumber(conversion, false, {sign, 0, word, 0, {}});
        }
        int precision = conversion.precision < 0 ? 6 : std::min(conversion.precision, maxPadding);
        auto style = std::chars_format::general;
        if (conversion.letter == u'f') style = std::chars_format::fixed;
        if ((conversion.letter | 0x20) == u'e') style = std::chars_format::scientific;
        if (style == std::chars_format::general && conversion.alternate) ChooseStyle(value, style, precision);

        // Room for at most 309 digits before the point, the point itself and the digits after it.
        std::array<char, maxDoubleDigits + 320> digits;
        int const made = std::min(precision, maxDoubleDigits);
        char * const limit = digits.data() + digits.size();
        char * end = style == std::chars_format::fixed ? KZDetail::PutFixed(digits.data(), limit, value, made)
                                                       : nullptr;
        if (!end) end = std::to_chars(digits.data(), limit, value, style, made).ptr;
        char * exponent = style == std::chars_format::fixed ? end : std::find(digits.data(), end, 'e');
        if (conversion.alternate && std::find(digits.data(), exponent, '.') == exponent) {
            std::copy_backward(exponent, end, end + 1);
            *exponent++ = '.';
            ++end;
        }
        if (upper) MakeUpper(exponent, end);
        std::size_t const moreZeros =
            style == std::chars_format::general ? 0 : static_cast<std::size_t>(precision - made);
        WriteNumber(conversion, conversion.zeros,
                    {sign, 0, {digits.data(), exponent}, moreZeros, {exponent, end}});
    }

    /// For "%#g": chooses the style that "%g" would choose; its zeros at the end are kept.
    static void ChooseStyle(double value, std::chars_format & style, int & precision) {
        int const significant = std::max(precision, 1);
        std::array<char, maxDoubleDigits + 16> digits;
        auto const end =
            std::to_chars(digits.data(), digits.data() + digits.size(), value, std::chars_format::scientific,
                          std::min(significant, maxDoubleDigits) - 1)
                .ptr;
        char const * const letter = std::find(digits.data(), end, 'e');
        int exponent = 0;
        std::from_chars(letter + (letter[1] == '+' ? 2 : 1), end, exponent);
        bool const fixed = exponent >= -4 && exponent < significant;
        style = fixed ? std::chars_format::fixed : std::chars_format::scientific;
        precision = fixed ? significant - 1 - exponent : significant - 1;
    }

    static void MakeUpper(char * begin, char * end) noexcept {
        for (; begin != end; ++begin) {
            if (*begin >= 'a' && *begin <= 'z') *begin = static_cast<char>(*begin - ('a' - 'A'));
        }
    }

    // --- Texts

    /// "S" and an h mean bytes, in UTF-8; an l means units.
    static bool IsNarrow(Conversion const & conversion) noexcept {
        switch (conversion.size) {
        case ArgumentSize::Short: return true;
        case ArgumentSize::Long: return false;
        default: return conversion.letter == u'S' || conversion.letter == u'C';
        }
    }

    void WriteUnit(Conversion const & conversion, FormatArgument const & argument) {
        char16_t units[2];
        WriteField(conversion, std::u16string_view(units, SplitCharacter(conversion, argument, units)));
        // A unit 0 ends the text. With padding on its right it stands before the padding, otherwise at the end.
        if (units[0] == u'\0')
            end_ = std::min(end_, out_.Size() - static_cast<std::size_t>(
                                                    conversion.left ? std::max(conversion.width, 1) : 1));
    }

    /// Stores the one or two units of a character. A byte above 127 is no character of UTF-8.
    static std::size_t SplitCharacter(Conversion const & conversion, FormatArgument const & argument,
                                      char16_t * units) noexcept {
        auto const code = static_cast<std::uint32_t>(argument.bits);
        bool const isCharacter = argument.kind == Kind::Character;
        bool const isByte = IsNarrow(conversion) || (isCharacter && argument.bytes == sizeof(char));
        bool const isPair = isCharacter && code > 0xFFFF && code <= 0x10FFFF;
        if (isPair && !isByte) {
            units[0] = KZEncoding::HighSurrogateOf(code);
            units[1] = KZEncoding::LowSurrogateOf(code);
            return 2;
        }
        bool const isBad = isByte ? (code & 0x80) != 0 : isCharacter && code > 0x10FFFF;
        units[0] = isBad ? u'\uFFFD' : static_cast<char16_t>(isByte ? code & 0x7F : code);
        return 1;
    }

    void WriteText(Conversion const & conversion, FormatArgument const & argument) {
        auto const limit = conversion.precision < 0 ? std::size_t{KZString::npos}
                                                    : static_cast<std::size_t>(conversion.precision);
        bool const isTerminated = argument.length == FormatArgument::terminated;
        if (!argument.pointer && (isTerminated || argument.kind == Kind::None)) {
            WriteField(conversion, std::u16string_view(u"(null)").substr(0, limit));
        } else if (argument.kind == Kind::Bytes || (argument.kind == Kind::Untyped && IsNarrow(conversion))) {
            std::string_view const bytes = TextOf<char>(argument, limit);
            if (std::ranges::all_of(bytes, [](char byte) { return (byte & 0x80) == 0; }))
                WriteField(conversion, bytes);
            else
                WriteField(conversion, std::u16string_view(Decode(argument, limit)));
        } else if (argument.kind == Kind::Wide) {
            std::wstring_view const wide = TextOf<wchar_t>(argument, limit);
            WriteField(conversion, std::u16string_view(KZFromWide(wide)).substr(0, limit));
        } else {
            WriteField(conversion, TextOf<char16_t>(argument, limit));
        }
    }

    /// At most `limit` units of a text. No more than these are read, so a terminator isn't needed.
    template <class Unit>
    static std::basic_string_view<Unit> TextOf(FormatArgument const & argument, std::size_t limit) noexcept {
        auto const units = static_cast<Unit const *>(argument.pointer);
        std::size_t size = std::min(argument.length, limit);
        if (argument.length == FormatArgument::terminated)
            for (size = 0; size < limit && units[size] != 0;) ++size;
        return {units, size};
    }

    /// At most `limit` units of a text of bytes.
    static std::u16string Decode(FormatArgument const & argument, std::size_t limit) {
        auto bytes = static_cast<char const *>(argument.pointer);
        bool const isTerminated = argument.length == FormatArgument::terminated;
        std::size_t left = argument.length;
        std::u16string units;
        KZEncoding::Utf8Decoder decoder(KZEncoding::Utf8Mode::Replace);
        while (units.size() < limit && left != 0) {
            std::size_t count = std::min(limit - units.size(), left);
            auto const stop =
                isTerminated ? static_cast<char const *>(std::memchr(bytes, '\0', count)) : nullptr;
            if (stop) count = static_cast<std::size_t>(stop - bytes);
            decoder.Append(units, {bytes, count});
            bytes += count;
            left = stop ? 0 : left - count;
        }
        decoder.Finish(units);
        if (units.size() > limit) units.resize(limit);
        return units;
    }

    /// "%n": writes the size through a pointer to an integer. An argument that is no such pointer is left alone.
    void StoreSize(FormatArgument const & argument) const noexcept {
        if (argument.kind < Kind::Units || argument.bytes == 0 || !argument.pointer) return;
        auto const store = [target = const_cast<void *>(argument.pointer)](auto count) {
            std::memcpy(target, &count, sizeof count);
        };
        std::size_t const size = out_.Size();
        switch (argument.bytes) {
        case 1: return store(static_cast<std::int8_t>(size));
        case 2: return store(static_cast<std::int16_t>(size));
        case 4: return store(static_cast<std::int32_t>(size));
        default: return store(static_cast<std::int64_t>(size));
        }
    }

    // --- Padding

    template <class Unit>
    void WriteField(Conversion const & conversion, std::basic_string_view<Unit> text) {
        std::size_t const blanks = Padding(conversion, text.size());
        char16_t * out = out_.Extend(blanks + text.size());
        if (!conversion.left) out = std::fill_n(out, blanks, u' ');
        out = std::copy(text.begin(), text.end(), out);
        if (conversion.left) std::fill_n(out, blanks, u' ');
    }

    void WriteNumber(Conversion const & conversion, bool padWithZeros, Number number) {
        std::size_t blanks = Padding(conversion, number.Size());
        if (padWithZeros && !conversion.left) number.zeros += std::exchange(blanks, 0);
        char16_t * out = out_.Extend(blanks + number.Size());
        if (!conversion.left) out = std::fill_n(out, blanks, u' ');
        out = std::ranges::copy(number.sign, out).out;
        out = std::fill_n(out, number.zeros, u'0');
        out = std::ranges::copy(number.digits, out).out;
        out = std::fill_n(out, number.moreZeros, u'0');
        out = std::ranges::copy(number.exponent, out).out;
        if (conversion.left) std::fill_n(out, blanks, u' ');
    }

    static std::size_t Padding(Conversion const & conversion, std::size_t size) noexcept {
        auto const width = static_cast<std::size_t>(conversion.width);
        return width > size ? width - size : 0;
    }

    Arguments & arguments_;
    UnitBuffer & out_;
    std::size_t end_ = static_cast<std::size_t>(-1); // the position of a unit 0 that ends the text
};

} // namespace

void KZDetail::FormatTo(UnitBuffer & out, char16_t const * format, std::va_list arguments) {
    Arguments listed(arguments);
    Formatter(out, listed).Run(format);
}

void KZString::FormatArgumentList(char16_t const * format, std::va_list arguments) {
    UnitBuffer out;
    if (format) KZDetail::FormatTo(out, format, arguments);
    AssignAll(out.View());
}

void KZString::FormatArguments(char16_t const * format, FormatArgument const * arguments, std::size_t count) {
    UnitBuffer out;
    Arguments typed(arguments, count);
    if (format) Formatter(out, typed).Run(format);
    AssignAll(out.View());
}
