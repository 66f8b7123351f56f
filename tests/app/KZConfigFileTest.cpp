#include "ZerlithCore/app/KZConfigFile.h"

#include "ZerlithCore/app/KZConfig.h"
#include "ZerlithCore/app/KZConfigStreamException.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/text/KZWideText.h"
#include "files/TemporaryDirectory.h"
#include "platform/ChildProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <sstream>
#include <thread>

namespace {

/// Reads the text as a part of type `Part` and writes it again; the text of the exception if reading throws one.
template <class Part>
std::wstring Rewritten(std::wstring const & text, Part && part) {
    std::wistringstream in(text);
    try {
        in >> part;
    } catch (KZConfigStreamException const & exception) {
        EXPECT_TRUE(exception.Stack().IsNull());
        return KZToWide(exception.What());
    }
    std::wostringstream out;
    out << part;
    return out.str();
}

constexpr wchar_t const * noKey = L"unexpected EOF while parsing a key name of a configuration line";
constexpr wchar_t const * noName = L"unexpected EOF while parsing a section name";
constexpr wchar_t const * stray = L"unexpected character after the closing ']' of a section name";

TEST(KZConfigFile, RewritesWhatItReads) {
    constexpr std::tuple<char const *, wchar_t const *, int, wchar_t const *> cases[] = {
        // The structure of the file.
        {"empty", L"", __LINE__, L""},
        {"comments only", L";a\n\n; b", __LINE__, L";a\n\n; b\n"},
        {"lines before the first header are dropped", L"k=1\n;c\n[A]\nk=2\n", __LINE__, L";c\n[A]\nk=2\n"},
        {"lines without any header", L"k=1\nl=2", __LINE__, L""},
        {"lines without header, comment at the end", L"k=1\n;c", __LINE__, L";c\n"},
        {"comments stay in place", L";1\n[A]\n;2\n\n;3\nk=v\n;4\n[B]\n;5\n", __LINE__,
         L";1\n[A]\n;2\n\n;3\nk=v\n;4\n[B]\n;5\n"},
        {"duplicates and order", L"[B]\nk=1\nK=2\nk=1\n[b]\n[A]\n[B]\n", __LINE__,
         L"[B]\nk=1\nK=2\nk=1\n[b]\n[A]\n[B]\n"},
        {"no name, no header", L"[A]\na=1\n[]\nb=2\n", __LINE__, L"[A]\na=1\nb=2\n"},
        // White space.
        {"around everything", L" \t\r;c \n \t [A] \t\r\n \t k \t=\v\f\u2003 v  w\t \n", __LINE__,
         L";c \n[A]\nk=v  w\n"},
        {"blank line of blanks", L"[A]\n  \t \nk=v\n", __LINE__, L"[A]\n\nk=v\n"},
        {"carriage returns", L";c\r\r\n\r\n[A]\r\nk\r1\r=\r\nl=\rv\rw\r\n", __LINE__,
         L";c\n\n[A]\nk1=\nl=vw\n"},
        {"no-break spaces stay", L"[A]\nk\u00A0=\u00A0v\u00A0\n", __LINE__, L"[A]\nk\u00A0=\u00A0v\u00A0\n"},
        {"trailing space of a value that is no blank", L"[A]\nk=v\v \n", __LINE__, L"[A]\nk=v\v\n"},
        // Comments.
        {"lone semicolon becomes a blank line", L";\n;\r\n[A]\n;", __LINE__, L"\n\n[A]\n\n"},
        {"double semicolon", L";;x\n[A]\n", __LINE__, L";;x\n[A]\n"},
        // Lines.
        {"no equals sign", L"[A]\nalone\n", __LINE__, L"[A]\nalone=\n"},
        {"no key", L"[A]\n=v\n", __LINE__, L"[A]\n=v\n"},
        {"delimiters in the value", L"[A]\nk=a=b ; c [d]", __LINE__, L"[A]\nk=a=b ; c [d]\n"},
        {"semicolon and bracket in the key", L"[A]\na;b[c]=1\n", __LINE__, L"[A]\na;b[c]=1\n"},
        {"characters of two units", L"[\U0001F600]\n\U0001F601=\U0001F602\n", __LINE__,
         L"[\U0001F600]\n\U0001F601=\U0001F602\n"},
        // Headers.
        {"line end in the name", L"[A\nB]\n", __LINE__, L"[A\nB]\n"},
        {"space in the name", L"[ A ]", __LINE__, L"[ A ]\n"},
        {"stray last character", L"[A]x", __LINE__, L"[A]\n"},
        {"stray last character of two units", L"[A]\U0001F600", __LINE__, L"[A]\n"},
        // Errors.
        {"key cut", L"[A]\nkey", __LINE__, noKey},
        {"key cut behind blanks", L"[A]\nk=v\n  key  ", __LINE__, noKey},
        {"key cut before any header", L"key", __LINE__, noKey},
        {"name cut", L"[A", __LINE__, noName},
        {"name cut by the next header", L"[A\n[B", __LINE__, noName},
        {"comment behind a header", L"[A] ; note\n", __LINE__, stray},
        {"stray character and line end", L"[A]x\n", __LINE__, stray},
        {"two headers on a line", L"[A][B]\n", __LINE__, stray},
    };
    for (auto const & [what, in, line, expected] : cases) {
        KZConfigFile file(u"");
        file.AddSection(u"Old");
        EXPECT_EQ(Rewritten(in, file), expected) << what << ", line " << line;
    }
}

TEST(KZConfigFile, ReadsPartsAlone) {
    KZConfigLine line(u"old", u"old");
    EXPECT_EQ(Rewritten(L" ;c\n k = v ", line), L";c\nk=v\n");
    EXPECT_EQ(Rewritten(L";only a comment\n", KZConfigLine()), noKey);
    KZConfigSection section(u"old");
    section.AddLine(line);
    EXPECT_EQ(Rewritten(L"\n[S]\nk=v\n", section), L"\n[S]\n");
    EXPECT_EQ(Rewritten(L";c", section), L";c\n");
    EXPECT_EQ(Rewritten(L"k=v", section), L"expecting a '[' at the beginning of a section");
    EXPECT_EQ(Rewritten(L";1\n \n;2\nk", KZConfigComments()), L";1\n\n;2\n");

    std::wistringstream stream(L"a=1\nb=2");
    stream >> line >> line;
    EXPECT_EQ(line.GetKey(), u"b");
    EXPECT_TRUE(stream.eof());
    EXPECT_THROW(stream >> line, KZConfigStreamException);
}

/// A text that was read and written once must not change when it is read and written again.
TEST(KZConfigFile, ReachesAFixedPointOnRandomText) {
    std::mt19937 random(20);
    for (int round = 0; round < 3000; ++round) {
        std::wstring text;
        for (auto length = random() % 40; length > 0; --length) text += L"ab=;[]\n\n \t\r\v"[random() % 12];
        KZConfigFile file(u"");
        std::wistringstream in(text);
        try {
            in >> file;
        } catch (KZConfigStreamException const &) {
            continue;
        }
        std::wostringstream once;
        once << file;
        // Each reading removes one carriage return from the end of a comment, and "[]" from the text.
        if (once.str().find(L'\r') != std::wstring::npos || text.find(L"[]") != std::wstring::npos) continue;
        EXPECT_EQ(Rewritten(once.str(), KZConfigFile(u"")), once.str()) << "round " << round;
    }
}

class KZConfigFileOnDisk : public testing::Test {
protected:
    KZString Write(std::string const & bytes) const {
        folder.Write(u"test.ini", bytes);
        return folder.Path(u"test.ini");
    }
    std::string Saved(KZConfigFile const & file) const {
        return file.Save() ? folder.Read(u"test.ini") : "not saved";
    }

