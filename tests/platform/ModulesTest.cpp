#include "ZerlithCore/platform/Modules.h"

#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/KZModuleMessages.h"
#include "ZerlithCore/platform/LastError.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>

namespace {

using namespace KZPlatform;

std::u16string Folder() { return std::filesystem::path(MODULES_FOLDER).u16string() + u'/'; }

struct Module {
    explicit Module(char16_t const * name) : path(Folder() + name), handle(LoadModule(path)) {}
    ~Module() {
        if (handle) FreeModule(handle);
    }
    std::u16string path;
    void * handle;
};

std::u16string StringText(void * module, std::uint32_t code, std::size_t limit = 499) {
    std::u16string text = u"before";
    return LoadStringText(text, module, code, limit) ? text : u"[" + text + u"]";
}

std::u16string MessageText(void * module, std::uint32_t code, long language) {
    std::u16string text;
    return LoadMessageText(text, module, code, language) ? text : u"none";
}

TEST(Modules, LoadFindAndFree) {
    Module module(u"messages.so");
    ASSERT_NE(module.handle, nullptr);
    auto * const answer = reinterpret_cast<int (*)()>(FindSymbol(module.handle, "MessagesAnswer"));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    EXPECT_EQ(GetModulePath(reinterpret_cast<void const *>(answer)), module.path);
    EXPECT_TRUE(IsInModule(module.handle, reinterpret_cast<void const *>(answer)));
    EXPECT_FALSE(IsInModule(module.handle, reinterpret_cast<void const *>(&Folder)));
    EXPECT_EQ(FindSymbol(module.handle, "NoSuchThing"), nullptr);
    EXPECT_TRUE(IsModuleLoaded(module.path) && FreeModule(module.handle));
    module.handle = nullptr;
    EXPECT_FALSE(IsModuleLoaded(module.path) || FreeModule(nullptr));
}

TEST(Modules, ProgramKnowsItself) {
    EXPECT_EQ(std::filesystem::path(GetExecutablePath()).filename(), "test_platform");
    EXPECT_EQ(GetModulePath(reinterpret_cast<void const *>(&Folder)), GetExecutablePath());
}

// Also for a library that the system itself has found by a relative name.
TEST(Modules, RelativePathsKeepTheirPlace) {
    std::filesystem::path const before = std::filesystem::current_path();
    for (bool const isOurs : {true, false}) {
        std::filesystem::current_path(MODULES_FOLDER);
        void * const module = isOurs ? LoadModule(u"./messages.so") : dlopen("./messages.so", RTLD_NOW);
        std::filesystem::current_path(before);
        ASSERT_NE(module, nullptr);
        EXPECT_EQ(GetModulePath(FindSymbol(module, "MessagesAnswer")), Folder() + u"messages.so");
        FreeModule(module);
    }
}

TEST(Modules, FailuresHaveClearTexts) {
    std::ofstream(std::string(MODULES_FOLDER) + "/text.so")
        << "This is no library, but long enough to be looked at: " << std::string(100, '.');
    constexpr std::tuple<char16_t const *, int, char16_t const *> cases[] = {
        {u"missing.so", ENOENT, u"No such file"},
        {u"", EISDIR, u"Is a directory"},
        {u"text.so", 0, u"text.so: invalid ELF header"},
        {u"orphan.so", 0, u"undefined symbol: MessagesAnswer"},
    };
    SetThreadLanguage(englishLanguage);
    for (auto const & [name, number, part] : cases) {
        KZString const path(std::u16string_view(Folder() + name));
        EXPECT_EQ(LoadModule(Folder() + name), nullptr) << path.AsUTF8();
        KZErrorID const id(new KZWinLastError);
        EXPECT_EQ(id, number ? number : LastErrorNumber()) << path.AsUTF8();
        EXPECT_TRUE(id.Bad());
        EXPECT_NE(id.AsString().Find(part), KZString::npos)
            << path.AsUTF8() << ": " << id.AsString().AsUTF8();
    }
    SetThreadLanguage(neutralLanguage);
    EXPECT_EQ(LoadModule(u"no-such-library-anywhere.so"), nullptr);
    EXPECT_EQ(LoadModule(u""), nullptr);
    EXPECT_EQ(LastErrorNumber(), ENOENT);
}

TEST(ModuleMessages, ComeInTheNearestLanguage) {
    Module const module(u"messages.so");
    constexpr std::tuple<char const *, std::uint32_t, long, char16_t const *> cases[] = {
        {"the very language", 1, 1036, u"Bonjour, %s"},
        {"another country's form of it", 1, 3084, u"Bonjour, %s"},
        {"no such language: English", 1, 1043, u"Good morning, %s"},
        {"no such language: the one for all", 2, 1036, u"OK"},
        {"neither: the first", 3, 1033, u"\u306f\u3044"},
        {"no such code", 4, 1033, u"none"},
    };
    for (auto const & [what, code, language, expected] : cases) {
        EXPECT_EQ(MessageText(module.handle, code, language), expected) << what;
        SetThreadLanguage(language);
        EXPECT_EQ(MessageText(module.handle, code, neutralLanguage), expected) << what;
        EXPECT_EQ(StringText(module.handle, code), code == 4 ? u"[]" : expected) << what;
        SetThreadLanguage(neutralLanguage);
    }
    EXPECT_EQ(StringText(module.handle, 3, 1).size(), 1U);
    EXPECT_EQ(StringText(nullptr, 1), u"[]");
    EXPECT_EQ(MessageText(nullptr, ENOENT, 1033), u"No such file or directory");
    EXPECT_EQ(MessageText(nullptr, 99999, 1033), u"none");
}

TEST(ModuleMessages, AreNeverThoseOfAnotherModule) {
    Module const module(u"dependent.so");
    ASSERT_NE(module.handle, nullptr) << KZErrorID(new KZWinLastError).AsString().AsUTF8();
    auto const own = [&](void * handle, char const * name) {
        return reinterpret_cast<void * (*)()>(FindSymbol(handle, name))();
    };
    EXPECT_EQ(FindSymbol(module.handle, "MessagesAnswer"), nullptr);
    EXPECT_EQ(StringText(module.handle, 1), u"[]");
    EXPECT_EQ(StringText(own(module.handle, "DependentOwnModule"), 1), u"[]");
    Module const messages(u"messages.so");
    EXPECT_EQ(StringText(own(messages.handle, "MessagesOwnModule"), 2), u"OK");
    EXPECT_EQ(StringText(KZ_THIS_MODULE, 15), u"The thread is already started.");
    EXPECT_EQ(FindSymbol(KZ_THIS_MODULE, moduleMessagesSymbol), nullptr);
}

TEST(ModuleMessages, AreThereAsLongAsAnErrorWantsThem) {
    std::u16string const paths[] = {Folder() + u"messages.so", Folder() + u"copy.so"};
    std::filesystem::copy_file(paths[0], paths[1], std::filesystem::copy_options::overwrite_existing);
    for (bool const byItself : {false, true}) {
        KZErrorID id, other;
        {
            Module const module(u"messages.so");
            auto * const own = FindSymbol(module.handle, "MessagesOwnModule");
            void * const handle = byItself ? reinterpret_cast<void * (*)()>(own)() : module.handle;
            auto * const error = new KZErrorWithArgs(new RCMessageTableSource(handle), 1);
            id = KZErrorID(error);
            error->AddParam(KZString(u"Ada"));
            // Sources that have been destroyed hold nothing.
            RCStringTableMsgSource const source(handle);
            RCStringTableMsgSource const copy(source);
            other = KZErrorID(new KZErrorWithArgs(new RCMessageTableSource(Module(u"copy.so").handle), 2));
        }
        EXPECT_TRUE(IsModuleLoaded(paths[0]) && IsModuleLoaded(paths[1]));
        KZString text;
        EXPECT_TRUE(id->AsString(text, KZFormatContext(u"FRA")).Good());
        EXPECT_EQ(text, u"Bonjour, Ada");
        EXPECT_TRUE(id->AsString(text, KZFormatContext(u"enu")).Good());
        EXPECT_EQ(text, u"Good morning, Ada");
        EXPECT_EQ(other.AsString(), u"OK");
        id = other = KZErrorID();
        EXPECT_TRUE(byItself ? !FreeModule(nullptr)
                             : LoadModule(u"") == nullptr); // each call of the loader unloads it
        EXPECT_FALSE(IsModuleLoaded(paths[0]) || IsModuleLoaded(paths[1]));
    }
}

} // namespace
