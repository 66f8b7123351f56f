// Documents, compared with plain libxml2: reading, printing, and values found by paths.
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/xml/KZDOMDocument.h"
#include "ZerlithCore/xml/KZDOMNodeList.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace {

// A catalogue of about `size` bytes: six lines for each entry, attributes, some text, an escaped character now and
// then.
std::string Catalogue(std::size_t size) {
    std::string text = "<?xml version=\"1.0\"?>\n<catalogue>\n";
    for (int i = 0; text.size() < size; ++i) {
        std::string const number = std::to_string(i);
        text += "  <book id=\"b" + number +
                "\" language=\"en\">\n    <author>Gambardella, Matthew &amp; Søn</author>\n" +
                "    <title>XML Developer's Guide, volume " + number +
                "</title>\n    <price currency=\"EUR\">44.95</price>\n" +
                "    <description>An in-depth look at creating applications with documents, in " + number +
                " chapters that nobody reads to the end.</description>\n  </book>\n";
    }
    return text + "</catalogue>\n";
}

std::string const & Text() {
    static std::string const text = Catalogue(1 << 20);
    return text;
}

KZString const & Units() {
    static KZString const units(
        std::u16string_view(KZEncoding::Utf8ToUnits(Text(), KZEncoding::Utf8Mode::Replace)));
    return units;
}

KZDOMDocument Document() {
    KZDOMDocument document = KZDOMDocument::Create();
    if (!document.Load(Units())) std::abort();
    return document;
}

void LoadLibXml2(benchmark::State & state) {
    for (auto _ : state)
        xmlFreeDoc(xmlReadMemory(Text().data(), static_cast<int>(Text().size()), nullptr, nullptr, 0));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Text().size()));
}
BENCHMARK(LoadLibXml2)->Unit(benchmark::kMillisecond);

void Load(benchmark::State & state) {
    KZString const & units = Units();
    for (auto _ : state)
        if (!KZDOMDocument::Create().Load(units)) std::abort();
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * Text().size()));
}
BENCHMARK(Load)->Unit(benchmark::kMillisecond);

void SerialiseLibXml2(benchmark::State & state) {
    xmlDoc * const doc =
        xmlReadMemory(Text().data(), static_cast<int>(Text().size()), nullptr, nullptr, XML_PARSE_NOBLANKS);
    std::int64_t bytes = 0;
    for (auto _ : state) {
        xmlChar * text = nullptr;
        int size = 0;
        xmlDocDumpFormatMemoryEnc(doc, &text, &size, "UTF-8", 1);
        xmlFree(text);
        bytes += size;
    }
    state.SetBytesProcessed(bytes);
    xmlFreeDoc(doc);
}
BENCHMARK(SerialiseLibXml2)->Unit(benchmark::kMillisecond);

// The rate counts characters, which are two bytes each.
void Format(benchmark::State & state) {
    KZDOMDocument const document = Document();
    std::int64_t characters = 0;
    for (auto _ : state) {
        KZString out;
        document.Format(out, 0, true, 2);
        characters += out.Length();
    }
    state.SetBytesProcessed(characters);
}
BENCHMARK(Format)->Unit(benchmark::kMillisecond);

char const * const paths[] = {"book[7]/title", "book[@id='b500']/price/@currency", "//price[. > 100]"};

void ValueOfLibXml2(benchmark::State & state) {
    xmlDoc * const doc =
        xmlReadMemory(Text().data(), static_cast<int>(Text().size()), nullptr, nullptr, XML_PARSE_NOBLANKS);
    xmlXPathContext * const context = xmlXPathNewContext(doc);
    xmlXPathCompExpr * const path = xmlXPathCompile(reinterpret_cast<xmlChar const *>(paths[state.range(0)]));
    for (auto _ : state) {
        context->node = xmlDocGetRootElement(doc);
        xmlXPathObject * const found = xmlXPathCompiledEval(path, context);
        if (found->nodesetval && found->nodesetval->nodeNr != 0) {
            xmlChar * const text = xmlNodeGetContent(found->nodesetval->nodeTab[0]);
            benchmark::DoNotOptimize(text);
            xmlFree(text);
        }
        xmlXPathFreeObject(found);
    }
    xmlXPathFreeCompExpr(path);
    xmlXPathFreeContext(context);
    xmlFreeDoc(doc);
}
BENCHMARK(ValueOfLibXml2)->DenseRange(0, 2);

void ValueOf(benchmark::State & state) {
    KZDOMDocument const document = Document();
    KZDOMElement const root = document.GetRootElement();
    KZString path;
    static_cast<void>(path.SetFromUTF8(paths[state.range(0)]));
    for (auto _ : state) benchmark::DoNotOptimize(root.ValueOf(path));
}
BENCHMARK(ValueOf)->DenseRange(0, 2);

void SelectAll(benchmark::State & state) {
    KZDOMDocument const document = Document();
    std::int64_t nodes = 0;
    for (auto _ : state) {
        KZDOMNodeList list = document.SelectNodes(u"/catalogue/book/title");
        for (KZDOMElement node = list.GetNextElement(); node.IsValid(); node = list.GetNextElement()) ++nodes;
    }
    state.SetItemsProcessed(nodes);
}
BENCHMARK(SelectAll);

void StepThroughElements(benchmark::State & state) {
    KZDOMDocument const document = Document();
    std::int64_t nodes = 0;
    for (auto _ : state)
        for (KZDOMElement book = document.GetRootElement().GetFirstChildElement(); book.IsValid();
             book = book.GetNextSiblingElement())
            ++nodes;
    state.SetItemsProcessed(nodes);
}
BENCHMARK(StepThroughElements);

void CopyHandle(benchmark::State & state) {
    KZDOMNode const node = Document().GetRootElement();
    for (auto _ : state) {
        KZDOMNode const copy = node;
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(CopyHandle);

} // namespace
