// Runs the program kzlan as a user does.
#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/wait.h>

namespace {

struct Result {
    int status;
    std::string out, error;
};

Result Kzlan(TemporaryDirectory const & directory, std::string const & arguments,
             std::string const & environment = "") {
    std::string const command = "cd '" + directory.Root().string() + "' && " + environment + " '" KZLAN "' " +
                                arguments + " >out 2>error";
    int const status = std::system(command.c_str());
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, directory.Read(u"out"), directory.Read(u"error")};
}

TEST(Kzlan, ListsWhatItMakes) {
    struct Case {
        char const *what, *lan;
        std::string text;
        std::string listed; // empty if it is the same text
    };
    Case const cases[] = {
        {"nothing", "app.enu.LAN", "", ""},
        {"Latin-1", "app.deu.LAN", "7 = Größe: %s\n-8 = 100%%\n", ""},
        {"Japanese", "app.jpn.LAN", "1 = 日本語\n2 =\n", ""},
        {"any case", "APP.Chs.lan", "1 = 中文\n", ""},
        {"a language of its own", "messages --language kor", "1 = 한국\n", ""},
        {"escapes", "app.enu.LAN", "1 = \\sa\\nb\\rc\\td \\\\n e\\s\n2 = \\s\n3 = \\t\n", ""},
        {"comments, blanks, a mark, Windows line ends, no last one", "app.enu.LAN",
         "\xEF\xBB\xBF# a\r\n\r\n ; b\r\n\t 1\t=\t a = b \t\r\n2147483647=#", "1 = a = b\n2147483647 = #\n"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        TemporaryDirectory const directory;
        directory.Write(u"text", c.text);
        Result const made = Kzlan(directory, std::string("make text ") + c.lan);
        EXPECT_EQ(made.status, 0);
        EXPECT_EQ(made.error, "");
        Result const listed = Kzlan(directory, std::string("list ") + c.lan);
        EXPECT_EQ(listed.status, 0);
        EXPECT_EQ(listed.out, c.listed.empty() ? c.text : c.listed);
    }
}

TEST(Kzlan, TellsWhatIsWrongWithATextAndWritesNothing) {
    struct Case {
        std::string text;
        char const * error;
    };
    Case const cases[] = {
        {"\n7 text", "text:2: there is no \"=\": a message is \"number = text\"\n"},
        {"x = 1", "text:1: \"x\" is no number\n"},
        {"= 1", "text:1: \"\" is no number\n"},
        {"2147483648 = 1", "text:1: the number doesn't fit in 32 bits\n"},
        {"1 = a\n2 = b\n1 = c", "text:3: 1 stands in line 1 already\n"},
        {"1 = \\x", "text:1: a backslash stands in front of one of n, r, t, s and backslash\n"},
        {"1 = \\", "text:1: a backslash stands in front of one of n, r, t, s and backslash\n"},
        {"1 = \xFF", "text:1: this isn't UTF-8\n"},
        {std::string("1 = a\0b", 7), "text:1: a text can't have a 0 character\n"},
        {"1 = a\u20ACb", "text:1: U+20AC isn't in the code page of the language\n"},
        {"1 = \xF0\x9F\x98\x80\n2", "text:1: U+1F600 isn't in the code page of the language\n"
                                    "text:2: there is no \"=\": a message is \"number = text\"\n"},
    };
    TemporaryDirectory const directory;
    directory.Write(u"app.deu.LAN", "former");
    for (Case const & c : cases) {
        SCOPED_TRACE(c.error);
        directory.Write(u"text", c.text);
        Result const result = Kzlan(directory, "make text app.deu.LAN");
        EXPECT_EQ(result.status, 1);
        EXPECT_EQ(result.error, c.error);
    }
    EXPECT_EQ(directory.Read(u"app.deu.LAN"), "former");

    directory.Write(u"text", "1 = a");
    std::filesystem::path const made = directory.Root() / "app.deu.LAN";
    std::filesystem::create_symlink("app.deu.LAN", directory.Root() / "link.deu.LAN");
    std::filesystem::permissions(made, std::filesystem::perms(0640));
    EXPECT_EQ(Kzlan(directory, "make text link.deu.LAN").status, 0);
    EXPECT_EQ(directory.Read(u"app.deu.LAN"), std::string("\0\0\0\1\0\0\0\1a", 9)) << "through the link";
    EXPECT_EQ(std::filesystem::status(made).permissions(), std::filesystem::perms(0640));
    std::filesystem::create_directory(directory.Root() / "dir.deu.LAN");
    EXPECT_EQ(Kzlan(directory, "make text dir.deu.LAN").status, 1);
    EXPECT_EQ(Kzlan(directory, "make missing app.deu.LAN").error,
              "kzlan: missing: No such file or directory\n");
    EXPECT_EQ(Kzlan(directory, "make text no/app.deu.LAN").error,
              "kzlan: no/app.deu.LAN: No such file or directory\n");
    auto const entries = std::filesystem::directory_iterator(directory.Root());
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 6) << "nothing is left behind";
}

