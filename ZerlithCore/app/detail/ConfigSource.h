// The text of a configuration as units, with one unit of look-ahead.
#pragma once

#include "ZerlithCore/encoding/Units.h"
#include "ZerlithCore/files/detail/UnitFile.h"

#include <cstdint>
#include <istream>

namespace KZDetail {

/// Thread safety: one object needs outside locking.
class ConfigSource {
public:
    /// A unit, or `endOfText`.
    using Unit = std::uint32_t;
    static constexpr Unit endOfText = 0xFFFFFFFF;

    ConfigSource(ConfigSource const &) = delete;
    ConfigSource & operator=(ConfigSource const &) = delete;
    virtual ~ConfigSource() = default;

    // After the end nothing is read again: that could fail, although the text was read as a whole.
    Unit Peek() { return next_ != last_ ? *next_ : isAtEnd_ ? endOfText : Note(PeekFurther()); }
    Unit Take() { return next_ != last_ ? *next_++ : isAtEnd_ ? endOfText : Note(TakeFurther()); }
    bool IsAtEnd() { return Peek() == endOfText; }

    /// False when there is nothing to read from.
    [[nodiscard]] virtual bool IsGood() const = 0;
    /// True when something was read that isn't a character and can't be kept in units.
    [[nodiscard]] bool HasStranger() const noexcept { return hasStranger_; }

protected:
    ConfigSource() = default;

    // Called when `next_` is at `last_`. Both may set these to units that are known already.
    virtual Unit PeekFurther() = 0;
    virtual Unit TakeFurther() = 0;

    char16_t const * next_ = nullptr;
    char16_t const * last_ = nullptr;
    bool hasStranger_ = false;

private:
    Unit Note(Unit unit) {
        isAtEnd_ = unit == endOfText;
        return unit;
    }
    bool isAtEnd_ = false;
};

/// Reads a file block by block. Errors: as UnitFile::Read.
class ConfigFileSource final : public ConfigSource {
public:
    /// `file` must exist as long as this object.
    explicit ConfigFileSource(UnitFile & file) : file_(file) {}
    [[nodiscard]] bool IsGood() const override { return file_.IsOpen(); }

private:
    Unit PeekFurther() override {
        std::u16string_view const block = file_.Read();
        hasStranger_ |= file_.LoneByte().has_value();
        next_ = block.data();
        last_ = next_ + block.size();
        return block.empty() ? endOfText : *next_;
    }
    Unit TakeFurther() override {
        Unit const unit = PeekFurther();
        if (unit != endOfText) ++next_;
        return unit;
    }

    UnitFile & file_;
};

/// Reads a wide stream, and leaves what it doesn't take to the stream's next reader. A stream that isn't good counts as empty. It is
/// read through its buffer, since the stream's own functions would take longer for each character than all the rest.
class ConfigStreamSource final : public ConfigSource {
public:
    explicit ConfigStreamSource(std::wistream & stream)
        : stream_(stream), buffer_(stream.good() ? stream.rdbuf() : nullptr) {}
    [[nodiscard]] bool IsGood() const override { return buffer_ != nullptr; }

    /// Sets the stream's `eofbit` if its end was reached. That may throw, if the program has told the stream to.
    void Finish() {
        if (IsAtEnd()) stream_.setstate(std::ios_base::eofbit);
    }

private:
    using Traits = std::wistream::traits_type;

    Unit PeekFurther() override { return FirstUnit(buffer_ ? buffer_->sgetc() : Traits::eof()); }
    Unit TakeFurther() override {
        Traits::int_type const character = buffer_ ? buffer_->sbumpc() : Traits::eof();
        Unit const first = FirstUnit(character);
        if (KZEncoding::IsHighSurrogate(first) && first != character) {
            second_ = KZEncoding::LowSurrogateOf(character);
            next_ = &second_;
            last_ = next_ + 1;
        }
        return first;
    }
    Unit FirstUnit(Traits::int_type character) {
        if (Traits::eq_int_type(character, Traits::eof())) return endOfText;
        if (character <= 0xFFFF) return character;
        if (character <= 0x10FFFF) return KZEncoding::HighSurrogateOf(character);
        hasStranger_ = true;
        return KZEncoding::replacementUnit;
    }

    std::wistream & stream_;
    std::wstreambuf * buffer_;
    char16_t second_ = 0; // of the pair whose first unit was taken
};

} // namespace KZDetail
