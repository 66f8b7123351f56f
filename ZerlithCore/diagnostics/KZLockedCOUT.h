/// @file
/// The console, one writer at a time.
///
///     {
///         KZLockedCOUT console;
///         console.GetCout(1) << name << L": done" << std::endl;
///     }
#pragma once

#include "ZerlithCore/KZExport.h"

#include <iosfwd>

/// Holds the process-wide lock of the console for the length of a scope.
///
/// The lock is recursive: a function that writes under the lock may call another that does.
///
/// Thread safety: every thread makes an object of its own.
class KZ_EXPORT KZLockedCOUT {
public:
    /// Gives the stream for a level.
    using StreamSource = std::wostream & (*)(unsigned int level);

    KZLockedCOUT() noexcept;
    ~KZLockedCOUT();
    KZLockedCOUT(KZLockedCOUT const &) = delete;
    KZLockedCOUT & operator=(KZLockedCOUT const &) = delete;

    /// True when the calling thread holds the lock: it must then not wait for a thread that may want it. Never waits.
    [[nodiscard]] static bool IsHeldByCaller() noexcept;

    /// The application's console stream at `level`; without an application, the console itself at any level. Valid as
    /// long as the lock is held. It is good even if it went bad before: what one writer put in, or a disk that was full
    /// for a while, mustn't silence the console for ever.
    [[nodiscard]] static std::wostream & GetCout(unsigned int level);

    /// Makes `source` the place where `GetCout` gets its streams; null for the console. Called once by the first
    /// application, which knows what the rooms below can't. Thread safety: callable from any thread.
    static void SetStreamSource(StreamSource source) noexcept;
};
