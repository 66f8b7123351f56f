// Reports what the word counter found, in the language of a command-line option: on the console, as XML, and as an HTML page
// that a stylesheet makes of the XML. The texts come from message files.
#include "WordCounts.h"

namespace {

enum Message : long { Summary = 1, Line = 2, Title = 3, WordHead = 4, TimesHead = 5, PageLanguage = 6 };

class Report : public KZRunPlugIn {
public:
    KZString GetName() const override { return u"Report"; }
    KZGuid GetId() const override { return {0x7D1E90A3, 0x11C24B7F, 0x8F60A2B4, 0xC1D2E3F4}; }
    std::vector<PlugInIdEx> GetDependentV() const override { return {{WordCountsI::Id, u"Word count"}}; }

    KZUsageInfo GetUsageInfo() const override {
        KZUsageInfo usage;
        usage.AddCmdLineArgDesc(u"language:{code}", u"The language of the report: enu, fra or jpn.");
        usage.AddCmdLineArgDesc(u"top:{number}", u"How many words the report lists.");
        return usage;
    }

    KZErrorID Init(KZApplicationWithPlugIns const & application) override {
        counter_ = application.FindPlugIn(WordCountsI::Id);
        top_ = application.GetArg(u"Top", u"Report", 5U);
        language_ = application.GetArg(u"Language", u"Report", u"enu");
        xmlName_ = application.GetArg(u"Xml", u"Report", u"report.xml");
        pageName_ = application.GetArg(u"Page", u"Report", u"report.html");
        stylesheetName_ = application.GetArg(u"Stylesheet", u"Report", u"report.xsl");
        KZString const folder = application.GetArg(u"Messages", u"Report", u"messages");
        auto * const messages = new MSGLibMessageSource(folder.c_str(), u"report", language_.c_str());
        messages_ = messages;
        if (messages_->IsValid()) return KZErrorID(0);
        return KZErrorID(new KZErrorString(u"No messages in " + folder));
    }

    KZErrorID Run() override {
        KZSmartPtr<WordCountsI> const counter = KZInterfaceOf<WordCountsI>(*counter_);
        if (counter.IsNull()) return KZErrorID(new KZErrorString(u"The word counter is of another kind"));
        WordCountsI const & counts = *counter;
        Print(counts);
        KZDOMDocument const report = MakeReport(counts);
        report.SaveToFile(xmlName_);
        KZErrorID const id = SavePage(report);
        KZLockedCOUT().GetCout(1) << (id.Good() ? xmlName_ + u", " + pageName_ : id.AsString()) << std::endl;
        return id;
    }

    void Unload() override { counter_.Clear(); }

private:
    // A message with arguments is an error object, too: its text is made when it is asked for.
    template <class... Arguments>
    KZString Text(Message message, Arguments const &... arguments) const {
        KZSmartPtr<KZErrorWithArgs> const text(new KZErrorWithArgs(messages_, message));
        (text->AddParam(arguments), ...);
        KZString out;
        static_cast<void>(text->AsString(out, KZFormatContext(language_)));
        return out;
    }

    KZString SummaryOf(WordCountsI const & counts) const {
        return Text(Summary, counts.FileName(), counts.Words(), counts.Different());
    }

    void Print(WordCountsI const & counts) const {
        KZLockedCOUT console;
        std::wostream & out = console.GetCout(1);
        out << SummaryOf(counts) << L'\n';
        for (auto const & [word, count] : counts.Top(top_)) out << L"  " << Text(Line, word, count) << L'\n';
        out.flush();
    }

    KZDOMDocument MakeReport(WordCountsI const & counts) const {
        KZDOMDocument document = KZDOMDocument::Create();
        KZDOMElement report = document.CreateElement(u"report", true);
        report.SetAttribute(u"language", Text(PageLanguage));
        report.AppendChild(document.CreateElement(u"title")).SetText(Text(Title, counts.FileName()));
        report.AppendChild(document.CreateElement(u"summary")).SetText(SummaryOf(counts));
        KZDOMElement words = document.CreateElement(u"words");
        words.SetAttribute(u"word", Text(WordHead));
        words.SetAttribute(u"times", Text(TimesHead));
        for (auto const & [word, count] : counts.Top(top_)) {
            KZDOMElement element = document.CreateElement(u"word");
            KZString times;
            times.Format(u"%ld", count);
            element.SetAttribute(u"times", times);
            element.SetText(word);
            words.AppendChild(element);
        }
        report.AppendChild(words);
        return document;
    }

    KZErrorID SavePage(KZDOMDocument const & report) const {
        KZDOMDocument stylesheet = KZDOMDocument::Create();
        if (!stylesheet.Load(stylesheetName_, true))
            return KZErrorID(
                new KZErrorString(stylesheetName_ + u": " + stylesheet.GetLastParseError().GetReason()));
        std::string const page = report.TransformNode(stylesheet).AsUTF8();
        if (KZFile::Replace(pageName_, page.data(), page.size())) return KZErrorID(0);
        return KZErrorID(new KZErrorString(u"Can't write " + pageName_ + u": " +
                                           KZErrorID(new KZWinLastError).AsString()));
    }

    KZSmartPtr<KZPlugIn> counter_;
    KZSmartPtrToConst<KZMessageSource> messages_;
    unsigned int top_ = 5;
    KZString language_;
    KZString xmlName_;
    KZString pageName_;
    KZString stylesheetName_;
};

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Report; }
