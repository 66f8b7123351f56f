// <fenv.h> has no name for the denormal exception and no cheap way to change only the masks. So on x86-64 the two
// control words are set directly: that of the old floating-point unit (x87) and that of the vector unit. Both mask
// the same six exceptions, one in the bits from 0 on, the other in the bits from 7 on.
#include "ZerlithCore/platform/FloatingPoint.h"

#if defined(__x86_64__)
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

namespace KZPlatform {

#if defined(__x86_64__)

namespace {

constexpr std::uint32_t inexact = 0x20;
constexpr std::uint32_t allExceptions = 0x3F;
constexpr unsigned int vectorMaskShift = 7;
// Setting the masks takes much longer than reading them, and on most threads all exceptions are masked already.
constexpr std::uint32_t allQuiet = allExceptions | allExceptions << 8;

std::uint16_t OldControl() noexcept {
    std::uint16_t word;
    __asm__ volatile("fnstcw %0" : "=m"(word));
    return word;
}

/// Masks exactly these exceptions, and clears those that were recorded while masked: they would fault as soon as they
/// are unmasked.
void SetMasks(std::uint32_t oldMasked, std::uint32_t vectorMasked) noexcept {
    auto const word = static_cast<std::uint16_t>((OldControl() & ~allExceptions) | oldMasked);
    __asm__ volatile("fnclex\n\tfldcw %0" : : "m"(word));
    std::uint32_t const kept = _mm_getcsr() & ~(allExceptions | allExceptions << vectorMaskShift);
    _mm_setcsr(kept | vectorMasked << vectorMaskShift);
}

} // namespace

void RaiseFloatingPointFaults() noexcept { SetMasks(inexact, inexact); }

QuietFloatingPoint::QuietFloatingPoint() noexcept
    : state_((OldControl() & allExceptions) | (_mm_getcsr() >> vectorMaskShift & allExceptions) << 8) {
    if (state_ != allQuiet) SetMasks(allExceptions, allExceptions);
}

QuietFloatingPoint::~QuietFloatingPoint() {
    if (state_ != allQuiet) SetMasks(state_ & allExceptions, state_ >> 8);
}

#else

void RaiseFloatingPointFaults() noexcept {
    std::feclearexcept(FE_ALL_EXCEPT);
    feenableexcept(FE_INVALID | FE_DIVBYZERO | FE_OVERFLOW | FE_UNDERFLOW);
}

QuietFloatingPoint::QuietFloatingPoint() noexcept
    : state_(static_cast<std::uint32_t>(fedisableexcept(FE_ALL_EXCEPT))) {}

QuietFloatingPoint::~QuietFloatingPoint() {
    std::feclearexcept(FE_ALL_EXCEPT);
    feenableexcept(static_cast<int>(state_));
}

#endif

} // namespace KZPlatform
