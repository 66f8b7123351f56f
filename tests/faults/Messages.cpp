// Errors with their texts, message files, log channels and log files.
#include "faults/Work.h"

#include <thread>

namespace {

/// A message file is written, and an error takes its text from it.
class MessageTexts : public Work {
    bool Act() override {
        KZSmartPtr<MessageFile> const file = MessageFile::Create(Path(""), u"app");
        file->SetLanguageCode(u"deu");
        file->SetFileName(file->GetMessageFileName(u"deu"));
        // Returns false, since no messages are in memory, but the file is open for writing.
        file->Open(MessageFile::Write);
        for (long id = 1; id <= 20; ++id)
            if (file->WriteMessage(id, u"Datei fehlt (ł): %s").Bad()) return false;
        if (!file->Close()) return false;

        KZSmartPtr<MSGLibMessageSource> const source(
            new MSGLibMessageSource(Path("").c_str(), u"app", u"deu"));
        if (!source->IsValid()) return false;
        auto error = std::make_unique<KZErrorWithArgs>(source, 7, KZErrorI::SeverityError);
        error->AddParam(KZString(u"a name of some length"));
        KZErrorID const id(error.release());
        return id->AsString(text_, KZFormatContext(u"deu")).Good();
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || text_ == u"Datei fehlt (ł): a name of some length",
               "another text: " + text_.AsUTF8());
    }
    KZString text_;
};

/// If memory runs out while the language is switched, the switch can be repeated.
class LanguageSwitch : public Work {
    void Prepare() override {
        using namespace std::string_literals;
        Write("app.enu.LAN", "\0\0\0\7\0\0\0\4File"s);
        Write("app.deu.LAN", "\0\0\0\7\0\0\0\5Datei"s);
        source_ = new MSGLibMessageSource(Path("").c_str(), u"app", u"enu");
    }
    bool Act() override {
        try {
            return source_->GetText(text_, 7, KZFormatContext(u"deu")).Good();
        } catch (std::bad_alloc const &) {
            isMemoryOut_ = true;
            return false;
        }
    }
    void Check(bool isWhole) override {
        Expect(!isMemoryOut_ || source_->IsValid(), "no language is left");
        KZString const expected(isWhole || isMemoryOut_ ? u"Datei" : u"");
        if (isMemoryOut_) static_cast<void>(source_->GetText(text_, 7, KZFormatContext(u"deu")));
        // If a directory can't be read, that is reported on the console, and the present language stays.
        Expect(text_ == expected || (isWhole && text_ == u"File"), "another text: " + text_.AsUTF8());
    }
    KZSmartPtr<MSGLibMessageSource> source_;
    KZString text_;
    bool isMemoryOut_ = false;
};

class Exceptions : public Work {
    bool Act() override {
        try {
            throw KZException(u"on purpose");
        } catch (KZException const & exception) {
            text_ = exception.What();
        }
        return true;
    }
    void Check(bool isWhole) override { Expect(!isWhole || text_ == u"on purpose", "another text"); }
    KZString text_;
};

int volatile * volatile noInt = nullptr;
// Called by a pointer: a compiler that saw the function would prove that it doesn't throw.
void (*volatile writeNull)() = [] { *noInt = 1; };

/// A fault of the processor arrives as the exception for that fault, even if its report can't be made.
class Signals : public Work {
    bool Act() override {
        KZInitCatchSignal();
        KZDebug::ChangeErrorLogFileName(Path(""), u"report");
        isReady_ = true;
        try {
            writeNull();
        } catch (KZSignalException const & exception) {
            code_ = exception.GetSeHNumber();
            // These are missing if there was no memory for the texts or the disk didn't take the report.
            return std::string_view(exception.what()).starts_with("Access violation") &&
                   Read("report").find("(0xc0000005)") != std::string::npos;
        }
        return false;
    }
    void Check(bool) override {
        Expect(!isReady_ || code_ == 0xC0000005U, "the fault came as something else");
        std::thread([] { KZStackDump const dump; }).join(); // hangs if a failed dump has kept the lock
    }
    bool isReady_ = false;
    unsigned int code_ = 0;
};

