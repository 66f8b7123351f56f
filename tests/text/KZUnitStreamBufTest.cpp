#include "ZerlithCore/text/KZUnitStreamBuf.h"

#include "ZerlithCore/text/KZString.h"
#include "ZerlithCore/text/KZWideText.h"

#include <gtest/gtest.h>

#include <iomanip>
#include <new>
#include <ostream>

namespace {

/// What a buffer does with its text: one that isn't wanted, "!", is refused, another, "?", throws.
struct Sink {
    bool Take(std::u16string_view units) {
        if (units.find(u'?') != units.npos) throw std::bad_alloc();
        if (units.find(u'!') != units.npos) return false;
        text += units;
        return true;
    }
    std::u16string text;
    int flushes = 0;
};

class Characters : public std::wstreambuf, public Sink {
    std::streamsize xsputn(wchar_t const * wide, std::streamsize count) override {
        return Take(KZFromWide({wide, static_cast<std::size_t>(count)})) ? count : 0;
    }
    int_type overflow(int_type character) override {
        auto const wide = traits_type::to_char_type(character);
        return xsputn(&wide, 1) == 1 ? character : traits_type::eof();
    }
    int sync() override { return ++flushes, 0; }
};

class Units : public KZUnitStreamBuf, public Sink {
public:
    bool PutUnits(std::u16string_view units) override { return Take(units); }

private:
    int sync() override { return ++flushes, 0; }
};

struct Case {
    char const * what;
    void (*write)(std::wostream & stream, KZString const & text);
};
constexpr Case cases[] = {
    {"units and characters keep their order",
     [](std::wostream & s, KZString const & t) {
         s << t << 42 << L'\U0001F600' << t << std::wstring(300, L'x') << t;
     }},
    {"width and fill hold for one text",
     [](std::wostream & s, KZString const & t) {
         s << std::setfill(L'.') << std::left << std::setw(9) << t << t;
     }},
    {"width of a number", [](std::wostream & s, KZString const & t) { s << t << std::setw(4) << 7 << t; }},
    {"a text behind a 0", [](std::wostream & s, KZString const & t) { s << (t + u'\0') + t << t; }},
    {"refused", [](std::wostream & s, KZString const & t) { s << t << KZString(u"!") << t; }},
    {"no memory", [](std::wostream & s, KZString const & t) { s << t << KZString(u"?") << t; }},
    {"refused, told by exceptions",
     [](std::wostream & s, KZString const & t) { s.exceptions(s.badbit), s << t << KZString(u"!"); }},
    {"no memory, told by exceptions",
     [](std::wostream & s, KZString const & t) { s.exceptions(s.badbit), s << t << KZString(u"?"); }},
    {"no memory, other exceptions wanted",
     [](std::wostream & s, KZString const & t) { s.exceptions(s.failbit), s << KZString(u"?") << t; }},
    {"a stream at its end", [](std::wostream & s, KZString const & t) { s.setstate(s.eofbit), s << t; }},
    {"a stream that failed", [](std::wostream & s, KZString const & t) { s.setstate(s.failbit), s << t; }},
    {"an empty text for a stream that failed",
     [](std::wostream & s, KZString const &) { s.setstate(s.failbit), s << KZString(); }},
    {"each text is flushed", [](std::wostream & s, KZString const & t) { s << std::unitbuf << t << t; }},
    {"a tied stream is flushed",
     [](std::wostream & s, KZString const & t) {
         std::wostream tied(s.rdbuf());
         s.tie(&tied), s << t, s.tie(nullptr);
     }},
    {"another buffer takes over",
     [](std::wostream & s, KZString const & t) {
         Characters other;
         std::wstreambuf * const own = s.rdbuf(&other);
         s << t, s.rdbuf(own);
         s << KZString(std::u16string_view(other.text)) << t;
     }},
};

/// All that can be seen of writing to `Buffer`.
template <class Buffer>
std::string Written(Case const & each) {
    Buffer buffer;
    std::wostream stream(&buffer);
    std::string thrown = "nothing";
    try {
        each.write(stream, u"a\u00E9\U0001F600\xD83D");
    } catch (std::ios_base::failure const &) {
        thrown = "failure";
    } catch (std::bad_alloc const &) {
        thrown = "bad_alloc";
    }
    return KZString(std::u16string_view(buffer.text)).AsUTF8() + " state " +
           std::to_string(stream.rdstate()) + " width " + std::to_string(stream.width()) + " flushes " +
           std::to_string(buffer.flushes) + " threw " + thrown;
}

TEST(KZUnitStreamBuf, ShowsNoDifferenceToOtherBuffers) {
    for (Case const & each : cases) EXPECT_EQ(Written<Units>(each), Written<Characters>(each)) << each.what;
    Units whole;
    std::wostream(&whole) << std::unitbuf << KZString(u'x', 1000);
    EXPECT_EQ(whole.flushes, 1) << "a text is one piece";
}

} // namespace
