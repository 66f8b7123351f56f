// Files of a user: whatever fails, they have the old content or the new one.
#include "faults/Work.h"

#include <sys/wait.h>
#include <unistd.h>

namespace {

class FileContent : public Work {
public:
    explicit FileContent(bool replaces) : replaces_(replaces) {}

private:
    void Prepare() override { Write("file", old_); }
    bool Act() override {
        return replaces_ ? KZFile::Replace(Path("file"), fresh_.data(), fresh_.size())
                         : KZFile::Overwrite(Path("file"), fresh_.data(), fresh_.size());
    }
    void Check(bool isWhole) override {
        // If the disk fails to confirm the new content, an error is returned and the new content stays.
        std::string const now = Read("file");
        bool const isMixed = !replaces_ && FailsForGood() && now.size() >= old_.size();
        Expect(now == fresh_ || (!isWhole && (now == old_ || isMixed)),
               "neither the old content nor the new one");
        Expect(HoldsOnly({"file"}), "a temporary file stays");
    }
    bool replaces_;
    std::string old_ = std::string(5000, 'o'), fresh_ = std::string(9000, 'n');
};

class Configuration : public Work {
public:
    explicit Configuration(bool isAtomic) : isAtomic_(isAtomic) {}

private:
    void Prepare() override {
        for (int key = 0; key < 30; ++key)
            old_ += "Key" + std::to_string(key) + "=value " + std::to_string(key) + '\n';
        old_ = "; a comment\n[First]\n" + old_ + "\n[Second]\nOnly=\xC3\xA9t\xC3\xA9\n";
        Write("file.ini", old_);
    }
    bool Act() override {
        KZSmartPtr<KZConfigFile> const file = KZConfigFile::Load(Path("file.ini"));
        if (file.IsNull()) return false;
        number_ = file->GetString(u"First", u"key7", u"");
        file->SetString(u"Second", u"Only", u"Zo\u00EB");
        file->SetLong(u"Third", u"Number", 3);
        // Makes an index of the lines, and lets it grow.
        for (unsigned int length = 1; length <= 40; ++length)
            file->SetBool(u"First", KZString(u'x', length), true);
        return isAtomic_ ? file->SaveAtomically() : file->Save();
    }
    void Check(bool isWhole) override {
        std::string const now = Read("file.ini");
        bool const isNew = now.find("Key29=value 29") != now.npos &&
                           now.find("Only=Zo\xC3\xAB") != now.npos &&
                           now.find("[Third]\nNumber=3") != now.npos && now.find("; a comment") != now.npos &&
                           now.find('\n' + std::string(40, 'x') + "=yes\n") != now.npos;
        bool const isMixed = !isAtomic_ && FailsForGood() && now.size() >= old_.size();
        Expect(isNew || (!isWhole && (now == old_ || isMixed)),
               "neither the old file nor the new one: " + now);
        Expect(!isWhole || number_ == u"value 7", "another value");
        Expect(HoldsOnly({"file.ini"}), "a temporary file stays");
    }
    bool isAtomic_;
    std::string old_;
    KZString number_;
};

class Streams : public Work {
    bool Act() override {
        {
            KZOFileStream out(Path("copy"));
            for (int line = 0; line < 200; ++line) out << KZString(u"line ") << line << L" \u00E9\n";
            if (!out.close()) return false;
        }
        KZFileStream in(Path("copy"), std::ios_base::in | std::ios_base::out);
        if (!in.is_open()) return false;
        for (std::wstring line; std::getline(in, line);) ++lines_;
        if (!in.eof() || in.bad()) return false;
        in.clear();
        in.seekg(0);
        std::wstring first;
        if (!std::getline(in, first)) return false;
        std::wostream(in.rdbuf()) << KZString(u"Line"); // over that of the second line
        return in.rdbuf()->close();
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || lines_ == 200, "lines are lost");
        Expect(!isWhole || Read("copy").starts_with("line 0 \xC3\xA9\nLine 1"), "a write is lost");
    }
    int lines_ = 0;
};

class Directories : public Work {
    void Prepare() override {
        for (char const * const name : {"a.osx", "b.osx", "c.txt"}) Write(name, "x");
    }
    bool Act() override {
        KZDirectory directory;
        if (!directory.Open(Path(""))) return false;
        return directory.GetFileNames(names_, u"*.osx") && KZDirectory::Create(Path("x/y/z"));
    }
    void Check(bool isWhole) override { Expect(!isWhole || names_.size() == 2, "names are lost"); }
    std::vector<KZString> names_;
};

WorkEntry const replace("replace", [] { return std::unique_ptr<Work>(new FileContent(true)); });
WorkEntry const overwrite("overwrite", [] { return std::unique_ptr<Work>(new FileContent(false)); });
WorkEntry const configuration("configuration",
                              [] { return std::unique_ptr<Work>(new Configuration(false)); });
WorkEntry const atomically("atomically", [] { return std::unique_ptr<Work>(new Configuration(true)); });
WorkEntry const streams("streams", [] { return std::unique_ptr<Work>(new Streams); });
WorkEntry const directories("directories", [] { return std::unique_ptr<Work>(new Directories); });

} // namespace
