// Writes a line to a log channel of its own, again and again, until it is asked to exit.
#include <ZerlithCore/ZerlithCore.h>

namespace {

class Heartbeat : public KZThreadedRunPlugIn {
public:
    KZString GetName() const override { return u"Heartbeat"; }
    KZGuid GetId() const override { return {0x51A2B3C4, 0x0E1F2A3B, 0x4C5D6E7F, 0x90817263}; }

    KZErrorID Init(KZApplicationWithPlugIns const & application) override {
        interval_ = application.GetArg(u"Interval", u"Heartbeat", 1000U);
        beats_ = application.GetArg(u"Beats", u"Heartbeat", 0U);
        KZLogManager & manager = KZApplication::GetLogManager();
        channel_ = manager.AddChannel(u"Heartbeat");
        subscriber_ = new KZFileLogSubscriber(application.GetArg(u"Log", u"Heartbeat", u"heartbeat.log"), 1,
                                              /*autoFlush=*/true, /*append=*/false);
        manager.Subscribe(channel_, subscriber_);
        return KZErrorID(0);
    }

    KZErrorID Run() override {
        std::wostream & log =
            (*KZApplication::GetLogManager().GetChannel(channel_))->GetStream().GetStream(1);
        for (unsigned int beat = 1; beats_ == 0 || beat <= beats_; ++beat) {
            KZString line;
            line.Format(u"beat %u", beat);
            log << line << std::endl;
            // Waits for the event that StopRequested posts, so that a long interval doesn't delay the end.
            if (stop_.wait(interval_) == 0) break;
        }
        log << L"the heart stops" << std::endl;
        return KZErrorID(0);
    }

    void StopRequested() override { stop_.post(); }

    void Unload() override { KZApplication::GetLogManager().UnSubscribe(channel_, subscriber_); }

private:
    unsigned int interval_ = 1000;
    unsigned int beats_ = 0;
    unsigned int channel_ = 0;
    KZSmartPtr<KZLogSubscriberI> subscriber_;
    KZEventSemaphore stop_{KZString(), false};
};

} // namespace

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Heartbeat; }
