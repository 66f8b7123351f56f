/// @file
/// The kinds of nodes.
#pragma once

#include <cstdint>

/// The type of a node, with the customary numbers.
enum class KZDOMNodeType : std::uint32_t {
    Invalid = 0, ///< of a KZDOMNode that refers to nothing
    Element = 1,
    Attribute = 2,
    Text = 3,
    CDATASection = 4,
    EntityReference = 5,
    Entity = 6,
    ProcessingInstruction = 7,
    Comment = 8,
    Document = 9,
    DocumentType = 10,
    DocumentFragment = 11,
    Notation = 12
};
