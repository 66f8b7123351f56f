// Posting and running empty tasks, compared with Boost.Asio's pool where the machine has it.
#include "ZerlithCore/threads/KZThreadPool.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <thread>
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
