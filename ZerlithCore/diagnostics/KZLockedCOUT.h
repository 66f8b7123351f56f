/// @file
/// The console, for one writer at a time.
///
///     {
///         KZLockedCOUT console;
///         console.GetCout(1) << KZString(u"backup") << L": done" << std::endl;
///     }
#pragma once

#include "ZerlithCore/KZExport.h"

#include <iosfwd>

/// Holds the lock of the console, of which the process has one, until the end of the scope. No operation can fail.
///
/// The lock is recursive: a function that holds it may call another that takes it, too.
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

    /// True when the calling thread holds the lock. It must then not wait for another thread that may take the lock. This
    /// question never waits.
    [[nodiscard]] static bool IsHeldByCaller() noexcept;

    /// The application's console stream at `level`; without an application the console itself, at any level. Use it only while
    /// the lock is held. If the stream has gone bad, it is made good again, so that one failed write, on a full disk for
    /// example, doesn't suppress all later output.
    [[nodiscard]] static std::wostream & GetCout(unsigned int level);

    /// Makes `GetCout` get its streams from `source`; with null, from the console. The first application calls it, because this
    /// class must not depend on applications. Thread safety: callable from any thread.
    static void SetStreamSource(StreamSource source) noexcept;
};
