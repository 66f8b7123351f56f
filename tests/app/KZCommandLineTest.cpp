#include "ZerlithCore/app/KZCommandLine.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

KZCommandLine Parse(KZString const & line, bool caseSensitive = false) {
    return KZCommandLine(line, u"/-", u":", caseSensitive);
}

/// The program's name and the arguments in the form `name|0:a|1:a=value|2:file|3:`; the digit is the argument's kind.
KZString Shape(KZCommandLine const & line) {
    KZString shape = line.GetAppName();
    for (KZCommandLineArgument const & each : line.GetParsedArgumentVector()) {
        KZString text;
        text.Format(u"|%d:%s", static_cast<int>(each.GetArgType()), each.GetArgument().c_str());
        shape += text;
        if (each.GetArgType() == KZCommandLineArgument::WithValue)
            shape += KZString(u"=") + each.GetValueAsString();
    }
    return shape;
}

struct Case {
    char16_t const * in;
    int line;
    char16_t const * expected;
};

TEST(KZCommandLine, SplitsLinesAndArguments) {
    constexpr Case cases[] = {
        // Tokens.
        {u"", __LINE__, u""},
        {u" \t ", __LINE__, u""},
        {u"prog", __LINE__, u"prog"},
        {u"  prog \t a\tb ", __LINE__, u"prog|2:a|2:b"},
        {u"prog \"a \"\"b\"\" c\"", __LINE__, u"prog|2:a \"b\" c"},
        {u"\"my prog\" x\"y z\"w", __LINE__, u"my prog|2:xy zw"},
        {u"prog \"a b", __LINE__, u"prog|2:a b"},
        {u"prog \"a  ", __LINE__, u"prog|2:a  "},
        {u"prog \"\" b", __LINE__, u"prog|2:\"|2:b"},
        {u"prog \"", __LINE__, u"prog|3:"},
        // The name of the program.
        {u"/a:\"x y\"", __LINE__, u"|1:a=x y"},
        {u"-a b", __LINE__, u"|0:a|2:b"},
        {u"-a/b c", __LINE__, u"|0:a/b|2:c"},
        {u"/usr/bin/x /a", __LINE__, u"/usr/bin/x|0:a"},
        {u"/a\\b", __LINE__, u"/a\\b"},
        {u"/usr/bin:x", __LINE__, u"|2:/usr/bin:x"},
        {u" /a", __LINE__, u"/a"},
        {u"/", __LINE__, u"|0:"},
        // Options.
        {u"p /a -b", __LINE__, u"p|0:a|0:b"},
        {u"p /a: /a:1:2 /:v /", __LINE__, u"p|1:a=|1:a=1:2|1:=v|0:"},
        {u"p /usr/lib/x /file:c:/a/b //x", __LINE__, u"p|2:/usr/lib/x|1:file=c:/a/b|2://x"},
        {u"p -a-b -x/y -u:/v", __LINE__, u"p|0:a-b|0:x/y|1:u=/v"},
        {u"p a:b a/b", __LINE__, u"p|2:a:b|2:a/b"},
    };
    for (Case const & each : cases) EXPECT_EQ(Shape(Parse(each.in)), each.expected) << "line " << each.line;
    EXPECT_EQ(Shape(KZCommandLine(u"p :a:b a", u":", u":", false)), u"p|1:=a:b|2:a");
    EXPECT_EQ(Shape(KZCommandLine(u"/p /a:1", u"", u"", false)), u"/p|2:/a:1");
}

TEST(KZCommandLine, PutsTheLineTogetherAgain) {
    constexpr Case cases[] = {
        {u"", __LINE__, u""},
        {u"/a -b c", __LINE__, u"/a /b c"},
        {u"prog -v:\"x y\" -w:1 \"f g\" /e:", __LINE__, u"prog /v:\"x y\" /w:1 f g /e:"},
        {u"prog \"/n m\"", __LINE__, u"prog /n m"},
    };
    for (Case const & each : cases)
        EXPECT_EQ(Parse(each.in).GetCompleteCmdLine(), each.expected) << "line " << each.line;
}

