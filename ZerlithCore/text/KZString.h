/// @file
/// The string of the library: a counted, shared block of 16-bit units.
///
///     KZString name(u"report");
///     KZString copy = name;              // shares the block: one atomic increment
///     copy += u".txt";                   // unshares on the first write
///     KZString line;
///     line.Format(u"%s has %d words", copy, 42);
///     bool const isText = copy.EndsWith(u".txt") && copy < u"s"_kz;
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/foundation/detail/AtomicCount.h"
#include "ZerlithCore/text/KZFormatArgument.h"

#include <compare>
#include <concepts>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

class KZCollator;
class KZDateEx;
class KZDateTime;
class KZDateTimeEx;
class KZDurationEx;
class KZErrorID;
class KZStringConverter;
class KZStringVector;
class KZTimeEx;

/// A duration in whole seconds, as `KZString::AsKZDuration` reads it and `KZPrintDuration` prints it.
using KZDuration = std::int32_t;

namespace KZDetail {
template <class T>
concept IsUnit = std::same_as<T, char16_t> || std::same_as<T, char>;
/// A number, an enumerator, or an object that converts to one: the language would convert it to a unit without a
/// warning.
template <class T>
concept IsNumber = !IsUnit<T> && std::is_convertible_v<T, char16_t>;
/// A number of at most 64 bits that isn't a character or a truth value.
template <class T>
concept IsPrintableNumber =
    std::is_arithmetic_v<T> && !isOneOf<T, bool, char, char8_t, char16_t, char32_t, wchar_t, long double>;
} // namespace KZDetail

/// Text as 16-bit units, copied by sharing and unshared on the first write.
///
/// Lengths, positions and capacities count units; surrogate pairs are two units and are never touched. The string
/// always ends in a 0 unit that isn't counted. A text may contain units of value 0 (`operator+=(char16_t)` appends
/// them), but functions that take a pointer, search or compare see the text up to its first 0. "No position" is
/// `npos`, unsigned -1. An empty string costs no allocation. Pointers that are passed may point into the string
/// itself.
///
/// A unit is a `char16_t`, or a `char` literal. A number isn't one: a function that takes a unit doesn't compile with a
/// number.
///
/// Errors: functions that allocate throw std::bad_alloc, or std::length_error for a text of about 2^32 units; the
/// string is then unchanged.
///
/// Thread safety: threads may copy and destroy strings that share a block; a KZString object that one thread changes
/// must not be used by another at the same time.
class KZ_EXPORT KZString {
public:
    /// The block in which a string keeps its text. `text` holds `length` units and a 0; `capacity` + 1 units are
    /// allocated.
    struct DataDef {
        std::uint32_t capacity;
        KZDetail::AtomicCount<std::int32_t>
            references; // the number of strings that share the block, minus one
        std::uint32_t length;
        char16_t text[1];
    };

    using value_type = char16_t;
    using size_type = std::uint32_t;
    using difference_type = std::ptrdiff_t;
    using reference = char16_t const &;
    using const_reference = reference;
    using const_iterator = char16_t const *;
    using iterator = const_iterator;

    static constexpr std::uint32_t npos = 0xFFFFFFFFU;

    /// The flags of `Compare`, `IsEqual` and KZStringCompare; they combine by OR.
    static constexpr long IgnoreCase = 1;
    static constexpr long IgnoreAccent = 2;

    // --- Construction and assignment

