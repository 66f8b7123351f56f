// Reads the UTF-8 text file that the configuration names and counts its words.
#include "WordCounts.h"

#include <algorithm>
#include <unordered_map>

namespace {

bool IsWordUnit(char16_t unit) {
    bool const digit = unit >= u'0' && unit <= u'9';
    return digit || unit == u'\'' || unit >= 0xC0 || KZtowupper(unit) != KZtowlower(unit);
}

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
        return KZErrorID(0);
    }

    KZErrorID Run() override {
        KZFileStream stream(fileName_);
        if (!stream.is_open()) {
            KZLockedCOUT().GetCout(1) << L"Can't open " << fileName_ << std::endl;
            return KZErrorID(new KZErrorString(u"Can't open " + fileName_));
        }
        for (std::wstring line; std::getline(stream, line);) CountLine(KZFromWide(line));
        KZLockedCOUT().GetCout(2) << L"Counted the words of " << fileName_ << std::endl;
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
    void CountLine(std::u16string const & line) {
        KZString word;
        for (char16_t const unit : line) {
            if (IsWordUnit(unit))
                word += unit;
            else
                Count(word);
        }
        Count(word);
    }

    // Counts a word and empties it; nothing isn't a word.
    void Count(KZString & word) {
        if (word.IsNull()) return;
        word.Lower();
        ++counts_[word];
        ++words_;
        word.Clear();
    }

    KZString fileName_;
    long words_ = 0;
    std::unordered_map<KZString, long> counts_;
};

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new WordCount; }
