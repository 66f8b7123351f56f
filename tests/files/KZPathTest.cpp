#include "ZerlithCore/files/KZPath.h"
#include "ZerlithCore/files/KZDirectory.h"
#include "ZerlithCore/files/KZFile.h"
#include "ZerlithCore/files/KZStdPath.h"

#include "files/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace {

TEST(KZPath, TakesPathsApart) {
    struct Case {
        char16_t const *path, *directory, *fileName, *baseName, *extension;
    };
    Case const cases[] = {
        {u"", u"", u"", u"", u""},
        {u"name", u"", u"name", u"name", u""},
        {u"a/b.c/name.tar.gz", u"a/b.c", u"name.tar.gz", u"name.tar", u"gz"},
        {u"a.b/name", u"a.b", u"name", u"name", u""},
        {u"/", u"/", u"", u"", u""},
        {u"/name.", u"/", u"name.", u"name", u""},
        {u"//name", u"/", u"name", u"name", u""},
        {u"a//", u"a", u"", u"", u""},
        {u"a/.hidden", u"a", u".hidden", u".hidden", u""},
        {u"a/.hidden.txt", u"a", u".hidden.txt", u".hidden", u"txt"},
        {u"a/..", u"a", u"..", u"..", u""},
        {u".", u"", u".", u".", u""},
    };
    for (Case const & c : cases) {
        KZPath const path(c.path);
        std::string const what = path.AsString().AsUTF8();
        EXPECT_TRUE(path.GetDirectory() == c.directory) << what;
        EXPECT_TRUE(path.GetFileName() == c.fileName) << what;
        EXPECT_TRUE(path.GetBaseName() == c.baseName) << what;
        EXPECT_TRUE(path.GetExtension() == c.extension) << what;
    }
}

TEST(KZPath, PutsPathsTogether) {
    KZString const here(std::filesystem::current_path().u16string());
    KZString const above(std::filesystem::current_path().parent_path().u16string());
    struct Case {
        char const * what;
        KZString made, expected;
    };
    Case const cases[] = {
        {"join", KZPath::Join(u"a", u"b"), u"a/b"},
        {"join behind a separator", KZPath::Join(u"a/", u"b"), u"a/b"},
        {"join without directory", KZPath::Join(u"", u"b"), u"b"},
        {"join from a root", KZPath::Join(u"a", u"/b"), u"/b"},
        {"set directory", KZPath(u"x/y/b.c").SetDirectory(u"a").AsString(), u"a/b.c"},
        {"take directory away", KZPath(u"x/b.c").SetDirectory(u"").AsString(), u"b.c"},
        {"set file name", KZPath(u"x/b.c").SetFileName(u"d").AsString(), u"x/d"},
        {"replace extension", KZPath(u"x.y/b.c").SetExtension(u"ini").AsString(), u"x.y/b.ini"},
        {"add extension", KZPath(u"x.y/b").SetExtension(u".ini").AsString(), u"x.y/b.ini"},
        {"take extension away", KZPath(u"b.c").SetExtension(u"").AsString(), u"b"},
        {"complete", KZPath(u"./a//b/../c/").MakeComplete().AsString(), here + u"/a/c"},
        {"complete from above", KZPath(u"../x").MakeComplete().AsString(), above + u"/x"},
        {"complete by base", KZPath(u"x").MakeComplete(u"/base").AsString(), u"/base/x"},
        {"complete beyond the root", KZPath(u"/../..").MakeComplete(u"base").AsString(), u"/"},
    };
    for (Case const & c : cases) EXPECT_TRUE(c.made == c.expected) << c.what << ": " << c.made.AsUTF8();
}

TEST(KZStdPath, KeepsEveryByte) {
    for (std::string const bytes : {"", "/tmp/\xC3\xA9", "\xFF\xC3/\x80"})
        EXPECT_EQ(KZToPath(KZFromPath(bytes)).native(), bytes);
    EXPECT_EQ(KZFromPath("a/\xC3\xA9\xFF"), u"a/\u00E9\xDCFF");
}

