// A plug-in on a thread of its own, which runs until it is asked to exit. The environment variable PLUGIN_MODE makes
// it do something else:
//
// - "leave": it leaves objects that nobody takes back.
// - "thread" or "pool": it leaves a thread, or a pool's worker, running.
// - "ask": it calls the host while the host is busy.
#include "ZerlithCore/ZerlithCore.h"

#include <cstdlib>
#include <string_view>

namespace {

bool IsMode(std::string_view mode) {
    char const * const variable = std::getenv("PLUGIN_MODE");
    return variable && mode == variable;
}

void Say(wchar_t const * what) { KZLockedCOUT().GetCout(1) << what << std::endl; }

struct AtUnloading {
    ~AtUnloading() { KZGetConsole() << L"library is gone" << std::endl; }
} const atUnloading;

// Objects of classes of this library; their destructors are code of this library.

struct LeftTest : KZTestCase {
    LeftTest() : KZTestCase(u"left") {}
    ~LeftTest() override { Say(L"test is deleted"); }
};

struct LeftSubscriber : KZLogSubscriberI {
    ~LeftSubscriber() override { Say(L"subscriber is deleted"); }
    void OnFlush(int, KZString const &) override { ++texts; }
    int texts = 0;
};

struct LeftError : KZErrorString {
    LeftError() : KZErrorString(u"an error of this library's own") {}
    ~LeftError() override { Say(L"error is deleted"); }
};

struct LeftWork {
    void Wait() {
        KZString name;
        static_cast<void>(name.SetFromUTF8(std::getenv("PLUGIN_EVENT")));
        isUnderWay.Post();
        static_cast<void>(KZEventSemaphore(name + u" go", false).Wait(0xFFFFFFFFU));
        KZGetConsole() << L"left thread goes on" << std::endl;
        KZEventSemaphore(name + u" gone", false).Post();
    }
    void Exit() { KZGetConsole() << L"left exit function runs" << std::endl; }
    KZSmartPtr<KZCallback> Callback(void (LeftWork::*method)()) {
        return KZSmartPtr<KZCallback>(new KZCallbackMethVoid<LeftWork>(u"", this, method));
    }
    KZEventSemaphore isUnderWay;
} leftWork;

KZThreadPool * leftPool = nullptr;

class Threaded : public KZThreadedRunPlugIn {
public:
    KZString GetName() const override { return u"Threaded"; }
    KZGuid GetId() const override { return {100, 0, 0, 0}; }
    KZErrorID Init(KZApplicationWithPlugIns const & application) override {
        if (IsMode("leave")) return Leave(application);
        KZSmartPtr<KZThread> const thread(new KZThread(leftWork.Callback(&LeftWork::Wait)));
        if (IsMode("thread")) return thread->Start();
        if (IsMode("pool")) {
            leftPool = new KZThreadPool(1);
            leftPool->Post(leftWork.Callback(&LeftWork::Wait));
            static_cast<void>(leftWork.isUnderWay.Wait(0xFFFFFFFFU));
        }
        if (!IsMode("ask")) return KZErrorID(0);
        // The host's own lock is held while Init is called.
        KZThread asking(Callback(&Threaded::Find));
        KZErrorID const error = asking.Start();
        asking.Join();
        return error;
    }
    KZErrorID Run() override {
        if (IsMode("thread") || IsMode("pool")) return KZErrorID(0);
        // The host refuses this, but answers only when it isn't busy any more.
        if (IsMode("ask"))
            return KZApplicationWithPlugIns::GetApp()->LoadPlugIn(KZSmartPtr<KZPlugIn>(new KZLibPlugIn));
        // The exit function runs after Run has ended, and is code of this library, too.
        KZThread::GetCurrentThreadP()->AddExitFunction(Callback(&Threaded::OnExit));
        Say(L"thread ready");
        static_cast<void>(stop_.wait(0xFFFFFFFFU));
        Say(L"thread ends");
        return KZErrorID(0);
    }
    void StopRequested() override { stop_.post(); }

private:
    KZSmartPtr<KZCallback> Callback(void (Threaded::*method)()) {
        return KZSmartPtr<KZCallback>(new KZCallbackMethVoid<Threaded>(u"", this, method));
    }
    void OnExit() {
        KZThread::Milli_sleep(1000); // long enough for a host that doesn't wait to get ahead
        Say(L"thread is gone");
    }
    void Find() {
        if (KZApplicationWithPlugIns::GetApp()->FindPlugIn(GetId()).GetPtr() == this) Say(L"found");
    }
    static KZErrorID Leave(KZApplicationWithPlugIns const & application) {
        application.GetMainMenu()->AddTestCase(new LeftTest);
        KZLogManager & manager = KZApplication::GetLogManager();
        KZSmartPtr<KZLogSubscriberI> const subscriber(new LeftSubscriber);
        manager.Subscribe(application.GetChannelIndex(), subscriber);
        manager.Subscribe(manager.AddChannel(u"left"), subscriber);
        if (KZThread * const thread = KZThread::GetCurrentThreadP())
            thread->AddExitFunction(leftWork.Callback(&LeftWork::Exit));
        else
            KZDebug::AddReportHook([]() noexcept { KZGetConsole() << L"left hook runs" << std::endl; });
        return KZErrorID(new LeftError);
    }

    KZEventSemaphore stop_{KZString(), false};
};

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Threaded; }
