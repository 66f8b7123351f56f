// A plug-in on a thread of its own, which runs until it is asked to exit.
#include "ZerlithCore/ZerlithCore.h"

namespace {

void Say(wchar_t const * what) { KZLockedCOUT().GetCout(1) << what << std::endl; }

class Threaded : public KZThreadedRunPlugIn {
public:
    KZString GetName() const override { return u"Threaded"; }
    KZGuid GetId() const override { return {100, 0, 0, 0}; }
    KZErrorID Run() override {
        // What runs behind the end of the run is code of this library, too.
        KZThread::GetCurrentThreadP()->AddExitFunction(
            KZSmartPtr<KZCallback>(new KZCallbackMethVoid<Threaded>(u"", this, &Threaded::OnExit)));
        Say(L"thread ready");
        static_cast<void>(stop_.wait(0xFFFFFFFFU));
        Say(L"thread ends");
        return KZErrorID(0);
    }
    void StopRequested() override { stop_.post(); }

private:
    void OnExit() {
        KZThread::Milli_sleep(1000); // long enough to be overtaken by a host that doesn't wait
        Say(L"thread is gone");
    }

    KZEventSemaphore stop_{KZString(), false};
};

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Threaded; }
