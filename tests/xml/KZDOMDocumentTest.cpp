#include "tests/files/TemporaryDirectory.h"
#include "tests/xml/DOMTestDocument.h"

#include <thread>

namespace {

TEST(KZDOMDocument, TellsWhatIsWrong) {
    struct Case {
        char16_t const * text;
        std::int32_t code;
        std::uint32_t line, column, position;
        char16_t const * source;
    };
    constexpr Case cases[] = {
        {u"", KZDOMResult::Empty, 0, 0, 0, u""},
        {u" \n", KZDOMResult::Empty, 2, 1, 2, u""},
        {u"text", KZDOMResult::Empty, 1, 1, 0, u"text"},
        {u"<a>\n<b>", KZDOMResult::UnclosedElement, 2, 4, 7, u"<b>"},
        {u"<a>\n \u00e9<b></a>\n", KZDOMResult::MismatchedTag, 2, 10, 13, u" \u00e9<b></a>"},
        {u"<a k='1'\r\n k='2'/>", KZDOMResult::DuplicateAttribute, 2, 7, 16, u" k='2'/>"},
        {u"<a>&no;</a>", KZDOMResult::BadEntity, 1, 8, 7, u"<a>&no;</a>"},
        {u"<a>&lt</a>", KZDOMResult::BadEntity, 1, 7, 6, u"<a>&lt</a>"},
        {u"<a>&#0;</a>", KZDOMResult::Malformed, 1, 8, 7, u"<a>&#0;</a>"},
        {u"<p:a/>", KZDOMResult::UndeclaredPrefix, 1, 5, 4, u"<p:a/>"},
        {u"<a b=c/>", KZDOMResult::Malformed, 1, 6, 5, u"<a b=c/>"},
        {u"<a/><b/>", KZDOMResult::Malformed, 1, 5, 4, u"<a/><b/>"},
        {u"<a>\x01</a>", KZDOMResult::Malformed, 1, 4, 3, u"<a>\x01</a>"},
        {u"<a>]]></a>", KZDOMResult::Malformed, 1, 4, 3, u"<a>]]></a>"},
    };
    KZDOMDocument document = Parsed(u"<kept/>");
    for (Case const & c : cases) {
        EXPECT_FALSE(document.Load(c.text)) << KZString(c.text).AsUTF8();
        KZDOMParseError const error = document.GetLastParseError();
        EXPECT_EQ(error.GetErrorCode(), c.code) << KZString(c.text).AsUTF8() << error.GetReason().AsUTF8();
        EXPECT_FALSE(error.GetReason().IsNull());
        EXPECT_EQ(error.GetLine(), c.line) << KZString(c.text).AsUTF8();
        EXPECT_EQ(error.GetLinePosition(), c.column) << KZString(c.text).AsUTF8();
        EXPECT_EQ(error.GetFilePosition(), c.position) << KZString(c.text).AsUTF8();
        EXPECT_EQ(error.GetSourceText(), c.source);
        EXPECT_EQ(error.GetURL(), u"");
    }
    EXPECT_EQ(document.GetRootElement().GetName(), u"kept");
    KZDOMParseError const last = document.GetLastParseError();
    EXPECT_TRUE(document.Load(u"<fine/>"));
    EXPECT_EQ(document.GetLastParseError().GetErrorCode(), 0);
    EXPECT_EQ(document.GetLastParseError().GetReason(), u"");
    EXPECT_EQ(last.GetErrorCode(), KZDOMResult::Malformed);
}

TEST(KZDOMDocument, ReadsAndWritesFiles) {
    TemporaryDirectory const directory;
    KZString const path = directory.Path(u"d\u00e9.xml");
    KZDOMDocument document = KZDOMDocument::Create();
    EXPECT_FALSE(document.Load(path, true));
    EXPECT_EQ(document.GetLastParseError().GetErrorCode(), KZDOMResult::CantRead);
    EXPECT_EQ(document.GetLastParseError().GetURL(), path);
    EXPECT_FALSE(document.GetLastParseError().GetReason().IsNull());
    EXPECT_FALSE(document.Load(directory.Path(u""), true));

    using namespace std::string_literals;
    std::tuple<std::string, std::int32_t, char16_t const *> const cases[] = {
        {"<a>\xC3\xA9</a>", 0, u"\u00e9"},
        {"\xEF\xBB\xBF<a>\xC3\xA9</a>", 0, u"\u00e9"},
        {"<?xml version='1.0' encoding='ISO-8859-1' standalone='yes'?><a>\xE9</a>", 0, u"\u00e9"},
        {"\xFF\xFE<\0a\0>\0\xE9\0<\0/\0a\0>\0"s, 0, u"\u00e9"},
        {"<a>\n\xE9</a>", KZDOMResult::BadEncoding, nullptr},
        {"<?xml version='1.0' encoding='no-such'?><a/>", KZDOMResult::BadEncoding, nullptr},
        {"\xFF\xFE<\0a\0>\0\n\0<\0/\0b\0>\0"s, KZDOMResult::MismatchedTag, nullptr},
        {"", KZDOMResult::Empty, nullptr},
        {"<a>\0</a>"s, KZDOMResult::UnclosedElement, nullptr},
    };
    for (auto const & [bytes, code, text] : cases) {
        directory.Write(u"d\u00e9.xml", bytes);
        EXPECT_EQ(document.Load(path, true), text != nullptr) << bytes;
        KZDOMParseError const error = document.GetLastParseError();
        EXPECT_EQ(error.GetErrorCode(), code) << bytes << error.GetReason().AsUTF8();
        if (text) {
            EXPECT_EQ(document.ValueOf(u"a"), text) << bytes;
            document.SelectNode(u"a").AsElement().SetAttribute(u"k", u"\u20ac");
            document.SaveToFile(path);
            std::string const written = directory.Read(u"d\u00e9.xml");
            KZDOMDocument(document.Clone(true)).SaveToFile(path);
            EXPECT_EQ(directory.Read(u"d\u00e9.xml"), written) << "in the same encoding";
            KZDOMDocument again = KZDOMDocument::Create();
            EXPECT_TRUE(again.Load(path, true));
            EXPECT_EQ(Formatted(again), Formatted(document));
        } else if (code == KZDOMResult::MismatchedTag) {
            EXPECT_EQ(error.GetSourceText(), u"</b>");
            EXPECT_EQ(error.GetLine(), 2U);
        }
    }
    EXPECT_EQ(CodeOf([&] { document.SaveToFile(directory.Path(u"none/x.xml")); }), KZDOMResult::CantWrite);
    // A program that has the old file open still reads the old content.
    directory.Write(u"d\u00e9.xml", "the old one");
    std::ifstream reader(directory.Root() / u"d\u00e9.xml");
    document.SaveToFile(path);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(reader), {}), "the old one");
    EXPECT_NE(directory.Read(u"d\u00e9.xml"), "the old one");
    // The encoding that a text declares is ignored.
    EXPECT_EQ(Parsed(u"\uFEFF<?xml version='1.0' encoding='UTF-16'?><a>\u00e9</a>").ValueOf(u"a"), u"\u00e9");
}

