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
        // When the disk fails to confirm the new content, that is told and the content stays.
        Expect(isNew || (!isWhole && now == "<old/>"), "neither the old file nor the new one: " + now);
        Expect(HoldsOnly({"file.xml"}), "a temporary file stays");
        ExpectSilence();
    }
};

// Each edit is done or has changed nothing: what is there then is what the same edits make where nothing fails.
class Edits : public DocumentWork {
    struct State {
        KZDOMDocument from = KZDOMDocument::Create();
        KZDOMDocument to = KZDOMDocument::Create();
        KZDOMElement held, deep, outer, made;
        KZDOMNode fragment;

        void Make() {
            from.Load(u"<r xmlns='urn:d' xmlns:p='urn:p'><p:a p:k='1' xml:lang='en'><b><p:c/>t</b><b/></p:a>"
                      u"<p:a><p:x xmlns:p='urn:other'/><b/></p:a></r>");
            to.Load(u"<o xmlns:p='urn:o'><i>1</i><i><j/></i>2</o>");
            held = from.GetRootElement().GetFirstChildElement();
            outer = held.GetNextSiblingElement();
            deep = to.SelectNode(u"//j").AsElement();
            made = to.CreateElement(u"made");
            fragment = from.CreateNode(KZDOMNodeType::DocumentFragment);
            fragment.AppendChild(from.CreateNode(KZDOMNodeType::Element, u"q:f", u"urn:q"));
            fragment.AppendChild(from.CreateText(u"f"));
        }
        [[nodiscard]] std::string Text() const {
            KZString all;
            for (KZDOMNode const & node : std::vector<KZDOMNode>{from, to, held, deep, outer, made, fragment})
                all += node.GetXML() + u"; ";
            return all.AsUTF8();
        }
    };
    using Edit = void (*)(State &);
    static constexpr Edit edits[] = {
        [](State & s) { s.held.SetAttribute(u"k", u"value"); },
        [](State & s) { s.held.SetAttribute(u"p:k", u"another value"); },
        [](State & s) { s.held.SetAttribute(u"xmlns:q", u"urn:q"); },
        [](State & s) { s.held.RemoveAttribute(u"p:k"); },
        [](State & s) { s.to.GetRootElement().AppendChild(s.made); },
        [](State & s) { s.made.SetText(u"text"); },
        [](State & s) { s.made.GetFirstChildNode().SetText(u"other text"); },
        [](State & s) { s.to.GetRootElement().AppendChild(s.fragment); },
        [](State & s) { s.made.AppendChild(s.held); },
        [](State & s) { s.to.GetRootElement().AppendChild(s.from.SelectNode(u"//*[local-name() = 'x']")); },
        [](State & s) { s.to.SetRootElement(s.held); },
        [](State & s) { s.deep.GetParentNode().SetText(u""); },
        [](State & s) { s.from.GetRootElement().SetText(u"nothing else"); },
        [](State & s) { s.held = s.outer.Clone(true).AsElement(); },
        [](State & s) { s.to = s.to.Clone(true).GetDocument(); },
    };

    void Prepare() override { state_.Make(); }
    bool Act() override {
        for (; done_ < std::size(edits); ++done_) edits[done_](state_);
        return true;
    }
    void Check(bool) override {
        State whole;
        whole.Make();
        for (std::size_t edit = 0; edit < done_; ++edit) edits[edit](whole);
        Expect(state_.Text() == whole.Text(),
               "not what " + std::to_string(done_) + " edits make: " + state_.Text());
        ExpectSilence();
    }
    State state_;
    std::size_t done_ = 0;
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

// Its compiling can't be stopped, and takes more than the libraries' usual reserve.
class LargeSchema : public DocumentWork {
    void Prepare() override {
        text_ = u"<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>";
        for (int type = 0; type < 2000; ++type) {
            KZString element;
            element.Format(
                u"<xs:element name='e%d'><xs:complexType><xs:sequence><xs:element name='i' type='xs:int'/>"
                u"</xs:sequence></xs:complexType></xs:element>",
                type);
            text_ += element;
        }
        text_ += u"</xs:schema>";
    }
    bool Act() override {
        KZDOMDocument document = KZDOMDocument::Create(), rules = KZDOMDocument::Create();
        if (!document.Load(u"<e7><i>5</i></e7>") || !rules.Load(text_.c_str())) return false;
        document.AddSchema(u"", rules);
        return document.Validate();
    }
    void Check(bool) override { ExpectSilence(); }
    KZString text_;
};

WorkEntry const largeSchema("largeschema", [] { return std::unique_ptr<Work>(new LargeSchema); });
WorkEntry const documentSaves("documents", [] { return std::unique_ptr<Work>(new DocumentSaves); });
WorkEntry const edits("edits", [] { return std::unique_ptr<Work>(new Edits); });
WorkEntry const transformations("transformations", [] { return std::unique_ptr<Work>(new Transformations); });
WorkEntry const schemas("schemas", [] { return std::unique_ptr<Work>(new Schemas); });

} // namespace
