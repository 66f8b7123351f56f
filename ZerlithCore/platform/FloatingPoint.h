/// @file
/// Sets which floating-point results are faults on the calling thread.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstdint>

namespace KZPlatform {

/// Makes an invalid operation, a denormal operand, a division by zero, an overflow and an underflow raise a fault on
/// this thread; an inexact result raises none. Threads that this one starts later inherit the setting. Does nothing
/// where the processor can't raise such faults.
void RaiseFloatingPointFaults() noexcept;

/// While an object of this class lives, no floating-point result is a fault. It is for calls of the C runtime that
/// overflow on purpose, as reading "1e999" does.
///
/// Thread safety: affects only the thread that makes it, and must be destroyed there.
class KZ_EXPORT QuietFloatingPoint {
public:
    QuietFloatingPoint() noexcept;
    ~QuietFloatingPoint();
    QuietFloatingPoint(QuietFloatingPoint const &) = delete;
    QuietFloatingPoint & operator=(QuietFloatingPoint const &) = delete;

private:
    std::uint32_t state_;
};

} // namespace KZPlatform
