/// @file
/// Resources that the system refuses when it is told to.
#pragma once

#include <exception>

/// While it lives, the calling thread gets `count` blocks of memory and threads; then one request fails, or every one.
/// Sanitizers bring allocators of their own: there only `operator new` can fail.
class FailingResources {
public:
    enum Refusal : bool { One, All };

    explicit FailingResources(long count, Refusal refusal = One);
    ~FailingResources();
    FailingResources(FailingResources const &) = delete;
    FailingResources & operator=(FailingResources const &) = delete;

    /// Tells whether a request has failed.
    [[nodiscard]] bool HasFailed() const { return hasFailed_; }

private:
    friend bool IsRefused() noexcept;

    long left_;
    Refusal refusal_;
    bool hasFailed_ = false;
};

/// Does `work()` with the n-th request failing, for every n there is, and then `check(wasRefused)`. An exception is as good
/// as any end.
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
