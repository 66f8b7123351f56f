/// @file
/// Calls of foreign code that must not end the process.
///
///     std::exception_ptr cause;
///     if (!KZPlatform::CallContained([&] { object->Release(); }, cause)) Tell(cause);
#pragma once

#include <exception>
#include <memory>
#include <type_traits>

namespace KZPlatform {

/// The same as `CallContained` below, for a plain function.
bool CallContained(void (*call)(void * argument), void * argument, std::exception_ptr & cause) noexcept;

/// Calls `call`; true when it came back.
///
/// Otherwise `cause` is the exception that ended it, null if there was none. That includes what would end the process by
/// std::terminate on this thread, as an exception or a fault in a destructor does. Such a call is abandoned where it stands:
/// nothing is cleaned up, what it holds stays held, and its objects must not be used again. So this is for letting go of
/// foreign objects, where the other choice is the end of the process.
///
/// Thread safety: callable from any thread. The first call makes the process's terminate handler one that hands on to the
/// former one outside of such calls; where the program sets another one later, a call that terminates ends the process.
template <class Call>
bool CallContained(Call && call, std::exception_ptr & cause) noexcept {
    using Function = std::remove_reference_t<Call>;
    return CallContained([](void * function) { (*static_cast<Function *>(function))(); },
                         const_cast<std::remove_const_t<Function> *>(std::addressof(call)), cause);
}

} // namespace KZPlatform
