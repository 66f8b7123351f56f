// A destructor is `noexcept`. When an exception would leave one, the runtime calls the terminate handler instead of
// unwinding. Our handler jumps back to the innermost contained call of the thread with longjmp:
//
//     CallContained -> Run (setjmp) -> object->Release() -> ~Object() throws -> std::terminate -> OnTerminate
//     OnTerminate -> longjmp -> Run returns false
//
// The frames in between are dropped without clean-up. The runtime still counts their exceptions as being handled, so
// the handler ends those before it jumps.
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
    std::exception_ptr caughtBefore; // the exception that the caller of the contained call was handling
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
