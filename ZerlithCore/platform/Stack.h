/// @file
/// Call stacks: first the bare addresses, where it happened; names later, where there is time.
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

/// Stores the addresses of the active calls, innermost first, and returns how many.
///
/// Each address lies inside the instruction that makes the call (or, first, that was interrupted), so that looking it
/// up gives the right function and line. The walk ends at the first frame that makes no sense; on a thread that
/// translates faults (Faults.h) it survives a stack that was overwritten.
///
/// Thread safety: callable from any thread, and from a signal handler once it has been called outside of one.
std::size_t CaptureStack(std::span<void *> addresses, StackOrigin origin = StackOrigin::Caller) noexcept;

/// What is known about an address; what isn't known is empty.
struct FrameName {
    std::string function;          ///< demangled
    std::uintptr_t functionOffset; ///< in bytes from the function's start
    std::string module;            ///< file name without folder
    std::uintptr_t
        moduleOffset; ///< the address in the module's file, as tools that print source lines want it
};

/// Names for all of `addresses`, in their order. Functions that a module doesn't export are found in its file, as long as
/// that isn't stripped.
///
/// Not for signal handlers: reads files and allocates.
[[nodiscard]] std::vector<FrameName> NameAddresses(std::span<void * const> addresses);

} // namespace KZPlatform
