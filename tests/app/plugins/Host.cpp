// The host of the plug-in tests. It is a program of its own, so that its console is compared as a user would see it.
//
// - Options: "poll" with milliseconds; "noMenu"; "failures" prints what failed after the host has ended.
// - With the variable HOST_ON_THREAD the host runs on a KZThread.
// - With PLUGIN_EVENT it releases a thread that a plug-in has left running, and waits for that thread.
#include "ZerlithCore/ZerlithCore.h"

#include <cstdlib>

namespace {

struct Program {
    void Run() {
        KZApplicationWithPlugIns application(count, arguments);
        application.SetPollInterval(application.GetArg(u"poll", KZString(), 200U));
        application.SetIsRunWithMenu(!application.IsArgPresent(u"noMenu"));
        status = application.LoadAndRun();
        if (application.IsArgPresent(u"failures")) failed = application.GetFailedPlugIns();
    }

    void Afterwards() const {
        for (KZFailedPlugIn const & each : failed)
            KZGetConsole() << L"FAILED " << each.name << L", " << each.id.Word(0) << L", "
                           << KZPath(each.path).GetFileName() << L": " << each.error.AsString() << L", step "
                           << static_cast<int>(each.step) << std::endl;
        KZLogManager const & manager = KZApplication::GetLogManager();
        for (auto place = manager.GetFirstChannelItr(); KZLogChannel * const channel = *place; ++place)
            channel->GetStream().GetStream(0) << L"heard by nobody" << std::endl;
        KZDebug::CallReportHooks();
        char const * const event = std::getenv("PLUGIN_EVENT");
        if (!event) return;
        KZString name;
        static_cast<void>(name.SetFromUTF8(event));
        KZEventSemaphore go(name + u" go", false), gone(name + u" gone", false);
        go.Post();
        static_cast<void>(gone.Wait(0xFFFFFFFFU));
    }

    int count;
    char ** arguments;
    int status = 0;
    std::vector<KZFailedPlugIn> failed{};
};

} // namespace

int main(int argc, char ** argv) {
    Program program{argc, argv};
    KZThread thread(new KZCallbackMethVoid<Program>(u"", &program, &Program::Run));
    if (std::getenv("HOST_ON_THREAD") && thread.Start().Good())
        thread.Join();
    else
        program.Run();
    program.Afterwards();
    return program.status;
}
