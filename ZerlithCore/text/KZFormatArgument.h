/// @file
/// The arguments of a format: numbers, texts and pointers, each with its type.
///
///     template <KZFormattable... Values>
///     void Say(char16_t const * format, Values const &... values) {
///         KZString line;
///         line.Format(format, values...);
///         KZGetConsole() << line << std::endl;
///     }
///
///     void Report() { Say(u"%s has %d words", KZString(u"report"), 42); }
///
/// Thread safety: as the arguments; nothing is shared.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

class KZString;

namespace KZDetail {

void AcceptArgumentList(std::va_list arguments);
/// True for a started argument list and for nothing else: numbers, texts and `nullptr` are arguments themselves.
template <class T>
concept IsArgumentList = !std::is_null_pointer_v<std::remove_cvref_t<T>> && requires(T & list) {
    AcceptArgumentList(list);
};

template <class T, class... Types>
inline constexpr bool isOneOf = (std::is_same_v<T, Types> || ...);

template <class T, class... Views>
concept ConvertsToOneOf = (std::is_convertible_v<T const &, Views> || ...);

/// Objects that hold a text of units, of bytes in UTF-8, or of wide characters.
template <class T>
concept IsText = std::is_class_v<T> &&
    (std::is_convertible_v<T const *, KZString const *> ||
     ConvertsToOneOf<T, std::u16string_view, std::string_view, std::u8string_view, std::wstring_view>);

template <IsText Text>
auto ViewOf(Text const & text) {
    if constexpr (ConvertsToOneOf<Text, std::string_view>)
        return static_cast<std::string_view>(text);
    else if constexpr (ConvertsToOneOf<Text, std::u8string_view>)
        return static_cast<std::u8string_view>(text);
    else if constexpr (ConvertsToOneOf<Text, std::wstring_view>)
        return static_cast<std::wstring_view>(text);
    else
        return static_cast<std::u16string_view>(text);
}

/// An argument that is passed to the formatter. It points to a text and doesn't copy it.
struct FormatArgument {
    /// The kind of the value. An untyped pointer may point to a text.
    enum class Kind : std::uint8_t {
        None,
        Signed,
        Unsigned,
        Character,
        Double,
        Units,
        Bytes,
        Wide,
        Untyped,
        Pointer
    };

    /// Stands for the length of a text that ends at its terminator.
    static constexpr std::size_t terminated = static_cast<std::size_t>(-1);

    Kind kind = Kind::None;
    /// The size of a number; of a pointer, the size of the integer to which "%n" may write; otherwise 0.
    std::uint8_t bytes = 0;
    std::size_t length = 0;
    union {
        std::uint64_t bits = 0; // a signed number is extended by its sign
        double real;
        void const * pointer;
    };

    FormatArgument() noexcept = default;
    template <class Number>
    requires std::is_integral_v<Number> FormatArgument(Number number)
    noexcept
        : kind(isOneOf<Number, char, char8_t, char16_t, char32_t, wchar_t> ? Kind::Character
               : std::is_signed_v<Number>                                  ? Kind::Signed
                                                                           : Kind::Unsigned)
        , bytes(sizeof(Number))
        , bits(static_cast<std::uint64_t>(number)) {}
    template <class Number>
    requires std::is_floating_point_v<Number> FormatArgument(Number number)
    noexcept : kind(Kind::Double), real(static_cast<double>(number)) {}
    template <class Enum>
    requires std::is_enum_v<Enum> FormatArgument(Enum value)
    noexcept : FormatArgument(static_cast<std::underlying_type_t<Enum>>(value)) {}
    FormatArgument(std::nullptr_t) noexcept : FormatArgument(static_cast<void const *>(nullptr)) {}
    template <class Object>
    FormatArgument(Object * object) noexcept
        : kind(KindBehind<std::remove_cv_t<Object>>()), bytes(BytesBehind<Object>()), length(terminated) {
        if constexpr (std::is_function_v<Object>)
            pointer = reinterpret_cast<void const *>(object);
        else
            pointer = const_cast<void const *>(static_cast<void const volatile *>(object));
    }
    template <IsText Text>
    FormatArgument(Text const & text) : FormatArgument(ViewOf(text)) {}
    template <class Unit>
    FormatArgument(std::basic_string_view<Unit> text) noexcept
        : kind(KindBehind<Unit>()), length(text.size()), pointer(text.data()) {}

private:
    template <class Object>
    static constexpr Kind KindBehind() noexcept {
        if (isOneOf<Object, char16_t, unsigned short>) return Kind::Units;
        if (isOneOf<Object, char, char8_t, signed char, unsigned char>) return Kind::Bytes;
        if (std::is_same_v<Object, wchar_t>) return Kind::Wide;
        return std::is_void_v<Object> ? Kind::Untyped : Kind::Pointer;
    }
    /// 0 also for `unsigned short` and `unsigned char`, in which older programs keep units and bytes of text.
    template <class Object>
    static constexpr std::uint8_t BytesBehind() noexcept {
        if constexpr (isOneOf<Object, signed char, short, int, unsigned int, long, unsigned long, long long,
                              unsigned long long>)
            return sizeof(Object);
        else
            return 0;
    }
};

} // namespace KZDetail

/// A type that `KZString::Format` and similar functions take: numbers, enumerators, pointers, `nullptr`, KZString, and
/// the strings and string views of the standard. Of any other object pass a text or a number.
template <class T>
concept KZFormattable =
    std::is_constructible_v<KZDetail::FormatArgument, T const &> && !KZDetail::IsArgumentList<T>;