KZCommandLine ParseLong(KZString const & text) {
    KZCommandLine line = Parse(text);
    line.UseLongOptions({u"out", u"o"});
    return line;
}

TEST(KZCommandLine, TakesLongOptionsWhenAsked) {
    constexpr Case cases[] = {
        {u"p --a -b --", __LINE__, u"p|0:a|0:b"},
        {u"p --a=1=2:3 --b:4=5 -c=6 --d= --=e", __LINE__, u"p|1:a=1=2:3|1:b=4=5|1:c=6|1:d=|1:=e"},
        {u"p --out f --OUT=g -o -x h", __LINE__, u"p|1:out=f|1:OUT=g|1:o=-x|2:h"},
        {u"p --a f --out", __LINE__, u"p|0:a|2:f|0:out"},
        {u"p --out -- f", __LINE__, u"p|1:out=--|2:f"},
        {u"p - --a -- --b /c -- f", __LINE__, u"p|2:-|0:a|2:--b|2:/c|2:--|2:f"},
        // As without long options.
        {u"p /a:1 /out f /b=c /usr/x ---d", __LINE__, u"p|1:a=1|0:out|2:f|0:b=c|2:/usr/x|0:-d"},
    };
    for (Case const & each : cases)
        EXPECT_EQ(Shape(ParseLong(each.in)), each.expected) << "line " << each.line;
    EXPECT_EQ(Shape(Parse(u"p --a=1 --b:2 --")), u"p|0:-a=1|1:-b=2|0:-") << "isn't asked";
    KZCommandLine line(u"p --a=1 /b", u"/", u":", false);
    line.UseLongOptions();
    EXPECT_EQ(Shape(line), u"p|2:--a=1|0:b") << "a dash is no delimiter";
}

TEST(KZCommandLine, PutsLongOptionsTogetherSoThatTheyAreReadAgain) {
    constexpr Case cases[] = {
        {u"p --a -b:\"x y\" --out f g", __LINE__, u"p --a --b=\"x y\" --out=f g"},
        {u"\"a b\" --\"c d\" \"e\tf\" -- -x", __LINE__, u"\"a b\" --\"c d\" \"e\tf\" -- -x"},
        {u"p --a=\"1\"\"2\" --b=\"\" --c=\"\"\" \"", __LINE__, u"p --a=1\"\"2 --b=\"\" --c=\"\"\" \""},
        {u"p /out / /b=c:d - --out", __LINE__, u"p /out / /b=c:d - /out"},
        {u"--a f", __LINE__, u"--a f"},
        {u"-- f --g", __LINE__, u"-- f --g"},
        {u"\"-p\" -- --", __LINE__, u"\"-p\" -- --"},
        {u"", __LINE__, u""},
    };
    for (Case const & each : cases) {
        KZCommandLine const line = ParseLong(each.in);
        KZString const joined = line.GetCompleteCmdLine();
        EXPECT_EQ(joined, each.expected) << "line " << each.line;
        EXPECT_EQ(Shape(ParseLong(joined)), Shape(line)) << "line " << each.line;
    }
    KZCommandLine line = ParseLong(u"p f -- -x");
    line.AddArg(u"a", u"b");
    EXPECT_EQ(line.GetCompleteCmdLine(), u"p f --a=b -- -x");
}

TEST(KZCommandLine, HoldsTheArrays) {
    char16_t const * const arguments[] = {u"tool", u"/x", nullptr, u"f"};
    KZCommandLine const given(4, arguments, u"/-", u":", false);
    EXPECT_EQ(given.GetArgValues(), arguments);
    EXPECT_EQ(Shape(given), u"tool|0:x|3:|2:f");
    EXPECT_EQ(given.GetCompleteCmdLine(), u"tool /x / f");
    KZCommandLine copy = Parse(u"a");
    {
        KZCommandLine const split = Parse(u"tool \"a b\" c");
        EXPECT_EQ(split.GetRawArgumentListVector().size(), 2U);
        copy = split;
    }
    ASSERT_EQ(copy.GetArgCount(), 3U);
    EXPECT_EQ(KZString(copy.GetArgValues()[1]), u"a b");
    EXPECT_EQ(copy.GetArgValues()[3], nullptr);
    EXPECT_EQ(Parse(u"").GetArgCount(), 1U);
    EXPECT_EQ(KZCommandLine(3, nullptr, u"/", u":", false).GetAppName(), u"");
}

