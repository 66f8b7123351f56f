// Prints what the word counter found, with messages of its own in two languages.
#include "WordCounts.h"

namespace {

enum Message : long { Summary = 1, Line = 2 };

class Report : public KZRunPlugIn {
public:
    KZString GetName() const override { return u"Report"; }
    KZGuid GetId() const override { return {0x7D1E90A3, 0x11C24B7F, 0x8F60A2B4, 0xC1D2E3F4}; }
    std::vector<PlugInIdEx> GetDependentV() const override { return {{WordCountsI::Id, u"Word count"}}; }

    KZErrorID Init(KZApplicationWithPlugIns const & application) override {
        counter_ = application.FindPlugIn(WordCountsI::Id);
        top_ = application.GetArg(u"Top", u"Report", 5U);
        languages_ = application.GetArg(u"Languages", u"Report", u"enu");
        return KZErrorID(0);
    }

    KZErrorID Run() override {
        KZSmartPtr<KZObjectI> const object = counter_->QueryInterface(WordCountsI::Iuid);
        if (object.IsNull()) return KZErrorID(new KZErrorString(u"The word counter is of another kind"));
        auto const & counts = static_cast<WordCountsI const &>(*object);
        KZCommaSeparatedValues languages(languages_);
        for (KZString language = languages.Get(); !language.IsNull(); language = languages.Get())
            Print(counts, KZFormatContext(language));
        return KZErrorID(0);
    }

    void Unload() override { counter_.Clear(); }

private:
    // A message with arguments is an error object like any other: its text is made in the language of `context`.
    template <class... Arguments>
    static KZString Text(Message message, KZFormatContext const & context, Arguments const &... arguments) {
        KZSmartPtrToConst<KZMessageSource> const source(new RCMessageTableSource(KZ_THIS_MODULE));
        KZErrorWithArgs text(source, message);
        (text.AddParam(arguments), ...);
        KZSmartPtr<KZErrorWithArgs> const counted(new KZErrorWithArgs(text));
        KZString out;
        static_cast<void>(counted->AsString(out, context));
        return out;
    }

    void Print(WordCountsI const & counts, KZFormatContext const & context) const {
        KZLockedCOUT console;
        std::wostream & out = console.GetCout(1);
        out << Text(Summary, context, counts.FileName(), counts.Words(), counts.Different()) << L'\n';
        for (auto const & [word, count] : counts.Top(top_))
            out << L"  " << Text(Line, context, word, count) << L'\n';
        out.flush();
    }

    KZSmartPtr<KZPlugIn> counter_;
    unsigned int top_ = 5;
    KZString languages_;
};

} // namespace

KZ_MODULE_MESSAGES({Summary, KZLanguage::EnglishUS,
                    u"%0:s: %1:d words, %2:d different ones. The most frequent:"},
                   {Line, KZLanguage::EnglishUS, u"\"%0:s\" stands there %1:d times"},
                   {Summary, KZLanguage::French,
                    u"%0:s : %1:d mots, dont %2:d différents. Les plus fréquents :"},
                   {Line, KZLanguage::French, u"« %0:s » y figure %1:d fois"})

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Report; }