TEST(KZDirectory, MatchesPatterns) {
    struct Case {
        char16_t const *pattern, *name;
        bool matches;
    };
    Case const cases[] = {
        {u"*", u"", true},
        {u"*", u".x", true},
        {u"", u"", true},
        {u"", u"a", false},
        {u"*.osx", u"a.osx", true},
        {u"*.osx", u".osx", true},
        {u"*.osx", u"a.osx.bak", false},
        {u"*.osx", u"a.OSX", false},
        {u"a?c", u"abc", true},
        {u"a?c", u"ac", false},
        {u"*a*b*?", u"xxaxxb", false},
        {u"*a*b*?", u"xxaxxbxxbc", true},
        {u"*aab", u"aaaab", true},
        {u"??*", u"a", false},
    };
    for (Case const & c : cases)
        EXPECT_EQ(KZDirectory::Matches(c.name, c.pattern), c.matches)
            << KZString(c.pattern).AsUTF8() << " on " << KZString(c.name).AsUTF8();
    std::u16string const name(5000, u'a');
    std::u16string pattern;
    for (int i = 0; i < 1000; ++i) pattern += u"a*";
    EXPECT_FALSE(KZDirectory::Matches(name, pattern + u"b")) << "and ends soon";
}

TEST(KZDirectory, ListsFilesSorted) {
    TemporaryDirectory folder;
    for (char16_t const * name : {u"b.osx", u"a.osx", u"\u00E9.osx", u"B.osx", u"a.txt"})
        folder.Write(name, "");
    std::string const odd = (folder.Root() / "\xFF.osx").string();
    std::ofstream(odd) << "odd";
    KZString const inner = KZPath::Join(folder.Path(u""), u"c.osx/d/e");
    EXPECT_TRUE(KZDirectory::Create(inner) && KZDirectory::Create(inner));
    EXPECT_FALSE(KZDirectory::Create(KZPath::Join(folder.Path(u"a.txt"), u"below/a/file")));

    KZDirectory directory;
    EXPECT_FALSE(directory.Open(folder.Path(u"a.txt")) || directory.IsOpen());
    EXPECT_TRUE(directory.GetFileNames().empty());
    std::vector<KZString> names{u"old"};
    EXPECT_FALSE(directory.GetFileNames(names, u"*"));
    EXPECT_TRUE(names.empty());
    ASSERT_TRUE(directory.Open(folder.Path(u"")));
    std::vector<KZString> const expected{u"B.osx", u"a.osx", u"b.osx", u"\u00E9.osx", u"\xDCFF.osx"};
    EXPECT_TRUE(directory.GetFileNames(u"*.osx") == expected);
    EXPECT_TRUE(directory.GetFileNames(names, u"*.osx") && names == expected);
    EXPECT_TRUE(directory.GetDirectoryNames() == std::vector<KZString>{u"c.osx"});

    KZFile file;
    std::size_t count = 0;
    char text[8] = {};
    ASSERT_TRUE(file.Open(KZPath::Join(directory.GetPath(), expected.back()), KZFile::Access::Read));
    EXPECT_TRUE(file.Read(text, sizeof text, count));
    EXPECT_EQ(std::string(text, count), "odd") << "a name that isn't UTF-8 can be opened";
    EXPECT_EQ(file.GetSize(), 3);
    EXPECT_EQ(file.Seek(-1, KZFile::Origin::End), 2);
    EXPECT_TRUE(file.Read(text, sizeof text, count) && count == 1 && text[0] == 'd');
    KZString const text1 = folder.Path(u"a.txt"), text2 = folder.Path(u"b.txt");
    EXPECT_TRUE(KZFile::IsReadable(text1) && KZFile::Rename(text1, text2) && KZFile::Remove(text2));
    EXPECT_FALSE(KZFile::Exists(text1) || KZFile::Exists(text2) || KZFile::Exists(folder.Path(u"c.osx")));
    EXPECT_FALSE(KZFile::IsReadable(text1) || KZFile::IsReadable(folder.Path(u"c.osx")));
    EXPECT_FALSE(KZDirectory::Remove(folder.Path(u"c.osx"))) << "not empty";
    EXPECT_TRUE(KZDirectory::Remove(inner));
}

} // namespace