#if defined(FAILING_CALLS)
TEST(Kzlan, MakesTheFileOrKeepsTheOldOneWhateverFails) {
    TemporaryDirectory const directory;
    directory.Write(u"text", "1 = a\n2 = b\n");
    ASSERT_EQ(Kzlan(directory, "make text new.deu.LAN").status, 0);
    std::string const made = directory.Read(u"new.deu.LAN"), former = "former";
    for (char const * const kind : {"memory", "write", "read", "open"}) {
        for (char const * const times : {"once", "always"}) {
            int failures = 0;
            // The steps get larger. When nothing has failed eight times, the program makes no more calls than that.
            for (int n = 1, sound = 0; sound < 8; n += 1 + n / 24) {
                SCOPED_TRACE(std::string(kind) + ':' + std::to_string(n) + ':' + times);
                directory.Write(u"app.deu.LAN", former);
                Result const result = Kzlan(directory, "make text app.deu.LAN",
                                            "KZ_FAIL=" + std::string(kind) + ':' + std::to_string(n) + ':' +
                                                times + " LD_PRELOAD='" FAILING_CALLS "'");
                EXPECT_TRUE(result.status == 0 || result.status == 1) << result.error;
                std::string const content = directory.Read(u"app.deu.LAN");
                EXPECT_TRUE(content == made || (result.status == 1 && content == former)) << content.size();
                sound = result.status == 0 ? sound + 1 : 0;
                failures += result.status;
            }
            EXPECT_GT(failures, 0) << kind;
        }
    }
}
#endif

TEST(Kzlan, ListsBrokenFilesAsFarAsTheyGo) {
    TemporaryDirectory const directory;
    std::string const first("\0\0\0\7\0\0\0\1a", 9), other("\0\0\0\10\0\0\0\1\x81", 9);
    directory.Write(u"app.jpn.LAN", first + first + other + first.substr(0, 8));
    Result const result = Kzlan(directory, "list app.jpn.LAN");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "7 = a\n# 7 = a\n# 8 =\n");
    EXPECT_EQ(result.error,
              "app.jpn.LAN: at byte 9: no program finds this message: its number stands above already\n"
              "app.jpn.LAN: at byte 18: the text isn't of the language's code page\n"
              "app.jpn.LAN: at byte 27: the file is cut short here\n");
}

TEST(Kzlan, RefusesWrongUse) {
    TemporaryDirectory const directory;
    directory.Write(u"text", "");
    for (char const * arguments :
         {"", "make", "make text", "make text app.deu.LAN more", "list", "erase app.deu.LAN",
          "list app.deu.LAN --color", "make text app.deu.LAN --language", "make text app.LAN",
          "make text messages"}) {
        Result const result = Kzlan(directory, arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_FALSE(result.error.empty()) << arguments;
    }
    EXPECT_EQ(Kzlan(directory, "--help").status, 0);
}

} // namespace
