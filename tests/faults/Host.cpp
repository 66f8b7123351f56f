// A whole program: command line, configuration, log, plug-in libraries, main loop and end.
#include "faults/Work.h"

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
        bool const isRun = application.LoadAndRun() == 0;
        return isRun && application.GetLoadedPlugIns().size() == 3;
    }
    void Check(bool isWhole) override {
        std::string const console = Read("console.log");
        for (char const * const line :
             {"A runs\n", "B runs\n", "Unloading <A>... Done.\n", "Exiting application...\n"})
            Expect(!isWhole || console.find(line) != console.npos,
                   std::string("not told: ") + line + console);
    }
};

class CommandLines : public Work {
    bool Act() override {
        KZCommandLine const line(u"program /name:\"a value\" /flag other", u"/-", u":", false);
        value_ = line.GetArg(u"name", KZString());
        return true;
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || value_ == u"a value", "another value " + value_.AsUTF8());
    }
    KZString value_;
};

WorkEntry const hostRun("host", [] { return std::unique_ptr<Work>(new HostRun); });
WorkEntry const commandLines("commandline", [] { return std::unique_ptr<Work>(new CommandLines); });

} // namespace