    KZString() noexcept : data_(&glbEmptyData) {}
    KZString(KZString const & other) noexcept : data_(other.data_) {
        if (data_ != &glbEmptyData) data_->references.Increment();
    }
    KZString(KZString && other) noexcept : data_(other.data_) { other.data_ = &glbEmptyData; }
    /// Copies up to the terminator; null gives the empty string. The number is accepted and ignored.
    KZString(char16_t const * text, unsigned int ignored = 16);
    /// One unit; a 0 unit, too, gives length 1.
    template <std::same_as<char16_t> Unit>
    KZString(Unit unit) : KZString() {
        Assign(&unit, 1);
    }
    /// A number is no unit: use `Format` to print it.
    template <class Number>
    requires((std::is_arithmetic_v<Number> || std::is_enum_v<Number>)&&!std::same_as<Number, char16_t>)
        KZString(Number number)
    = delete;
    /// `count` copies of `unit`; the capacity is the same as after appending them one by one. The last number is
    /// ignored.
    KZString(char16_t unit, unsigned int count, unsigned int ignored = 16);
    template <KZDetail::IsNumber Number>
    KZString(Number, unsigned int, unsigned int = 16) = delete;
    /// Copies up to the first 0.
    KZString(std::u16string const & text);
    /// All units of `text`, 0 units included.
    explicit KZString(std::u16string_view text);
    /// The text of bytes in UTF-8, 0 bytes included; what isn't valid becomes U+FFFD.
    [[nodiscard]] static KZString FromUTF8(std::string_view text);
    [[nodiscard]] static KZString FromUTF8(std::u8string_view text);
    /// The text of wide characters, 0 included. Where `wchar_t` has 32 bits, one above U+FFFF becomes two units.
    [[nodiscard]] static KZString FromWide(std::wstring_view text);
    /// A number as decimal text, the same in every locale; of a floating-point number the shortest text from which the same
    /// type reads the same number: u"0.1", u"1e+300".
    template <KZDetail::IsPrintableNumber Value>
    [[nodiscard]] static KZString Number(Value value) {
        if constexpr (std::is_same_v<Value, float>)
            return TextOf(value);
        else if constexpr (std::is_floating_point_v<Value>)
            return TextOf(static_cast<double>(value));
        else if constexpr (std::is_signed_v<Value>)
            return TextOf(static_cast<std::int64_t>(value));
        else
            return TextOf(static_cast<std::uint64_t>(value));
    }
    ~KZString() {
        if (data_ != &glbEmptyData) Drop(data_);
    }

    KZString & operator=(KZString const & other) noexcept {
        Assign(other);
        return *this;
    }
    KZString & operator=(KZString && other) noexcept {
        DataDef * const taken = other.data_;
        other.data_ = data_;
        data_ = taken;
        return *this;
    }
    KZString & operator=(char16_t const * text) {
        Assign(text, 0, 16);
        return *this;
    }
    template <KZDetail::IsUnit Unit>
    KZString & operator=(Unit unit) {
        auto const text = static_cast<char16_t>(unit);
        Assign(&text, 1, 16);
        return *this;
    }
    template <KZDetail::IsNumber Number>
    KZString & operator=(Number) = delete;

    /// Shares the block of `other`.
    void Assign(KZString const & other) noexcept;
    /// Copies `count` units of `text`, 0 units included; `count` 0 means up to the terminator. A null `text` or
    /// nothing to copy clears the string. The capacity becomes at least `count` + 1. The last number is ignored.
    void Assign(char16_t const * text, unsigned int count, unsigned int ignored = 16);

    /// A standard string of the text up to the first 0.
    operator std::u16string() const { return std::u16string(c_str()); }
    /// All units, 0 units included; valid until the string changes.
    explicit operator std::u16string_view() const noexcept { return AsView(); }

    // --- Access

    [[nodiscard]] std::uint32_t Length() const noexcept { return data_->length; }
    [[nodiscard]] std::uint32_t Len() const noexcept { return data_->length; }
    [[nodiscard]] std::uint32_t Capacity() const noexcept { return data_->capacity; }
    /// The text with its terminator; never null; valid until the string changes.
    [[nodiscard]] char16_t const * AsWChar() const noexcept { return data_->text; }
    [[nodiscard]] char16_t const * c_str() const noexcept { return data_->text; }
    [[nodiscard]] bool IsNull() const noexcept { return data_->length == 0; }
    /// The unit at `index`; 0 at the length and above.
    char16_t operator[](std::uint32_t index) const noexcept {
        return index < data_->length ? data_->text[index] : u'\0';
    }
    [[nodiscard]] const_iterator begin() const noexcept { return data_->text; }
    [[nodiscard]] const_iterator end() const noexcept { return data_->text + data_->length; }
    // The names by which the standard's ranges and algorithms ask. All units count, 0 units included. A string is a
    // range of const units: to change one, use `Set`.
    [[nodiscard]] const_iterator cbegin() const noexcept { return begin(); }
    [[nodiscard]] const_iterator cend() const noexcept { return end(); }
    [[nodiscard]] std::uint32_t size() const noexcept { return data_->length; }
    [[nodiscard]] bool empty() const noexcept { return data_->length == 0; }
    [[nodiscard]] char16_t const * data() const noexcept { return data_->text; }
    /// The first and the last unit; 0 if the string is empty.
    [[nodiscard]] char16_t front() const noexcept { return data_->text[0]; }
    [[nodiscard]] char16_t back() const noexcept { return empty() ? u'\0' : data_->text[data_->length - 1]; }
    /// All units, 0 units included; valid until the string changes.
    [[nodiscard]] std::u16string_view AsView() const noexcept { return {data_->text, data_->length}; }