/// Each record is in the file as a whole or is reported as lost, and the file consists of whole lines.
class LogFiles : public Work {
    static constexpr int records = 20;

    bool Act() override {
        KZSmartPtr<KZLogFile> const log(new KZLogFile);
        if (!log->Open(Path("log").c_str())) return false;
        log->SetAutoFlush(true);
        bool isWhole = true;
        for (int record = 0; record < records; ++record) {
            try {
                log->Log(u"record %d of this log, which ends here.", record);
            } catch (std::bad_alloc const &) {
                isWhole = false;
            }
        }
        log->Close();
        lost_ = log->GetLostRecordCount();

        return isWhole && lost_ == 0;
    }
    void Check(bool isWhole) override {
        std::string const bytes = Read("log");
        Expect(bytes.size() % 2 == 0 || !isWhole, "half a unit");
        std::u16string units(bytes.size() / 2, u'\0');
        bytes.copy(reinterpret_cast<char *>(units.data()), units.size() * 2);
        int found = 0;
        for (int record = 0; record < records; ++record) {
            KZString line;
            line.Format(u"> record %d of this log, which ends here.\r\n", record);
            found += units.find(line.c_str()) != std::u16string::npos ? 1 : 0;
        }
        Expect(!isWhole || found == records, "only " + std::to_string(found) + " records");
    }
    std::size_t lost_ = 0;
};

/// A channel with two subscribers: each gets every line, or the line that says how many were lost.
class Channels : public Work {
    class Hearer : public KZLogSubscriberI {
    public:
        Hearer() : KZLogSubscriberI(1) { heard.Reserve(1000); } // so that recording a line doesn't allocate
        void OnFlush(int, KZString const & text) override { heard += text; }
        KZString heard;
    };

    bool Act() override {
        unsigned int const index = manager_.AddChannel(u"Network");
        file_ = new KZFileLogSubscriber(Path("text"), 1, true, true);
        if (!manager_.Subscribe(index, KZSmartPtr<KZLogSubscriberI>(file_.GetPtr())) ||
            !manager_.Subscribe(index, hearer_))
            return false;
        for (int line = 0; line < 5; ++line) Stream() << L"line " << line << std::endl;
        return Stream().good();
    }
    void Check(bool isWhole) override {
        if (!isWhole) return;
        Stream() << L"end" << std::endl;
        std::string const all("line 0\nline 1\nline 2\nline 3\nline 4\nend\n");
        bool isTold = file_->GetLostRecordCount() != 0;
        for (std::string const & text :
             {Read("text"), static_cast<Hearer *>(hearer_.GetPtr())->heard.AsUTF8()}) {
            Expect(text == all || isTold || text.find(" lost: ") != text.npos, "another text: " + text);
            Expect(text.ends_with("end\n"), "nothing comes any more");
            isTold = false;
        }
    }
    std::wostream & Stream() { return (*manager_.GetFirstChannelItr())->GetStream().GetStream(1); }
    KZLogManager manager_;
    KZSmartPtr<KZFileLogSubscriber> file_;
    KZSmartPtr<KZLogSubscriberI> hearer_{new Hearer};
};

WorkEntry const messageTexts("messages", [] { return std::unique_ptr<Work>(new MessageTexts); });
WorkEntry const languageSwitch("languages", [] { return std::unique_ptr<Work>(new LanguageSwitch); });
WorkEntry const exceptions("exceptions", [] { return std::unique_ptr<Work>(new Exceptions); });
WorkEntry const signals("signals", [] { return std::unique_ptr<Work>(new Signals); });
WorkEntry const logFiles("logfile", [] { return std::unique_ptr<Work>(new LogFiles); });
WorkEntry const channels("channels", [] { return std::unique_ptr<Work>(new Channels); });

} // namespace
