// Runs the program kzlan as a user does.
#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

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
        {"any text", "app.pol.LAN", "1 = złoty %s\n2 = é\n", ""},
        {"more than the code page", "app.jpn.LAN --utf8", "1 = 日本😀\n2 = a\n", ""},
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
        std::string const lan(c.lan);
        Result const listed = Kzlan(directory, "list " + lan.substr(0, lan.find(" --utf8")));
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
        {"1 = a\u0142b", "text:1: U+0142 isn't in the code page of the language\n"},
        {"1 = \xF0\x9F\x98\x80\n2", "text:1: U+1F600 isn't in the code page of the language\n"
                                    "text:2: there is no \"=\": a message is \"number = text\"\n"},
    };
    TemporaryDirectory const directory;
    directory.Write(u"app.deu.LAN", "former");
    for (Case const & c : cases) {
        SCOPED_TRACE(c.error);
        directory.Write(u"text", c.text);
        Result const result = Kzlan(directory, "make text app.deu.LAN --language=jpn");
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

TEST(Kzlan, ConvertsFromAnotherCodePage) {
    TemporaryDirectory const directory;
    directory.Write(u"old.LAN", std::string("\0\0\0\7\0\0\0\2\xB3%\0\0\0\10\0\0\0\1\xE9", 19));
    EXPECT_EQ(Kzlan(directory, "convert old.LAN app.pol.LAN --codepage 1250").status, 0);
    EXPECT_EQ(directory.Read(u"app.pol.LAN"),
              std::string("\0\0\0\7\0\0\0\11?%\0\xEF\xBB\xBF\xC5\x82%\0\0\0\10\0\0\0\1\xE9", 26));
    EXPECT_EQ(Kzlan(directory, "list app.pol.LAN").out, "7 = ł%\n8 = é\n");
    EXPECT_EQ(Kzlan(directory, "convert none app.pol.LAN --codepage 1250").status, 1);
    EXPECT_EQ(Kzlan(directory, "convert old.LAN app.pol.LAN --codepage 99999").error,
              "kzlan: the system lacks the code page 99999\n");
}

TEST(Kzlan, ChecksTemplatesAndNumbers) {
    TemporaryDirectory const directory;
    directory.Write(u"app.enu.txt",
                    "7 = %1:s isn't in %0:-3d\n8 = 100%% %s\n\n10 = 10% of\n11 = %lt %-6.2f\n");
    directory.Write(u"app.deu.txt", "8 = %2:s und %\n7 = %s\n11 = %x:s\nx\n10 = \n12 = a\n");
    std::string const
        enu = "app.enu.txt:4: \"% of\" prints an argument; a percent sign is \"%%\"\n",
        deu = "app.deu.txt:1: no letter of \"sdfuatm\" follows a \"%\"; a percent sign is \"%%\"\n"
              "app.deu.txt:3: \"%x:s\" prints an argument; a percent sign is \"%%\"\n"
              "app.deu.txt:4: there is no \"=\": a message is \"number = text\"\n";
    Result const both = Kzlan(directory, "check app.enu.txt app.deu.txt");
    EXPECT_EQ(both.status, 1);
    EXPECT_EQ(both.error, enu + deu +
                              "app.deu.txt:1: argument 2 isn't in app.enu.txt:2\n"
                              "app.deu.txt:6: 12 is missing in app.enu.txt\n");

    directory.Write(u"app.enu.txt", "7 = %s\n9 = %s\n");
    Kzlan(directory, "make app.enu.txt app.enu.LAN");
    EXPECT_EQ(Kzlan(directory, "check app.enu.txt app.enu.LAN").status, 0);
    directory.Write(u"app.deu.txt", "9 = \n");
    Result const missing = Kzlan(directory, "check app.enu.LAN app.deu.txt");
    EXPECT_EQ(missing.status, 1);
    EXPECT_EQ(missing.error, "app.enu.LAN: at byte 0: 7 is missing in app.deu.txt\n");
}

// What the program writes to a terminal as its standard error.
std::string OnTerminal(TemporaryDirectory const & directory, std::string const & arguments) {
    int terminal = -1;
    pid_t const child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        std::string const command =
            "cd '" + directory.Root().string() + "' && TERM=xterm NO_COLOR= exec '" KZLAN "' " + arguments;
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    std::string text;
    char buffer[4096];
    for (ssize_t got; (got = read(terminal, buffer, sizeof buffer)) > 0;)
        text.append(buffer, static_cast<std::size_t>(got));
    close(terminal);
    waitpid(child, nullptr, 0);
    return text;
}

TEST(Kzlan, ShowsColoursAndProgressOnATerminalOnly) {
    TemporaryDirectory const directory;
    std::string text;
    for (int id = 0; id < 2500; ++id) text += std::to_string(id) + " = a\n";
    directory.Write(u"text", text);
    EXPECT_EQ(OnTerminal(directory, "make text app.deu.LAN"),
              "\r\x1b[K1000 of 2500 messages\r\x1b[K2000 of 2500 messages\r\x1b[K");
    EXPECT_EQ(Kzlan(directory, "make text app.deu.LAN").error, "");
    EXPECT_EQ(OnTerminal(directory, "check none"),
              "\x1b[1mkzlan: \x1b[0m\x1b[31mnone: No such file or directory\x1b[0m\r\n");
    EXPECT_EQ(Kzlan(directory, "check none").error, "kzlan: none: No such file or directory\n");
}

TEST(Kzlan, RefusesWrongUse) {
    TemporaryDirectory const directory;
    directory.Write(u"text", "");
    for (char const * arguments :
         {"", "make", "make text", "make text app.deu.LAN more", "list", "erase app.deu.LAN",
          "list app.deu.LAN --color", "make text app.deu.LAN --language", "make text app.LAN",
          "make text messages", "check", "convert text", "list app.deu.LAN --codepage=x",
          "make text app.LAN --utf8=1"}) {
        Result const result = Kzlan(directory, arguments);
        EXPECT_EQ(result.status, 2) << arguments;
        EXPECT_FALSE(result.error.empty()) << arguments;
    }
    Result const help = Kzlan(directory, "--help");
    EXPECT_EQ(help.status, 0);
    EXPECT_EQ(help.out.substr(0, 17), "usage: kzlan make");
}

} // namespace
