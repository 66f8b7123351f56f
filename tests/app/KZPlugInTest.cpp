#include "ZerlithCore/app/KZApplicationWithPlugIns.h"
#include "ZerlithCore/app/KZConfig.h"
#include "ZerlithCore/app/KZConfigFile.h"
#include "ZerlithCore/app/KZThreadedRunPlugIn.h"
#include "ZerlithCore/app/detail/KZFairLock.h"
#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/threads/KZEventSemaphore.h"
#include "foundation/EndsWithItsLastHandle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

class Named : public KZRunPlugIn {
public:
    Named(char16_t const * name, std::uint32_t id, std::vector<std::uint32_t> dependents)
        : name_(name), id_(id), dependents_(std::move(dependents)) {}
    KZString GetName() const override { return name_; }
    KZGuid GetId() const override { return {id_, 0, 0, 0}; }
    std::vector<PlugInIdEx> GetDependentV() const override {
        std::vector<PlugInIdEx> all;
        for (std::uint32_t const id : dependents_) all.emplace_back(KZGuid{id, 0, 0, 0}, u"it");
        return all;
    }
    KZErrorID Run() override { return KZErrorID(0); }
    void RequestExit(bool) override { asked += name_.AsUTF8(); }
    static inline std::string asked; // the plug-ins that were asked to exit

private:
    KZString name_;
    std::uint32_t id_;
    std::vector<std::uint32_t> dependents_;
};

class Threaded : public KZThreadedRunPlugIn {
public:
    explicit Threaded(KZApplicationWithPlugIns * host = nullptr) : host_(host) {}
    KZString GetName() const override { return u"Threaded"; }
    KZGuid GetId() const override { return {9, 0, 0, 0}; }
    KZErrorID Run() override {
        if (fails) throw KZException(u"no luck", true);
        if (!host_) RequestExit(false); // asks itself to exit; returns, as it doesn't wait
        isRunning.Post();
        static_cast<void>(stop_.Wait(0xFFFFFFFFU));
        return host_ ? host_->LoadPlugIn(KZSmartPtr<KZPlugIn>(new Named(u"last", 7, {}))) : KZErrorID(0);
    }
    void StopRequested() override {
        ++stops;
        stop_.Post();
    }
    int stops = 0;
    bool fails = false;
    KZEventSemaphore isRunning;

private:
    KZApplicationWithPlugIns * host_;
    KZEventSemaphore stop_;
};

class Host : public KZApplicationWithPlugIns {
public:
    Host() : KZApplicationWithPlugIns(KZString(u"host /config:/dev/null /noConsole")) {}

    std::string Order(std::vector<KZSmartPtr<KZPlugIn>> const & plugIns) {
        PlugInVector list;
        for (KZSmartPtr<KZPlugIn> const & plugIn : plugIns) {
            EXPECT_TRUE(AddPlugIn(plugIn, false).Good());
            list.push_back(plugIn);
        }
        std::string names;
        for (KZSmartPtr<KZPlugIn> const & plugIn : GetPlugInHier(list)) names += plugIn->GetName().AsUTF8();
        return names;
    }
};

TEST(KZPlugIn, EachKindAnswersItsNumbers) {
    KZSmartPtr<Threaded> const threaded(new Threaded);
    for (int const number : {4, 5, 7}) EXPECT_TRUE(threaded->IsKindOf(number)) << number;
    for (int const number : {0, 3, 6, 8}) EXPECT_FALSE(threaded->IsKindOf(number)) << number;
    EXPECT_EQ(threaded->GetIUID(), 7);
    EXPECT_EQ(threaded->NbRef(), 1UL);
    EXPECT_EQ(KZLibPlugIn().GetName(), u"ZerlithCore PlugIn");
    EXPECT_EQ(KZLibPlugIn().GetUsageInfo().GetCmdLineArgDescCount(), 1U);
    EXPECT_TRUE(EndsWithItsLastHandle<Threaded>() && EndsWithItsLastHandle<KZConfigFile>(u"") &&
                EndsWithItsLastHandle<KZConfig>());
}

TEST(KZThreadedRunPlugIn, IsAskedToStopOnlyWhileItRuns) {
    KZSmartPtr<Threaded> const threaded(new Threaded);
    threaded->RequestExit(true);
    EXPECT_EQ(threaded->stops, 0);
    EXPECT_EQ(threaded->GetStatus(), KZPlugIn::NotInitialised);
    threaded->RunInThread();
    EXPECT_EQ(threaded->stops, 1);
    EXPECT_EQ(threaded->GetStatus(), KZPlugIn::Ended);
    threaded->RequestExit(true);
    EXPECT_EQ(threaded->stops, 1);
    threaded->fails = true;
    testing::internal::CaptureStdout();
    threaded->RunInThread();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "ERR> ***no luck\n");
    EXPECT_EQ(threaded->GetStatus(), KZPlugIn::Ended);
}

TEST(KZThreadedRunPlugIn, IsAwaitedByItsHost) {
    struct Short : Threaded {
        KZErrorID Run() override {
            KZThread::Milli_sleep(50); // a host that doesn't wait asks meanwhile
            return KZErrorID(0);
        }
    };
    Host host;
    host.SetPollInterval(1);
    KZSmartPtr<Short> const once(new Short);
    EXPECT_TRUE(host.LoadPlugIn(KZSmartPtr<KZPlugIn>(once)).Good());
    EXPECT_EQ(host.Run(), 1);
    EXPECT_EQ(once->stops, 0);
    EXPECT_EQ(once->GetStatus(), KZPlugIn::Ended);
}

