/// @file
/// What work on a document may take. Each is some seconds of a machine of the day.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstddef>
#include <cstdint>

namespace KZPlatform::LibXml2 {

struct Limits {
    std::uint64_t pathWork = 100'000'000;
    std::uint64_t transformationWork = 200'000'000;
    unsigned long instructions = 20'000'000;
    /// Bytes that entities may move while they are strung together to one text.
    std::size_t movedBytes = 4'000'000'000;
    /// Comparisons of names that elements with very many attributes or declarations of namespaces may take.
    std::size_t nameComparisons = 500'000'000;
};

/// The limits that hold. Tests lower them, before they do anything else; nobody else changes them.
[[nodiscard]] KZ_EXPORT Limits & CurrentLimits() noexcept;

} // namespace KZPlatform::LibXml2
