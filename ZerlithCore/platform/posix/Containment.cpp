// A destructor is `noexcept`, and nothing can be unwound through it: the runtime calls the terminate handler in the place of
// unwinding. The handler jumps back to the innermost contained call of the thread. The frames in between are gone then,
// with the exception's place on the runtime's list of caught ones: that is taken off by hand.
#include "ZerlithCore/platform/Containment.h"

#include <atomic>
#include <csetjmp>
#include <cstdlib>
#include <cxxabi.h>
#include <utility>

namespace KZPlatform {

namespace {

struct ContainedCall {
    std::jmp_buf wayBack;
    std::exception_ptr cause;
    std::exception_ptr caughtBefore; // by whoever makes the call
    ContainedCall * outer;
};

constinit thread_local ContainedCall * innermost = nullptr;
constinit std::atomic<std::terminate_handler> formerHandler{nullptr};

[[noreturn]] void OnTerminate() {
    if (ContainedCall * const call = innermost) {
        if (std::current_exception() != call->caughtBefore) call->cause = std::current_exception();
        while (std::current_exception() != call->caughtBefore) abi::__cxa_end_catch();
        std::longjmp(call->wayBack, 1);
    }
    if (std::terminate_handler const former = formerHandler) former();
    std::abort();
}

bool Run(ContainedCall & contained, void (*call)(void *), void * argument) noexcept {
    if (setjmp(contained.wayBack) != 0) return false;
    try {
        call(argument);
        return true;
    } catch (...) {
        contained.cause = std::current_exception();
        return false;
    }
}

} // namespace

bool CallContained(void (*call)(void *), void * argument, std::exception_ptr & cause) noexcept {
    static bool const isInstalled = [] {
        formerHandler = std::set_terminate(&OnTerminate);
        return true;
    }();
    static_cast<void>(isInstalled);
    ContainedCall contained{{}, {}, std::current_exception(), innermost};
    innermost = &contained;
    bool const hasReturned = Run(contained, call, argument);
    innermost = contained.outer;
    cause = std::move(contained.cause);
    return hasReturned;
}

} // namespace KZPlatform