    /// Stores `unit` at `index`; at or past the length nothing changes.
    void Set(unsigned int index, char16_t unit);
    template <KZDetail::IsNumber Number>
    void Set(unsigned int, Number) = delete;
    /// Makes the string empty and gives up its memory.
    void Clear() noexcept;
    /// Makes room for `capacity` units in a block of the string's own.
    void Reserve(unsigned int capacity);

    // --- Building

    /// Appends `count` units of `text`, 0 units included; `count` 0 means up to the terminator. Null does nothing.
    void Append(char16_t const * text, unsigned int count);
    /// Appends the text of `other` up to its first 0.
    void Append(KZString const & other) { Append(other.c_str(), 0); }
    KZString & operator+=(KZString const & other) {
        Append(other.c_str(), 0);
        return *this;
    }
    KZString & operator+=(char16_t const * text) {
        Append(text, 0);
        return *this;
    }
    /// Appends one unit; a 0 unit is appended and counted.
    KZString & operator+=(char16_t unit) {
        DataDef * const block = data_;
        std::uint32_t const length = block->length;
        // The quick way, if no other string shares the block and the block has as much room as ResizeCapacity would
        // want.
        if (length + 2 <= block->capacity && block->references.load() == 0) {
            block->text[length] = unit;
            block->text[length + 1] = u'\0';
            block->length = length + 1;
        } else {
            Append(&unit, 1);
        }
        return *this;
    }
    template <KZDetail::IsNumber Number>
    KZString & operator+=(Number) = delete;
    void push_back(char16_t unit) { *this += unit; }
    template <KZDetail::IsNumber Number>
    void push_back(Number) = delete;

    /// Inserts `text` before `position`; a position beyond the length means the end. Null does nothing.
    void Insert(unsigned int position, char16_t const * text);
    /// Inserts one unit; a 0 unit inserts nothing.
    void Insert(unsigned int position, char16_t unit);
    template <KZDetail::IsNumber Number>
    void Insert(unsigned int, Number) = delete;
    void Insert(unsigned int position, KZString const & text) { Insert(position, text.c_str()); }
    /// Removes up to `count` units from `position` on. The block is kept, except when a `count` that reaches past the
    /// end removes all units: that is `Clear`.
    void Remove(unsigned int position, unsigned int count);
    /// Replaces each `from` by `to`, from left to right; replaced text isn't searched again. A null or empty `from`
    /// does nothing; a null `to` is empty. The capacity grows as if each hit were replaced by itself. The time is
    /// linear in the text and the result; a result that is longer takes one allocation.
    void Replace(char16_t const * from, char16_t const * to);
    void Replace(KZString const & from, char16_t const * to) { Replace(from.c_str(), to); }
    void Replace(KZString const & from, KZString const & to) { Replace(from.c_str(), to.c_str()); }
    /// `count` units from `position` on, or as many as there are; `npos` means up to the first 0 after `position`.
    [[nodiscard]] KZString SubStr(unsigned int position, unsigned int count = npos) const;

    /// Maps each unit up to the first 0 by `KZtowupper` or `KZtowlower`, in a block of the string's own.
    void Upper();
    void Lower();

    /// Steps forward from `position` (at most the last unit) over units equal to `unit`, then removes all units
    /// before the place where it stops, also those before `position`, whatever they are. Callers rely on that.
    void LTrim(char16_t unit, unsigned int position = 0);
    template <KZDetail::IsNumber Number>
    void LTrim(Number, unsigned int = 0) = delete;
    /// The same with a set: removes everything before the first unit at or after `position` that isn't in `set`.
    /// If there is no such unit, the string is cleared. An empty `set` does nothing.
    void LTrim(char16_t const * set = u" \t", unsigned int position = 0);
    /// Counts the units equal to `unit` from `position` (at most the last unit) backwards, and removes that many from
    /// the end of the string, even if `position` isn't the last unit. Callers rely on that.
    void RTrim(char16_t unit, unsigned int position = npos);
    template <KZDetail::IsNumber Number>
    void RTrim(Number, unsigned int = npos) = delete;
    /// The same with a set: removes everything after the last unit at or before `position` that isn't in `set`.
    void RTrim(char16_t const * set = u" \t", unsigned int position = npos);