    TemporaryDirectory folder;
};

TEST_F(KZConfigFileOnDisk, KeepsAllBytes) {
    std::string const tail = "[\xC3\x84]\nk=\xFF\xFE \xED\xA0\x80\xF0\x9F\x98\x80\n;" +
                             std::string(5000, 'c') + "\nlong=" + std::string(1 << 20, 'v') + "\n" +
                             std::string("zero=a\0b\n", 9);
    for (std::string const & text : {tail, "\xEF\xBB\xBF" + tail}) {
        KZSmartPtr<KZConfigFile> const file = KZConfigFile::Load(Write(text));
        ASSERT_FALSE(file.IsNull());
        EXPECT_EQ(file->GetString(u"\u00E4", u"LONG", u"").Length(), 1U << 20);
        EXPECT_TRUE(Saved(*file) == text);
        EXPECT_EQ(file->NbRef(), 1UL);
    }
}

TEST_F(KZConfigFileOnDisk, KeepsItsEncoding) {
    std::string const text("\xFF\xFE[\0\xC4\0]\0\n\0k\0=\0\0\xD8\n\0", 18), added("z\0=\0z\0\n\0", 8);
    KZString const path = Write(text);
    EXPECT_EQ(KZConfig(path).GetString(u"\u00E4", u"K", u""), u"\xD800");
    KZSmartPtr<KZConfigFile> const file = KZConfigFile::Load(path);
    file->SetString(u"\u00C4", u"z", u"z");
    EXPECT_TRUE(Saved(*file) == text + added);
    EXPECT_EQ(Saved(*KZConfigFile::Load(Write("\xFE\xFF"))), "\xFE\xFF");
}

TEST_F(KZConfigFileOnDisk, IsNotSavedWhenNotAllOfItWasRead) {
    struct Case {
        std::string bytes;
        bool isLoaded;
        int sections; // those before an error are kept
        char const * why;
    };
    Case const cases[] = {
        {"[A]\nk=1\n[B]\nk=2\n[C] ;\n", false, 2, "unexpected character after the closing ']'"},
        {"[A]\nk=1\nkey", false, 0, "unexpected EOF while parsing a key name"},
        {std::string("\xFF\xFE[\0A\0]\0\n\0k\0=\0v", 15), true, 1, "no character"},
        {std::string("\xFE\xFF\0[\0A\0]\0", 9), true, 1, "no character"},
        {std::string(";\0c\0\n\0[\0A\0]\0\n\0k\0=\0v\0", 20), true, 0, "0 characters"},
    };
    for (Case const & each : cases) {
        SCOPED_TRACE(each.why);
        KZConfigFile file(Write(each.bytes));
        EXPECT_EQ(file.Reload(), each.isLoaded);
        EXPECT_EQ(KZConfigFile::Load(file.GetFileName()).IsNull(), !each.isLoaded);
        EXPECT_EQ(file.GetSectionsEnd() - file.GetSectionsBegin(), each.sections);
        file.SetString(u"A", u"k", u"2");
        EXPECT_FALSE(file.Save() || file.SaveAtomically());
        std::string const told = KZErrorID(new KZWinLastError).AsString().AsUTF8();
        EXPECT_NE(told.find(each.why), std::string::npos) << told;
        EXPECT_TRUE(folder.Read(u"test.ini") == each.bytes);
        file.Clear();
        EXPECT_TRUE(file.Save()) << "it was cleared on purpose";
    }
    KZConfigFile file(Write("[A]\nk=v\n"));
    rlimit files{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &files), 0);
    rlimit const none{0, files.rlim_max};
    setrlimit(RLIMIT_NOFILE, &none);
    EXPECT_FALSE(file.Reload()) << "no file can be opened";
    setrlimit(RLIMIT_NOFILE, &files);
    EXPECT_EQ(Saved(file), "not saved");
    std::wistringstream broken;
    broken.setstate(std::ios_base::badbit);
    broken >> file;
    EXPECT_EQ(Saved(file), "not saved");
    EXPECT_TRUE(file.Reload());
    EXPECT_EQ(Saved(file), "[A]\nk=v\n");
}

