/// @file
/// The call stack at the place where an exception is made or where the processor reported a fault.
///
///     KZStackDump dump;
///     std::cerr << dump.GetStackText();
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstdint>
#include <span>
#include <string>

namespace KZPlatform {
struct Fault;
}

/// The call stack of the calling thread, with functions, modules and offsets, and the facts about a fault.
///
/// The process has one dump at a time: an object holds a lock from its construction to `Release` or its destruction, and other
/// threads that make a dump wait. So the holder must not wait for another lock meanwhile.
///
/// Errors: a text for which there is no memory is empty, so that the exception or fault itself can still be reported.
///
/// Thread safety: an object belongs to the thread that makes it.
class KZ_EXPORT KZStackDump {
public:
    /// The stack of the caller.
    KZStackDump();
    /// The stack at a fault; `fault` holds its raw addresses.
    explicit KZStackDump(KZPlatform::Fault const & fault);
    ~KZStackDump();
    KZStackDump(KZStackDump const &) = delete;
    KZStackDump & operator=(KZStackDump const &) = delete;

    /// Releases the lock, so that other threads can make dumps. The texts of this dump stay.
    void Release() noexcept;

    /// The fault in one line of UTF-8; empty for a dump without a fault.
    [[nodiscard]] std::string const & GetExceptionText() const noexcept { return exceptionText_; }
    /// The stack as UTF-8, one line for each call, the innermost first.
    [[nodiscard]] std::string const & GetStackText() const noexcept { return stackText_; }
    /// The complete report as UTF-8. Errors: std::bad_alloc.
    [[nodiscard]] std::string GetReport() const;
    /// The number of the fault; 0 without one.
    [[nodiscard]] std::uint32_t GetCode() const noexcept { return code_; }

    /// True after `SetReported`, which is called when the report of this fault has been written.
    [[nodiscard]] bool IsReported() const noexcept { return isReported_; }
    void SetReported() noexcept { isReported_ = true; }

    /// The stack with these raw addresses, as a text like that of `GetStackText`. Errors: std::bad_alloc.
    [[nodiscard]] static std::string Describe(std::span<void * const> addresses);

private:
    explicit KZStackDump(std::uint32_t code) noexcept;

    std::string exceptionText_;
    std::string stackText_;
    std::uint32_t code_ = 0;
    bool isReported_ = false;
    bool isLocked_ = true;
};
