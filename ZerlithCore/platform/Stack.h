/// @file
/// Call stacks, in two steps: capturing collects bare addresses quickly, even in a signal handler; naming them comes
/// later, when there is time.
///
///     void * addresses[64];
///     std::size_t const count = CaptureStack(addresses);
///     for (FrameName const & frame : NameAddresses({addresses, count})) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace KZPlatform {

/// Whose stack `CaptureStack` walks.
enum class StackOrigin : unsigned char {
    Caller,     ///< the function that calls `CaptureStack`, and its callers
    Interrupted ///< what the innermost signal handler on this thread has interrupted; for use in such a handler
};

/// Stores the addresses of the active calls, innermost first, and returns how many there are.
///
/// Each address lies inside the instruction that makes the call (the first one, in a signal handler, inside the
/// interrupted instruction), so that looking it up gives the right function and line. The walk ends at the first
/// frame that isn't valid. On a thread that translates faults (Faults.h) it returns even if the stack was
/// overwritten. After the first call of the process it allocates nothing.
///
/// Thread safety: callable from any thread. Also callable from a signal handler, once it has been called outside of
/// one.
std::size_t CaptureStack(std::span<void *> addresses, StackOrigin origin = StackOrigin::Caller) noexcept;

/// What is known about an address; the rest is empty.
struct FrameName {
    std::string function;          ///< demangled
    std::uintptr_t functionOffset; ///< in bytes from the function's start
    std::string module;            ///< the file's name without its folder
    std::uintptr_t
        moduleOffset; ///< the address as counted in the module's file, which tools that print source lines need
};

/// Returns a name for each of `addresses`, in their order. Functions that a module doesn't export are found in its
/// file, unless that is stripped.
///
/// Not for signal handlers: it reads files and allocates memory.
[[nodiscard]] std::vector<FrameName> NameAddresses(std::span<void * const> addresses);

} // namespace KZPlatform