    /// Replaces the text by the expansion of a printf-style `format`.
    ///
    /// Conversions: c C s S d i o u x X p e E f g G n %; flags `-+0# ` and `*`; sizes h, l and I64. "%s" and "%S" both
    /// print a text by its type: units, bytes in UTF-8, or wide characters. A string or view prints whole, 0 units
    /// included, a pointer up to its terminator. Widths, precisions and "%n" count units. F, L and N are skipped. An
    /// unknown conversion writes its letter; a null text prints "(null)"; a unit 0 printed by "%c" ends the text.
    /// Numbers look as in the C locale. Arguments may refer to this string. A larger width than 1,048,576 counts as
    /// 1,048,576, as does such a precision of a number.
    ///
    /// The types of the arguments are known: "%d" prints all bits of a wider number, and "%f" prints an integer. An
    /// argument that doesn't fit its conversion prints as "%d", "%u", "%c", "%g", "%s" or "%p" would; a missing one is
    /// 0 or null. "%n" writes only through a pointer to an integer, with the size of that integer; a pointer that may
    /// be a text is left alone. A `char32_t` or `wchar_t` above U+FFFF is two units.
    template <KZFormattable... Arguments>
    void Format(char16_t const * format, Arguments const &... arguments) {
        KZDetail::FormatArgument const list[] = {KZDetail::FormatArgument(arguments)..., {}};
        FormatArguments(format, list, sizeof...(arguments));
    }
    /// The same with a started argument list, whose values must have the types that the conversions say: "%s" is a text
    /// of units, "%S" and "%hs" one of bytes in UTF-8.
    template <class ArgumentList>
    requires KZDetail::IsArgumentList<ArgumentList>
    void Format(char16_t const * format, ArgumentList && arguments) { FormatArgumentList(format, arguments); }
    /// The same as a plain function, which is no template.
    void FormatArgumentList(char16_t const * format, std::va_list arguments);

    // --- Numbers and dates. `success` may be null.
    //
    // Blanks and tabs before the value are skipped. `success` becomes true when the whole text is one value in range.
    // Otherwise the result is what could be read: "12 apples" is 12, a number out of range the limit, no number 0.

    int AsInt(bool * success = nullptr) const;
    long AsLong(bool * success = nullptr) const;
    KZDuration AsKZDuration(bool * success = nullptr) const;
    unsigned int AsUint(bool * success = nullptr) const;
    unsigned long AsULong(bool * success = nullptr) const;
    double AsDouble(bool * success = nullptr) const;
    std::int64_t AsInt64(bool * success = nullptr) const;
    std::uint64_t AsUInt64(bool * success = nullptr) const;
    /// Reads with `KZDateTime::FromString`, in the local zone and by the default template.
    KZDateTime AsKZDateTime(bool * success = nullptr) const;
    /// These read with the `FromString` of their classes, in the local zone and by the default templates. A duration
    /// without a unit is in seconds.
    KZDateTimeEx AsKZDateTimeEx(bool * success = nullptr) const;
    KZDateEx AsKZDateEx(bool * success = nullptr) const;
    KZTimeEx AsKZTimeEx(bool * success = nullptr) const;
    KZDurationEx AsKZDurationEx(bool * success = nullptr) const;

    // --- 8-bit text. A null converter means Latin-1.