TEST_F(KZConfigFileOnDisk, SavesWholeOrNotAtAll) {
    std::string const old = "[A]\nk=" + std::string(3000, 'v') + '\n';
    std::string const added = "new=" + std::string(9000, 'n') + '\n';
    KZSmartPtr<KZConfigFile> const file = KZConfigFile::Load(Write(old));
    std::filesystem::create_hard_link(folder.Root() / "test.ini", folder.Root() / "name");
    file->SetString(u"A", u"new", KZString(u'n', 9000));
    EXPECT_EQ(RunWithSmallFiles(5000, [&] { return file->Save() || file->SaveAtomically(); }), 0);
    EXPECT_EQ(folder.Read(u"test.ini"), old);
    EXPECT_EQ(Saved(*file), old + added);
    EXPECT_EQ(folder.Read(u"name"), old + added) << "in place";
    file->SetString(u"A", u"new", u"");
    EXPECT_TRUE(file->SaveAtomically());
    EXPECT_EQ(folder.Read(u"test.ini"), old + "new=\n");
    EXPECT_EQ(folder.Read(u"name"), old + added) << "replaced";
}

TEST_F(KZConfigFileOnDisk, KeepsItsContentsWhenTheFileCannotBeOpened) {
    KZConfigFile file(folder.Path(u"missing.ini"));
    file.SetString(u"A", u"k", u"v");
    EXPECT_FALSE(file.Reload());
    EXPECT_EQ(file.GetString(u"A", u"k", u""), u"v");
    EXPECT_TRUE(KZConfigFile::Load(folder.Path(u"missing.ini")).IsNull());
    EXPECT_TRUE(KZConfigFile::Load(folder.Path(u"")).IsNull()) << "a folder";
    EXPECT_TRUE(KZConfigFile::Load(u"").IsNull());
}

