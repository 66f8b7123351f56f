/// @file
/// The object of a whole document.
#pragma once

#include "ZerlithCore/platform/libxml2/Nodes.h"
#include "ZerlithCore/platform/libxml2/Parser.h"

namespace KZPlatform::LibXml2 {

class DocumentObject final : public NodeBase<Document> {
public:
    explicit DocumentObject(Tree & tree) : NodeBase(tree, tree.DocNode()) {}

    bool Load(std::u16string_view text) override;
    bool LoadFile(std::u16string_view path) override;
    void KeepWhiteSpace(bool keep) noexcept override { Home().keepsWhiteSpace = keep; }
    [[nodiscard]] bool KeepsWhiteSpace() const noexcept override { return Home().keepsWhiteSpace; }
    DocumentResult Save(std::u16string_view path) const override;
    DocumentResult AddSchema(std::u16string_view nameSpace, Document const & schema) override;
    DocumentResult Validate(bool & isValid) override;
    [[nodiscard]] DocumentParseError * LastParseError() const override;
    [[nodiscard]] DocumentNode * Root() const override;
    DocumentResult SetRoot(DocumentNode & element) override;
    DocumentResult Create(DocumentNodeKind kind, std::u16string_view name, std::u16string_view nameSpace,
                          std::u16string_view text, DocumentNode *& made) override;

    /// Lets go of the tree and stands for another one.
    void Take(OwnedDoc doc);

private:
    bool Finish(OwnedDoc doc, Fault fault);
    DocumentResult CreateElement(std::u16string_view name, std::u16string_view nameSpace, OwnedNode & made);
};

/// A new document, without references.
[[nodiscard]] Document * NewDocumentObject(OwnedDoc doc, bool keepsWhiteSpace);

} // namespace KZPlatform::LibXml2
