// The platform's document interface walks the tree and calls a visitor here, which decides what is printed. Units are gathered
// in a buffer that stays in the cache, and are appended to the string in large pieces. All bytes up to the next character
// that must be escaped are decoded together.
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/xml/KZDOMException.h"
#include "ZerlithCore/xml/KZDOMNode.h"
#include "ZerlithCore/xml/detail/DocumentSeam.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

using KZPlatform::DocumentName;

namespace {

/// The escape of each ASCII character in printed text; empty for most.
constexpr std::array<std::u16string_view, 128> escapeTexts = [] {
    std::array<std::u16string_view, 128> escapes{};
    escapes['&'] = u"&amp;";
    escapes['>'] = u"&gt;";
    escapes['<'] = u"&lt;";
    escapes['"'] = u"&quot;";
    escapes['\''] = u"&apos;";
    return escapes;
}();

constexpr bool IsEscaped(char byte) {
    return (byte == '&') | (byte == '>') | (byte == '<') | (byte == '"') | (byte == '\'');
}

// The number of bytes before the first one that must be escaped.
std::size_t PlainLength(std::string_view text) {
    std::size_t at = 0;
#if defined(__SSE2__)
    auto const equals = [](__m128i block, char byte) { return _mm_cmpeq_epi8(block, _mm_set1_epi8(byte)); };
    for (; text.size() - at >= 16; at += 16) {
        __m128i const block = _mm_loadu_si128(reinterpret_cast<__m128i const *>(text.data() + at));
        // An ampersand and a single quote differ in one bit, and so do the angle brackets.
        __m128i const found = _mm_or_si128(_mm_or_si128(equals(_mm_or_si128(block, _mm_set1_epi8(1)), '\''),
                                                        equals(_mm_or_si128(block, _mm_set1_epi8(2)), '>')),
                                           equals(block, '"'));
        if (int const mask = _mm_movemask_epi8(found))
            return at + static_cast<std::size_t>(std::countr_zero(static_cast<unsigned>(mask)));
    }
#endif
    while (at < text.size() && !IsEscaped(text[at])) ++at;
    return at;
}

// Appends to a string through a buffer.
class Writer {
public:
    explicit Writer(KZString & out) : out_(out) {}

    void Put(char16_t unit) {
        if (used_ == buffer_.size()) Flush();
        buffer_[used_++] = unit;
    }
    /// Appends a text that is shorter than the buffer.
    void Put(std::u16string_view text) {
        if (buffer_.size() - used_ < text.size()) Flush();
        std::ranges::copy(text, buffer_.begin() + static_cast<std::ptrdiff_t>(used_));
        used_ += text.size();
    }
    void PutBlanks(std::uint64_t count) {
        while (count != 0) {
            if (used_ == buffer_.size()) Flush();
            auto const part =
                static_cast<std::size_t>(std::min<std::uint64_t>(count, buffer_.size() - used_));
            std::fill_n(buffer_.begin() + static_cast<std::ptrdiff_t>(used_), part, u' ');
            used_ += part;
            count -= part;
        }
    }
    void PutUtf8(std::string_view text) {
        // For names and short values this is cheaper than the general conversion below.
        if (text.size() <= shortText && buffer_.size() - used_ >= shortText) {
            std::size_t at = 0;
            for (; at < text.size() && static_cast<unsigned char>(text[at]) < 0x80; ++at)
                buffer_[used_ + at] = static_cast<unsigned char>(text[at]);
            used_ += at;
            text.remove_prefix(at);
        }
        while (!text.empty()) {
            if (buffer_.size() - used_ < 64) Flush();
            KZEncoding::Utf8Result const result = KZEncoding::DecodeUtf8(
                text, std::span(buffer_).subspan(used_), KZEncoding::Utf8Mode::Replace);
            used_ += result.written;
            text.remove_prefix(result.read);
            if (result.status != KZEncoding::Utf8Status::Done) Flush();
        }
    }
    void PutEscaped(std::string_view text) {
        for (;;) {
            std::size_t const plain = PlainLength(text);
            PutUtf8(text.substr(0, plain));
            if (plain == text.size()) return;
            Put(escapeTexts[static_cast<unsigned char>(text[plain])]);
            text.remove_prefix(plain + 1);
        }
    }
    void Flush() {
        if (used_ != 0) out_.Append(buffer_.data(), static_cast<unsigned>(used_));
        used_ = 0;
    }

private:
    static constexpr std::size_t shortText = 24;

    KZString & out_;
    std::size_t used_ = 0;
    std::array<char16_t, 4096> buffer_;
};

class Formatter final : public KZPlatform::DocumentVisitor {
public:
    Formatter(KZString & out, unsigned level, bool closeFlush, unsigned step)
        : writer_(out), indentation_(level), step_(step), closeFlush_(closeFlush) {}

    void BeginElement(DocumentName name) override {
        BeginContent();
        writer_.PutBlanks(indentation_);
        writer_.Put(u'<');
        PutName(name);
        isOpen_ = true;
        indentation_ += step_;
    }

    void Attribute(DocumentName name, std::string_view value) override {
        writer_.Put(u' ');
        PutName(name);
        writer_.Put(u"=\"");
        writer_.PutEscaped(value);
        writer_.Put(u'"');
    }

    void Text(std::string_view text) override {
        BeginContent();
        writer_.PutEscaped(text);
        isBehindText_ = true;
    }

    void EndElement(DocumentName name) override {
        indentation_ -= step_;
        if (isOpen_) {
            writer_.Put(u"/>\n");
        } else {
            if (!closeFlush_ || !isBehindText_) writer_.PutBlanks(indentation_);
            writer_.Put(u"</");
            PutName(name);
            writer_.Put(u">\n");
        }
        isOpen_ = false;
        isBehindText_ = false;
    }

    void Finish() { writer_.Flush(); }

private:
    // Ends the start tag that was written last, if it is still open, because content of its element follows.
    void BeginContent() {
        if (isOpen_) writer_.Put(u">\n");
        isOpen_ = false;
    }

    void PutName(DocumentName name) {
        if (!name.prefix.empty()) {
            writer_.PutUtf8(name.prefix);
            writer_.Put(u':');
        }
        writer_.PutUtf8(name.local);
    }

    Writer writer_;
    std::uint64_t indentation_;
    std::uint64_t step_;
    bool closeFlush_;
    bool isOpen_ = false;       // the last start tag still lacks its ">"
    bool isBehindText_ = false; // a text was the last thing written
};

} // namespace

void KZDOMNode::Format(KZString & out, unsigned const & level, bool closeFlush, unsigned const & step) const {
    Formatter formatter(out, level, closeFlush, step);
    Existing().Walk(formatter);
    formatter.Finish();
}