TEST_F(KZConfigFileOnDisk, TellsFailedSaves) {
    for (char16_t const * name : {u"", u"/dev/full", u"/no/such/folder/x.ini"}) {
        KZConfigFile file(name);
        file.SetString(u"A", u"k", KZString(u'v', 10));
        EXPECT_FALSE(file.Save() || file.SaveAtomically()) << testing::PrintToString(KZString(name));
    }
    KZConfigFile const empty(Write("rest"));
    EXPECT_EQ(Saved(empty), "");
}

TEST(KZConfigFile, LooksUpTheFirstMatchIgnoringCase) {
    KZConfigFile file(u"");
    std::wistringstream(L"[A]\nk=1\nK=2\nempty=\n[a]\nother=3\n[\u00C4\u044F]\non=On\nno=nope\nx= 0x10 \n") >>
        file;
    EXPECT_EQ(file.GetString(u"a", u"K", u"-"), u"1");
    EXPECT_EQ(file.GetString(u"A", u"EMPTY", u"-"), u"");
    EXPECT_EQ(file.GetString(u"a", u"other", u"-"), u"-") << "only the first section is searched";
    EXPECT_EQ(file.GetString(u"B", u"k", u"-"), u"-");
    EXPECT_TRUE(file.GetBool(u"\u00E4\u042F", u"ON", false));
    EXPECT_FALSE(file.GetBool(u"\u00E4\u042F", u"no", true));
    EXPECT_TRUE(file.GetBool(u"A", u"none", true));
    EXPECT_EQ(file.GetLong(u"A", u"empty", 7), 0);
    EXPECT_EQ(file.GetLong(u"A", u"none", 7), 7);
    EXPECT_TRUE(file.IsSectionPresent(u"a"));
    EXPECT_FALSE(file.IsSectionPresent(u"ab"));
    EXPECT_TRUE(file.IsLinePresent(u"a", u"Empty"));
    EXPECT_FALSE(file.IsLinePresent(u"none", u"k"));
    auto const second = file.FindSection(u"A", file.GetSectionsBegin() + 1);
    EXPECT_EQ(second - file.GetSectionsBegin(), 1);
    EXPECT_EQ(file.FindSection(u"A", second + 1), file.GetSectionsEnd());
}

