/// @file
/// Which floating-point results are faults on the calling thread.
#pragma once

#include "ZerlithCore/KZExport.h"

#include <cstdint>

namespace KZPlatform {

/// Makes invalid operation, denormal operand, division by zero, overflow and underflow raise faults on this thread;
/// an inexact result stays none. Does nothing where the processor can't raise them. Threads started later by this one
/// inherit it.
void RaiseFloatingPointFaults() noexcept;

/// No floating-point result is a fault while this object lives: for calls of the C runtime that overflow on purpose, as
/// reading "1e999" does.
///
/// Thread safety: is about the thread that makes it, and ends there.
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
