#include "ZerlithCore/messages/MSGLibMessageSource.h"

#include "ZerlithCore/diagnostics/KZConsole.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/diagnostics/KZTrace.h"
#include "ZerlithCore/messages/DBMessage.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/MessageFile.h"
#include "files/TemporaryDirectory.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <ostream>
#include <sstream>
#include <sys/resource.h>
#include <thread>

namespace {

using Texts = std::vector<std::pair<long, char16_t const *>>;
using Source = KZSmartPtr<MSGLibMessageSource>;

// A directory of message files for the prefix "app".
class Messages : public TemporaryDirectory {
public:
    void Add(char16_t const * language, Texts const & texts) const {
        std::ostringstream out;
        for (auto const & [id, text] : texts) out << DBMessage(id, text, MessageFile::ConverterOf(language));
        Write(Name(language).c_str(), out.str());
    }
    void Remove(char16_t const * language) const { TemporaryDirectory::Remove(Name(language).c_str()); }
    [[nodiscard]] Source Open(char16_t const * language) const {
        return Source(new MSGLibMessageSource(Path(u"").c_str(), u"app", language));
    }
    static KZString Name(char16_t const * language) { return KZString(u"app.") + language + u".LAN"; }
};

std::string Language(Source const & source) {
    char16_t const * const language = source->GetDefaultLanguage();
    return language ? KZString(language).AsUTF8() : "none";
}

// The text; if there is none, the number and text of the error.
std::string Text(Source const & source, long code, char16_t const * language = u"") {
    KZString text(u"untouched");
    KZErrorID const id = source->GetText(text, code, KZFormatContext{KZString(language)});
    return id.Good() ? text.AsUTF8() : std::to_string(id) + " " + id.AsString().AsUTF8() + text.AsUTF8();
}

KZErrorID Expand(Source const & source, KZString & out, long code, ...) {
    std::va_list list;
    va_start(list, code);
    KZErrorID const id = source->GetText(out, code, KZFormatContext(), &list);
    va_end(list);
    return id;
}

TEST(MSGLibMessageSource, FindsTheLanguage) {
    struct Case {
        char const * what;
        std::vector<char16_t const *> files;
        char16_t const *first, *then;
        int code;
        char const * language; // the language afterwards
    };
    Case const cases[] = {
        {"as asked for", {u"deu", u"enu"}, nullptr, u"deu", 0, "deu"},
        {"the caller's spelling", {u"deu"}, nullptr, u"DEU", 0, "DEU"},
        {"a file in another spelling", {u"DEU"}, nullptr, u"deu", 0, "deu"},
        {"the current one in another spelling", {u"deu"}, u"deu", u"Deu", 0, "deu"},
        {"a variant", {u"enu", u"esp"}, nullptr, u"esm", 0, "esp"},
        {"the first variant of several", {u"esz", u"esc"}, nullptr, u"ESM", 0, "esc"},
        {"a variant that is current", {u"ESP"}, u"ESP", u"esm", 0, "ESP"},
        {"English in the end", {u"deu", u"enu"}, u"deu", u"xx", 0, "enu"},
        {"another English", {u"deu", u"eng"}, u"deu", u"xx", 0, "eng"},
        {"no English", {u"deu"}, nullptr, u"xx", 0, "none"},
        {"no English, another one open", {u"deu"}, u"deu", u"xx", 0, "deu"},
        {"nothing at all", {}, nullptr, u"enu", 0, "none"},
        {"empty", {u"deu"}, u"deu", u"", 2, "deu"},
        {"one letter", {u"deu", u"enu"}, nullptr, u"d", 0, "enu"},
        {"a point", {u"deu", u"enu"}, nullptr, u"../deu", 0, "enu"},
    };
    for (Case const & c : cases) {
        SCOPED_TRACE(c.what);
        Messages const files;
        for (char16_t const * language : c.files) files.Add(language, {{1, language}});
        Source const source = files.Open(c.first);
        EXPECT_EQ(source->SetLanguage(c.then), c.code);
        EXPECT_EQ(Language(source), c.language);
        EXPECT_EQ(source->IsValid(), Language(source) != "none");
        EXPECT_EQ(source->GetMsgPath() != nullptr, source->IsValid());
    }
}

TEST(MSGLibMessageSource, GivesTheTextsOfItsErrors) {
    Messages const files;
    files.Add(u"enu", {{7, u"%s has %d words"}});
    Source const source = files.Open(u"enu");
    EXPECT_EQ(source->SetLanguage(u"").AsString(), u"Invalid (or empty) language code supplied ().");
    KZString const path = files.Path(u"app.enu.LAN");
    EXPECT_EQ(KZString(source->GetCurrentFileName()), path);
    EXPECT_EQ(Text(source, 8), "5 The 8 message cannot be found in the message file " + path.AsUTF8() + ".");

    // A link that leads nowhere is listed but can't be opened.
    std::filesystem::create_symlink("nowhere", files.Root() / "app.fra.LAN");
    EXPECT_EQ(Text(source, 7, u"FRA"), "2 Invalid (or empty) language code supplied (FRA).untouched");
    EXPECT_EQ(Text(source, 7, u"fra"), "untouched") << "still current, with no file";
    EXPECT_EQ(Text(source, 7, u"enu"), "%s has %d words");

    Source const none(new MSGLibMessageSource(nullptr, u"app", u"enu"));
    EXPECT_EQ(Text(none, 7), "6 Unable to open the message file.untouched");
    EXPECT_EQ(none->SetLanguage(u"enu"), 6);

    KZString text(u"untouched");
    EXPECT_TRUE(Expand(source, text, 7, u"It", 5).Good());
    EXPECT_EQ(text, u"It has 5 words");
    EXPECT_EQ(Expand(source, text, 8), 5);
    EXPECT_TRUE(text.IsNull());
}

TEST(MSGLibMessageSource, HasNoNameForAFileWithoutACurrentDirectory) {
    Messages const files;
    ChildProcess child([&] {
        std::filesystem::path const gone = files.Root() / "gone";
        std::filesystem::create_directory(gone);
        std::filesystem::current_path(gone);
        std::filesystem::remove(gone);
        return MessageFile::Create(u"messages", u"app")->GetMessageFileName(u"deu").IsNull() ? 0 : 1;
    });
    EXPECT_EQ(child.Status(), 0);
    auto * const error = new KZErrorWithArgs(glbKZOREMsgSourceP, 3);
    KZErrorID const id(error);
    error->AddParam(KZString(u"deu"));
    EXPECT_EQ(id.AsString(), u"Can't get message file name associated to language code specified (deu)");
}

// The child process looks for a code page that isn't loaded yet, while it may open no file. No other test here uses
// Korean.
TEST(MSGLibMessageSource, WarnsOfAMissingCodePage) {
    Messages const files;
    files.Write(u"app.kor.LAN", "");
    testing::internal::CaptureStdout();
    ChildProcess child([&] {
        rlimit const former = [] {
            rlimit limit{};
            getrlimit(RLIMIT_NOFILE, &limit);
            return limit;
        }();
        // The sanitizers open a pipe to check the first object of a class, so one is made before the limit is set.
        static_cast<void>(KZMbCodePageConverter(0).IsValid());
        rlimit const none{0, former.rlim_max};
        setrlimit(RLIMIT_NOFILE, &none);
        bool const isMissing = !KZMbCodePageConverter(949).IsValid();
        setrlimit(RLIMIT_NOFILE, &former);
        GlbSetTraceLevel(1);
        Source const source = files.Open(nullptr);
        static MSGLibMessageSource const * asked = nullptr;
        asked = source;
        KZLockedCOUT::SetStreamSource([](unsigned int) -> std::wostream & {
            // Another thread that holds the console may be waiting for a text.
            std::thread([] { static_cast<void>(asked->IsValid()); }).join();
            return KZGetConsole();
        });
        KZErrorID const id = source->SetLanguage(u"kor");
        KZLockedCOUT::SetStreamSource(nullptr);
        GlbSetTraceLevel(0);
        static_cast<void>(files.Open(u"kor"));
        bool const told =
            id.AsString() ==
            u"The codepage number for language code 'kor' doesn't seem to be valid (or installed ?).";
        return isMissing && id == 4 && told && !source->IsValid() ? 0 : 1;
    });
    EXPECT_EQ(child.Status(), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[MSGLib Warning]: kor: The codepage number doesn't seem to be valid (installed ?).\n");
}

TEST(MSGLibMessageSource, MakesTheTextsOfErrors) {
    Messages const files;
    files.Add(u"enu", {{1, u"%1:s before %0:s"}});
    files.Add(u"jpn", {{1, u"%1:sは%0:sの前"}});
    Source const source = files.Open(u"enu");
    auto * const error = new KZErrorWithArgs(source, 1);
    KZErrorID const id(error);
    error->AddParam(KZString(u"a"));
    error->AddParam(2);
    KZString text;
    EXPECT_EQ(id.AsString(), u"2 before a");
    EXPECT_TRUE(id->AsString(text, KZFormatContext(u"jpn")).Good());
    EXPECT_EQ(text, u"2はaの前");

    EXPECT_EQ(source->AsString(text, KZSmartPtrToConst<KZErrorI>(new KZError(source, 2)), KZFormatContext()),
              5);
    EXPECT_TRUE(text.IsNull());
    text = u"kept";
    EXPECT_TRUE(source->AsString(text, {}, KZFormatContext()).Good());
    EXPECT_EQ(text, u"kept");
    std::vector<KZString> languages{u"first"};
    EXPECT_TRUE(source->GetAvailableLanguages(languages).Good());
    EXPECT_EQ(languages, (std::vector<KZString>{u"first", u"enu", u"jpn"}));

    Source const invalid = files.Open(nullptr);
    KZSmartPtrToConst<KZErrorI> const inner(new KZError(source, 1));
    EXPECT_TRUE(invalid->AsString(text, inner, KZFormatContext()).Good());
    EXPECT_EQ(text, u"The MSGLibMessageSource specified is invalid or invalid language code. ");
    EXPECT_TRUE(invalid->GetAvailableLanguages(languages).Good());
    EXPECT_EQ(languages.size(), 3U);
}

TEST(MSGLibMessageSource, ReadsAFileOnceUntilReload) {
    Messages const files;
    files.Add(u"enu", {{1, u"old"}});
    files.Add(u"esp", {{1, u"viejo"}});
    Source const source = files.Open(u"enu");
    EXPECT_EQ(Text(source, 1, u"esm"), "viejo");
    EXPECT_EQ(Text(source, 1, u"enu"), "old");
    EXPECT_EQ(Text(source, 1, u"esm"), "viejo") << "what stood in before isn't current any more";
    char16_t const * const language = source->GetDefaultLanguage();
    files.Add(u"enu", {{1, u"new"}});
    files.Remove(u"esp");
    EXPECT_EQ(Text(source, 1, u"esm"), "viejo") << "its stand-in is remembered";
    EXPECT_EQ(Text(source, 1, u"enu"), "old");
    EXPECT_EQ(Text(source, 1, u"esp"), "viejo");
    EXPECT_EQ(Text(source, 1, u"enu"), "old");
    EXPECT_EQ(KZString(language), u"esp") << "the text behind the pointer stays";

    source->Reload();
    EXPECT_FALSE(source->IsValid());
    EXPECT_EQ(Text(source, 1), "untouched");
    EXPECT_EQ(Text(source, 1, u"enu"), "new");
    EXPECT_EQ(Text(source, 1, u"esp"), "new") << "its file is gone";
}

TEST(MSGLibMessageSource, GivesEachThreadItsLanguage) {
    constexpr int rounds = 10000;
    constexpr std::pair<char16_t const *, char const *> languages[] = {
        {u"deu", "Größe"}, {u"jpn", "日本"}, {u"enu", "size"}};
    Messages const files;
    files.Add(u"deu", {{1, u"Größe"}});
    files.Add(u"jpn", {{1, u"日本"}});
    files.Add(u"enu", {{1, u"size"}});
    Source const source = files.Open(nullptr);
    std::latch start(std::size(languages));
    std::atomic<int> wrong{0};
    std::vector<std::jthread> threads;
    for (auto const & [language, expected] : languages)
        threads.emplace_back([&, language, expected] {
            KZSmartPtrToConst<KZErrorI> const error(new KZError(source, 1));
            start.arrive_and_wait();
            for (int i = 0; i < rounds; ++i) {
                if (i == rounds / 2) source->Reload();
                KZString text;
                KZErrorID const id = i % 2 ? error->AsString(text, KZFormatContext{KZString(language)})
                                           : source->GetText(text, 1, KZFormatContext{KZString(language)});
                wrong += id.Bad() || text.AsUTF8() != expected;
            }
        });
    threads.clear();
    EXPECT_EQ(wrong, 0);
}

} // namespace
