// Captures the call stack and writes it, with names, as text.
#include "ZerlithCore/diagnostics/KZStackDump.h"

#include "ZerlithCore/diagnostics/KZDebug.h"
#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/Faults.h"
#include "ZerlithCore/platform/RecursiveLock.h"
#include "ZerlithCore/platform/Stack.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>
#include <new>
#include <utility>

namespace {

constinit KZPlatform::RecursiveLock dumpLock;

constexpr std::size_t maxFrames = 128;

struct FaultName {
    std::uint32_t code;
    char const * name;
};
namespace Code = KZPlatform::FaultCode;
constexpr FaultName faultNames[] = {
    {Code::Misalignment, "Datatype misalignment"},
    {Code::AccessViolation, "Access violation"},
    {Code::IllegalInstruction, "Illegal instruction"},
    {Code::ArrayBounds, "Array bounds exceeded"},
    {Code::FloatDenormal, "Floating-point denormal operand"},
    {Code::FloatDivideByZero, "Floating-point division by zero"},
    {Code::FloatInexact, "Floating-point inexact result"},
    {Code::FloatInvalid, "Floating-point invalid operation"},
    {Code::FloatOverflow, "Floating-point overflow"},
    {Code::FloatStackCheck, "Floating-point stack check"},
    {Code::FloatUnderflow, "Floating-point underflow"},
    {Code::IntegerDivideByZero, "Integer division by zero"},
    {Code::IntegerOverflow, "Integer overflow"},
    {Code::PrivilegedInstruction, "Privileged instruction"},
    {Code::StackOverflow, "Stack overflow"},
};

char const * AccessName(KZPlatform::FaultAccess access) {
    switch (access) {
    case KZPlatform::FaultAccess::Read: return " reading ";
    case KZPlatform::FaultAccess::Write: return " writing ";
    case KZPlatform::FaultAccess::Execute: return " executing ";
    case KZPlatform::FaultAccess::None: break;
    }
    return nullptr;
}

std::string Hex(std::uintptr_t number) {
    std::array<char, 24> text{};
    std::snprintf(text.data(), text.size(), "0x%" PRIxPTR, number);
    return text.data();
}

std::string Hex(void const * address) { return Hex(reinterpret_cast<std::uintptr_t>(address)); }

std::string DescribeFault(KZPlatform::Fault const & fault) {
    auto const known = std::ranges::find(faultNames, fault.code, &FaultName::code);
    std::string text = known == std::end(faultNames) ? "Fault" : known->name;
    text += " (" + Hex(std::uintptr_t{fault.code}) + ") at " + Hex(fault.instruction);
    if (char const * const access = AccessName(fault.access)) text += access + Hex(fault.address);
    return text;
}

KZString FromUtf8(std::string const & text) {
    return KZString(std::u16string_view(KZEncoding::Utf8ToUnits(text, KZEncoding::Utf8Mode::Replace)));
}

template <class Action>
void IfMemoryAllows(Action action) {
    try {
        action();
    } catch (std::bad_alloc const &) {
        // The text stays empty.
    }
}

} // namespace

// The other constructors delegate to this one, so that the destructor unlocks even if they throw.
KZStackDump::KZStackDump(std::uint32_t code) noexcept : code_(code) { dumpLock.Lock(); }

KZStackDump::KZStackDump() : KZStackDump(0) {
    std::array<void *, maxFrames> addresses;
    std::size_t const count = KZPlatform::CaptureStack(addresses);
    IfMemoryAllows([&] { stackText_ = Describe({addresses.data(), count}); });
}

KZStackDump::KZStackDump(KZPlatform::Fault const & fault) : KZStackDump(fault.code) {
    IfMemoryAllows([&] { exceptionText_ = DescribeFault(fault); });
    IfMemoryAllows([&] { stackText_ = Describe(fault.stack); });
}

KZStackDump::~KZStackDump() { Release(); }

void KZStackDump::Release() noexcept {
    if (std::exchange(isLocked_, false)) dumpLock.Unlock();
}

std::string KZStackDump::GetReport() const {
    KZString const report = KZDebug::ComposeReport(FromUtf8(exceptionText_), FromUtf8(stackText_));
    return KZEncoding::UnitsToUtf8(std::u16string_view(report), KZEncoding::Utf8Mode::Replace);
}

std::string KZStackDump::Describe(std::span<void * const> addresses) {
    std::string text;
    std::size_t index = 0;
    for (KZPlatform::FrameName const & frame : KZPlatform::NameAddresses(addresses)) {
        text += "  " + Hex(addresses[index++]);
        text += ' ' + (frame.function.empty() ? std::string("?")
                                              : frame.function + '+' + Hex(frame.functionOffset));
        if (!frame.module.empty()) text += " [" + frame.module + '+' + Hex(frame.moduleOffset) + ']';
        text += '\n';
    }
    return text;
}
