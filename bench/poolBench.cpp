// Posting and running empty tasks, compared with a bare model of the same rule, and with Boost.Asio's pool where the machine
// has it.
#include "ZerlithCore/threads/KZThreadPool.h"

#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#ifdef HAVE_ASIO
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#endif

namespace {

constexpr int tasks = 200000;
constexpr int workers = 2;

// Calls `post` `tasks` times in all, from several threads at once.
template <class Post>
void PostFrom(int threads, Post post) {
    std::vector<std::thread> posters;
    for (int i = 1; i < threads; ++i)
        posters.emplace_back([&] {
            for (int n = 0; n < tasks / threads; ++n) post();
        });
    for (int n = 0; n < tasks / threads; ++n) post();
    for (std::thread & poster : posters) poster.join();
}

class Empty : public KZCallback {
public:
    Empty() : KZCallback(KZString()) {}
    using KZCallback::operator();
    void operator()(KZSmartPtr<KZCallbackArgs> const &) override {}
};

void PostToPool(benchmark::State & state) {
    for (auto _ : state) {
        KZThreadPool pool(workers, nullptr, nullptr, false);
        PostFrom(static_cast<int>(state.range(0)), [&] { pool.Post(KZSmartPtr<KZCallback>(new Empty)); });
    }
    state.SetItemsProcessed(state.iterations() * tasks);
}
BENCHMARK(PostToPool)->Arg(1)->Arg(4)->UseRealTime()->Unit(benchmark::kMillisecond);

// The rule of the pool and nothing else, for callbacks of the same kind: a callback goes to the worker that has been idle for
// the longest time, and to the queue if none is idle. What this takes is the least that a pool with one lock and this rule can
// take.
class BareModel {
public:
    struct Task : Empty {
        Task * next = nullptr;
    };

    BareModel() {
        for (Worker & worker : workers_) worker.thread = std::thread([this, &worker] { Work(worker); });
    }
    ~BareModel() {
        Worker * worker = nullptr;
        {
            std::lock_guard const guard(lock_);
            isEnding_ = true;
            worker = idle_.TakeAll();
        }
        while (worker) Wake(*std::exchange(worker, worker->next));
        for (Worker & each : workers_) each.thread.join();
    }
    void Post(Task * task) {
        Worker * worker = nullptr;
        {
            std::lock_guard const guard(lock_);
            worker = idle_.Take();
            (worker ? worker->pending : queue_).Add(task);
        }
        if (worker) Wake(*worker);
    }

private:
    template <class Item>
    struct List {
        Item * first = nullptr;
        Item * last = nullptr;
        void Add(Item * item) {
            item->next = nullptr;
            (first ? last->next : first) = item;
            last = item;
        }
        Item * Take() { return first ? std::exchange(first, first->next) : nullptr; }
        Item * TakeAll() { return std::exchange(first, nullptr); }
    };
    struct Worker {
        std::thread thread;
        std::atomic<int> isWoken{0};
        List<Task> pending;
        Worker * next = nullptr;
    };

    static void Wake(Worker & worker) {
        worker.isWoken.store(1, std::memory_order_release);
        worker.isWoken.notify_one();
    }
    void Work(Worker & worker) {
        for (;;) {
            Task * task = nullptr;
            {
                std::lock_guard const guard(lock_);
                task = queue_.Take();
                if (!task && isEnding_) return;
                if (!task) idle_.Add(&worker);
            }
            if (!task) {
                worker.isWoken.wait(0, std::memory_order_acquire);
                worker.isWoken.store(0, std::memory_order_relaxed);
                task = worker.pending.Take();
                if (!task) return;
            }
            (*task)();
            delete task;
        }
    }

    std::mutex lock_;
    List<Task> queue_;
    List<Worker> idle_;
    bool isEnding_ = false;
    std::array<Worker, workers> workers_;
};

void PostToBareModel(benchmark::State & state) {
    for (auto _ : state) {
        BareModel model;
        PostFrom(static_cast<int>(state.range(0)), [&] { model.Post(new BareModel::Task); });
    }
    state.SetItemsProcessed(state.iterations() * tasks);
}
BENCHMARK(PostToBareModel)->Arg(1)->Arg(4)->UseRealTime()->Unit(benchmark::kMillisecond);

#ifdef HAVE_ASIO
void PostToAsio(benchmark::State & state) {
    for (auto _ : state) {
        boost::asio::thread_pool pool(workers);
        PostFrom(static_cast<int>(state.range(0)), [&] { boost::asio::post(pool, [] {}); });
        pool.join();
    }
    state.SetItemsProcessed(state.iterations() * tasks);
}
BENCHMARK(PostToAsio)->Arg(1)->Arg(4)->UseRealTime()->Unit(benchmark::kMillisecond);
#endif

} // namespace
