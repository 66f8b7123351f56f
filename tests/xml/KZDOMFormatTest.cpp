#include "ZerlithCore/errors/KZErrorID.h"
#include "tests/xml/DOMTestDocument.h"

namespace {

TEST(KZDOMFormat, FollowsItsLayout) {
    struct Case {
        char16_t const * source;
        unsigned level;
        bool closeFlush;
        unsigned step;
        char const * printed;
    };
    constexpr Case cases[] = {
        {u"<a/>", 0, true, 2, "<a/>\n"},
        {u"<a></a>", 3, true, 2, "   <a/>\n"},
        {u"<a>x</a>", 0, true, 2, "<a>\nx</a>\n"},
        {u"<a>x</a>", 4, true, 2, "    <a>\nx</a>\n"},
        {u"<a>x</a>", 4, false, 2, "    <a>\nx    </a>\n"},
        {u"<a><b/></a>", 1, true, 3, " <a>\n    <b/>\n </a>\n"},
        {u"<a>x<b/></a>", 2, true, 2, "  <a>\nx    <b/>\n  </a>\n"},
        {u"<a><b/>x</a>", 2, true, 2, "  <a>\n    <b/>\nx</a>\n"},
        {u"<a><b>x</b><c><d/></c></a>", 0, true, 1, "<a>\n <b>\nx</b>\n <c>\n  <d/>\n </c>\n</a>\n"},
        {u"<a x='1' y='2'/>", 0, true, 2, "<a x=\"1\" y=\"2\"/>\n"},
        {u"<a x='&amp;&lt;&gt;&quot;&apos;'>&amp;&lt;&gt;\"'</a>", 0, true, 2,
         "<a x=\"&amp;&lt;&gt;&quot;&apos;\">\n&amp;&lt;&gt;&quot;&apos;</a>\n"},
        {u"<a>&amp;lt;</a>", 0, true, 2, "<a>\n&amp;lt;</a>\n"},
        {u"<a><![CDATA[<&]]></a>", 0, true, 2, "<a>\n&lt;&amp;</a>\n"},
        {u"<!--c--><?p i?><a><!--c--><b/><?p i?></a>", 0, true, 2, "<a>\n  <b/>\n</a>\n"},
        {u"<a><!--alone--></a>", 0, true, 2, "<a/>\n"},
        {u"<a>x<!--c--></a>", 1, true, 2, " <a>\nx</a>\n"},
        {u"<p:a xmlns:p='urn:p' xmlns='urn:d' p:k='v'><b/></p:a>", 0, true, 2,
         "<p:a xmlns:p=\"urn:p\" xmlns=\"urn:d\" p:k=\"v\">\n  <b/>\n</p:a>\n"},
        {u"<a>\u00e9\u4e2d\U0001F600</a>", 0, true, 2, "<a>\n\u00e9\u4e2d\U0001F600</a>\n"},
        {u"<!DOCTYPE a [<!ENTITY e 'x&#38;y<b/>'>]><a k='&e;'/>", 0, true, 2, nullptr}, // "<" in an attribute
        {u"<!DOCTYPE a [<!ENTITY e 'x<b/>'>]><a>&e;</a>", 0, true, 2, "<a>\nx  <b/>\n</a>\n"},
    };
    for (Case const & c : cases) {
        KZDOMDocument document = KZDOMDocument::Create();
        ASSERT_EQ(document.Load(c.source), c.printed != nullptr) << KZString(c.source).AsUTF8();
        if (c.printed) {
            EXPECT_EQ(Formatted(document, c.level, c.closeFlush, c.step), c.printed);
        }
    }
}

// Long texts are searched in blocks, so special characters are put at every position of one.
TEST(KZDOMFormat, EscapesAtEveryPlace) {
    KZDOMElement element = KZDOMDocument::Create().CreateElement(u"a");
    for (char c = ' '; c < '\x7F'; ++c) {
        std::string const escaped = c == '&'    ? "&amp;"
                                    : c == '<'  ? "&lt;"
                                    : c == '>'  ? "&gt;"
                                    : c == '"'  ? "&quot;"
                                    : c == '\'' ? "&apos;"
                                                : std::string(1, c);
        for (std::size_t place = 0; place < 35; ++place) {
            std::string text(35, 'x'), expected = text;
            text[place] = c;
            expected.replace(place, 1, escaped);
            KZString units;
            ASSERT_TRUE(units.SetFromUTF8(text.c_str()).Good());
            element.SetText(units);
            ASSERT_EQ(Formatted(element), "<a>\n" + expected + "</a>\n") << c << " at " << place;
        }
    }
}

TEST(KZDOMFormat, LeavesOutBlanksBetweenElements) {
    constexpr struct {
        char16_t const *source, *xml;
    } cases[] = {
        {u"<a>\n <b> </b>\n</a>", u"<a><b> </b></a>"},
        {u"<a> </a>", u"<a> </a>"},
        {u"<a> <!--c--> </a>", u"<a> <!--c--> </a>"},
        {u"<a> <!--c--> <b/> </a>", u"<a><!--c--><b/></a>"},
        {u"<a>x <b/> <c/> y</a>", u"<a>x <b/><c/> y</a>"},
        {u"<a> <![CDATA[ ]]> <b/></a>", u"<a> <![CDATA[ ]]> <b/></a>"},
        {u"<a><b/> <![CDATA[x]]> <c/> <?p d?> <d/> </a>", u"<a><b/> <![CDATA[x]]> <c/><?p d?><d/></a>"},
        {u"<a> <b/> <c xml:space='preserve'> <d/> </c> </a>",
         u"<a><b/><c xml:space=\"preserve\"> <d/> </c></a>"},
        {u"<a xml:space='preserve'> <b/> </a>", u"<a xml:space=\"preserve\"> <b/> </a>"},
        {u"<a xml:space='preserve'><b xml:space='default'> <c/></b></a>",
         u"<a xml:space=\"preserve\"><b xml:space=\"default\"><c/></b></a>"},
    };
    for (auto const & c : cases) {
        KZDOMDocument document = Parsed(c.source);
        EXPECT_EQ(document.GetRootElement().GetXML(), c.xml);
        document.SetPreserveWhiteSpace(true);
        KZDOMDocument copy(document.Clone(false)); // has the same setting
        EXPECT_TRUE(copy.Load(c.source));
        KZString written = c.source;
        written.Replace(u"'", u"\"");
        EXPECT_EQ(copy.GetRootElement().GetXML(), written);
    }
    EXPECT_EQ(Parsed(u"<!DOCTYPE a [<!ENTITY e '<b> <c/> </b>'>]><a> &e; <d/>&#32;\t&#x20;x</a>")
                  .GetRootElement()
                  .GetXML(),
              u"<a><b><c/></b><d/> \t x</a>");
    KZDOMDocument text = KZDOMDocument::Create();
    text.SetPreserveWhiteSpace(true);
    EXPECT_TRUE(text.Load(u"<p><b>very</b> <i>important</i></p>"));
    EXPECT_EQ(text.GetRootElement().GetText(), u"very important");
}

TEST(KZDOMFormat, AppendsAndTakesSingleNodes) {
    KZDOMDocument document = Parsed(u"<a><b>x</b>t&lt;</a>");
    KZString out = u"before\n";
    document.SelectNode(u"a/b").Format(out, 0, true, 2);
    document.SelectNode(u"a/text()").Format(out, 9, true, 2);
    EXPECT_EQ(out, u"before\n<b>\nx</b>\nt&lt;");
    EXPECT_EQ(Formatted(KZDOMDocument::Create()), "");
    // Long texts are larger than the buffer. Nesting deeper than any parser accepts needs no stack.
    KZDOMElement root = document.CreateElement(u"r", true);
    for (unsigned size = 4070; size < 4110; ++size) {
        KZString const text(u'\u00fc', size);
        root.SetText(text);
        root.AppendChild(document.CreateElement(u"n"));
        EXPECT_EQ(Formatted(root), "<r>\n" + text.AsUTF8() + "  <n/>\n</r>\n");
        KZDOMElement named = document.CreateElement(u"e");
        named.SetAttribute(u"k", text);
        EXPECT_EQ(Formatted(named), "<e k=\"" + text.AsUTF8() + "\"/>\n");
    }
    root.SetText(u"");
    KZDOMNode at = root;
    for (int i = 0; i < 100000; ++i) at = at.AppendChild(document.CreateElement(u"n"));
    EXPECT_EQ(Formatted(root, 0, true, 0).size(), 9U + 99999 * 9 + 5);
    EXPECT_EQ(root.Clone(true).GetXML().Length(), root.GetXML().Length());
    EXPECT_EQ(CodeOf([&] { static_cast<void>(document.TransformNode(document)); }),
              KZDOMResult::LimitExceeded);
}

} // namespace
