// Strings, converters, collators, character data, calendar values and zones.
#include "faults/Work.h"

#include <unordered_map>

namespace {

class Strings : public Work {
    bool Act() override {
        text_.Format(u"%s %d", u"Zo\u00EB", 42);
        for (int count = 0; count < 40; ++count) text_ += u" \u00E9t\u00E9";
        text_.Replace(u"\u00E9t\u00E9", u"\u00C9T\u00C9 long enough to need room of its own");
        text_.Lower();
        upper_ = text_.SubStr(0, 3);
        upper_.Upper();
        if (broken_.SetFromUTF8("abc" + std::string(30, '\x80')).Bad()) return false;
        if (back_.SetFromUTF8(text_.AsUTF8()).Bad()) return false;
        joined_ = KZString::Join(text_.Split(u"own"), u"own") + KZString::Number(1.5);
        std::unordered_map<KZString, int> counts;
        for (char16_t const unit : text_) ++counts[KZString(unit)];
        isSame_ = text_.IsEqual(back_, KZString::IgnoreCase | KZString::IgnoreAccent) && counts.size() > 10;
        return true;
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || (text_ == back_ && isSame_ && upper_ == u"ZO\u00CB"), "another text");
        Expect(!isWhole || joined_ == text_ + u"1.5", "another text from its pieces");
        Expect(broken_.IsNull() || broken_ == u"kept" ||
                   broken_ == KZString(u"abc") + KZString(u'\uFFFD', 30),
               "half a text");
        KZString accent(u"\u00E9");
        accent.Upper();
        Expect(accent == u"\u00C9", "upper case is lost");
    }
    KZString text_, upper_, back_, joined_, broken_{u"kept"};
    bool isSame_ = false;
};

/// What an operation can't do leaves the vector as it was.
class Vectors : public Work {
    bool Act() override {
        KZSmartPtr<KZRefCount> const first(new KZRefCount), second(new KZRefCount);
        KZSmartPtrVector<KZSmartPtr<KZRefCount>> many;
        for (int count = 0; count < 5; ++count) many.push_back(second);
        before_.reserve(64);
        vector_.push_back(first);
        before_.assign(1, first);
        for (auto const change :
             {+[](Handles &v, Handles const &m) { v.assign(m.begin(), m.end()); },
              +[](Handles &v, Handles const &m) { v.assign(9U, *m.begin()); },
              +[](Handles &v, Handles const &m) { v.insert(v.begin(), m.begin(), m.end()); },
              +[](Handles &v, Handles const &m) { v = m; },
              +[](Handles &v, Handles const &) { v.resize(40U, v[0]); }}) {
            change(vector_, many);
            before_.assign(vector_.begin(), vector_.end());
        }
        return true;
    }
    void Check(bool) override {
        Expect(std::ranges::equal(vector_, before_), "half assigned");
        Expect(vector_.empty() ||
                   *vector_[0] == static_cast<unsigned long>(std::ranges::count(vector_, vector_[0])) * 2,
               "handles are counted wrong");
    }
    using Handles = KZSmartPtrVector<KZSmartPtr<KZRefCount>>;
    Handles vector_;
    std::vector<KZSmartPtr<KZRefCount>> before_;
};

class CodePages : public Work {
    bool Act() override {
        for (std::uint32_t const page : {932U, 1252U, 850U}) {
            KZSmartPtr<KZStringConverter> const converter(new KZMbCodePageConverter(page));
            if (!converter->IsValid()) return false;
            std::string bytes;
            if (KZString(u"Ab1").ConvertFromUnicode(bytes, converter).Bad()) return false;
            if (text_.ConvertToUnicode(bytes.c_str(), converter).Bad()) return false;
        }
        return true;
    }
    void Check(bool isWhole) override { Expect(!isWhole || text_ == u"Ab1", "another text"); }
    KZString text_;
};

class Collators : public Work {
    bool Act() override {
        KZSmartPtrToConst<KZCollator> const collator(new KZTableIgnoreCaseAndAccentCollator);
        order_ = KZString(u"\u00C9t\u00E9").Compare(u"ete", collator);
        order_ += KZString(u"\u00C9T\u00C9").Compare(u"\u00E9t\u00E9", KZString::IgnoreCase);
        return true;
    }
    void Check(bool isWhole) override { Expect(!isWhole || order_ == 0, "another order"); }
    int order_ = 0;
};

class CharacterData : public Work {
    void Prepare() override {
        Write("data", "0041;LATIN CAPITAL LETTER A;Lu;0;L;;;;;N;;;;0061;\n"
                      "00C9;LATIN CAPITAL LETTER E WITH ACUTE;Lu;0;L;0045 0301;;;;N;;;;00E9;\n");
    }
    bool Act() override { return KZUnicodeInfoReader::Read(info_, Bytes("data").c_str()); }
    void Check(bool isWhole) override {
        Expect(!isWhole || (std::string_view(info_[0x41].name) == "LATIN CAPITAL LETTER A" &&
                            info_[0xC9].lowerCase == 0xE9),
               "characters are lost");
    }
    KZUnicode::CharSetInfo info_;
};

class Moments : public Work {
    bool Act() override {
        std::vector<KZTimeZone> zones;
        if (!zone_.FromWindowsTimeZoneName(u"Eastern Standard Time")) return false;
        if (!KZTimeZone::GetWindowsTimeZones(zones) || zones.size() < 100) return false;
        if (moment_.FromString(u"2026-07-01 12:30:15", u"%Y-%m-%d %H:%M:%S", zone_).Bad()) return false;
        moment_ += KZDurationEx(2, KZDurationEx::day);
        isNow_ = KZDateTimeEx::GetCurrentDateTime().IsDateAndTime();
        return moment_.AsString(text_, u"%Y-%m-%d %H:%M:%S %Z", zone_);
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || (isNow_ && text_ == u"2026-07-03 12:30:15 -04:00"),
               "another moment: " + text_.AsUTF8());
        Expect(zone_.FromWindowsTimeZoneName(u"Tokyo Standard Time") && zone_.GetLocalMinusUTC(0) == 9 * 3600,
               "zones are lost");
    }
    KZTimeZone zone_;
    KZDateTimeEx moment_;
    bool isNow_ = false;
    KZString text_;
};

WorkEntry const strings("strings", [] { return std::unique_ptr<Work>(new Strings); });
WorkEntry const vectors("vectors", [] { return std::unique_ptr<Work>(new Vectors); });
WorkEntry const codePages("codepages", [] { return std::unique_ptr<Work>(new CodePages); });
WorkEntry const collators("collators", [] { return std::unique_ptr<Work>(new Collators); });
WorkEntry const characterData("unicode", [] { return std::unique_ptr<Work>(new CharacterData); });
WorkEntry const moments("moments", [] { return std::unique_ptr<Work>(new Moments); });

} // namespace
