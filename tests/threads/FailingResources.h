/// @file
/// Makes the system refuse memory and threads.
#pragma once

#include <exception>

/// While an object of this class exists, the calling thread gets `count` blocks of memory and threads. Then one
/// request fails, or all of them. Sanitizers have allocators of their own; with them only `operator new` can fail.
class FailingResources {
public:
    enum Refusal : bool { One, All };

    explicit FailingResources(long count, Refusal refusal = One);
    ~FailingResources();
    FailingResources(FailingResources const &) = delete;
    FailingResources & operator=(FailingResources const &) = delete;

    /// True when a request has failed.
    [[nodiscard]] bool HasFailed() const { return hasFailed_; }

private:
    friend bool IsRefused() noexcept;

    long left_;
    Refusal refusal_;
    bool hasFailed_ = false;
};

/// Calls `work()` again and again, with the first request failing, then the second, until no request fails, and after
/// each `check(wasRefused)`. `work` may throw.
template <class Work, class Check>
void AtEveryResource(FailingResources::Refusal refusal, Work const & work, Check const & check) {
    bool wasRefused = true;
    for (long n = 0; wasRefused; ++n) {
        {
            FailingResources const failing(n, refusal);
            try {
                work();
            } catch (std::exception const &) {}
            wasRefused = failing.HasFailed();
        }
        check(wasRefused);
    }
}