TEST(KZApplicationWithPlugIns, WaitsForAPlugInThatNeedsIt) {
    Host host;
    KZSmartPtr<Threaded> const busy(new Threaded(&host));
    EXPECT_TRUE(host.LoadPlugIn(KZSmartPtr<KZPlugIn>(busy)).Good());
    KZThread thread(new KZCallbackMethVoid<Threaded>(u"", busy, &Threaded::RunInThread));
    EXPECT_TRUE(thread.Start().Good());
    static_cast<void>(busy->isRunning.Wait(0xFFFFFFFFU));
    host.RequestExit(true);
    EXPECT_FALSE(host.FindPlugIn({7, 0, 0, 0}).IsNull());
}

TEST(KZApplicationWithPlugIns, ListsBadResultsOfRunsAndTheLatestFailures) {
    struct Failing : Named {
        using Named::Named;
        KZErrorID Run() override { return KZErrorID(new KZErrorString(u"no paper")); }
    };
    struct FailingThread : Threaded {
        KZErrorID Run() override { return KZErrorID(new KZErrorString(u"no ink")); }
    };
    Host host;
    host.SetPollInterval(1);
    host.LoadPlugIn(KZSmartPtr<KZPlugIn>(new Failing(u"f", 1, {})));
    host.LoadPlugIn(KZSmartPtr<KZPlugIn>(new FailingThread));
    host.Run();
    auto const texts = [&] {
        std::vector<KZString> all;
        for (KZFailedPlugIn const & each : host.GetFailedPlugIns())
            all.push_back(each.name + each.path + each.error.AsString());
        return all;
    };
    EXPECT_EQ(texts(), (std::vector<KZString>{u"fno paper", u"Threadedno ink"}));
    EXPECT_EQ(host.GetFailedPlugIns()[1].step, KZFailedPlugIn::Run);

    KZString path;
    for (int i = 0; i < 1001; ++i) {
        path.Format(u"/no/%d.osx", i);
        host.LoadPlugIn(path.c_str(), "GetPlugInObject");
    }
    host.LoadPlugIn(u"/no/1.osx", "GetPlugInObject");
    std::vector<KZFailedPlugIn> const failed = host.GetFailedPlugIns();
    ASSERT_EQ(failed.size(), 1000U);
    EXPECT_EQ(failed.front().path, u"/no/2.osx");
    EXPECT_EQ(failed.back().path, u"/no/1.osx");
}

TEST(KZFairLock, LetsInWhoAskedBeforeTheOwnerAsksAgain) {
    constexpr int rounds = 20;
    struct Other {
        void Run() {
            for (int round = 0; round < rounds; ++round) {
                KZGuard<KZFairLock> const guard(lock);
                ++visits;
            }
        }
        KZFairLock lock;
        int visits = 0;
    } other;
    KZThread thread(new KZCallbackMethVoid<Other>(u"", &other, &Other::Run));
    other.lock.Lock();
    EXPECT_TRUE(thread.Start().Good());
    // If this thread is interrupted between the two calls, the other one may get the lock several times.
    for (int seen = 0; seen < rounds; seen = other.visits) {
        while (!other.lock.IsAwaited()) KZThread::yield();
        other.lock.Unlock();
        other.lock.Lock();
        ASSERT_GT(other.visits, seen);
    }
    other.lock.Unlock();
    thread.Join();
}

TEST(KZApplicationWithPlugIns, OrdersByDepthThroughDiamondsAndCycles) {
    auto const make = [](char16_t const * name, std::uint32_t id, std::vector<std::uint32_t> dependents) {
        return KZSmartPtr<KZPlugIn>(new Named(name, id, std::move(dependents)));
    };
    Named::asked.clear();
    EXPECT_EQ(
        Host().Order({make(u"d", 4, {2, 3}), make(u"c", 3, {1}), make(u"b", 2, {1}), make(u"a", 1, {77})}),
        "acbd");
    EXPECT_EQ(Named::asked, "dbca");
    Host host;
    KZSmartPtr<KZPlugIn> const x = make(u"x", 1, {2}), y = make(u"y", 2, {1}), self = make(u"s", 3, {3});
    EXPECT_EQ(host.Order({x, y, self}).size(), 3U);
    EXPECT_EQ(static_cast<int>(host.LoadPlugIn(x)), 14);
    EXPECT_EQ(static_cast<int>(host.LoadPlugIn(y)), 14);
    EXPECT_EQ(x->GetStatus(), KZPlugIn::NotInitialised);
    EXPECT_EQ(host.FindPlugIn(x->GetId()), x);
    EXPECT_EQ(host.GetLoadedPlugIns().size(), 4U);
    EXPECT_TRUE(host.LoadPlugIn(KZSmartPtr<KZPlugIn>()).Good());

    EXPECT_EQ(host.GetPollInterval(), 200U);
    host.SetPollInterval(0);
    EXPECT_EQ(host.GetPollInterval(), 1U);
}

} // namespace