TEST(KZDOMDocument, LoadsNothingElse) {
    TemporaryDirectory const directory;
    KZString const secret = directory.Path(u"secret.xml");
    directory.Write(u"secret.xml",
                    "<?xml version='1.0'?><!ENTITY leak 'secret'><!ATTLIST a k CDATA 'secret'>");
    char16_t const * const texts[] = {
        u"<!DOCTYPE a [<!ENTITY e SYSTEM '%s'>]><a>&e;</a>",
        u"<!DOCTYPE a [<!ENTITY e SYSTEM 'http://127.0.0.1:9/%s'>]><a>&e;</a>",
        u"<!DOCTYPE a [<!ENTITY %% p SYSTEM '%s'> %%p;]><a>&leak;</a>",
        u"<!DOCTYPE a SYSTEM '%s'><a>&leak;</a>",
        u"<!DOCTYPE a PUBLIC 'x' 'http://127.0.0.1:9/%s'><a>&leak;</a>",
        u"<a xmlns:i='http://www.w3.org/2001/XInclude'><i:include href='%s' parse='text'/></a>",
    };
    for (char16_t const * const format : texts) {
        KZString text;
        text.Format(format, secret.c_str());
        KZDOMDocument document = KZDOMDocument::Create();
        EXPECT_TRUE(!document.Load(text) || document.GetXML().Find(u"ENTITY leak") == KZString::npos);
        EXPECT_TRUE(document.GetRootElement().IsValid() ? document.ValueOf(u"a").IsNull() : true)
            << text.AsUTF8();
    }
    EXPECT_FALSE(KZDOMDocument::Create().Load(u"<!DOCTYPE a [<!ENTITY e SYSTEM '/etc/passwd'>]><a>&e;</a>"));
}