    /// Replaces the text by `source`, converted by `converter`. Errors: 10 when the converter isn't valid; then the
    /// string is unchanged. Otherwise those of the converter; what the string then contains is described there.
    KZErrorID ConvertToUnicode(char const * source, KZSmartPtr<KZStringConverter> const & converter);
    static KZErrorID ConvertToUnicode(KZString & string, char const * source,
                                      KZSmartPtr<KZStringConverter> const & converter);
    /// Replaces `out` by the text, converted by `converter`, and returns the converter's error.
    KZErrorID ConvertFromUnicode(std::string & out, KZSmartPtr<KZStringConverter> const & converter) const;
    /// The text converted by `converter`, or to the code page. An error is ignored on purpose.
    [[nodiscard]] std::string AsMbString(KZSmartPtr<KZStringConverter> const & converter) const;
    [[nodiscard]] std::string AsMbString(unsigned int codePage) const;
    /// The text as UTF-8; lone surrogates become U+FFFD.
    [[nodiscard]] std::string AsUTF8() const;
    [[nodiscard]] std::u8string AsU8String() const;
    /// The text up to its first 0 as wide characters. Where `wchar_t` has 32 bits, a surrogate pair becomes one.
    [[nodiscard]] std::wstring AsWide() const;
    KZErrorID SetFromUTF8(std::string const & text);

    // --- Comparison, of the texts up to their first 0

    /// Returns a number below 0 if this text comes before `rhs`, 0 if they are equal, above 0 if it comes after `rhs`:
    /// by unit values, or by the table collators that `flags` select. A null `rhs` gives 0 for an empty string and -1
    /// for any other, so that a string comes before null: callers rely on it. Errors: std::bad_alloc at the first use
    /// of a flag; the next use tries again.
    [[nodiscard]] int Compare(char16_t const * rhs, long flags = 0) const;
    [[nodiscard]] int Compare(KZString const & rhs, long flags = 0) const;
    /// The same by `collator`; null means by unit values.
    [[nodiscard]] int Compare(char16_t const * rhs, KZSmartPtrToConst<KZCollator> const & collator) const;
    [[nodiscard]] int Compare(KZString const & rhs, KZSmartPtrToConst<KZCollator> const & collator) const;
    [[nodiscard]] bool IsEqual(char16_t const * rhs, long flags = 0) const {
        return Compare(rhs, flags) == 0;
    }
    [[nodiscard]] bool IsEqual(KZString const & rhs, long flags = 0) const {
        return Compare(rhs, flags) == 0;
    }

    friend bool operator==(KZString const & a, KZString const & b) { return a.Compare(b, 0) == 0; }
    friend bool operator==(KZString const & a, char16_t const * b) { return a.Compare(b, 0) == 0; }
    // By unit values. The ordering is weak, because equal texts may differ in what follows their first 0.
    friend std::weak_ordering operator<=>(KZString const & a, KZString const & b) {
        return a.Compare(b, 0) <=> 0;
    }
    friend std::weak_ordering operator<=>(KZString const & a, char16_t const * b) {
        return a.Compare(b, 0) <=> 0;
    }

    // --- Searching. All see the text up to its first 0; the result is a position or `npos`.

    /// The first `needle` at or after `position`; `npos` when `position` is at or past the end. An empty needle is
    /// found at `position`.
    [[nodiscard]] std::uint32_t Find(char16_t const * needle, unsigned int position = 0) const;
    [[nodiscard]] std::uint32_t Find(KZString const & needle, unsigned int position = 0) const {
        return Find(needle.c_str(), position);
    }
    /// The first `unit`. A 0 unit finds the first 0 (the terminator if there is no other), unlike `RFind`.
    [[nodiscard]] std::uint32_t Find(char16_t unit, unsigned int position = 0) const;
    template <KZDetail::IsNumber Number>
    std::uint32_t Find(Number, unsigned int = 0) const = delete;
    /// The last `needle` that starts at or before `position`; overlapping hits count. An empty needle is found at
    /// `position`, or at the last unit if that comes before it; in an empty string nothing is found.
    [[nodiscard]] std::uint32_t RFind(char16_t const * needle, unsigned int position = npos) const;
    [[nodiscard]] std::uint32_t RFind(KZString const & needle, unsigned int position = npos) const {
        return RFind(needle.c_str(), position);
    }
    /// The last `unit` at or before `position`; `npos` for a 0 unit.
    [[nodiscard]] std::uint32_t RFind(char16_t unit, unsigned int position = npos) const;
    template <KZDetail::IsNumber Number>
    std::uint32_t RFind(Number, unsigned int = npos) const = delete;
    [[nodiscard]] std::uint32_t FindFirstOf(char16_t const * set, unsigned int position = 0) const;
    [[nodiscard]] std::uint32_t FindFirstOf(KZString const & set, unsigned int position = 0) const {
        return FindFirstOf(set.c_str(), position);
    }
    /// An empty `set` gives 0 whatever `position` is: callers rely on it.
    [[nodiscard]] std::uint32_t FindFirstNotOf(char16_t const * set, unsigned int position = 0) const;
    [[nodiscard]] std::uint32_t FindFirstNotOf(KZString const & set, unsigned int position = 0) const {
        return FindFirstNotOf(set.c_str(), position);
    }
    [[nodiscard]] std::uint32_t FindLastOf(char16_t const * set, unsigned int position = npos) const;
    [[nodiscard]] std::uint32_t FindLastOf(KZString const & set, unsigned int position = npos) const {
        return FindLastOf(set.c_str(), position);
    }
    /// An empty `set` gives length - 1 whatever `position` is: callers rely on it.
    [[nodiscard]] std::uint32_t FindLastNotOf(char16_t const * set, unsigned int position = npos) const;
    [[nodiscard]] std::uint32_t FindLastNotOf(KZString const & set, unsigned int position = npos) const {
        return FindLastNotOf(set.c_str(), position);
    }

