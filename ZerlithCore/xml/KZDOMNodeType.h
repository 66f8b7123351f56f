/// @file
/// The types of nodes.
///
///     KZDOMDocument document = KZDOMDocument::Create();
///     KZDOMNode const remark = document.CreateNode(KZDOMNodeType::Comment);
///     bool const isComment = remark.GetNodeType() == KZDOMNodeType::Comment; // true
#pragma once

#include <cstdint>

/// The type of a node, with the numbers of the W3C's document object model.
///
/// Thread safety: a plain value.
enum class KZDOMNodeType : std::uint32_t {
    Invalid = 0, ///< an empty handle
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