TEST(KZConfigFile, SetsValuesAndKeepsComments) {
    KZConfigFile file(u"");
    std::wistringstream(L"[A]\n;c\nk=1\n") >> file;
    file.SetLong(u"a", u"K", -2147483647);
    file.SetBool(u"New", u"yes", true);
    file.SetBool(u"new", u"no", false);
    file.SetString(u"A", u"s", u" x ");
    KZConfigLine line(u"d", u"");
    line.SetValue(0.5);
    file.FindSection(u"A")->AddLine(line, file.FindSection(u"A")->GetLinesBegin());
    std::wostringstream out;
    out << file;
    EXPECT_EQ(out.str(), L"[A]\nd=0.500000\n;c\nk=-2147483647\ns= x \n[New]\nyes=yes\nno=no\n");
    for (auto const & [word, isTrue] : std::map<KZString, bool>{{u"1", true},
                                                                {u"Yes", true},
                                                                {u"TRUE", true},
                                                                {u"on", true},
                                                                {u"", false},
                                                                {u"0", false},
                                                                {u"y", false}}) {
        line.SetValue(word);
        EXPECT_EQ(line.GetValueAsBool(), isTrue) << word.AsUTF8();
    }
}

TEST(KZConfigFile, InsertsAndDeletesAnywhere) {
    KZConfigFile file(u"");
    file.DeleteSection(file.GetSectionsEnd());
    file.DeleteSection(u"none");
    auto const c = file.AddSection(u"C");
    c->AddLine(u"2", u"b");
    c->AddLine(u"1", u"a", c->GetLinesBegin());
    c->AddLine(*c->GetLinesBegin());
    file.AddSection(*c, file.GetSectionsBegin())->SetName(u"B");
    file.AddSection(u"A", file.GetSectionsBegin())->GetComments().AddComment(u"2");
    auto & comments = file.GetSectionsBegin()->GetComments();
    comments.AddComment(u"1", comments.GetCommentsBegin());
    comments.AddComment(u"3");
    comments.DeleteComment(comments.GetCommentsBegin() + 1);
    comments.DeleteComment(comments.GetCommentsEnd());
    file.FindSection(u"C")->DeleteLine(u"1");
    file.FindSection(u"C")->DeleteLine(u"3");
    std::wostringstream out;
    out << file;
    EXPECT_EQ(out.str(), L";1\n;3\n[A]\n[B]\n1=a\n2=b\n1=a\n[C]\n2=b\n1=a\n");
    file.DeleteSection(file.FindSection(u"B"));
    file.FindSection(u"C")->Clear();
    EXPECT_EQ(file.FindSection(u"")->GetLinesBegin(), file.FindSection(u"")->GetLinesEnd());
    file.Clear();
    EXPECT_EQ(file.GetSectionsBegin(), file.GetSectionsEnd());
}

/// The lines of a section and the sections of a file, as lists of names.
struct Lines {
    KZConfigSection list;
    KZConfigLine * Begin() { return list.GetLinesBegin(); }
    KZConfigLine * End() { return list.GetLinesEnd(); }
    KZConfigLine * Find(KZString const & name, KZConfigLine * start) { return list.FindLine(name, start); }
    KZConfigLine * Add(KZString const & name, KZConfigLine * place) { return list.AddLine(name, u"", place); }
    void Delete(KZConfigLine * place) { list.DeleteLine(place); }
    static KZString NameOf(KZConfigLine const & line) { return line.GetKey(); }
    static void Rename(KZConfigLine & line, KZString const & name) { line.SetKey(name); }
    void ReplaceByCopy() {
        KZConfigSection copy(list);
        list.Clear();
        list = std::move(copy);
    }
};