    /// Whether the text begins with, ends with, or contains `part`. All see the text up to its first 0. An empty part is
    /// in every text, and null counts as empty; a 0 unit is in none.
    [[nodiscard]] bool StartsWith(char16_t const * part) const noexcept;
    [[nodiscard]] bool StartsWith(KZString const & part) const noexcept { return StartsWith(part.c_str()); }
    [[nodiscard]] bool StartsWith(char16_t unit) const noexcept;
    template <KZDetail::IsNumber Number>
    bool StartsWith(Number) const = delete;
    [[nodiscard]] bool EndsWith(char16_t const * part) const noexcept;
    [[nodiscard]] bool EndsWith(KZString const & part) const noexcept { return EndsWith(part.c_str()); }
    [[nodiscard]] bool EndsWith(char16_t unit) const noexcept;
    template <KZDetail::IsNumber Number>
    bool EndsWith(Number) const = delete;
    [[nodiscard]] bool Contains(char16_t const * part) const;
    [[nodiscard]] bool Contains(KZString const & part) const { return Contains(part.c_str()); }
    [[nodiscard]] bool Contains(char16_t unit) const;
    template <KZDetail::IsNumber Number>
    bool Contains(Number) const = delete;

    /// The pieces of the text, up to its first 0, between the places where `separator` is; also those that are empty, so
    /// that there is always one piece. An empty separator gives the text as one piece. The result is a
    /// `std::vector<KZString>`: include KZStringVector.h.
    [[nodiscard]] KZStringVector Split(KZString const & separator) const;
    /// The texts of a range, each up to its first 0, with `separator` between them: what `Split` took apart.
    template <class Texts>
    [[nodiscard]] static KZString Join(Texts const & texts, KZString const & separator) {
        KZString joined;
        bool isFirst = true;
        for (auto const & text : texts) {
            if (!isFirst) joined += separator;
            joined += text;
            isFirst = false;
        }
        return joined;
    }

    /// Reads a word, or a line, as these functions of the standard do: from wide characters, or from bytes in UTF-8. Where
    /// the stream has nothing to give, the string stays as it is.
    friend KZ_EXPORT std::wistream & operator>>(std::wistream & stream, KZString & string);
    friend KZ_EXPORT std::istream & operator>>(std::istream & stream, KZString & string);
    friend KZ_EXPORT std::wistream & getline(std::wistream & stream, KZString & string);
    friend KZ_EXPORT std::istream & getline(std::istream & stream, KZString & string);

    /// The block of every empty string: never counted, freed or written.
    static DataDef glbEmptyData;

protected:
    /// Makes sure that the string has a block that no other string shares, with room for `need` units. A new block
    /// keeps the old capacity if that suffices; otherwise it has one and a half times the old one, or `need` if that is
    /// more, at least 1.
    void ResizeCapacity(std::uint32_t need);

private:
    friend class KZStringConverter;

    /// A block with no text and one holder.
    static DataDef * Alloc(std::uint32_t capacity);
    static void Free(DataDef * block) noexcept;
    /// Removes a holder of a block that isn't the empty one, and frees the block after the last.
    static void Drop(DataDef * block) noexcept;