TEST(KZCommandLine, AnswersTypedQuestions) {
    KZCommandLine line = Parse(u"p /A /x:1 /X:2 -n:-2.5e1z f1 /e: f2");
    EXPECT_TRUE(line.ArgPresent(u"a") && line.ArgPresent(u"F1") && line.ArgPresent(u"e"));
    EXPECT_FALSE(line.ArgPresent(u"") || line.ArgPresent(u"b"));
    EXPECT_EQ(line.GetArg(u"a", 7), 0);
    EXPECT_EQ(line.GetArg(u"b", 7), 7);
    EXPECT_EQ(line.GetArg(u"b", u"none"), u"none");
    EXPECT_EQ(line.GetArg(u"e", u"none"), u"");
    EXPECT_EQ(line.GetArg(u"X", 0), 1);
    EXPECT_EQ(line.GetArg(u"N", 0.0), -25.0);
    EXPECT_EQ(line.GetArg(u"N", 0), -2);
    EXPECT_EQ(line.GetFileName(1), u"f2");
    EXPECT_EQ(line.GetFileName(2), u"");
    EXPECT_EQ(line.GetNonStandardArguments().size(), 2U);
    line.SetCaseSensitivity(true);
    EXPECT_TRUE(line.IsCaseSensitive() && !line.ArgPresent(u"a"));
    EXPECT_EQ(line.GetArg(u"X", 0), 2);

    std::vector<KZString> invalid{u"kept"};
    EXPECT_EQ(line.GetInvalidArguments({u"A", u"x", u"N", u"e"}, invalid), 3U);
    EXPECT_EQ(invalid, (std::vector<KZString>{u"kept", u"X", u"n"}));
    line.SetCaseSensitivity(false);
    EXPECT_EQ(line.GetInvalidArguments(line.GetNonStandardArguments(), invalid), 8U);
}

TEST(KZCommandLine, ChangesAndAddsValues) {
    KZCommandLine line = Parse(u"p /a /b:1 f");
    line.SetArg(u"a", 5);
    line.SetArg(u"f", u"x");
    line.SetArg(u"none", 5);
    line.SetArg(u"B", 0.1);
    EXPECT_EQ(Shape(line), u"p|0:a|1:b=0.1|2:f");
    line.SetArg(u"b", -3);
    EXPECT_FALSE(line.AddArg(u"A", 1) || line.AddArg(u"F", u"x") || line.AddArg(u"b", true));
    EXPECT_TRUE(line.AddArg(u"i", 12) && line.AddArg(u"d", 1e10) && line.AddArg(u"s", u"t u"));
    EXPECT_TRUE(line.AddArg(u"yes", true) && line.AddArg(u"no", false));
    EXPECT_EQ(Shape(line), u"p|0:a|1:b=-3|2:f|1:i=12|1:d=1e+10|1:s=t u|1:yes=|0:no");
    EXPECT_EQ(line.GetArgCount(), 4U);

    KZCommandLineArgument argument;
    EXPECT_EQ(argument.GetArgType(), KZCommandLineArgument::Absent);
    argument.SetValue(u'7');
    EXPECT_EQ(argument.GetValueAsInt(), 7);
    EXPECT_EQ(argument.GetValueAsChar(), u'7');
    EXPECT_TRUE(argument == KZCommandLineArgument(KZCommandLineArgument::WithValue, u"", u"other"));
    EXPECT_TRUE(argument < KZCommandLineArgument(KZCommandLineArgument::WithoutValue, u"a"));
}

} // namespace
