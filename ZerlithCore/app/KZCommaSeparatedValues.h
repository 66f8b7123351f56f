/// @file
/// A configuration value that holds several items.
///
///     KZCommaSeparatedValues values(file->GetString(u"Scan", u"range", u"1,9"));
///     int const first = values.GetInt(), last = values.GetInt();
#pragma once

#include "ZerlithCore/text/KZString.h"

#include <cstdint>
#include <new>

/// A list in one text, built at its end and taken from its front. There is no quoting: an item that holds a comma comes
/// back as two, and an empty item put first is indistinguishable from none.
///
/// Thread safety: one object needs outside locking.
class KZCommaSeparatedValues {
public:
    KZCommaSeparatedValues() noexcept = default;
    explicit KZCommaSeparatedValues(KZString const & text) noexcept : text_(text) {}

    /// Takes the first item out of the list; empty when the list is empty.
    KZString Get() {
        std::uint32_t const comma = text_.Find(u',');
        KZString item = comma == KZString::npos ? text_ : text_.SubStr(0, comma);
        if (comma == KZString::npos)
            text_.Clear();
        else
            text_.Remove(0, comma + 1);
        return item;
    }
    /// The same as a number, by `KZString::AsInt`: 0 for what is none.
    int GetInt() { return Get().AsInt(); }

    /// Appends `item`.
    void Put(KZString const & item) {
        KZString const kept = item;
        std::uint32_t const length = text_.Length();
        if (!text_.IsNull()) text_ += u',';
        try {
            text_ += kept;
        } catch (std::bad_alloc const &) {
            text_.Remove(length, text_.Length() - length); // a comma without its item
            throw;
        }
    }
    void Put(int item) {
        KZString text;
        text.Format(u"%d", item);
        Put(text);
    }

    /// What is left.
    [[nodiscard]] KZString const & GetText() const noexcept { return text_; }
    [[nodiscard]] bool IsEmpty() const noexcept { return text_.IsNull(); }

private:
    KZString text_;
};
