#include "ZerlithCore/files/KZFileStream.h"

#include "ZerlithCore/text/KZWideText.h"

#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <random>
#include <sstream>
#include <string>
#include <unistd.h>

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

std::string const marks[] = {"", "\xEF\xBB\xBF", "\xFF\xFE", "\xFE\xFF"}; // in the order of the encodings

TEST_F(KZFileStreamTest, AnyBytesSurviveALoadAndASave) {
    std::mt19937 random(7);
    std::string const pieces[] = {"key=value\r\n",    "\xC3\xA9",     "\xE2\x82\xAC",
                                  "\xF0\x9F\x98\x80", "\xED\xA0\x80", std::string("\0\xD8\0\xDC", 4),
                                  "\xDC\xDC",         "\xD8",         "\xFF\xFE"};
    for (int round = 0; round < 400; ++round) {
        std::string bytes = marks[random() % 4];
        for (auto count = round == 0 ? 30'000 : random() % 12; count > 0; --count)
            bytes += random() % 4 == 0 ? std::string(1, static_cast<char>(random())) : pieces[random() % 9];
        folder.Write(u"file.txt", bytes);
        KZOFileStream out(Path(u"copy.txt"), ios_base::out, KZFileStream(Path()).GetEncoding());
        out << ReadAll(Path());
        EXPECT_TRUE(out.close());
        ASSERT_TRUE(folder.Read(u"copy.txt") == bytes) << "round " << round;
    }
}

TEST_F(KZFileStreamTest, MeetsTextInItsEncoding) {
    std::tuple<char const *, std::string, std::wstring> const cases[] = {
        {"empty", "", L""},
        {"mark alone", "\xEF\xBB\xBF", L""},
        {"mark in front", "\xEF\xBB\xBFz\n", L"z\n"},
        {"mark inside", "a\xEF\xBB\xBF", L"a\xFEFF"},
        {"mark cut", "\xEF\xBB", L"\xDCEF\xDCBB"},
        {"two to four bytes", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", L"\xE4\x20AC\x1F600"},
        {"Latin-1", "\xE4x", L"\xDCE4x"},
        {"a zero byte", std::string("a\0b", 3), std::wstring(L"a\0b", 3)},
        {"UTF-16 mark cut", "\xFE", L"\xDCFE"},
        {"low byte first", std::string("\xFF\xFEz\0\xAC\x20\x3D\xD8\0\xDE", 10), L"z\x20AC\x1F600"},
        {"high byte first", std::string("\xFE\xFF\0z\x20\xAC\xD8\x3D\xDE\0", 10), L"z\x20AC\x1F600"},
        {"a pair on the border of two blocks", "\xFF\xFE" + std::string(4092, '\x20') + "\x3D\xD8\x0D\xDE",
         std::wstring(2046, L'\x2020') + L"\x1F60D"},
        {"lone surrogates", std::string("\xFE\xFF\xDE\0\xD8\x3D\0z", 8), L"\xDE00\xD83Dz"},
        {"high surrogate and an odd byte", "\xFE\xFF\xD8\x3D\xDE", L"\xD83D\x1100DE"},
    };
    for (auto const & [what, bytes, text] : cases) {
        folder.Write(u"file.txt", bytes);
        EXPECT_TRUE(ReadAll(Path()) == text) << what;
    }
}

// Each read of such a pipe gets one of the pieces.
TEST_F(KZFileStreamTest, ReadsMarksAndCharactersThatComeInPieces) {
    for (auto const & bytes : {"\xEF\xBB\xBFz\xC3\xA9", "\xFF\xFEz\0\xE9"}) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_DIRECT), 0);
        for (int i = 0; i < 6; ++i) ASSERT_EQ(write(ends[1], bytes + i, 1), 1);
        close(ends[1]);
        KZString path;
        path.Format(u"/dev/fd/%d", ends[0]);
        EXPECT_EQ(ReadAll(path), L"z\xE9");
        close(ends[0]);
    }
}

TEST_F(KZFileStreamTest, WritesOnInTheEncodingOfTheFile) {
    for (std::string const & mark : marks) {
        bool const isWide = &mark - marks > 1, isBig = &mark - marks > 2;
        auto const encoded = [&](std::string const & text) {
            std::string bytes;
            for (char const c : text)
                bytes += !isWide ? std::string{c} : isBig ? std::string{0, c} : std::string{c, 0};
            return bytes;
        };
        folder.Write(u"file.txt", mark + encoded("text"));
        for (auto const mode : {ios_base::app, ios_base::app | ios_base::in})
            EXPECT_TRUE((KZFileStream(Path(), mode) << L"+").good());
        EXPECT_EQ(folder.Read(u"file.txt"), mark + encoded("text++"));
        EXPECT_TRUE((KZFileStream(Path(), ios_base::in | ios_base::out) << L"new").good());
        EXPECT_EQ(folder.Read(u"file.txt"), mark + encoded("newt++")) << "behind the mark";
        if (!isWide) continue;
        folder.Write(u"file.txt", mark + "\x01");
        EXPECT_TRUE((KZFileStream(Path(), ios_base::app) << L"+").good());
        EXPECT_EQ(folder.Read(u"file.txt"), mark + std::string("\x01\0", 2) + encoded("+")) << "at a unit";
    }
}

