// Locks, threads and the pool: every accepted callback runs, and no thread waits for ever.
#include "faults/Work.h"

#include <atomic>

namespace {

class Counter {
public:
    void Count() { ++count_; }
    KZSmartPtr<KZCallback> Callback() {
        return KZSmartPtr<KZCallback>(new KZCallbackMethVoid<Counter>(u"count", this, &Counter::Count));
    }
    [[nodiscard]] int Get() const { return count_; }

private:
    std::atomic<int> count_{0};
};

class ThreadRuns : public Work {
    bool Act() override {
        bool isWhole = true;
        for (int run = 0; run < 3; ++run) {
            KZSmartPtr<KZThread> const thread(new KZThread(runs_.Callback()));
            thread->AddExitFunction(exits_.Callback());
            if (thread->Start().Bad()) {
                isWhole = false;
                Expect(!thread->IsStarted(), "a failed start counts as a start");
                if (thread->Start().Bad()) return false;
            }
            ++started_;
            thread->Join();
        }
        return isWhole;
    }
    void Check(bool) override {
        Expect(runs_.Get() == started_ && exits_.Get() == started_,
               "a thread ran without being started, or not at all");
    }
    Counter runs_, exits_;
    int started_ = 0;
};

class Pool : public Work {
    bool Act() override {
        bool isWhole = true;
        KZThreadPool early(3, nullptr, nullptr, false), lazy(3);
        for (int task = 0; task < 12; ++task) {
            KZThreadPool & pool = task % 2 == 0 ? early : lazy;
            try {
                if (pool.Post(tasks_.Callback()))
                    ++accepted_;
                else
                    isWhole = false;
            } catch (std::exception const &) {
                isWhole = false;
            }
        }
        return isWhole;
    }
    void Check(bool isWhole) override {
        Expect(!isWhole || tasks_.Get() == accepted_, "accepted and not run");
        Expect(tasks_.Get() >= accepted_, "accepted and not run, in spite of other errors");
    }
    Counter tasks_;
    int accepted_ = 0;
};

class NamedLocks : public Work {
    bool Act() override {
        KZString name;
        name.Format(u"faults-%s", Path("").c_str());
        KZMutex mutex(name, false);
        mutex.lock();
        mutex.unlock();
        KZEventSemaphore event(name, false);
        event.post();
        isPosted_ = event.wait(0U) == 0;
        return true;
    }
    void Check(bool isWhole) override { Expect(!isWhole || isPosted_, "the post is lost"); }
    bool isPosted_ = false;
};

WorkEntry const threadRuns("threads", [] { return std::unique_ptr<Work>(new ThreadRuns); });
WorkEntry const pool("pool", [] { return std::unique_ptr<Work>(new Pool); });
WorkEntry const namedLocks("locks", [] { return std::unique_ptr<Work>(new NamedLocks); });

} // namespace
