// A whole program: command line, configuration, log, plug-in libraries, main loop and end.
#include "faults/Work.h"

#include <array>

namespace {

class HostRun : public Work {
    void Prepare() override {
        Write("host.ini", "[KZCore]\ntrace=1\n[PlugIns]\nfirst=" PLUGIN_DIRECTORY
                          "/b.osx\nsecond=" PLUGIN_DIRECTORY "/a.osx\n");
    }
    bool Act() override {
        KZString commandLine(u"host /consoleToFile:");
        commandLine += Path("console.log");
        commandLine += u" /config:";
        commandLine += Path("host.ini");
        KZApplicationWithPlugIns application(commandLine);
        application.SetPollInterval(1);
        bool const isRun = application.LoadAndRun() == 0;
        return isRun && application.GetLoadedPlugIns().size() == 3 && application.GetFailedPlugIns().empty();
    }
    void Check(bool isWhole) override {
        std::string const console = Read("console.log");
        if (FailsForGood()) return; // the file of the console takes nothing more, so it has no report either
        // If there is no memory for a line, another line says so.
        constexpr std::array notes{"ERR> ***std::bad_alloc\n", "unhandled exception in KZThread",
                                   "*** messages lost: 1\n"};
        bool const isLineMissing =
            std::ranges::any_of(notes, [&](char const * note) { return console.find(note) != console.npos; });
        for (char const * const line : {"A runs\n", "B runs\n"})
            Expect(!isWhole || console.find(line) != console.npos,
                   std::string("not told: ") + line + console);
        for (char const * const line : {"Unloading <A>... Done.\n", "Exiting application...\n"})
            Expect(!isWhole || isLineMissing || console.find(line) != console.npos,
                   std::string("not told: ") + line + console);
    }
};

class CommandLines : public Work {
    bool Act() override {
        KZCommandLine line(u"program /name:\"a value\" /flag other --out", u"/-", u":", false);
        value_ = line.GetArg(u"name", KZString());
        try {
            line.UseLongOptions({u"out", u"a name of some length"});
        } catch (std::bad_alloc const &) {
            if (line.UsesLongOptions() || !line.ArgPresent(u"-out")) value_ = u"half split";
            return false;
        }
        return line.GetCompleteCmdLine() == u"program --name=\"a value\" --flag other /out";
    }
    void Check(bool isWhole) override {
        Expect(!(isWhole || value_ == u"half split") || value_ == u"a value",
               "another value " + value_.AsUTF8());
    }
    KZString value_;
};

/// An operation that fails leaves values, arguments, lists and subscribers as they were. A constructor of an application that
/// fails leaves no part of one.
class Settings : public Work {
    class Hearer : public KZLogSubscriberI {
        void OnFlush(int, KZString const &) override {}
    };

    void Prepare() override {
        Write("kept.ini", "[A]\nk=1\n");
        file_ = new KZConfigFile(Path("kept.ini"));
        list_.Put(u"one");
        for (char16_t const * name : {u"first", u"second"}) manager_.AddChannel(name);
        manager_.Subscribe(0, hearer_);
    }
    bool Act() override {
        if (!file_->Reload()) return file_->Save() && false;
        file_->SetLong(u"New", u"key", number);
        line_.AddArg(u"name", number);
        list_.Put(number);
        manager_.ChangeSubscriptionChannel(0, hearer_, 1);
        KZString commandLine(u"program /noConsole /consoleToFile:");
        commandLine += Path("console.log");
        commandLine += u" /config:";
        commandLine += Path("kept.ini");
        KZApplication const application(commandLine);
        return true;
    }
    void Check(bool) override {
        Expect(Read("kept.ini") == "[A]\nk=1\n", "nothing was saved over the file");
        Expect(file_->GetLong(u"New", u"key", number) == number, "a key without its value");
        Expect(line_.GetArg(u"name", number) == number, "an option without its value");
        Expect(list_.GetText() == u"one" || list_.GetText() == u"one,1234567", "a comma without its item");
        Expect(*hearer_ == 2UL, "the subscriber is on no channel");
        Expect(!KZApplication::GetApp(), "half an application");
    }

    static constexpr int number = 1234567;
    KZSmartPtr<KZConfigFile> file_;
    KZCommandLine line_{u"program", u"/-", u":", false};
    KZCommaSeparatedValues list_;
    KZLogManager manager_;
    KZSmartPtr<KZLogSubscriberI> const hearer_{new Hearer};
};

WorkEntry const settings("settings", [] { return std::unique_ptr<Work>(new Settings); });
WorkEntry const hostRun("host", [] { return std::unique_ptr<Work>(new HostRun); });
WorkEntry const commandLines("commandline", [] { return std::unique_ptr<Work>(new CommandLines); });

} // namespace
