/// @file
/// Reading documents.
#pragma once

#include "ZerlithCore/platform/libxml2/Library.h"

#include <atomic>
#include <cstdint>

namespace KZPlatform::LibXml2 {

/// What is known about an error in a document.
struct Fault {
    DocumentCode code = DocumentCode::Good;
    std::u16string reason;
    std::uint32_t line = 0;
    std::uint32_t column = 0;
    std::uint32_t position = 0;
    std::u16string sourceText;
    std::u16string url;
};

class ParseError final : public DocumentParseError {
public:
    explicit ParseError(Fault fault) : fault_(std::move(fault)) {}

    unsigned long AddRef() const override { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }
    unsigned long Release() const override {
        unsigned long const left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

    [[nodiscard]] DocumentCode Code() const noexcept override { return fault_.code; }
    [[nodiscard]] std::u16string_view Reason() const noexcept override { return fault_.reason; }
    [[nodiscard]] std::uint32_t Line() const noexcept override { return fault_.line; }
    [[nodiscard]] std::uint32_t Column() const noexcept override { return fault_.column; }
    [[nodiscard]] std::uint32_t Position() const noexcept override { return fault_.position; }
    [[nodiscard]] std::u16string_view SourceText() const noexcept override { return fault_.sourceText; }
    [[nodiscard]] std::u16string_view Url() const noexcept override { return fault_.url; }

private:
    ~ParseError() = default;

    mutable std::atomic<std::uint32_t> references_{0};
    Fault const fault_;
};

/// Parses `bytes`. Returns null and sets `fault` if they aren't a document. With `isUtf8` they are read as UTF-8, whatever
/// encoding they declare. With `keepsWhiteSpace` texts of white space only are kept between elements.
[[nodiscard]] OwnedDoc Parse(std::string_view bytes, bool isUtf8, bool keepsWhiteSpace, Fault & fault);

} // namespace KZPlatform::LibXml2
