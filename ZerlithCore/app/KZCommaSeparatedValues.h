/// @file
/// A configuration value that holds several items.
///
///     KZConfigFile file(u"scan.ini");
///     KZCommaSeparatedValues values(file.GetString(u"Scan", u"range", u"1,9"));
///     int const first = values.GetInt(); // 1
///     int const last = values.GetInt();  // 9
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <cstdint>
#include <new>

/// A list of items in one text. Items are added at its end and taken from its beginning. There is no quoting: an item with a
/// comma comes back as two items, and a list with one empty item is the same as an empty list.
///
/// Thread safety: one object needs outside locking.
class KZCommaSeparatedValues {
public:
    KZCommaSeparatedValues() noexcept = default;
    explicit KZCommaSeparatedValues(KZString const & text) noexcept : text_(text) {}

    /// Removes the first item and returns it; empty when the list is empty.
    KZString Get() {
        std::uint32_t const comma = text_.Find(u',');
        KZString item = comma == KZString::npos ? text_ : text_.SubStr(0, comma);
        if (comma == KZString::npos)
            text_.Clear();
        else
            text_.Remove(0, comma + 1);
        return item;
    }
    /// The same as a number, by `KZString::AsInt`: 0 for an item that is no number.
    int GetInt() { return Get().AsInt(); }

    /// Appends `item`. Errors: std::bad_alloc, and the list is as it was.
    void Put(KZString const & item) {
        KZString const kept = item;
        std::uint32_t const length = text_.Length();
        if (!text_.IsNull()) text_ += u',';
        try {
            text_ += kept;
        } catch (std::bad_alloc const &) {
            text_.Remove(length, text_.Length() - length); // the comma, which has got no item
            throw;
        }
    }
    void Put(int item) {
        KZString text;
        text.Format(u"%d", item);
        Put(text);
    }

    /// The items that are left, as one text.
    [[nodiscard]] KZString const & GetText() const noexcept { return text_; }
    [[nodiscard]] bool IsEmpty() const noexcept { return text_.IsNull(); }

private:
    KZString text_;
};