// `count` copies of a text, with "%d" replaced by the number of the copy.
KZString Numbered(char16_t const * format, int count) {
    KZString all;
    for (int i = 0; i < count; ++i) {
        KZString one;
        one.Format(format, i);
        all += one;
    }
    return all;
}

// Declarations of the entities e0 to e`levels`, each ten times as long as the one before.
KZString Tenfold(KZString const & mark, KZString const & reference, KZString const & innermost, int levels) {
    KZString text = u"<!ENTITY " + mark + u"e0 '" + innermost + u"'>";
    for (int i = 1; i <= levels; ++i) {
        KZString inner, outer;
        inner.Format(u"e%d;", i - 1);
        outer.Format(u"e%d '", i);
        text += u"<!ENTITY " + mark + outer + Repeated(reference + inner, 10) + u"'>";
    }
    return text;
}

TEST(KZDOMDocument, EndsAtItsLimits) {
    LowLimits const low;
    KZString const laughs = Tenfold(u"", u"&", u"ha", 11), large(u'x', 10'000'001U);
    auto const entity = [](unsigned bytes) { return u"<!ENTITY e '" + KZString(u'x', bytes) + u"'>"; };
    std::tuple<KZString, KZString, char16_t const *> const cases[] = {
        {laughs, u"><b>&e11;</b>", u"expand"},
        {laughs, u" k='&e11;'>", u"expand"},
        {u"<!ENTITY e '&f;'><!ENTITY f '&e;'>", u">&e;", u"refers to itself"},
        {Tenfold(u"% ", u"&#37;", u"<!--x-->", 4) + u"%e4;", u">", nullptr},
        {Tenfold(u"% ", u"&#37;", u"<!ENTITY x \"y\">", 7) + u"%e7;", u">", nullptr},
        {entity(32'000), u">" + Repeated(u"<b k='&e;'/>", 40'000), u"ten times"},
        {u"<!ENTITY e '" + Repeated(u"<b/>", 8'000) + u"'>", u">" + Repeated(u"&e;", 3'000), u"ten times"},
        {entity(30'000) + Numbered(u"<!ATTLIST b%d k CDATA '&e;'>", 400), u">", u"ten times"},
        {entity(40), u">" + Repeated(u"&e;", 15'000), u"in one text"},
        {entity(40'000), u">", u"32,768"},
        {u"<!ATTLIST b k CDATA '" + KZString(u'x', 5'000U) + u"'>", u">" + Repeated(u"<b/>", 5'000),
         u"Default"},
        {u"<!ATTLIST a k (" + Numbered(u"k%d|", 20'000) + u"z) #IMPLIED>", u">", u"65,536"},
        {Numbered(u"<!ATTLIST a k%d ID #IMPLIED>", 2'000), u">", u"identifiers"},
        {Numbered(u"<!ATTLIST a k%d CDATA #IMPLIED>", 17'000), u">", u"16,384"},
        {u"<!ELEMENT a " + KZString(u'(', 200U), u">", u"128 levels"},
        {u"", Numbered(u" a%d=''", 50'000) + u">", u"16,384"},
        {u"", u">" + Repeated(u"<b" + Numbered(u" a%d=''", 1'500) + u"/>", 9), u"many attributes"},
        {u"", Numbered(u" xmlns:n%d='u'", 900) + u">" + Repeated(u"<n899:b/>", 20'000), u"many attributes"},
        {u"", u">" + Repeated(u"<a>", 300), u"256 levels"},
        {u"", u">" + large, u"A text"},
        {u"", u"><!--" + large + u"-->", u"A comment"},
        {u"", u"><![CDATA[" + large + u"]]>", u"A CDATA section"},
        {u"", u"><?p " + large + u"?>", u"An instruction"},
        {u"", u" k='" + large + u"'>", u"attribute's value"},
        {u"", u"><" + KZString(u'x', 60'000U) + u"/>", u"A name"},
    };
    for (auto const & [type, text, reason] : cases) {
        SCOPED_TRACE((type.SubStr(0, 60) + text.SubStr(0, 60)).AsUTF8());
        KZDOMDocument document = KZDOMDocument::Create();
        bool const isLoaded = document.Load(u"<!DOCTYPE a [" + type + u"]><a" + text + u"</a>");
        KZDOMParseError const error = document.GetLastParseError();
        if (!reason) continue; // only has to come to an end
        EXPECT_FALSE(isLoaded);
        EXPECT_EQ(error.GetErrorCode(), KZDOMResult::LimitExceeded);
        EXPECT_NE(error.GetReason().Find(reason), KZString::npos) << error.GetReason().AsUTF8();
    }
    EXPECT_TRUE(KZDOMDocument::Create().Load(u"<a>" + KZString(u'x', 10'000'000U) + u"</a>"));
    EXPECT_TRUE(KZDOMDocument::Create().Load(Repeated(u"<a>", 256) + Repeated(u"</a>", 256)));
}

TEST(KZDOMDocument, MakesNodes) {
    KZDOMDocument document = KZDOMDocument::Create();
    EXPECT_FALSE(document.GetRootElement().IsValid());
    KZDOMElement root = document.CreateElement(u"r", true);
    root.AppendChild(document.CreateNode(KZDOMNodeType::Element, u"p:e", u"urn:p")).SetText(u"<t>");
    root.AppendChild(document.CreateNode(KZDOMNodeType::Comment)).SetText(u"note");
    root.AppendChild(document.CreateNode(KZDOMNodeType::CDATASection)).SetText(u"]]>");
    root.AppendChild(document.CreateProcessingInstruction(u"go", u"on"));
    EXPECT_EQ(
        root.GetXML(),
        u"<r><p:e xmlns:p=\"urn:p\">&lt;t&gt;</p:e><!--note--><![CDATA[]]]]><![CDATA[>]]><?go on?></r>");
    EXPECT_EQ(document.CreateText(u"x").GetTextSP()->Kind(), KZPlatform::DocumentNodeKind::Text);
    EXPECT_EQ(document.CreateElement(u"second", true).GetParentNode().GetNodeSP(), document.GetNodeSP());
    EXPECT_EQ(document.GetChildNodes().GetLength(), 1U);
    EXPECT_EQ(document.Clone(true).GetXML(), document.GetXML());
    EXPECT_NE(document.CloneSP(true), document.GetNodeSP());
    EXPECT_FALSE(document.Clone(false).HasChilds());
    constexpr std::int32_t badName = KZDOMResult::InvalidName;
    EXPECT_EQ(CodeOf([&] { document.CreateElement(u"a b"); }), badName);
    EXPECT_EQ(CodeOf([&] { document.CreateElement(u"p:a"); }), badName);
    EXPECT_EQ(CodeOf([&] { document.CreateProcessingInstruction(u"XML", u""); }), badName);
    EXPECT_EQ(CodeOf([&] { document.CreateText(u"\x02"); }), KZDOMResult::InvalidText);
    EXPECT_EQ(CodeOf([&] { document.CreateProcessingInstruction(u"p", u"?>"); }), KZDOMResult::InvalidText);
    EXPECT_EQ(CodeOf([&] { document.CreateNode(KZDOMNodeType::Comment).SetText(u"--"); }),
              KZDOMResult::InvalidText);
    EXPECT_EQ(CodeOf([&] { document.CreateNode(KZDOMNodeType::Attribute, u"a"); }),
              KZDOMResult::InvalidArgument);
    EXPECT_EQ(CodeOf([&] { document.SetText(u"x"); }), KZDOMResult::Hierarchy);
}

TEST(KZDOMDocument, ServesAThreadEach) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int round = 0; round < 50; ++round) {
                KZDOMDocument document = Parsed(u"<r><i>1</i><i>2</i></r>");
                EXPECT_EQ(document.ValueOf(u"r/i[2]"), u"2");
                EXPECT_FALSE(document.Load(u"<r>"));
                EXPECT_EQ(CodeOf([&] { static_cast<void>(document.SelectNode(u"[")); }),
                          KZDOMResult::BadPath);
            }
        });
    for (std::thread & thread : threads) thread.join();
}

} // namespace
