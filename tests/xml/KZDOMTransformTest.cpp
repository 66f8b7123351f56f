#include "ZerlithCore/errors/KZSignalException.h"
#include "tests/files/TemporaryDirectory.h"
#include "tests/xml/DOMTestDocument.h"

#include <thread>

namespace {

KZDOMDocument Sheet(KZString const & inside) {
    return Parsed(u"<x:stylesheet version='1.0' xmlns:x='http://www.w3.org/1999/XSL/Transform'>" + inside +
                  u"</x:stylesheet>");
}

KZDOMDocument Schema(KZString const & inside, KZString const & nameSpace = KZString()) {
    return Parsed(u"<s:schema xmlns:s='http://www.w3.org/2001/XMLSchema' " +
                  (nameSpace.IsNull() ? KZString() : u"targetNamespace='" + nameSpace + u"'") + u">" +
                  inside + u"</s:schema>");
}

double volatile glbZero = 0.0;

// Called by a pointer: a compiler that saw the function could prove that it doesn't throw.
void (*volatile divideByZero)() = [] { glbZero = 1.0 / glbZero; };

KZString AtRoot(KZString const & body) { return u"<x:template match='/'>" + body + u"</x:template>"; }

TEST(KZDOMTransform, MakesTextAndDocuments) {
    KZDOMDocument source = Parsed(u"<r><i>b</i><i>\u00e9</i></r>");
    KZDOMDocument const asText =
        Sheet(u"<x:output method='text'/><x:template match='/'>"
              u"<x:for-each select='//i'><x:sort/>[<x:value-of select='.'/>]</x:for-each></x:template>");
    EXPECT_EQ(source.TransformNode(asText), u"[b][\u00e9]");
    EXPECT_EQ(source.SelectNode(u"//i[2]").TransformNode(asText), u"[\u00e9]"); // the node alone
    EXPECT_EQ(source.TransformNode(asText.GetRootElement()), u"[b][\u00e9]");
    KZDOMDocument wide = Parsed(u"<r>" + Repeated(u"<i><j/></i>", 10'001) + u"</r>"); // not deep
    EXPECT_EQ(wide.TransformNode(asText).Length(), 20'002U);
    KZDOMDocument const asHtml = Sheet(u"<x:output method='html' indent='no'/><x:strip-space elements='*'/>"
                                       u"<x:template match='/'><html><br/></html></x:template>");
    EXPECT_EQ(source.TransformNode(asHtml), u"<html><br></html>\n");
    KZDOMDocument out = Parsed(u"<old/>");
    KZDOMElement const old = out.GetRootElement();
    source.TransformNodeToObject(asHtml, out);
    EXPECT_EQ(out.GetRootElement().GetXML(), u"<html><br/></html>");
    EXPECT_EQ(out.GetNodeType(), KZDOMNodeType::Document);
    EXPECT_EQ(old.GetXML(), u"<old/>");
    EXPECT_EQ(old.GetDocument().GetRootElement().GetNodeSP(), old.GetNodeSP());
    KZDOMDocument const latin =
        Sheet(u"<x:output encoding='ISO-8859-1'/>"
              u"<x:template match='/'><a><x:value-of select='//i[2]'/></a></x:template>");
    EXPECT_EQ(Parsed(source.TransformNode(latin)).ValueOf(u"a"), u"\u00e9");
    KZDOMDocument const raw = Sheet(u"<x:template match='/'> <a><x:value-of select=\"'&lt;'\" "
                                    u"disable-output-escaping='yes'/></a> </x:template>");
    source.TransformNodeToObject(raw, out);
    EXPECT_EQ(out.GetXML(), u"<?xml version=\"1.0\"?>\n<a>&lt;</a>\n");
    EXPECT_EQ(CodeOf([&] { source.TransformNodeToObject(asText, out); }), KZDOMResult::TransformFailed);
    EXPECT_EQ(out.GetRootElement().GetName(), u"a");
    source.TransformNodeToObject(latin, source);
    EXPECT_EQ(source.ValueOf(u"a"), u"\u00e9");
}

TEST(KZDOMTransform, RefusesWhatIsBad) {
    TemporaryDirectory const directory;
    KZString const file = directory.Path(u"file.xml");
    directory.Write(u"file.xml", "<secret/>");
    KZDOMDocument const source = Parsed(u"<r><i/><i/><i/><i/><i/><i/><i/><i/><i/><i/></r>");
    std::pair<KZString, std::int32_t> const cases[] = {
        {u"<x:import href='" + file + u"'/>", KZDOMResult::BadStylesheet},
        {u"<x:include href='http://127.0.0.1:9/'/>", KZDOMResult::BadStylesheet},
        {u"<x:template match='['/>", KZDOMResult::BadStylesheet},
        {u"<x:template/>", KZDOMResult::BadStylesheet},
        {AtRoot(u"<x:call-template name='none'/>"), KZDOMResult::TransformFailed},
        {AtRoot(u"<x:message terminate='yes'>stop</x:message>"), KZDOMResult::TransformFailed},
        {AtRoot(u"<x:copy-of select=\"document('" + file + u"')\"/>"), KZDOMResult::TransformFailed},
        {AtRoot(u"<x:document href='" + directory.Path(u"made") + u"'/>"), KZDOMResult::TransformFailed},
        {AtRoot(u"<x:value-of select='no(1)'/>"), KZDOMResult::TransformFailed},
        {AtRoot(u"<x:value-of select='$v'/>"), KZDOMResult::TransformFailed},
        {AtRoot(u"<x:value-of select='p:a'/>"), KZDOMResult::BadStylesheet},
        {AtRoot(u"<a k='{a[}'/>"), KZDOMResult::BadStylesheet},
        {u"<x:template match='i[$v]'/>", KZDOMResult::BadStylesheet},
    };
    testing::internal::CaptureStderr();
    for (auto const & [sheet, code] : cases)
        EXPECT_EQ(
            CodeOf([&] { EXPECT_EQ(source.TransformNode(Sheet(sheet)).Find(u"secret"), KZString::npos); }),
            code)
            << sheet.AsUTF8();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(CodeOf([&] { static_cast<void>(source.TransformNode(KZDOMDocument::Create())); }),
              KZDOMResult::BadStylesheet);
    EXPECT_FALSE(directory.Exists(u"made"));
}

// Expressions that libxslt and libxml2 don't evaluate, or evaluate in another form.
TEST(KZDOMTransform, EvaluatesExpressions) {
    KZDOMDocument const source =
        Parsed(u"<r xmlns:p='urn:p'><i k='b'>1</i><i k='a'><s><i>3</i></s></i><p:i k='b'>x</p:i></r>");
    struct Case {
        KZString sheet;
        char16_t const * text;
    };
    KZString const keys =
        u"<x:key name='n' match='r/i|s//i|@k' use='@k|.'/><x:key name='m' match='i[1]' use='.'/>";
    Case const cases[] = {
        {AtRoot(u"<x:for-each select='//i'><x:sort select='@k' order='{\"ascending\"}'/><x:value-of "
                u"select='.'/>,"
                u"</x:for-each>"),
         u"3,3,1,"},
        {AtRoot(u"<x:for-each select='//*/@k'><x:value-of select=\"concat(position(), '/', last(), "
                u".)\"/></x:for-each>"),
         u"1/3b2/3a3/3b"},
        {u"<x:variable name='g' select='//i'/>" +
             AtRoot(u"<x:variable name='v' select='$g[2]'/><x:value-of select='$v/@k'/>"
                    u"<x:for-each select='$v/s'><x:value-of select='current()/i = $v'/></x:for-each>"),
         u"atrue"},
        {AtRoot(u"<x:variable name='t'>4<b>2</b></x:variable><x:value-of select='$t + 1'/><x:copy-of "
                u"select='$t'/>"),
         u"4342"},
        {AtRoot(u"<x:for-each select='//namespace::p'><x:value-of select='name()'/></x:for-each>"),
         u"pppppp"},
        {AtRoot(u"<x:value-of select=\"format-number(count(//i), '0.0')\"/>{<x:value-of "
                u"select='string-length(generate-id()) > 1'/>}"),
         u"3.0{true}"},
        {u"<x:template match='i[2]'>second</x:template><x:template match='i[@k][1]'>first</x:template>"
         u"<x:template match='p:i[position() = last()]' xmlns:p='urn:p'>last</x:template>",
         u"firstsecondlast"},
        {u"<x:template match='r//s//i[. = 3]'>deep</x:template><x:template match='/r//x//i|i[. &lt; "
         u"2]'>one</x:template>",
         u"onedeepx"},
        {u"<x:template match='/r/*[@k][not(*)]' priority='2'>a</x:template><x:template "
         u"match='r//*//i'>b</x:template>",
         u"aba"},
        {keys + AtRoot(u"<x:for-each select=\"key('n', 'b')|key('n', 3)|key('m', 1)\"><x:value-of "
                       u"select='name()'/>,</x:for-each>"),
         u"i,k,i,i,k,"},
        {keys + u"<x:template match=\"key('n', '3')\">found</x:template>", u"1foundx"},
        {u"<x:template match='i'><x:number/><x:number level='any' count='i[@k]|s' "
         u"format='{\"a\"}'/><x:apply-templates/></x:template>",
         u"1a12b1c3x"},
        {AtRoot(u"<x:number value='9007199254740993 - count(//i)'/>"), u"9007199254740990"},
        {u"<x:template match='i'>" + KZString(u'y', 600U) + u"</x:template><x:template match='text()'/>",
         nullptr},
    };
    for (Case const & c : cases) {
        KZString const text = source.TransformNode(Sheet(u"<x:output method='text'/>" + c.sheet));
        EXPECT_EQ(text, c.text ? KZString(c.text) : KZString(u'y', 1200U)) << c.sheet.AsUTF8();
    }
}

TEST(KZDOMTransform, EndsAtItsLimits) {
    LowLimits const low;
    KZDOMDocument const source =
        Parsed(u"<r><t>" + KZString(u'x', 200'000U) + u"</t>" + Repeated(u"<i k='v'/>", 4'000) +
               Repeated(u"<a>", 200) + Repeated(u"</a>", 200) + u"</r>");
    auto const each = [](KZString const & body) {
        return AtRoot(u"<x:for-each select='//i'>" + body + u"</x:for-each>");
    };
    KZString sets;
    for (unsigned int i = 0; i < 100; ++i)
        sets += u"<x:attribute name='a" + KZString(char16_t(u'A' + i % 26), 1 + i / 26) + u"'/>";
    std::pair<KZString, char16_t const *> const cases[] = {
        {u"<x:template match='/' name='t'><x:call-template name='t'/></x:template>", u"1,000 levels"},
        {u"<x:template match='i'><x:apply-templates select='.'/></x:template>", u"1,000 levels"},
        {each(u"<x:value-of select=\"contains(/r/t, 'y')\"/>"), u"200,000,000"},
        {each(u"<x:variable name='v' select='string(/r/t)'/>"), u"200,000,000"},
        {each(u"<x:value-of select='/r/t'/>"), u"200,000,000"},
        {each(u"<b k='{/r/t}'/>"), u"200,000,000"},
        {each(u"<x:copy-of select='/r/t'/>"), u"200,000,000"},
        {each(u"<x:copy-of select='/r'/>"), u"200,000,000"},
        {each(KZString(u'y', 400'000U)), u"200,000,000"},
        {each(u"<x:if test='/r/t = 1'/>"), u"200,000,000"},
        {each(u"<x:apply-templates select='/r/t' mode='m'/>"), u"200,000,000"},
        {u"<x:template match='i'><x:number level='any'/></x:template>", u"200,000,000"},
        {each(u"<x:value-of select='function-available(/r/t)'/>"), u"200,000,000"},
        {u"<x:attribute-set name='s'>" + sets + u"</x:attribute-set>" +
             each(u"<b x:use-attribute-sets='s'/>"),
         u"200,000,000"},
        {u"<x:template match='/'><a><x:for-each select='//i'><x:attribute "
         u"name='a{position()}'/></x:for-each></a></x:template>",
         u"200,000,000"},
        {Repeated(u"<x:template match='r/i' mode='m'/>", 9'000) +
             each(u"<x:for-each select='//i'><x:apply-templates select='.' mode='m'/></x:for-each>"),
         u"20,000,000"},
        {Repeated(u"<x:template match='r/i'/>", 17'000), u"16,384"},
        {each(u"<x:value-of select='" + Repeated(u"(", 300) + u"1" + Repeated(u")", 300) + u"'/>"),
         u"250 levels"},
    };
    for (auto const & [sheet, reason] : cases) {
        SCOPED_TRACE(sheet.SubStr(0, 200).AsUTF8());
        try {
            static_cast<void>(source.TransformNode(Sheet(u"<x:output method='text'/>" + sheet)));
            ADD_FAILURE() << "it ends as if nothing were";
        } catch (KZDOMException const & exception) {
            EXPECT_EQ(exception.GetResultCode(), KZDOMResult::LimitExceeded);
            EXPECT_NE(KZString(exception.What()).Find(reason), KZString::npos) << exception.what();
        }
    }
}

TEST(KZDOMSchema, Validates) {
    KZDOMDocument document = Parsed(u"<r xmlns='urn:r'>\n<i xmlns='urn:i'>12</i>\n</r>");
    EXPECT_FALSE(document.Validate());
    EXPECT_EQ(document.GetLastParseError().GetErrorCode(), KZDOMResult::NoSchema);
    document.AddSchema(
        u"urn:r", Schema(u"<s:import namespace='urn:i' schemaLocation='http://127.0.0.1:9/i.xsd'/>"
                         u"<s:element name='r'><s:complexType><s:sequence>"
                         u"<s:element ref='i:i' xmlns:i='urn:i'/></s:sequence></s:complexType></s:element>",
                         u"urn:r"));
    EXPECT_EQ(CodeOf([&] { document.Validate(); }), KZDOMResult::BadSchema); // its import doesn't exist
    document.AddSchema(u"urn:i", Schema(u"<s:element name='i' type='s:int'/>", u"urn:i"));
    EXPECT_TRUE(document.Validate()) << document.GetLastParseError().GetReason().AsUTF8();
    EXPECT_EQ(document.GetLastParseError().GetErrorCode(), 0);
    document.SelectNode(u"//text()").SetText(u"twelve");
    EXPECT_FALSE(document.Validate());
    KZDOMParseError const error = document.GetLastParseError();
    EXPECT_EQ(error.GetErrorCode(), KZDOMResult::Invalid);
    EXPECT_EQ(error.GetLine(), 2U);
    EXPECT_NE(error.GetReason().Find(u"twelve"), KZString::npos);
    EXPECT_TRUE(document.Load(u"<r xmlns='urn:r'><i xmlns='urn:i'>7</i></r>")); // the schemas are kept
    EXPECT_TRUE(document.Validate());
    EXPECT_TRUE(document.Load(u"<unknown xmlns:x='http://www.w3.org/2001/XMLSchema-instance' "
                              u"x:noNamespaceSchemaLocation='/etc/passwd'/>"));
    EXPECT_FALSE(document.Validate());
    document.AddSchema(u"", Schema(u"<s:element name='unknown'/>"));
    EXPECT_TRUE(document.Validate()) << document.GetLastParseError().GetReason().AsUTF8();
    document.AddSchema(u"", Schema(u"<s:element name='unknown' type='s:int'/>")); // this replaces the schema
    EXPECT_FALSE(document.Validate() || KZDOMDocument::Create().Validate());
}

TEST(KZDOMSchema, RefusesWhatIsBad) {
    KZDOMDocument document = Parsed(u"<r/>");
    auto const refused = [&](KZString const & nameSpace, KZDOMDocument const & schema) {
        return CodeOf([&] {
                   document.AddSchema(nameSpace, schema);
                   document.Validate();
               }) == KZDOMResult::BadSchema;
    };
    testing::internal::CaptureStderr();
    EXPECT_TRUE(refused(u"", Parsed(u"<r/>")) && refused(u"", KZDOMDocument::Create()));
    EXPECT_TRUE(refused(u"urn:x", Schema(u"", u"urn:y")));
    EXPECT_TRUE(refused(u"", Schema(u"<s:include schemaLocation='/etc/passwd'/>")));
    EXPECT_TRUE(refused(u"", Schema(u"<s:element name='r' type='s:none'/>")));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

// On an application's threads floating-point results may be faults; those of a path must not be.
TEST(KZDOMTransform, ComputesWhereFloatingPointResultsAreFaults) {
    std::jthread([] {
        KZInitCatchSignal();
        KZDOMDocument document = Parsed(u"<r><i>1e-310</i></r>");
        EXPECT_TRUE(document.SelectNode(u"//i[number('x') != 0 and 1 div 0 > 0 and . * 0.5 < 1]").IsValid());
        EXPECT_EQ(document.TransformNode(Sheet(u"<x:output method='text'/><x:template match='/'>"
                                               u"<x:value-of select='1 div 0'/></x:template>")),
                  u"Infinity");
        document.AddSchema(
            KZString(),
            Schema(u"<s:element name='r'><s:complexType><s:sequence><s:element name='i' type='s:float'/>"
                   u"</s:sequence></s:complexType></s:element>"));
        EXPECT_TRUE(document.Validate());
        EXPECT_THROW(divideByZero(), KZSignalException) << "they are on again";
    });
}

} // namespace
