// Lines of text that are made without a string.
#pragma once

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace KZDetail {

/// Collects units, on the stack as long as they fit there.
///
/// Errors: `Put` and `Extend` throw std::bad_alloc and change nothing.
class UnitBuffer {
public:
    UnitBuffer() noexcept {} // leaves the room on the stack as it is
    UnitBuffer(UnitBuffer const &) = delete;
    UnitBuffer & operator=(UnitBuffer const &) = delete;

    [[nodiscard]] std::size_t Size() const noexcept { return static_cast<std::size_t>(end_ - begin_); }
    /// Valid until the next change.
    [[nodiscard]] std::u16string_view View() const noexcept { return {begin_, Size()}; }
    /// The first unit; valid until the next change.
    [[nodiscard]] char16_t * Begin() noexcept { return begin_; }

    void Put(char16_t unit) { *Extend(1) = unit; }
    void Put(std::u16string_view text) { std::ranges::copy(text, Extend(text.size())); }
    /// Adds `count` units without a value and returns the first of them.
    char16_t * Extend(std::size_t count) {
        if (static_cast<std::size_t>(limit_ - end_) < count) Grow(count);
        return std::exchange(end_, end_ + count);
    }
    /// Drops the units from `size` on. Requires: there are at least `size` units.
    void Cut(std::size_t size) noexcept { end_ = begin_ + size; }

private:
    void Grow(std::size_t count) {
        std::size_t const size = Size();
        std::size_t const room = std::max(size + count, size * 2);
        auto larger = std::make_unique_for_overwrite<char16_t[]>(room);
        std::copy(begin_, end_, larger.get());
        heap_ = std::move(larger);
        begin_ = heap_.get();
        end_ = begin_ + size;
        limit_ = begin_ + room;
    }

    std::array<char16_t, 512> local_;
    std::unique_ptr<char16_t[]> heap_;
    char16_t * begin_ = local_.data();
    char16_t * end_ = begin_;
    char16_t * limit_ = begin_ + local_.size();
};

/// Writes the expanded text to `out`, as `KZString::Format` does. Requires: `out` is empty, `format` isn't null.
/// Errors: std::bad_alloc.
void FormatTo(UnitBuffer & out, char16_t const * format, std::va_list arguments);

} // namespace KZDetail
