/// @file
/// The console, one writer at a time.
///
///     {
///         KZLockedCOUT console;
///         console.GetCout(1) << name << L": done" << std::endl;
///     }
#pragma once

#include "ZerlithCore/platform/Export.h"

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

    /// The application's console stream at `level`; without an application, the console itself at any level. Valid as
    /// long as the lock is held.
    [[nodiscard]] static std::wostream & GetCout(unsigned int level);

    /// Makes `source` the place where `GetCout` gets its streams; null for the console. Called once by the first
    /// application, which knows what the rooms below can't. Thread safety: callable from any thread.
    static void SetStreamSource(StreamSource source) noexcept;
};