struct Sections {
    KZConfigFile list{u""};
    KZConfigSection * Begin() { return list.GetSectionsBegin(); }
    KZConfigSection * End() { return list.GetSectionsEnd(); }
    KZConfigSection * Find(KZString const & name, KZConfigSection * start) {
        return list.FindSection(name, start);
    }
    KZConfigSection * Add(KZString const & name, KZConfigSection * place) {
        return list.AddSection(name, place);
    }
    void Delete(KZConfigSection * place) { list.DeleteSection(place); }
    static KZString NameOf(KZConfigSection const & section) { return section.GetName(); }
    static void Rename(KZConfigSection & section, KZString const & name) { section.SetName(name); }
    void ReplaceByCopy() {
        std::wstringstream text;
        text << list;
        text >> list;
    }
};

/// Every change that can be made to a list, its items and their names; after each one a name is looked for, also by going from
/// item to item.
template <class List>
void FindsByNameAfterRandomChanges() {
    std::mt19937 random(7);
    auto const below = [&random](auto end) { return random() % static_cast<unsigned>(end); };
    KZString const names[] = {
        u"name", u"NAME",    u"nam\u00C4",           u"NAM\u00E4",           u"a much longer name",
        u"x",    u"{[`@z/0", u"another LONGER name", u"ANOTHER longer NAME", u"{[`@Z/0"};
    auto const anyName = [&] {
        return names[below(std::size(names))] + (below(2) ? names[below(2)] : names[5]);
    };
    List tested, other;
    auto * const foreign = other.Add(u"foreign", nullptr);
    for (int round = 0; round < 20000; ++round) {
        auto const place = tested.Begin() + below(tested.End() - tested.Begin() + 1);
        auto const isItem = place != tested.End();
        auto const change = below(400);
        if (change < 130) {
            auto const added = tested.Add(anyName(), change < 60 ? place : nullptr);
            ASSERT_TRUE(std::all_of(tested.Begin(), tested.End(),
                                    [added](auto & each) { return each.GetOwner() == added->GetOwner(); }));
        } else if (change < 260 && isItem) {
            tested.Delete(place);
        } else if (change < 300 && isItem) {
            List::Rename(*place, anyName());
        } else if (change < 320 && isItem) {
            std::swap(*place, *tested.Begin());
        } else if (change < 330 && isItem) {
            *place = *foreign;
        } else if (change < 335 && isItem) {
            place->Clear();
            List::Rename(*place, u"x");
        } else if (change == 399) {
            tested.ReplaceByCopy();
        }
        KZString const name = anyName();
        auto const start = below(3) ? tested.Begin() + below(tested.End() - tested.Begin() + 1) : nullptr;
        auto const expected =
            std::find_if(start ? start : tested.Begin(), tested.End(), [&](auto const & each) {
                return List::NameOf(each).Compare(name, KZString::IgnoreCase) == 0;
            });
        ASSERT_EQ(tested.Find(name, start), expected) << "round " << round << ", " << name.AsUTF8();
    }
    EXPECT_GT(tested.End() - tested.Begin(), 40) << "long enough for an index";
}

TEST(KZConfigFile, FindsByNameAfterAnyChange) {
    FindsByNameAfterRandomChanges<Lines>();
    FindsByNameAfterRandomChanges<Sections>();
}

// --- Locks

class Spy : public KZConfigLockableI {
public:
    void Lock() const override { ++depth; }
    void Unlock() const override { --depth; }
    virtual ~Spy() = default;
    mutable int depth = 0;
};