    /// True when no other string shares the block and it has room for `need` units.
    bool OwnsRoom(std::uint32_t need) const noexcept;
    /// Moves the text to a new block by the rule of `ResizeCapacity`. Returns the old block, which lives as long as the
    /// result.
    KZString Regrow(std::uint32_t need);
    /// Sets the length and writes the terminator there.
    void EndAt(std::size_t length) noexcept;
    /// Drops the block and takes `fresh` in its place.
    void Take(DataDef * fresh) noexcept;
    void AssignAll(std::u16string_view text);
    static KZString TextOf(std::int64_t value);
    static KZString TextOf(std::uint64_t value);
    static KZString TextOf(float value);
    static KZString TextOf(double value);
    void FormatArguments(char16_t const * format, KZDetail::FormatArgument const * arguments,
                         std::size_t count);

    DataDef * data_;
};

static_assert(sizeof(KZString) == sizeof(void *), "a string is one pointer");
static_assert(offsetof(KZString::DataDef, text) == 12, "the text stands behind a header of 12 bytes");

/// The left text followed by the right one, as `+=` appends. A null pointer gives a copy of the left.
/// When the left text is a temporary, its block is used for the result.
KZ_EXPORT KZString operator+(KZString left, KZString const & right);
KZ_EXPORT KZString operator+(KZString left, char16_t const * right);
KZ_EXPORT KZString operator+(KZString left, char16_t right);
template <std::same_as<KZString> Text, KZDetail::IsNumber Number>
KZString operator+(Text const & left, Number right) = delete;

/// Writes the text up to its first 0. Where `wchar_t` has 32 bits, a surrogate pair becomes one character; a lone
/// surrogate is written as it is.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, KZString const & string);
/// The same for a text of units, on the streams of the console and of the channels as on any other. Like the standard's
/// operators it sets `badbit` for null.
KZ_EXPORT std::wostream & operator<<(std::wostream & stream, char16_t const * text);
/// Writes the text up to its first 0 as UTF-8, filled up to the stream's width in bytes; lone surrogates become U+FFFD.
KZ_EXPORT std::ostream & operator<<(std::ostream & stream, KZString const & string);

inline namespace KZLiterals {
/// `u"text"_kz` is a KZString of all units between the quotes, 0 units included.
[[nodiscard]] inline KZString operator""_kz(char16_t const * text, std::size_t length) {
    return KZString(std::u16string_view(text, length));
}
} // namespace KZLiterals

/// The upper case of a unit, the same in every locale; the unit itself if it has none of one unit.
KZ_EXPORT char16_t KZtowupper(char16_t unit) noexcept;
/// The lower case of a unit, likewise.
KZ_EXPORT char16_t KZtowlower(char16_t unit) noexcept;

/// Prints a string as quoted UTF-8 in the failure messages of GoogleTest.
KZ_EXPORT void PrintTo(KZString const & string, std::ostream * stream);

/// The order of strings for ordered containers, by the flags of `KZString::Compare`.
///
/// Thread safety: any number of threads may use one object.
class KZStringCompare {
public:
    explicit KZStringCompare(long flags = 0) noexcept : flags_(flags) {}
    bool operator()(KZString const & a, KZString const & b) const { return a.Compare(b, flags_) < 0; }

private:
    long flags_;
};

/// The hash and the order of strings in one class, for hashed containers that need both.
///
/// The hash starts with the length, takes h * 613 + unit for each unit up to the first 0 in 32 bits, and is the larger
/// of h and -h modulo 0x40000003. The empty string has hash 0.
///
/// Thread safety: any number of threads may use one object.
class KZ_EXPORT KZStringHash {
public:
    int operator()(KZString const & string) const noexcept;
    bool operator()(KZString const & a, KZString const & b) const { return a.Compare(b, 0) < 0; }
};

/// A hash of the text up to its first 0, so that strings that compare equal have equal hashes. That of KZStringHash
/// includes the whole length, so it differs between `u"a"` and "a" followed by a 0 and more units, which compare equal.
template <>
struct KZ_EXPORT std::hash<KZString> {
    std::size_t operator()(KZString const & string) const noexcept;
};
