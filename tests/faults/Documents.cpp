// Documents: read, asked, transformed, checked and saved. Nothing of the parser's own comes to standard error.
#include "faults/Work.h"

namespace {

constexpr char16_t const * books =
    u"<books><book id='1'><title>Zo\u00EB</title></book><book id='2'><title>B</title></book></books>";
constexpr char16_t const * sheet =
    u"<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'><xsl:output "
    u"method='text'/>"
    u"<xsl:template match='/'><xsl:for-each select='//title'>[<xsl:value-of select='.'/>]</xsl:for-each>"
    u"</xsl:template></xsl:stylesheet>";
constexpr char16_t const * schema =
    u"<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'><xs:element "
    u"name='books'><xs:complexType><xs:sequence>"
    u"<xs:element name='book' maxOccurs='unbounded'><xs:complexType><xs:sequence><xs:element name='title' "
    u"type='xs:string'/></xs:sequence><xs:attribute name='id' type='xs:int'/></xs:complexType></xs:element>"
    u"</xs:sequence></xs:complexType></xs:element></xs:schema>";

class DocumentWork : public Work {
protected:
    void ExpectSilence() {
        std::fflush(stderr);
        Expect(std::filesystem::file_size("/dev/stderr") == 0, "something on standard error");
    }
};

class DocumentSaves : public DocumentWork {
    void Prepare() override { Write("file.xml", "<old/>"); }
    bool Act() override {
        KZDOMDocument document = KZDOMDocument::Create();
        if (!document.Load(books)) return false;
        for (int book = 0; book < 20; ++book)
            document.GetRootElement().AppendChild(document.CreateElement(u"more"));
        document.SaveToFile(Path("file.xml"));
        return true;
    }
    void Check(bool isWhole) override {
        std::string const now = Read("file.xml");
        std::string more;
        for (int book = 0; book < 20; ++book) more += "<more/>";
        bool const isNew = now.find("Zo\xC3\xAB") != now.npos && now.find(more + "</books>") != now.npos;
        Expect(isWhole ? isNew : now == "<old/>", "neither the old file nor the new one: " + now);
        Expect(HoldsOnly({"file.xml"}), "a temporary file stays");
        ExpectSilence();
    }
};

class Transformations : public DocumentWork {
    bool Act() override {
        KZDOMDocument document = KZDOMDocument::Create(), style = KZDOMDocument::Create();
        if (!document.Load(books) || !style.Load(sheet)) return false;
        text_ = document.TransformNode(style);
        KZDOMNodeList const titles = document.SelectNodes(u"//book[@id > 1]/title");
        second_ = document.ValueOf(u"/books/book[2]/title");
        document.GetRootElement().Format(printed_);
        return true;
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || (text_ == u"[Zo\u00EB][B]" && second_ == u"B" &&
                            printed_.Find(u"Zo\u00EB") != KZString::npos),
               "part of the output: " + text_.AsUTF8());
        ExpectSilence();
    }
    KZString text_, second_, printed_;
};

class Schemas : public DocumentWork {
    bool Act() override {
        KZDOMDocument document = KZDOMDocument::Create(), rules = KZDOMDocument::Create();
        if (!document.Load(books) || !rules.Load(schema)) return false;
        document.AddSchema(u"", rules);
        return document.Validate();
    }
    void Check(bool) override { ExpectSilence(); }
};

WorkEntry const documentSaves("documents", [] { return std::unique_ptr<Work>(new DocumentSaves); });
WorkEntry const transformations("transformations", [] { return std::unique_ptr<Work>(new Transformations); });
WorkEntry const schemas("schemas", [] { return std::unique_ptr<Work>(new Schemas); });

} // namespace
