// Reads the UTF-8 text file that the configuration names, and counts its words on a pool of threads, with one callback for each
// block of lines.
#include "WordCounts.h"

#include <algorithm>
#include <unordered_map>

namespace {

enum Message : long { CannotOpen = 1 };

bool IsWordUnit(char16_t unit) {
    bool const digit = unit >= u'0' && unit <= u'9';
    return digit || unit == u'\'' || unit >= 0xC0 || KZtowupper(unit) != KZtowlower(unit);
}

// Some lines, and the words that a worker finds in them. Only that worker uses the block, so it needs no lock.
class Block : public KZCallbackArgs {
public:
    using Counts = std::unordered_map<KZString, long>;

    bool IsFull() const { return lines_.size() == maximalLines; }
    void Add(KZString const & line) { lines_.push_back(line); }

    void Count() {
        for (KZString const & line : lines_) CountLine(line);
    }
    Counts const & Result() const { return counts_; }

private:
    static constexpr std::size_t maximalLines = 256;

    void CountLine(KZString const & line) {
        KZString word;
        for (char16_t const unit : line) {
            if (IsWordUnit(unit))
                word += unit;
            else
                CountWord(word);
        }
        CountWord(word);
    }

    // Counts a word and empties it. An empty word isn't counted.
    void CountWord(KZString & word) {
        if (word.IsNull()) return;
        word.Lower();
        ++counts_[word];
        word.Clear();
    }

    std::vector<KZString> lines_;
    Counts counts_;
};

class WordCount : public WordCountsI {
public:
    int GetIUID() const override { return Iuid; }
    KZSmartPtr<KZObjectI> QueryInterface(int iuid) const override {
        if (iuid == Iuid) return KZSmartPtr<KZObjectI>(const_cast<WordCount *>(this));
        return WordCountsI::QueryInterface(iuid);
    }
    KZString GetName() const override { return u"Word count"; }
    KZGuid GetId() const override { return Id; }

    KZErrorID Init(KZApplicationWithPlugIns const & application) override {
        fileName_ = application.GetArg(u"File", u"WordCount", u"sample.txt");
        threads_ = application.GetArg(u"Threads", u"WordCount", 4);
        return KZErrorID(0);
    }

    KZErrorID Run() override {
        std::vector<KZSmartPtr<Block>> blocks;
        if (KZErrorID const read = ReadBlocks(blocks); read.Bad()) {
            // The host ignores the result of `Run` and goes on, so the plug-in reports the error itself.
            KZLockedCOUT().GetCout(1) << read.AsString() << std::endl;
            return read;
        }
        {
            KZThreadPool pool(std::max(threads_, 1));
            for (KZSmartPtr<Block> const & block : blocks)
                pool.Post(KZSmartPtr<KZCallback>(
                    new KZCallbackMethVoid<Block>(u"count words", block.GetPtr(), &Block::Count)));
            // The destructor of the pool waits for the last block.
        }
        for (KZSmartPtr<Block> const & block : blocks)
            for (auto const & [word, count] : block->Result()) {
                counts_[word] += count;
                words_ += count;
            }
        KZLockedCOUT().GetCout(2) << L"Counted the words of " << fileName_ << L" in "
                                  << static_cast<unsigned long>(blocks.size()) << L" blocks" << std::endl;
        return KZErrorID(0);
    }

    KZString FileName() const override { return fileName_; }
    long Words() const override { return words_; }
    long Different() const override { return static_cast<long>(counts_.size()); }
    std::vector<std::pair<KZString, long>> Top(std::size_t count) const override {
        std::vector<std::pair<KZString, long>> all(counts_.begin(), counts_.end());
        std::ranges::sort(all, [](auto const & a, auto const & b) {
            return a.second != b.second ? a.second > b.second : a.first < b.first;
        });
        all.resize(std::min(count, all.size()));
        return all;
    }

private:
    KZErrorID ReadBlocks(std::vector<KZSmartPtr<Block>> & blocks) const {
        KZFileStream stream(fileName_);
        if (!stream.is_open()) return Missing();
        for (std::wstring line; std::getline(stream, line);) {
            if (blocks.empty() || blocks.back()->IsFull()) blocks.push_back(KZSmartPtr<Block>(new Block));
            blocks.back()->Add(KZFromWide(line));
        }
        return KZErrorID(0);
    }

    // An error whose text is in the message table of this plug-in.
    KZErrorID Missing() const {
        auto * const error = new KZErrorWithArgs(
            KZSmartPtrToConst<KZMessageSource>(new RCMessageTableSource(KZ_THIS_MODULE)), CannotOpen);
        error->AddParam(fileName_);
        return KZErrorID(error);
    }

    KZString fileName_;
    int threads_ = 4;
    long words_ = 0;
    Block::Counts counts_;
};

} // namespace

KZ_MODULE_MESSAGES({CannotOpen, KZLanguage::EnglishUS, u"Can't open %0:s"},
                   {CannotOpen, KZLanguage::French, u"Impossible d'ouvrir %0:s"})

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new WordCount; }
