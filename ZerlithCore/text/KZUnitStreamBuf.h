/// @file
/// The buffer of a wide stream that also takes 16-bit units.
///
///     class Memory : public KZUnitStreamBuf {
///     public:
///         bool PutUnits(std::u16string_view units) override {
///             text += units;
///             return true;
///         }
///         std::u16string text;
///     };
///     Memory memory;
///     std::wostream stream(&memory);
///     stream << KZString(u"units") << L" and characters " << 42; // all of it is in `text`, in this order
#pragma once

#include "ZerlithCore/KZExport.h"

#include <streambuf>
#include <string_view>

/// A wide stream buffer that keeps or passes on its text in units. The buffers of the library's streams are of this kind.
///
/// Where a stream has such a buffer, strings and calendar values are written to it as units: they aren't widened to `wchar_t`
/// first and narrowed again later. All other text, such as numbers, comes in characters and is split into units. A derived
/// class that gathers characters in a put area must take them out of it first in `PutUnits`, so that the order is kept.
///
/// Thread safety: that of the derived class.
class KZ_EXPORT KZUnitStreamBuf : public std::wstreambuf {
public:
    ~KZUnitStreamBuf() override;

    /// Takes the units, 0 units included, after all that was put before. The units of one text come in one call, so a pair of
    /// surrogates isn't cut. False when they can't all be taken; the stream then goes bad, as it does for an exception.
    virtual bool PutUnits(std::u16string_view units) = 0;

protected:
    /// Both give the text to `PutUnits`, in one piece. Errors: std::bad_alloc for texts of more than 256 characters.
    int_type overflow(int_type character = traits_type::eof()) override;
    std::streamsize xsputn(wchar_t const * text, std::streamsize count) override;
};
