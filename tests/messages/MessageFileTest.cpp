#include "ZerlithCore/messages/MessageFile.h"

#include "ZerlithCore/messages/DBMessage.h"
#include "files/TemporaryDirectory.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <sstream>

namespace {

using Index = MessageFile::Index;

// A record in the form of the file, with a length field of any value.
std::string Record(std::uint32_t id, std::string const & text, std::uint32_t length) {
    std::string bytes;
    for (std::uint32_t const number : {id, length})
        for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
    return bytes + text;
}

std::string Record(std::uint32_t id, std::string const & text) {
    return Record(id, text, static_cast<std::uint32_t>(text.size()));
}

Index IndexOf(std::string const & bytes) {
    Index index;
    std::istringstream stream(bytes);
    stream.seekg(0, std::ios::end);
    EXPECT_TRUE(MessageFile::Create(u"", u"app")->BuildFileIndex(index, stream))
        << "from the start, wherever it was";
    return index;
}

TEST(DBMessage, WritesWhatItReads) {
    struct Case {
        char const * what;
        char16_t const * language;
        long id;
        char16_t const * text;
        std::string bytes;
    };
    std::string const long256(256, 'x');
    Case const cases[] = {
        {"Latin-1", u"deu", 7, u"Größ", Record(7, "Gr\xF6\xDF")},
        {"no text", u"deu", 0, u"", Record(0, "")},
        {"a negative number", u"enu", -2, u"a", Record(0xFFFFFFFE, "a")},
        {"the largest number", u"enu", 0x7FFFFFFF, u"a", Record(0x7FFFFFFF, "a")},
        {"high byte of the length first", u"enu", 1, nullptr, std::string("\0\0\0\1\0\0\1\0", 8) + long256},
        {"Japanese", u"JPN", 1, u"日本語", Record(1, "\x93\xFA\x96{\x8C\xEA")},
        {"simplified Chinese", u"chs", 1, u"中文", Record(1, "\xD6\xD0\xCE\xC4")},
        {"traditional Chinese", u"cht", 1, u"中文", Record(1, "\xA4\xA4\xA4\xE5")},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        KZString const text = c.text ? KZString(c.text) : KZString(u'x', 256);
        KZSmartPtr<KZStringConverter> const converter = MessageFile::ConverterOf(c.language);
        std::ostringstream out;
        out << DBMessage(c.id, text, converter);
        EXPECT_EQ(out.str(), c.bytes);

        std::istringstream in("front" + c.bytes);
        in.seekg(5);
        DBMessage message(converter);
        EXPECT_TRUE(in >> message);
        EXPECT_EQ(message.GetId(), c.id);
        EXPECT_EQ(message.GetText(), text);
        EXPECT_EQ(message.GetPosition(), 5);
        EXPECT_FALSE(in >> message) << "the end";
        EXPECT_TRUE(message.GetText().IsNull());
    }
    std::ostringstream out;
    out << DBMessage(1, u"日", MessageFile::ConverterOf(u"deu"));
    EXPECT_EQ(out.str(), Record(1, "?")) << "what the page lacks";
}

TEST(DBMessage, KeepsWhatTheCodePageLacksInUtf8) {
    struct Case {
        char const * what;
        char16_t const * language;
        char16_t const * text;
        bool isUtf8;
        std::string bytes;
    };
    std::string const mark("\0\xEF\xBB\xBF", 4);
    Case const cases[] = {
        {"Latin-1 stays so", u"pol", u"é %s", false, "\xE9 %s"},
        {"Polish", u"pol", u"łé %s", true, "?\xE9 %s" + mark + "łé %s"},
        {"above U+FFFF", u"x", u"😀", true, "??" + mark + "😀"},
        {"a language with a code page", u"jpn", u"日ł", false, "\x93\xFA?"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        std::ostringstream out;
        out << MessageFile::MakeMessage(c.language, 7, c.text);
        EXPECT_EQ(out.str(), Record(7, c.bytes));
        std::istringstream in(out.str() + Record(8, "\xE9"));
        DBMessage message(MessageFile::ConverterOf(c.language));
        EXPECT_TRUE(in >> message);
        EXPECT_EQ(message.IsUtf8(), c.isUtf8);
        EXPECT_TRUE(!c.isUtf8 || message.GetText() == c.text);
        EXPECT_TRUE(in >> message && !message.IsUtf8()) << "the next one is of the usual form";
    }
    for (std::string const & bytes : {"a" + mark + "\xFF", "a" + mark + std::string("b\0", 2),
                                      "a" + mark.substr(0, 3), "a" + std::string(1, '\0') + mark + "b"})
        EXPECT_EQ(IndexOf(Record(1, bytes)), (Index{{1, u"a"}}))
            << "read as ever: " << testing::PrintToString(bytes);
}

TEST(MessageFile, KeepsWholeRecordsOfAFileCutAnywhere) {
    std::string const records[] = {Record(1, "one"), Record(2, ""), Record(3, "three")};
    std::string const bytes = records[0] + records[1] + records[2];
    for (std::size_t size = 0; size <= bytes.size(); ++size) {
        std::size_t whole = 0;
        for (std::size_t end = 0; whole < 3 && (end += records[whole].size()) <= size; ++whole) {}
        Index const index = IndexOf(bytes.substr(0, size));
        EXPECT_EQ(index.size(), whole) << size;
        EXPECT_EQ(index.contains(1) && index.at(1) == u"one", whole >= 1) << size;
    }
}

TEST(MessageFile, ReadsBrokenRecords) {
    struct Case {
        char const * what;
        std::string bytes;
        Index expected;
    };
    Case const cases[] = {
        {"the first of a number wins", Record(7, "a") + Record(7, "b"), {{7, u"a"}}},
        {"the longest length", Record(1, "a") + Record(2, "b", 0xFFFFFFFF), {{1, u"a"}}},
        {"a negative length", Record(1, "a") + Record(2, "b", 0x80000000), {{1, u"a"}}},
        {"one byte too long", Record(1, "a", 2), {}},
        {"too short: the rest is no record", Record(1, "abc", 1), {{1, u"a"}}},
        {"a 0 byte ends the text",
         Record(1, std::string("a\0b", 3)) + Record(2, "c"),
         {{1, u"a"}, {2, u"c"}}},
        {"only zeros", std::string(17, '\0'), {{0, u""}}},
    };
    for (Case const & c : cases) EXPECT_EQ(IndexOf(c.bytes), c.expected) << c.what;

    DBMessage message(1, u"former", MessageFile::ConverterOf(u"jpn"));
    std::istringstream stream(Record(2, "a\x81"));
    EXPECT_TRUE(stream >> message);
    EXPECT_TRUE(message.GetText().IsNull()) << "bytes that aren't of the code page";
}

TEST(MessageFile, FindsLanguagesInNames) {
    TemporaryDirectory const directory;
    for (char16_t const * name : {u"app.deu.LAN", u"APP.Fra.lan", u"my-app.ita.Lan", u"app.x.y.LAN",
                                  u"app.LAN", u"app..LAN", u"other.esp.LAN", u"app.jpn.txt", u"app.lan.kor"})
        directory.Write(name, "");
    std::filesystem::create_directory(directory.Root() / "app.dir.LAN");
    KZSmartPtr<MessageFile> const file = MessageFile::Create(directory.Path(u""), u"App");
    EXPECT_EQ(file->GetAvailableLanguages(false), (std::vector<KZString>{u"fra", u"deu", u"x", u"ita"}));

    for (int i = 0; i < 400; ++i) {
        KZString name;
        name.Format(u"app.%03d.LAN", i);
        directory.Write(name.c_str(), Record(1, "many"));
    }
    EXPECT_EQ(file->GetAvailableLanguages(false).size(), 4U) << "what was found before";
    EXPECT_EQ(file->GetAvailableLanguages(true).size(), 404U);
    EXPECT_TRUE(file->SetLanguage(u"399").Good() && file->IsOpen());
}

TEST(MessageFile, TellsFatalErrorsAndGoesOn) {
    TemporaryDirectory const directory;
    KZSmartPtr<MessageFile> const file = MessageFile::Create(directory.Path(u"no where"), u"app");
    testing::internal::CaptureStdout();
    EXPECT_TRUE(file->GetAvailableLanguages(false).empty());
    EXPECT_FALSE(file->Open(MessageFile::Read));
    KZString const path = directory.Path(u"no where");
    EXPECT_EQ(
        testing::internal::GetCapturedStdout(),
        "\nMessage Library Fatal Error: Unable to open directory " + path.AsUTF8() +
            ": stopping program execution\n"
            "\nMessage Library Fatal Error: Invalid (empty) message file name: stopping program execution\n");
}

TEST(MessageFile, ReadsWhatItWrites) {
    TemporaryDirectory const directory;
    KZSmartPtr<MessageFile> const file = MessageFile::Create(directory.Path(u""), u"app");
    EXPECT_EQ(file->WriteMessage(1, u"a"), 6);
    file->SetLanguageCode(u"jpn");
    file->SetFileName(file->GetMessageFileName(u"jpn"));
    EXPECT_EQ(file->GetFileName(), directory.Path(u"app.jpn.LAN"));

    EXPECT_FALSE(file->Open(MessageFile::Write)) << "not in memory";
    EXPECT_FALSE(file->IsWriting());
    EXPECT_TRUE(file->WriteMessage(1, u"日本").Good());
    EXPECT_FALSE(file->Open(MessageFile::Append));
    EXPECT_TRUE(file->IsWriting() && file->WriteMessage(-1, u"語").Good() && file->Close());
    EXPECT_FALSE(file->IsWriting());
    EXPECT_TRUE(file->GetFileName().IsNull());
    EXPECT_EQ(directory.Read(u"app.jpn.LAN"), Record(1, "\x93\xFA\x96{") + Record(0xFFFFFFFF, "\x8C\xEA"));

    KZString text;
    EXPECT_TRUE(file->SetLanguage(u"jpn").Good() && file->FetchMessage(text, -1).Good());
    EXPECT_EQ(text, u"語");
    EXPECT_TRUE(file->Open(MessageFile::Append)) << "this one is in memory";
    file->WriteMessage(2, u"x");
    EXPECT_EQ(file->FetchMessage(text, 2), 5) << "what is in memory stays";
    file->Reload();
    EXPECT_TRUE(file->SetLanguage(u"jpn").Good() && file->FetchMessage(text, 2).Good());

    auto const write = [&] {
        file->Open(MessageFile::Append);
        return file->WriteMessage(8, KZString(u'x', 6000)).Bad() && file->WriteMessage(9, u"y").Good() ? 0
                                                                                                       : 1;
    };
    EXPECT_EQ(RunWithSmallFiles(5000, write), 0);
    file->Reload();
    EXPECT_TRUE(file->SetLanguage(u"jpn").Good());
    EXPECT_TRUE(file->FetchMessage(text, 9).Good()) << "isn't hidden behind a part of the one before";

    std::string const cut = directory.Read(u"app.jpn.LAN") + "cut";
    directory.Write(u"app.jpn.LAN", cut);
    file->Open(MessageFile::Append);
    EXPECT_EQ(file->WriteMessage(3, u"z"), 6);
    EXPECT_EQ(directory.Read(u"app.jpn.LAN"), cut);

    file->SetFileName(directory.Path(u"no/app.jpn.LAN"));
    EXPECT_FALSE(file->Open(MessageFile::Read) || file->Open(MessageFile::Write));
    EXPECT_EQ(file->WriteMessage(1, u"a"), 6);
    EXPECT_FALSE(file->Open(3));
}

} // namespace
