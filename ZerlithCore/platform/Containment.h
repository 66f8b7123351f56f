/// @file
/// Calls foreign code in such a way that even a throwing destructor in it doesn't end the process.
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

/// Calls `call`; true when it returned.
///
/// False when an exception ended it, which is then in `cause`. Also false when the call would have ended the process
/// by std::terminate on this thread, as an exception or a fault in a destructor does; `cause` is then null if there
/// was no exception. A call of this second kind is abandoned at the place it has reached: nothing is cleaned up, the
/// locks it holds stay locked, and its objects must not be used again. So this function is for letting go of foreign
/// objects, where the only other outcome is the end of the process.
///
/// Thread safety: callable from any thread. The first call installs a terminate handler for the process; outside of
/// contained calls that handler calls the one that was there before. If the program sets another handler later, a
/// contained call that terminates ends the process.
template <class Call>
bool CallContained(Call && call, std::exception_ptr & cause) noexcept {
    using Function = std::remove_reference_t<Call>;
    return CallContained([](void * function) { (*static_cast<Function *>(function))(); },
                         const_cast<std::remove_const_t<Function> *>(std::addressof(call)), cause);
}

} // namespace KZPlatform
