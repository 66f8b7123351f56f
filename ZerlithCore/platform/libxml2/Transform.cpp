// libxslt works on copies of the stylesheet and the source: it owns the stylesheet's document afterwards, and it removes white
// space from the source, to whose texts handles may refer. In the copy of the stylesheet the expressions are replaced
// (StylesheetProgram.h).
#include "ZerlithCore/platform/FloatingPoint.h"
#include "ZerlithCore/platform/libxml2/Limits.h"
#include "ZerlithCore/platform/libxml2/Nodes.h"
#include "ZerlithCore/platform/libxml2/Paths.h"
#include "ZerlithCore/platform/libxml2/StylesheetProgram.h"
#include "ZerlithCore/platform/libxml2/TransformHost.h"

#include <libxml/parserInternals.h>
#include <libxslt/security.h>
#include <libxslt/transform.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <cstdint>

namespace KZPlatform::LibXml2 {

namespace {

// The depth of templates that call each other, and of the source: each level takes stack.
constexpr int maxDepth = 1000;
// Templates that may be tried for a node without lowering the number of instructions.
constexpr std::size_t freeTemplates = 64;

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
            if (++depth > maxDepth) return true;
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
        if (at->type == XML_ELEMENT_NODE && at->ns && View(at->ns->href) == xsltNamespace &&
            (View(at->name) == "import" || View(at->name) == "include"))
            return true;
    return false;
}

DocumentResult Failed(DocumentCode code, std::u16string reason) {
    if (reason.empty()) reason = u"No reason is known";
    return {code, std::move(reason)};
}

DocumentResult Compile(xmlNode const * node, OwnedSheet & sheet, StylesheetProgram & program) {
    OwnedDoc doc = CopyAsDoc(node);
    if (!xmlDocGetRootElement(doc.get()))
        return Failed(DocumentCode::BadStylesheet, u"The stylesheet is empty");
    if (IsTooDeep(doc.get())) return Failed(DocumentCode::LimitExceeded, u"The stylesheet nests too deep");
    if (LoadsOthers(doc.get()))
        return Failed(DocumentCode::BadStylesheet, u"The stylesheet wants others, and nothing is loaded");
    LibraryCall const call;
    if (DocumentResult result = program.Take(doc.get()); !result) return result;
    call.CheckMemory();
    sheet.reset(xsltParseStylesheetDoc(doc.get()));
    if (sheet) static_cast<void>(doc.release()); // the stylesheet's now
    call.CheckMemory();
    if (!sheet) return Failed(DocumentCode::BadStylesheet, call.Reason());
    if (sheet->errors != 0) return Failed(DocumentCode::BadStylesheet, call.Reason());
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

// Finds out why the transformation has ended: by a limit or by another error.
DocumentResult ReasonOf(TransformHost const & host, xsltTransformContext const & context,
                        LibraryCall const & call) {
    auto const limit = [](char16_t const * reason) { return Failed(DocumentCode::LimitExceeded, reason); };
    if (host.Failure() == PathFailure::Work)
        return limit(u"The transformation takes more than 200,000,000 steps");
    if (host.Failure() == PathFailure::Nesting)
        return limit(u"The transformation comes to nodes that nest deeper than 1,000 levels");
    if (context.opCount >= context.opLimit)
        return limit(u"The transformation takes more than 20,000,000 instructions, or too many with so many "
                     u"templates");
    std::u16string reason = call.Reason();
    if (reason.find(u"infinite template recursion") != reason.npos)
        return limit(u"The templates nest deeper than 1,000 levels, or have too many variables");
    if (host.Failure() && host.Failure() != PathFailure::Host)
        reason = TextOf(*host.Failure()) + std::u16string(u"in the stylesheet");
    return Failed(DocumentCode::TransformFailed, std::move(reason));
}

DocumentResult Run(xmlNode const * node, xsltStylesheet * sheet, StylesheetProgram const & program,
                   OwnedDoc & result) {
    OwnedDoc const source = CopyAsDoc(node);
    if (IsTooDeep(source.get())) return Failed(DocumentCode::LimitExceeded, u"The document nests too deep");
    LibraryCall call;
    OwnedRights const rights = NoRights();
    OwnedTransform const context(Need(xsltNewTransformContext(sheet, source.get())));
    if (xsltSetCtxtSecurityPrefs(rights.get(), context.get()) != 0)
        return Failed(DocumentCode::TransformFailed, {});
    xsltSetTransformErrorFunc(context.get(), &call, LibraryCall::Generic);
    std::size_t const templates = std::max(program.TemplatesForANode(), freeTemplates);
    context->maxTemplateDepth = maxDepth;
    context->opLimit = CurrentLimits().instructions / (templates / freeTemplates);
    context->xpathCtxt->opLimit = CurrentLimits().transformationWork; // of what is left to libxml2
    TransformHost const host(program, *context, CurrentLimits().transformationWork);
    call.StopWithoutMemory(
        [](void * stopped) { static_cast<xsltTransformContext *>(stopped)->state = XSLT_STATE_STOPPED; },
        context.get());
    call.CheckMemory();
    result.reset(xsltApplyStylesheetUser(sheet, source.get(), nullptr, nullptr, nullptr, context.get()));
    call.CheckMemory();
    if (result && context->state == XSLT_STATE_OK) return {};
    result.reset();
    return ReasonOf(host, *context, call);
}

// Makes an XML document of a result. A result may be any list of nodes, which is refused if it can't be a document. It may also
// be an HTML document or have texts that aren't to be escaped; these become ordinary ones.
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
    StylesheetProgram program;
    DocumentResult outcome = Compile(stylesheet, sheet, program);
    if (outcome) outcome = Run(source, sheet.get(), program, result);
    return outcome ? MakeDocument(result) : outcome;
}

DocumentResult TransformNode(xmlNode const * source, xmlNode const * stylesheet, DocumentSink & sink) {
    QuietFloatingPoint const quiet;
    OwnedSheet sheet;
    StylesheetProgram program;
    OwnedDoc result;
    DocumentResult outcome = Compile(stylesheet, sheet, program);
    if (outcome) outcome = Run(source, sheet.get(), program, result);
    if (!outcome) return outcome;
    LibraryCall const call;
    xmlOutputBuffer * const buffer = Need(xmlAllocOutputBuffer(nullptr));
    std::unique_ptr<xmlOutputBuffer, FreeBy<xmlOutputBufferClose>> const closes(buffer);
    int const saved = xsltSaveResultTo(buffer, result.get(), sheet.get());
    call.CheckMemory();
    if (saved < 0) return Failed(DocumentCode::TransformFailed, call.Reason());
    sink.Append(
        {reinterpret_cast<char const *>(xmlOutputBufferGetContent(buffer)), xmlOutputBufferGetSize(buffer)});
    return {};
}

} // namespace KZPlatform::LibXml2
