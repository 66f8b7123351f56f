// Stylesheet and source are copied before they meet: libxslt takes the stylesheet's document as its own, and takes white
// space out of the source, whose texts somebody may hold.
#include "ZerlithCore/platform/FloatingPoint.h"
#include "ZerlithCore/platform/libxml2/Nodes.h"

#include <libxml/parserInternals.h>
#include <libxslt/security.h>
#include <libxslt/transform.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

namespace KZPlatform::LibXml2 {

namespace {

constexpr char XsltNamespace[] = "http://www.w3.org/1999/XSL/Transform";

// Templates that call each other, and levels of the source: each takes stack.
constexpr int MaxDepth = 1000;
// Instructions, and steps of paths, that one transformation may take: half a minute or so.
constexpr unsigned long MaxInstructions = 20'000'000;
constexpr unsigned long MaxPathSteps = 200'000'000;

using OwnedSheet = std::unique_ptr<xsltStylesheet, FreeBy<xsltFreeStylesheet>>;
using OwnedTransform = std::unique_ptr<xsltTransformContext, FreeBy<xsltFreeTransformContext>>;
using OwnedRights = std::unique_ptr<xsltSecurityPrefs, FreeBy<xsltFreeSecurityPrefs>>;

OwnedDoc CopyAsDoc(xmlNode const * node) {
    if (node->type == XML_DOCUMENT_NODE) return CopyDoc(node->doc, true);
    OwnedDoc doc = NewDoc();
    if (node->type == XML_ELEMENT_NODE)
        Link(CopyNode(node, doc.get(), true), reinterpret_cast<xmlNode *>(doc.get()), nullptr);
    return doc;
}

bool IsTooDeep(xmlDoc * doc) {
    int depth = 0;
    xmlNode * const top = reinterpret_cast<xmlNode *>(doc);
    for (xmlNode * at = top->children; at;) {
        if (xmlNode * const child = FirstBelow(at)) {
            if (++depth > MaxDepth) return true;
            at = child;
            continue;
        }
        while (at != top && !at->next) {
            at = at->parent;
            --depth;
        }
        at = at == top ? nullptr : at->next;
    }
    return false;
}

bool LoadsOthers(xmlDoc * doc) {
    xmlNode * const top = reinterpret_cast<xmlNode *>(doc);
    for (xmlNode * at = top; at; at = NextBelow(at, top))
        if (at->type == XML_ELEMENT_NODE && at->ns && View(at->ns->href) == XsltNamespace &&
            (View(at->name) == "import" || View(at->name) == "include"))
            return true;
    return false;
}

DocumentResult Failed(DocumentCode code, std::u16string reason) {
    if (reason.empty()) reason = u"No reason is known";
    return {code, std::move(reason)};
}

DocumentResult Compile(xmlNode const * node, OwnedSheet & sheet) {
    OwnedDoc doc = CopyAsDoc(node);
    if (!xmlDocGetRootElement(doc.get()))
        return Failed(DocumentCode::BadStylesheet, u"The stylesheet is empty");
    if (IsTooDeep(doc.get())) return Failed(DocumentCode::LimitExceeded, u"The stylesheet nests too deep");
    if (LoadsOthers(doc.get()))
        return Failed(DocumentCode::BadStylesheet, u"The stylesheet wants others, and nothing is loaded");
    ErrorScope const scope;
    sheet.reset(xsltParseStylesheetDoc(doc.get()));
    if (!sheet) return Failed(DocumentCode::BadStylesheet, scope.Reason());
    static_cast<void>(doc.release()); // the stylesheet's now
    if (sheet->errors != 0) return Failed(DocumentCode::BadStylesheet, scope.Reason());
    return {};
}

OwnedRights NoRights() {
    OwnedRights rights(Need(xsltNewSecurityPrefs()));
    for (xsltSecurityOption const option :
         {XSLT_SECPREF_READ_FILE, XSLT_SECPREF_WRITE_FILE, XSLT_SECPREF_CREATE_DIRECTORY,
          XSLT_SECPREF_READ_NETWORK, XSLT_SECPREF_WRITE_NETWORK})
        xsltSetSecurityPrefs(rights.get(), option, xsltSecurityForbid);
    return rights;
}

DocumentResult Run(xmlNode const * node, xsltStylesheet * sheet, OwnedDoc & result) {
    OwnedDoc const source = CopyAsDoc(node);
    if (IsTooDeep(source.get())) return Failed(DocumentCode::LimitExceeded, u"The document nests too deep");
    ErrorScope scope;
    OwnedRights const rights = NoRights();
    OwnedTransform const context(Need(xsltNewTransformContext(sheet, source.get())));
    if (xsltSetCtxtSecurityPrefs(rights.get(), context.get()) != 0)
        return Failed(DocumentCode::TransformFailed, {});
    xsltSetTransformErrorFunc(context.get(), &scope, ErrorScope::Generic);
    context->maxTemplateDepth = MaxDepth;
    context->opLimit = MaxInstructions;
    context->xpathCtxt->opLimit = MaxPathSteps;
    result.reset(xsltApplyStylesheetUser(sheet, source.get(), nullptr, nullptr, nullptr, context.get()));
    if (result && context->state == XSLT_STATE_OK) return {};
    result.reset();
    return Failed(DocumentCode::TransformFailed, scope.Reason());
}

// A result may be any list of nodes, or be marked as output for browsers, or have texts that aren't to be escaped. What
// can't be a document is refused, the rest made one like others.
DocumentResult MakeDocument(OwnedDoc & result) {
    xmlNode * const top = reinterpret_cast<xmlNode *>(result.get());
    result->type = XML_DOCUMENT_NODE;
    int roots = 0;
    for (xmlNode * child = top->children; child;) {
        xmlNode * const next = child->next;
        if (child->type == XML_ELEMENT_NODE) ++roots;
        if (IsBlankText(child)) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        } else if (child->type == XML_TEXT_NODE) {
            roots = 2;
        }
        child = next;
    }
    if (roots > 1) {
        result.reset();
        return Failed(DocumentCode::TransformFailed, u"The result isn't a document with one root");
    }
    for (xmlNode * at = top; at; at = NextBelow(at, top))
        if (at->type == XML_TEXT_NODE) at->name = xmlStringText;
    return {};
}

} // namespace

DocumentResult TransformNode(xmlNode const * source, xmlNode const * stylesheet, OwnedDoc & result) {
    QuietFloatingPoint const quiet;
    OwnedSheet sheet;
    DocumentResult outcome = Compile(stylesheet, sheet);
    if (outcome) outcome = Run(source, sheet.get(), result);
    return outcome ? MakeDocument(result) : outcome;
}

DocumentResult TransformNode(xmlNode const * source, xmlNode const * stylesheet, DocumentSink & sink) {
    QuietFloatingPoint const quiet;
    OwnedSheet sheet;
    OwnedDoc result;
    DocumentResult outcome = Compile(stylesheet, sheet);
    if (outcome) outcome = Run(source, sheet.get(), result);
    if (!outcome) return outcome;
    ErrorScope const scope;
    xmlOutputBuffer * const buffer = Need(xmlAllocOutputBuffer(nullptr));
    std::unique_ptr<xmlOutputBuffer, FreeBy<xmlOutputBufferClose>> const closes(buffer);
    if (xsltSaveResultTo(buffer, result.get(), sheet.get()) < 0)
        return Failed(DocumentCode::TransformFailed, scope.Reason());
    sink.Append(
        {reinterpret_cast<char const *>(xmlOutputBufferGetContent(buffer)), xmlOutputBufferGetSize(buffer)});
    return {};
}

} // namespace KZPlatform::LibXml2
