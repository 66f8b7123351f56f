// <fenv.h> knows neither the denormal exception nor a cheap way to keep only the masks, so the two control words of
// x86-64 are set directly. They mask the same six exceptions, at bit 7 of the one and bit 0 of the other.
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
// Setting the masks is much dearer than reading them, and most threads have none off.
constexpr std::uint32_t allQuiet = allExceptions | allExceptions << 8;

std::uint16_t OldControl() noexcept {
    std::uint16_t word;
    __asm__ volatile("fnstcw %0" : "=m"(word));
    return word;
}

/// Masks exactly `masked`, and forgets the exceptions of the past, which would fault as soon as they are unmasked.
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
