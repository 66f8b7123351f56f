#include "tests/xml/DOMTestDocument.h"

#include <algorithm>
#include <vector>

namespace {

TEST(KZDOMNode, TellsWhatItIs) {
    KZDOMDocument document =
        Parsed(u"<?xml version='1.0'?><!DOCTYPE r><r xmlns:p='urn:p' p:k='v'>t<![CDATA[c]]>"
               u"<!--n--><?go on?><p:e>u</p:e></r>");
    KZDOMElement root = document.GetRootElement();
    struct Case {
        char16_t const * path;
        KZDOMNodeType type;
        char16_t const *name, *value, *text, *xml;
    };
    constexpr Case cases[] = {
        {u"@p:k", KZDOMNodeType::Attribute, u"p:k", u"v", u"v", u"p:k=\"v\""},
        {u"text()[1]", KZDOMNodeType::Text, u"#text", u"t", u"t", u"t"},
        {u"text()[2]", KZDOMNodeType::CDATASection, u"#cdata-section", u"c", u"c", u"<![CDATA[c]]>"},
        {u"comment()", KZDOMNodeType::Comment, u"#comment", u"n", u"n", u"<!--n-->"},
        {u"processing-instruction()", KZDOMNodeType::ProcessingInstruction, u"go", u"on", u"on",
         u"<?go on?>"},
        {u"p:e", KZDOMNodeType::Element, u"p:e", u"", u"u", u"<p:e xmlns:p=\"urn:p\">u</p:e>"},
        {u".", KZDOMNodeType::Element, u"r", u"", u"tcu", nullptr},
        {u"/", KZDOMNodeType::Document, u"#document", u"", u"tcu", nullptr},
    };
    for (Case const & c : cases) {
        KZDOMNode const node = root.SelectNode(c.path);
        EXPECT_EQ(node.GetNodeType(), c.type) << KZString(c.path).AsUTF8();
        EXPECT_EQ(node.GetName(), c.name);
        EXPECT_EQ(node.GetValue(), c.value);
        EXPECT_EQ(node.GetText(), c.text);
        EXPECT_EQ(node.GetXML(), c.xml ? c.xml : node.GetXML());
        EXPECT_EQ(root.ValueOf(c.path, u"none"), c.text);
        EXPECT_EQ(node.GetDocument().GetNodeSP(), document.GetNodeSP());
        EXPECT_EQ(KZDOMText(node).IsValid(), KZString(c.path).Find(u"text()") == 0);
    }
    EXPECT_EQ(document.GetFirstChildNode().GetNodeType(), KZDOMNodeType::DocumentType);
    EXPECT_EQ(Parsed(u"<a>\u00e9</a>").GetXML(), u"<?xml version=\"1.0\"?>\n<a>\u00e9</a>\n");
}

TEST(KZDOMNode, FindsItsWay) {
    KZDOMDocument document = Parsed(u"<a><b i='1'><c/>x<c>y</c></b><!--n--><b i='2'/></a>");
    KZDOMElement const a = document.GetRootElement(), b = a.GetFirstChildElement();
    EXPECT_EQ(b.GetNextSiblingElement().GetAttrAsInteger(u"i"), 2);
    EXPECT_FALSE(b.GetNextSiblingElement().GetNextSiblingElement().IsValid());
    EXPECT_EQ(b.GetParentNode().GetNodeSP(), a.GetNodeSP());
    EXPECT_EQ(a.GetParentNode().GetNodeType(), KZDOMNodeType::Document);
    EXPECT_FALSE(document.GetParentNode().IsValid() || b.SelectNode(u"@i").GetParentNode().IsValid());
    KZDOMNode const y = document.SelectNode(u"//c[2]/text()");
    EXPECT_EQ(y.GetAncestorNode(u"b").GetNodeSP(), b.GetNodeSP());
    EXPECT_FALSE(y.GetAncestorNode(u"x").IsValid());
    EXPECT_TRUE(b.HasChilds() && !y.HasChilds() && !y.AsElement().IsValid());
    KZDOMNodeList children = b.GetChildNodes();
    EXPECT_EQ(children.GetLength(), 3U);
    EXPECT_EQ(children.GetNextElement().GetName(), u"c");
    EXPECT_EQ(children.GetNextElement().GetText(), u"y");
    EXPECT_FALSE(children.GetNextNode().IsValid());
    children.Reset();
    EXPECT_EQ(children.GetNextNode().GetXML(), u"<c/>");
    EXPECT_EQ(children.GetNextNode().GetNodeType(), KZDOMNodeType::Text);
}

TEST(KZDOMNode, EvaluatesPaths) {
    KZDOMDocument document = Parsed(u"<r xmlns='urn:d' xmlns:q='urn:d'><i k='1'>one</i><i k='2'>two</i></r>");
    EXPECT_EQ(document.ValueOf(u"/q:r/q:i[@k='2']"), u"two");
    EXPECT_EQ(document.ValueOf(u"/r/i", u"default"), u"default"); // a name without a prefix has no namespace
    EXPECT_EQ(document.GetChildNodeValue(u"q:r/q:i/@k", u"0"), u"1");
    EXPECT_EQ(document.GetChildNodeValue(u"q:none", u"0"), u"0");
    EXPECT_TRUE(document.ChildExists(u"//q:i") && !document.ChildExists(u"//i"));
    KZDOMNodeList list = document.SelectNodes(u"//q:i[2] | //q:i[1] | //namespace::*");
    EXPECT_EQ(list.GetLength(), 2U); // in document order, without declarations
    EXPECT_EQ(list.GetNextNode().GetText(), u"one");
    constexpr std::pair<char16_t const *, std::int32_t> bad[] = {
        {u"", KZDOMResult::BadPath},        {u"a[", KZDOMResult::BadPath},
        {u"x:a", KZDOMResult::BadPath},     {u"no(1)", KZDOMResult::BadPath},
        {u"$v", KZDOMResult::BadPath},      {u"count(//*)", KZDOMResult::NotNodes},
        {u"'text'", KZDOMResult::NotNodes}, {u"a b", KZDOMResult::BadPath},
        {u"a::b", KZDOMResult::BadPath},    {u"'x'/a", KZDOMResult::BadPath},
        {u"1|2", KZDOMResult::BadPath},     {u"a[contains(b)]", KZDOMResult::BadPath},
        {u"a]", KZDOMResult::BadPath},      {u"//", KZDOMResult::BadPath},
        {u"a['x]", KZDOMResult::BadPath},   {u"*[.=$v]", KZDOMResult::BadPath},
    };
    for (auto const & [path, code] : bad)
        for (int i = 0; i < 2; ++i) // the second time the path comes from the table of compiled ones
            EXPECT_EQ(CodeOf([&] { static_cast<void>(document.SelectNode(path)); }), code)
                << KZString(path).AsUTF8();
    KZString nested;
    for (int i = 0; i < 20000; ++i) nested += u'(';
    EXPECT_EQ(CodeOf([&] { static_cast<void>(document.SelectNode(nested)); }), KZDOMResult::LimitExceeded);
    for (int i = 0; i < 1000; ++i) { // more paths than the table keeps
        KZString path;
        path.Format(u"/q:r/q:i[@k='%d']", i % 300);
        EXPECT_EQ(document.ChildExists(path), i % 300 == 1 || i % 300 == 2);
    }
}

TEST(KZDOMNode, ComputesInPaths) {
    KZDOMElement const root =
        Parsed(u"<r xmlns:p='urn:p'><a k='1' xml:id='one'>x<b>2</b></a>"
               u"<a k='2' xml:lang='en-GB'>y<!--c--><b p:k='v'>3</b><?t d?><![CDATA[z]]></a></r>")
            .GetRootElement();
    constexpr char16_t const * truths[] = {
        // Steps from one node and from many, in both directions, with positions and without.
        u"count(//a) = 2 and count(//*) = 5 and count(//node()) = 12 and count(//@*) = 5",
        u"a[2]/preceding-sibling::a/@k = 1 and a[last()]/@k = 2 and a[position() = last() - 1]/@k = '1'",
        u"count(//b/ancestor::*) = 3 and count(//b/..) = 2 and count(//b/ancestor-or-self::node()) = 6",
        u"count(//a/descendant-or-self::node()/self::b) = 2 and count(//b[1]) = 2 and count((//b)[1]) = 1",
        u"count(//node()/following::node()) = 9 and count(//text()/preceding::text()) = 4",
        u"//b/ancestor::*[1]/@k = 2 and //b/ancestor::*[last()][self::r] and //a[2]/b/preceding::b[1] = 2",
        u"count(//node()/following-sibling::node()[1]) = 6 and a[2]/node()[4]/preceding-sibling::*[1] "
        u"= 3",
        u"count(a|//a|//b|//b/@p:k) = 5 and string((//b|//a/@k)[1]) = '1' and (//b/@*|//a/@k)[last()] = 'v'",
        u"count(namespace::*) = 2 and namespace::p = 'urn:p' and local-name(namespace::*[. = 'urn:p']) = 'p'",
        u"a[2]/text()[2] = 'z' and //comment() = 'c' and //processing-instruction('t') = 'd' and //b[. = 3]",
        u"name(//@p:k) = 'p:k' and local-name(//@p:*) = 'k' and namespace-uri(//@p:k) = 'urn:p'",
        u"a[b > 2][1]/@k = 2 and not(a[1][b > 2]) and count(a[@k][b]) = 2 and a[b = '3']/@k = 2",
        u"id('one two one')/@k = 1 and a[2]/b[lang('EN')] and not(a[1][lang('en')]) and a[lang('en-gb')]/b = "
        u"3",
        // A comparison is true if it holds for one of the nodes.
        u"//b = 3 and //b != 3 and //b > 2 and //b >= '3' and 2 < //b and //b = //b and //b != //b",
        u"not(//b < //@k) and //b <= //@k and not(//none = //none) and not(//none != 'x') and //b = //@k",
        u"//none = false() and //b = true() and not(//b = 'x') and //a[b] = 'x2' and string(//a[2]) = 'y3z'",
        // Operators are evaluated from left to right, those that bind more closely first.
        u"- - 1 = 1 and 7 - 2 - 1 = 4 and 2 + 3 * 4 mod 5 = 4 and -(2) * 3 = -6 and 8 div 2 div 2 = 2",
        u"1 = '1' and '1' = 1.0 and '2' <= '2' and 'x' != 'y'",
        u"1 = 1 = true() and 3 > 2 > 0 and 1 or 1 div 0 and false() or false() = true()",
        u"1 div 0 > 10 and number('x') != number('x') and string(-1 div 0) = '-Infinity' and - //none != 0",
        u"string(1 div 4) = '0.25' and string(1000000) = '1000000' and 1e2 = 100 and .5 = 0.5 and '1' + '1' "
        u"= 2",
        // Functions.
        u"round(2.5) = 3 and round(-2.5) = -2 and floor(-1.5) = -2 and ceiling(1.2) = 2 and sum(//b) = 5",
        u"substring('12345', 1.5, 2.6) = '234' and substring('12345', 0 div 0, 3) = '' and "
        u"substring('\u4e2d\u00e9b', 2) = '\u00e9b'",
        u"substring('12345', -42, 1 div 0) = '12345' and substring('12345', -1 div 0, 1 div 0) = ''",
        u"translate('bar', 'abc', 'AB') = 'BAr' and translate('-\u00e9-', '\u00e9-', '\u4e2d') = '\u4e2d'",
        u"normalize-space(' a \n b ') = 'a b' and string-length('\u00e9\u4e2d') = 2 and concat('a', 1, "
        u"true()) = 'a1true'",
        u"substring-before('1/2/3', '/') = '1' and substring-after('1/2/3', '/') = '2/3' and "
        u"substring-after('a', '') = 'a'",
        u"contains('aaab', 'aab') and not(contains('aab', 'aaab')) and contains('a', '') and "
        u"starts-with('ab', 'a')",
        u"boolean('0') and not(boolean('')) and not(0) and boolean(//b) and number(true()) = 1 and number() "
        u"!= 1",
    };
    for (char16_t const * const truth : truths)
        EXPECT_TRUE(root.ChildExists(u"self::r[" + KZString(truth) + u"]")) << KZString(truth).AsUTF8();
}

TEST(KZDOMNode, LimitsTheWorkOfAPath) {
    LowLimits const low;
    constexpr int depth = 30000;
    KZDOMDocument deep = KZDOMDocument::Create();
    KZDOMNode leaf = deep.CreateElement(u"a", true);
    for (int i = 1; i < depth; ++i) leaf = leaf.AppendChild(deep.CreateElement(u"a"));
    KZString text = u"<r><t>" + KZString(u'x', 100'000U) + u"</t>";
    for (int i = 0; i < 20000; ++i) text += u"<i/>";
    KZDOMDocument wide = Parsed(text + u"</r>");
    // The last field is the number of nodes found, or 0 if the work exceeds the limit.
    std::tuple<KZDOMNode, char16_t const *, std::uint32_t> const cases[] = {
        {deep, u"//a", depth},
        {deep, u"//a/..|//a", depth + 1},
        {leaf, u"ancestor::a", depth - 1},
        {deep, u"//a/ancestor::a", depth - 1},
        {deep, u"//a[. = 'x']", 0},
        {deep, u"//a[following::a[1] or preceding::a[1]]", 0},
        {wide, u"//i/following-sibling::i", 19999},
        {wide, u"//i/preceding::i|//i[last()]", 20000},
        {wide, u"//i[contains(/r/t, 'y')]", 0},
        {wide, u"//i[contains(/r/t, concat(substring(/r/t, 2), 'y'))]", 0},
        {wide, u"//i[substring-before(/r/t, 'y') = substring-after(/r/t, 'y')]", 0},
        {wide, u"//i[normalize-space(/r/t) = '']", 0},
        {wide, u"//i[concat(/r/t, /r/t) = '']", 0},
        {wide, u"//i[/r/t + 1 = 1]", 0},
        {wide, u"//i[/r = 'x']", 0},
    };
    for (auto const & [from, path, found] : cases) {
        SCOPED_TRACE(KZString(path).AsUTF8());
        try {
            EXPECT_EQ(from.SelectNodes(path).GetLength(), found);
            EXPECT_NE(found, 0U);
        } catch (KZDOMException const & exception) {
            EXPECT_EQ(found, 0U);
            EXPECT_EQ(exception.GetResultCode(), KZDOMResult::LimitExceeded);
            EXPECT_NE(KZString(exception.What()).Find(u"100,000,000"), KZString::npos);
        }
    }
}

TEST(KZDOMNode, MovesNodes) {
    KZDOMDocument document = Parsed(u"<r><a/>t<b/></r>");
    KZDOMElement root = document.GetRootElement();
    KZDOMNode const a = document.SelectNode(u"//a"), b = document.SelectNode(u"//b");
    root.InsertBefore(b, a);
    EXPECT_EQ(root.GetXML(), u"<r><b/><a/>t</r>");
    root.InsertBefore(b, b);
    root.AppendChild(a);
    EXPECT_EQ(root.GetXML(), u"<r><b/>t<a/></r>");
    KZDOMNode fragment = document.CreateNode(KZDOMNodeType::DocumentFragment);
    fragment.AppendChild(document.CreateText(u"1"));
    fragment.AppendChild(document.CreateText(u"2")); // adjacent texts stay separate
    fragment.AppendChild(b);
    root.InsertBefore(fragment, a);
    EXPECT_EQ(root.GetXML(), u"<r>t12<b/><a/></r>");
    EXPECT_EQ(root.GetChildNodes().GetLength(), 5U);
    EXPECT_FALSE(fragment.HasChilds());

    KZDOMDocument other = Parsed(u"<o/>");
    KZDOMNode const attribute = other.SelectNode(u"o").Clone(true);
    auto const hierarchy = [](KZDOMNode parent, KZDOMNode const & child) {
        return CodeOf([&] { parent.AppendChild(child); }) == KZDOMResult::Hierarchy;
    };
    EXPECT_TRUE(hierarchy(b, root)); // below itself
    EXPECT_TRUE(hierarchy(root, root) && hierarchy(root, document));
    EXPECT_TRUE(hierarchy(document, other.GetRootElement())); // a second root
    EXPECT_TRUE(hierarchy(document, document.CreateText(u"t")) && hierarchy(root.SelectNode(u"text()"), a));
    EXPECT_TRUE(hierarchy(root, Parsed(u"<o k='v'/>").SelectNode(u"o/@k")));
    EXPECT_TRUE(hierarchy(root, Parsed(u"<!DOCTYPE o><o/>").GetFirstChildNode()));
    EXPECT_EQ(CodeOf([&] { root.InsertBefore(b, other.GetRootElement()); }), KZDOMResult::NotAChild);
    EXPECT_EQ(CodeOf([&] { root.AppendChild(KZDOMNode()); }), KZDOMResult::NullNode);
    EXPECT_EQ(root.GetXML(), u"<r>t12<b/><a/></r>");
}

TEST(KZDOMNode, StaysInAListWhereverItGoes) {
    KZDOMDocument from = Parsed(u"<r><a>1</a><a>2</a><a>3</a></r>");
    KZDOMNodeList list = from.SelectNodes(u"//a | //a/text()");
    {
        KZDOMDocument to = Parsed(u"<o/>");
        to.GetRootElement().AppendChild(from.SelectNode(u"//a[2]"));
        from.SelectNode(u"//a[1]").SetText(u"one");
    }
    from.SetRootElement(from.CreateElement(u"fresh"));
    from = KZDOMDocument();
    KZString texts;
    for (KZDOMElement a = list.GetNextElement(); a.IsValid(); a = list.GetNextElement()) texts += a.GetText();
    EXPECT_EQ(texts, u"one23");
}

TEST(KZDOMNode, CarriesNamespacesAlong) {
    KZDOMDocument from =
        Parsed(u"<r xmlns:p='urn:p' xmlns='urn:d'><p:a p:k='v' xml:lang='en' xml:id='i'><b/></p:a></r>");
    KZDOMNode const a = from.SelectNode(u"//*[local-name()='a']"), copy = a.Clone(true);
    EXPECT_EQ(a.Clone(false).GetXML(), u"<p:a xmlns:p=\"urn:p\" p:k=\"v\" xml:lang=\"en\" xml:id=\"i\"/>");
    KZDOMDocument to = Parsed(u"<o xmlns:p='urn:other'/>");
    to.GetRootElement().AppendChild(a);
    EXPECT_EQ(a.GetDocument().GetNodeSP(), to.GetNodeSP());
    from = KZDOMDocument();
    EXPECT_EQ(
        Parsed(to.GetXML()).SelectNode(u"//*[namespace-uri()='urn:p']/@*[namespace-uri()='urn:p']").GetText(),
        u"v");
    EXPECT_TRUE(Parsed(to.GetXML()).ChildExists(u"//*[namespace-uri()='urn:d']"));
    EXPECT_EQ(a.SelectNode(u"*").AsElement().GetAttrAsString(u"xmlns"), u"");
    KZDOMNode const back =
        Parsed(u"<r xmlns:p='urn:p' xmlns='urn:d'/>").GetRootElement().AppendChild(copy.Clone(true));
    EXPECT_EQ(back.GetParentNode().GetXML(),
              u"<r xmlns:p=\"urn:p\" xmlns=\"urn:d\"><p:a p:k=\"v\" xml:lang=\"en\" "
              u"xml:id=\"i\"><b/></p:a></r>");
    KZDOMNode const twin = Parsed(u"<a xml:lang='en'/>").Clone(true); // its original is gone
    EXPECT_EQ(twin.GetXML(), u"<?xml version=\"1.0\"?>\n<a xml:lang=\"en\"/>\n");
    KZDOMDocument plain = Parsed(u"<r xmlns='urn:d'><c xmlns=''/><d/><d/></r>");
    plain.GetRootElement().AppendChild(plain.CreateElement(u"e"));
    for (KZString const name : {u"c", u"e"}) {
        KZDOMNode without = plain.SelectNode(u"//" + name);
        without.AppendChild(plain.SelectNode(u"/*/*[local-name()='d']"));
        to.GetRootElement().AppendChild(without);
        EXPECT_TRUE(Parsed(to.GetXML()).ChildExists(u"//" + name + u"/*[namespace-uri()='urn:d']"));
    }
    to.GetRootElement().SetText(u"");
    for (KZDOMNode const & node : {a, copy})
        EXPECT_TRUE(
            Parsed(node.GetXML()).ChildExists(u"/*[namespace-uri()='urn:p']/*[namespace-uri()='urn:d']"));
}

// Removes nodes from their document in every way, and drops the handles in every order.
TEST(KZDOMNode, OutlivesItsPlace) {
    using Lose = void (*)(KZDOMDocument &);
    constexpr Lose ways[] = {
        [](KZDOMDocument &) {},
        [](KZDOMDocument & document) { document.GetRootElement().SetText(u"gone"); },
        [](KZDOMDocument & document) { document.CreateElement(u"new", true); },
        [](KZDOMDocument & document) { EXPECT_TRUE(document.Load(u"<another/>")); },
        [](KZDOMDocument & document) {
            KZDOMDocument(Parsed(u"<o/>")).GetRootElement().AppendChild(document.SelectNode(u"//b"));
        },
        [](KZDOMDocument & document) { document.SetRootElement(document.SelectNode(u"//b").AsElement()); },
        [](KZDOMDocument & document) { document.SelectNode(u"//b").AsElement().RemoveAttribute(u"k"); },
        [](KZDOMDocument & document) {
            KZDOMNode const b = document.SelectNode(u"//b");
            document.GetRootElement().SetText(u"");
            b.Clone(true).AppendChild(b.SelectNode(u"c"));
        },
    };
    for (Lose const lose : ways) {
        std::vector<int> order{0, 1, 2, 3, 4};
        do {
            std::vector<KZDOMNode> held(order.size());
            KZDOMNodeList list;
            {
                KZDOMDocument document = Parsed(u"<r><a><b k='v'><c>text</c></b></a><a/></r>");
                held[0] = document;
                held[1] = document.SelectNode(u"//b");
                held[2] = document.SelectNode(u"//b/@k");
                held[3] = document.SelectNode(u"//c");
                held[4] = document.SelectNode(u"//text()");
                list = document.SelectNodes(u"//node()");
                lose(document);
            }
            EXPECT_EQ(held[4].GetValue() + held[3].GetText() + held[2].GetText(), u"texttextv");
            EXPECT_EQ(list.GetLength(), 6U);
            for (KZDOMNode node = list.GetNextNode(); node.IsValid(); node = list.GetNextNode())
                EXPECT_FALSE(node.GetName().IsNull());
            if (order[0] % 2 == 0) list = KZDOMNodeList();
            for (int const index : order) {
                held[static_cast<std::size_t>(index)] = KZDOMNode();
                for (KZDOMNode const & node : held)
                    if (node.IsValid()) static_cast<void>(node.GetXML());
            }
        } while (std::ranges::next_permutation(order).found);
    }
}

TEST(KZDOMNode, MovesPiecesThatStandNowhere) {
    KZDOMDocument first = KZDOMDocument::Create(), second = KZDOMDocument::Create();
    KZDOMElement top = first.CreateElement(u"top"), inner = first.CreateElement(u"inner");
    top.AppendChild(inner);
    inner.AppendChild(first.CreateText(u"kept by nobody"));
    top = KZDOMElement(); // `inner` keeps the whole subtree
    EXPECT_EQ(inner.GetParentNode().GetName(), u"top");
    second.AppendChild(inner); // this releases the rest of the subtree
    EXPECT_EQ(second.GetXML(), u"<?xml version=\"1.0\"?>\n<inner>kept by nobody</inner>\n");
    KZDOMElement piece = second.CreateElement(u"piece");
    piece.AppendChild(inner);
    piece.AppendChild(first.CreateElement(u"more"));
    second = first = KZDOMDocument();
    KZDOMNode const more = piece.SelectNode(u"more");
    piece = inner = KZDOMElement();
    EXPECT_EQ(more.GetParentNode().GetXML(), u"<piece><inner>kept by nobody</inner><more/></piece>");
}

TEST(KZDOMNode, RefusesNothing) {
    KZDOMNode none;
    EXPECT_FALSE(none.IsValid());
    EXPECT_EQ(none.GetNodeType(), KZDOMNodeType::Invalid);
    try {
        static_cast<void>(none.GetText());
        FAIL();
    } catch (KZException const & exception) {
        auto const & failure = dynamic_cast<KZDOMException const &>(exception);
        EXPECT_EQ(failure.GetResultCode(), KZDOMResult::NullNode);
        EXPECT_EQ(static_cast<std::uint32_t>(failure.GetResultCode()), 0x80004003U);
        EXPECT_EQ(failure.GetInterfaceId(), KZDOMNode::InterfaceId);
    }
    EXPECT_EQ(CodeOf([] { static_cast<void>(KZDOMDocument().GetRootElement()); }), KZDOMResult::NullNode);
    EXPECT_EQ(CodeOf([] { static_cast<void>(KZDOMElement().GetAttrAsString(u"x")); }), KZDOMResult::NullNode);
    KZDOMParseError const error;
    EXPECT_EQ(KZDOMNodeList().GetLength() + error.GetLine() + error.GetLinePosition() +
                  error.GetFilePosition(),
              0U);
    EXPECT_TRUE(error.GetErrorCode() == 0 && error.GetURL() == u"" && error.GetSourceText() == u"");
}

TEST(KZDOMElement, HasAttributes) {
    KZDOMDocument document = Parsed(u"<p:r xmlns:p='urn:p' p:k='1' k='2' b='YES' n='-12x'/>");
    KZDOMElement root = document.GetRootElement();
    EXPECT_EQ(root.GetAttrAsString(u"p:k") + root.GetAttrAsString(u"k"), u"12");
    EXPECT_EQ(root.GetAttrAsString(u"xmlns:p"), u"urn:p");
    EXPECT_EQ(root.GetAttrAsString(u"none"), u"");
    EXPECT_EQ(CodeOf([&] { static_cast<void>(root.GetAttrAsString(u"none", true)); }),
              KZDOMResult::MissingAttribute);
    EXPECT_EQ(root.GetAttrAsInteger(u"n"), -12);
    EXPECT_TRUE(root.GetAttrAsBool(u"b") && !root.GetAttrAsBool(u"n") && !root.GetAttrAsBool(u"none"));
    root.SetAttribute(u"p:k", u"<&\"");
    root.SetAttribute(u"new", u"\u00e9\xD800");
    root.SetAttribute(u"p:new", u"n");
    root.SetAttribute(u"xmlns:q", u"urn:q");
    root.SetAttribute(u"q:a", u"b");
    document.SelectNode(u"*/@k").SetText(u"&amp;");
    EXPECT_TRUE(root.RemoveAttribute(u"b"));
    EXPECT_FALSE(root.RemoveAttribute(u"b") || root.RemoveAttribute(u"xmlns:q") ||
                 root.RemoveAttribute(u"xmlns:z"));
    EXPECT_EQ(root.GetXML(),
              u"<p:r xmlns:p=\"urn:p\" xmlns:q=\"urn:q\" p:k=\"&lt;&amp;&quot;\" k=\"&amp;amp;\" n=\"-12x\" "
              u"new=\"\u00e9\uFFFD\" p:new=\"n\" q:a=\"b\"/>");
    EXPECT_TRUE(root.RemoveAttribute(u"q:a") && root.RemoveAttribute(u"xmlns:q"));
    KZDOMDocument known = Parsed(u"<r xml:id='one'/>");
    EXPECT_TRUE(known.ChildExists(u"id('one')"));
    known.GetRootElement().SetAttribute(u"xml:id", u"two");
    EXPECT_FALSE(known.ChildExists(u"id('one')"));
    constexpr std::tuple<char16_t const *, char16_t const *, std::int32_t> bad[] = {
        {u"", u"", KZDOMResult::InvalidName},
        {u"1", u"", KZDOMResult::InvalidName},
        {u"a b", u"", KZDOMResult::InvalidName},
        {u" a", u"", KZDOMResult::InvalidName},
        {u"z:a", u"", KZDOMResult::InvalidName},
        {u"a", u"\x01", KZDOMResult::InvalidText},
        {u"a", u"\uFFFF", KZDOMResult::InvalidText},
        {u"xmlns:p", u"x", KZDOMResult::NamespaceInUse},
        {u"xmlns:p2", u"", KZDOMResult::InvalidArgument},
    };
    for (auto const & [name, value, code] : bad)
        EXPECT_EQ(CodeOf([&] { root.SetAttribute(name, value); }), code) << KZString(name).AsUTF8();
}

} // namespace