TEST_F(KZFileStreamTest, UnitsAndCharactersAreOneText) {
    std::mt19937 random(3);
    // Pairs may be cut between two texts. The single byte is one of UTF-16; text after it begins at the next unit.
    std::wstring const texts[] = {L"a", L"\u20AC", L"\U0001F600", L"\xD83D", L"\xDE00", {wchar_t(0x1100FF)}};
    for (int round = 0; round < 400; ++round) {
        auto const encoding = static_cast<KZTextEncoding>(round % 4);
        KZOFileStream mixed(Path(u"mixed"), ios_base::out, encoding),
            wide(Path(u"wide"), ios_base::out, encoding);
        std::wstring all;
        for (auto count = random() % 20; count > 0; --count) {
            std::wstring text = texts[random() % (encoding < KZTextEncoding::Utf16LittleEndian ? 5 : 6)];
            bool const isUnits = random() % 2 == 0 && text[0] != wchar_t(0x1100FF);
            if (random() % 8 == 0) text += std::wstring(random() % 9000, L'\u00E9');
            isUnits ? mixed << KZString(KZFromWide(text)) : mixed << text;
            all += text;
        }
        wide << all;
        EXPECT_TRUE(mixed.close() && wide.close());
        ASSERT_TRUE(folder.Read(u"mixed") == folder.Read(u"wide")) << "round " << round;
    }
    folder.Write(u"file.txt", "abcdef");
    KZFileStream stream(Path(), ios_base::in | ios_base::out);
    EXPECT_EQ(stream.get(), L'a');
    stream << KZString(u"XY");
    EXPECT_EQ(stream.get(), L'd');
    EXPECT_FALSE((KZFileStream(Path()) << KZString(u"not for writing")).good());
    EXPECT_TRUE((KZOFileStream(u"/dev/full") << KZString(u'x', 100000)).bad());
    EXPECT_TRUE(stream.close());
    EXPECT_EQ(folder.Read(u"file.txt"), "aXYdef");
}

TEST_F(KZFileStreamTest, EveryPositionThatWasToldCanBeSought) {
    for (std::string const & mark : marks) {
        std::string bytes = mark;
        for (int i = 0; i < 330; ++i)
            bytes += "a\xC3\xA9\xF0\x9F\x98\x80\xFF" + std::string("\x3D\xD8\0\xDE\xD8", 5);
        folder.Write(u"file.txt", bytes);
        KZFileStream stream(Path()), sought(Path());
        std::streamsize left = 0;
        for (wchar_t c; stream.get(c);) {
            auto const before = std::exchange(left, stream.rdbuf()->in_avail());
            if (left < before && left % 11 != 0) continue;
            stream.unget(); // also back across the border of two blocks, when more than one character is left
            sought.seekg(stream.tellg());
            ASSERT_EQ(sought.get(), static_cast<std::wint_t>(c)) << stream.tellg();
            stream.get();
        }
        sought.clear();
        sought.seekg(-1, ios_base::end);
        EXPECT_EQ(sought.get(), &mark - marks < 2 ? 0xDCD8U : 0x1100D8U);
        std::wint_t const first = KZFileStream(Path()).get();
        sought.seekg(0);
        EXPECT_EQ(sought.get(), first);
        sought.seekg(0);
        EXPECT_EQ(sought.get(), first) << "what was read is dropped";
    }
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
    stream << L"E" << std::flush;
    stream.seekp(0, ios_base::end);
    stream << L"!";
    EXPECT_TRUE(stream.close());
    EXPECT_EQ(folder.Read(u"file.txt"), "\xC3\xA9XYdEf!");
    stream.open(Path(u"no/such"));
    EXPECT_TRUE(stream.fail());
    stream.open(Path());
    EXPECT_EQ(stream.get(), 0xE9U);

    // The block that is read ends inside the last character.
    folder.Write(u"file.txt", std::string(4095, 'x') + "\xC3\xA9");
    KZFileStream cut(Path(), ios_base::in | ios_base::out);
    std::wstring text(4095, L' ');
    cut.read(text.data(), 4095);
    cut << L"!!";
    EXPECT_TRUE(cut.close());
    EXPECT_EQ(folder.Read(u"file.txt"), std::string(4095, 'x') + "!!");
}

TEST_F(KZFileStreamTest, OpensByTheModesOfTheStandard) {
    std::tuple<ios_base::openmode, char const *, char const *> const cases[] = {
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
    for (auto const & [mode, ifMissing, ifThere] : cases) {
        folder.Write(u"there", "older");
        for (char16_t const * name : {u"missing", u"there"}) {
            char const * const expected = name == std::u16string(u"there") ? ifThere : ifMissing;
            KZFileStream stream(Path(name), mode);
            stream << L"new";
            SCOPED_TRACE(KZString(name).AsUTF8() + " mode " + std::to_string(mode));
            EXPECT_EQ(stream.good(), expected != nullptr);
            EXPECT_EQ(stream.close(), expected != nullptr) << "what was put in is lost";
            EXPECT_TRUE(!expected || folder.Read(name) == expected) << folder.Read(name);
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
