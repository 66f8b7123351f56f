/// @file
/// Lists of nodes.
#pragma once

#include "ZerlithCore/xml/KZDOMElement.h"

/// A handle on a list of nodes in a fixed order with a place in it; a handle on none is an empty list.
///
/// The list keeps its nodes, whatever becomes of them in the document. Copies share the place.
///
///     KZDOMNodeList books = catalog.SelectNodes(u"book[price > 30]");
///     for (KZDOMElement book = books.GetNextElement(); book.IsValid(); book = books.GetNextElement()) ...
///
/// Thread safety: as KZDOMNode.
class KZ_EXPORT KZDOMNodeList {
public:
    static constexpr KZGuid InterfaceId{0x5D0C9A14, 0x4B7E2F31, 0x6E83A19C, 0x7F24D0B5};

    KZDOMNodeList() noexcept = default;
    explicit KZDOMNodeList(KZSmartPtr<KZPlatform::DocumentNodeList> list) noexcept : list_(std::move(list)) {}

    [[nodiscard]] std::uint32_t GetLength() const;
    /// The next node; not valid at the end.
    KZDOMNode GetNextNode();
    /// The next element; nodes of other types are passed over.
    KZDOMElement GetNextElement();
    /// Goes back to the start.
    void Reset();

private:
    KZSmartPtr<KZPlatform::DocumentNodeList> list_;
};
