#include "ZerlithCore/files/KZFileStream.h"

#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>
#include <string>

namespace {

using std::ios_base;

class KZFileStreamTest : public testing::Test {
protected:
    KZString Path(char16_t const * name = u"file.txt") const { return folder.Path(name); }

    TemporaryDirectory folder;
};

std::wstring ReadAll(KZString const & path) {
    KZFileStream stream(path);
    std::wostringstream text;
    for (wchar_t c; stream.get(c);) text.put(c);
    EXPECT_TRUE(stream.eof());
    return text.str();
}

TEST_F(KZFileStreamTest, AnyBytesSurviveALoadAndASave) {
    std::mt19937 random(7);
    std::string bytes;
    for (int i = 0; i < 30000; ++i) {
        char const * const pieces[] = {"key=value\r\n", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80",
                                       "\xED\xA0\x80"};
        if (random() % 4 == 0) bytes += static_cast<char>(random());
        bytes += pieces[random() % 5];
    }
    bytes += "\xE2\x82"; // a character cut by the end of the file
    folder.Write(u"file.txt", bytes);
    std::wstring const text = ReadAll(Path());
    KZOFileStream out(Path(u"copy.txt"));
    out << text;
    EXPECT_TRUE(out.close());
    EXPECT_TRUE(folder.Read(u"copy.txt") == bytes);
}

TEST_F(KZFileStreamTest, MeetsUtf8) {
    struct Case {
        char const * what;
        std::string bytes;
        std::wstring text;
    };
    Case const cases[] = {
        {"empty", "", L""},
        {"mark alone", "\xEF\xBB\xBF", L""},
        {"mark in front",
         "\xEF\xBB\xBF"
         "a\n",
         L"a\n"},
        {"mark inside", "a\xEF\xBB\xBF", L"a\xFEFF"},
        {"two to four bytes", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", L"\xE4\x20AC\x1F600"},
        {"Latin-1", "\xE4x", L"\xDCE4x"},
        {"a zero byte", std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
    };
    for (Case const & c : cases) {
        folder.Write(u"file.txt", c.bytes);
        EXPECT_TRUE(ReadAll(Path()) == c.text) << c.what;
    }
}

TEST_F(KZFileStreamTest, ReadsALineOfAMegabyteAndStartsAgain) {
    std::string const line(1 << 20, 'x');
    folder.Write(u"file.txt", "\xEF\xBB\xBF" + line + "\nlast");
    KZFileStream stream(Path());
    std::wstring text;
    for (int round = 0; round < 2; ++round) {
        ASSERT_TRUE(std::getline(stream, text));
        EXPECT_EQ(text.size(), line.size());
        ASSERT_TRUE(std::getline(stream, text));
        EXPECT_EQ(text, L"last");
        EXPECT_FALSE(std::getline(stream, text));
        stream.clear();
        stream.seekg(0);
    }
}

TEST_F(KZFileStreamTest, EveryPositionThatWasToldCanBeSought) {
    std::string bytes = "\xEF\xBB\xBF";
    for (int i = 0; i < 600; ++i) bytes += "a\xC3\xA9\xF0\x9F\x98\x80\xFF";
    folder.Write(u"file.txt", bytes);
    KZFileStream stream(Path()), sought(Path());
    for (wchar_t c; stream.get(c);) {
        stream.unget(); // across the border of two blocks too
        sought.seekg(stream.tellg());
        ASSERT_EQ(sought.get(), static_cast<std::wint_t>(c)) << stream.tellg();
        stream.get();
    }
    sought.seekg(-1, ios_base::end);
    EXPECT_EQ(sought.get(), 0xDCFFU);
}

TEST_F(KZFileStreamTest, TurnsRoundWithoutASeek) {
    folder.Write(u"file.txt", "\xC3\xA9"
                              "bcdef");
    KZFileStream stream(Path(), ios_base::in | ios_base::out);
    wchar_t c = 0;
    stream.get(c);
    stream << L"XY";
    stream.get(c);
    EXPECT_EQ(c, L'd');
    stream.seekp(0, ios_base::end);
    stream << L"!";
    EXPECT_TRUE(stream.close());
    EXPECT_EQ(folder.Read(u"file.txt"), "\xC3\xA9XYdef!");
}

TEST_F(KZFileStreamTest, OpensByTheModesOfTheStandard) {
    struct Case {
        ios_base::openmode mode;
        char const * ifMissing; // null: can't be opened
        char const * ifThere;
    };
    Case const cases[] = {
        {ios_base::in, nullptr, nullptr},
        {ios_base::out, "new", "new"},
        {ios_base::out | ios_base::trunc, "new", "new"},
        {ios_base::app, "new", "oldernew"},
        {ios_base::in | ios_base::out, nullptr, "newer"},
        {ios_base::in | ios_base::out | ios_base::ate, nullptr, "oldernew"},
        {ios_base::in | ios_base::out | ios_base::trunc, "new", "new"},
        {ios_base::in | ios_base::app, "new", "oldernew"},
        {ios_base::in | ios_base::trunc, nullptr, nullptr},
        {ios_base::app | ios_base::trunc, nullptr, nullptr},
    };
    for (Case const & c : cases) {
        folder.Write(u"there", "older");
        for (char16_t const * name : {u"missing", u"there"}) {
            char const * const expected = name == std::u16string(u"there") ? c.ifThere : c.ifMissing;
            KZFileStream stream(Path(name), c.mode);
            bool const opened = stream.is_open();
            stream << L"new";
            EXPECT_EQ(stream.good(), expected != nullptr)
                << (name[0] == u't' ? "there" : "missing") << " mode " << c.mode;
            EXPECT_EQ(stream.close(), opened);
            if (!expected) continue;
            EXPECT_EQ(folder.Read(name), expected)
                << (name[0] == u't' ? "there" : "missing") << " mode " << c.mode;
        }
        folder.Remove(u"missing");
    }
}

TEST_F(KZFileStreamTest, TellsOfFailures) {
    EXPECT_TRUE(KZFileStream(folder.Path(u"")).fail()) << "a directory";
    EXPECT_TRUE(KZOFileStream(Path(u"no/such")).fail());
    KZString withZero(u"/tmp/a");
    withZero += u'\0';
    EXPECT_TRUE(KZOFileStream(withZero).fail());
    EXPECT_FALSE(KZOFileStream().close());

    KZOFileStream flushed(u"/dev/full"), closed(u"/dev/full"), filled(u"/dev/full");
    flushed << L"x" << std::flush;
    EXPECT_TRUE(flushed.bad());
    EXPECT_FALSE(flushed.close());
    closed << L"x";
    EXPECT_TRUE(closed.good());
    EXPECT_FALSE(closed.close());
    EXPECT_TRUE(closed.fail());
    filled << std::wstring(100000, L'x');
    EXPECT_TRUE(filled.bad());
}

} // namespace