TEST(KZConfigLockable, ForwardsToItsOwnerAndUndoesOnChange) {
    Spy a, b;
    KZConfigSection section(u"S");
    section.SetOwner(&a);
    KZConfigLine * line = section.AddLine(u"k", u"v");
    line->GetComments().Lock();
    line->Lock();
    section.GetComments().Lock();
    EXPECT_EQ(a.depth, 3);
    EXPECT_EQ(section.GetLockCount(), 3U);
    section.SetOwner(&a);
    EXPECT_EQ(a.depth, 3);
    section.AddLine(u"l", u"v", line)->Unlock(); // This moves the first line in memory, with its locks.
    line = section.FindLine(u"k");
    EXPECT_EQ(line->GetLockCount(), 2U);
    EXPECT_EQ(line->GetOwner(), &section);
    EXPECT_EQ(line->GetComments().GetOwner(), line);
    KZConfigLine const copy = *line;
    EXPECT_EQ(copy.GetLockCount(), 2U);
    EXPECT_EQ(section.AddLine(copy)->GetLockCount(), 0U) << "a fresh copy in a container";
    section.DeleteLine(u"k");
    EXPECT_EQ(a.depth, 1) << "the locks of a deleted line are undone";
    section.SetOwner(&b);
    EXPECT_EQ(a.depth, 0);
    section.AddLine(u"k", u"v")->Lock();
    section.Clear();
    EXPECT_EQ(section.GetName(), u"");
    section.Unlock();
    EXPECT_EQ(b.depth, 0) << "nothing to undo";
}

TEST(KZConfigLockable, AnyPartLocksTheFile) {
    KZConfigFile file(u""), other(u"");
    for (char16_t name = u'A'; name < u'D'; ++name) file.SetLong(name, u"k", 0);
    other.SetLong(u"A", u"k", 0);
    // An assigned value keeps its former owner, until the next addition sets all owners.
    *file.FindSection(u"A") = *other.FindSection(u"A");
    auto const b = file.FindSection(u"B");
    *b->FindLine(u"k") = *other.FindSection(u"A")->FindLine(u"k");
    b->AddLine(u"l", u"");
    EXPECT_EQ(b->FindLine(u"k")->GetOwner(), b);
    file.FindSection(u"C")->Lock();
    EXPECT_EQ(file.AddSection(*file.FindSection(u"C"))->GetLockCount(), 0U) << "a fresh copy";
    file.FindSection(u"C")->Unlock();
    file.AddSection(u"0", file.GetSectionsBegin());
    for (auto each = file.GetSectionsBegin(); each != file.GetSectionsEnd(); ++each) {
        EXPECT_EQ(each->GetOwner(), static_cast<KZConfigLockableI *>(&file));
        EXPECT_EQ(each->GetComments().GetOwner(), each);
        for (auto line = each->GetLinesBegin(); line != each->GetLinesEnd(); ++line)
            EXPECT_EQ(line->GetOwner(), each);
    }
    constexpr int rounds = 2000;
    auto const count = [&file](auto const & lockable) {
        for (int i = 0; i < rounds; ++i) {
            KZGuard guard(lockable);
            file.SetLong(u"B", u"k", file.GetLong(u"B", u"k", 0) + 1);
            if (i % 100 == 0) file.FindSection(u"B")->GetComments().AddComment(u"c");
            file.SetLong(u"C", KZString(u'x', static_cast<unsigned int>(i / 40 + 1)),
                         i); // until there is an index
        }
    };
    std::thread byLine([&] { count(*file.FindSection(u"B")->FindLine(u"k")); });
    std::thread bySection([&] { count(*file.FindSection(u"C")); });
    count(file);
    byLine.join();
    bySection.join();
    EXPECT_EQ(file.GetLong(u"B", u"k", 0), 3 * rounds);
    EXPECT_EQ(file.FindSection(u"C")->GetLinesEnd() - file.FindSection(u"C")->GetLinesBegin(), 51);
    EXPECT_EQ(file.FindSection(u"B")->GetLockCount(), 0U);
}

} // namespace
