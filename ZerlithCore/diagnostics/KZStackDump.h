/// @file
/// A picture of the place where an exception is made, or where the processor gave up.
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

/// The call stack of the calling thread, with functions, modules and offsets, and what is known about a fault.
///
/// There is one dump at a time in the process: an object holds a lock from its construction to `Release` or its end, so
/// two threads that raise at once wait for each other. Nothing that may wait for another lock belongs in between.
///
/// Texts for which there is no memory are empty: a fault stays the fault that it is.
class KZ_EXPORT KZStackDump {
public:
    /// The stack of the caller.
    KZStackDump();
    /// The stack at a fault, of which `fault` has the raw addresses.
    explicit KZStackDump(KZPlatform::Fault const & fault);
    ~KZStackDump();
    KZStackDump(KZStackDump const &) = delete;
    KZStackDump & operator=(KZStackDump const &) = delete;

    /// Lets the next thread take its dump. The texts of this one stay.
    void Release() noexcept;

    /// What happened, in a line, as UTF-8; empty for a dump without a fault.
    [[nodiscard]] std::string const & GetExceptionText() const noexcept { return exceptionText_; }
    /// The stack as UTF-8, innermost call first, a line each.
    [[nodiscard]] std::string const & GetStackText() const noexcept { return stackText_; }
    /// The complete report as UTF-8.
    [[nodiscard]] std::string GetReport() const;
    /// The number of the fault; 0 without one.
    [[nodiscard]] std::uint32_t GetCode() const noexcept { return code_; }

    /// True once somebody has written the report of this fault.
    [[nodiscard]] bool IsReported() const noexcept { return isReported_; }
    void SetReported() noexcept { isReported_ = true; }

    /// A stack, given by raw addresses, as the text that `GetStackText` tells.
    [[nodiscard]] static std::string Describe(std::span<void * const> addresses);

private:
    explicit KZStackDump(std::uint32_t code) noexcept;

    std::string exceptionText_;
    std::string stackText_;
    std::uint32_t code_ = 0;
    bool isReported_ = false;
    bool isLocked_ = true;
};
