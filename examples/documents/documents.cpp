// Reads the books of a library, prints some values, adds a book, validates the result by a schema, and makes a list in HTML.
// `documents other.xml` reads another file.
#include <ZerlithCore/ZerlithCore.h>

namespace {

// Loads a document from a file. If that fails, prints the reason and returns an empty handle.
KZDOMDocument Loaded(std::wostream & out, KZString const & name) {
    KZDOMDocument document = KZDOMDocument::Create();
    if (document.Load(name, true)) return document;
    KZDOMParseError const error = document.GetLastParseError();
    KZString place;
    place.Format(u"%s:%u:%u: ", name.c_str(), error.GetLine(), error.GetLinePosition());
    out << place << error.GetReason() << L'\n' << error.GetSourceText() << std::endl;
    return {};
}

void PrintBooks(std::wostream & out, KZDOMElement const & library) {
    for (KZDOMElement book = library.GetFirstChildElement(); book.IsValid();
         book = book.GetNextSiblingElement()) {
        out << book.GetAttrAsString(u"id", true) << L": " << book.ValueOf(u"*[local-name()='title']", u"?");
        out << (book.GetAttrAsBool(u"lent") ? L", lent\n" : L"\n");
    }
}

// Adds a copy of the last book and changes its values. The copy has the same namespace as the original.
void AddBook(KZDOMElement & library, KZString const & id, KZString const & title) {
    KZDOMElement const last(library.SelectNode(u"*[last()]"));
    KZDOMElement book(library.AppendChild(last.Clone(true)));
    book.SetAttribute(u"id", id);
    book.RemoveAttribute(u"lent");
    book.SelectNode(u"*[1]").SetText(title);
}

void Check(std::wostream & out, KZDOMDocument & document) {
    if (document.Validate()) {
        out << L"The library follows its schema.\n";
    } else {
        out << L"The library doesn't follow its schema: " << document.GetLastParseError().GetReason()
            << L'\n';
    }
}

int Show(std::wostream & out, KZString const & name) {
    KZDOMDocument document = Loaded(out, name);
    KZDOMDocument const schema = Loaded(out, u"library.xsd");
    KZDOMDocument const stylesheet = Loaded(out, u"loans.xsl");
    if (!document.IsValid() || !schema.IsValid() || !stylesheet.IsValid()) return 1;
    KZDOMElement library = document.GetRootElement();
    PrintBooks(out, library);
    out << document.SelectNodes(u"//@lent").GetLength() << L" books are lent.\n";

    document.AddSchema(u"urn:example:library", schema);
    AddBook(library, u"b2", u"Ladders < Lifts");
    Check(out, document);
    KZDOMNode copyId = document.SelectNode(u"/*/*[last()]/@id");
    copyId.SetText(u"b4");
    Check(out, document);

    out << document.TransformNode(stylesheet);
    KZString printed;
    library.SelectNode(u"*[last()]").Format(printed);
    out << printed;
    document.SaveToFile(u"library-new.xml");
    return 0;
}

} // namespace

int main(int argc, char ** argv) {
    KZLockedCOUT console;
    std::wostream & out = console.GetCout(1);
    KZString name(u"library.xml");
    if (argc > 1) static_cast<void>(name.SetFromUTF8(argv[1]));
    try {
        int const result = Show(out, name);
        out.flush();
        return result;
    } catch (KZDOMException const & exception) {
        out << KZString(exception.What()) << std::endl;
        return 1;
    }
}
