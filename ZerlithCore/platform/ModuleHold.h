/// @file
/// Keeps a module (a loaded library) in memory for those who use code or data in it.
///
///     KZPlatform::ModuleHold const hold(text);    // the module that contains `text` stays while `hold` exists
#pragma once

#include "ZerlithCore/KZExport.h"

#include <utility>

namespace KZPlatform {

struct HeldModule;

/// A counted hold on a module. The module stays in memory until it has been freed as often as it was loaded and the
/// last hold on it is gone. Copying a hold adds another one. The loader counts all holds of one module as a single
/// load.
///
/// Dropping the last hold doesn't unload the module, because the code that drops it may be in that module. The next
/// call of `LoadModule` or `FreeModule` unloads it.
///
/// Thread safety: distinct objects may be used on several threads.
class KZ_EXPORT ModuleHold {
public:
    /// Holds nothing.
    ModuleHold() noexcept = default;
    /// Holds the module in which `address`, of code or data, lies. Holds nothing when no module contains the address,
    /// when that is the program or this library, which nobody unloads, and when there is no memory for the count.
    explicit ModuleHold(void const * address) noexcept;
    ModuleHold(ModuleHold const & other) noexcept;
    ModuleHold(ModuleHold && other) noexcept : module_(std::exchange(other.module_, nullptr)) {}
    ModuleHold & operator=(ModuleHold other) noexcept {
        std::swap(module_, other.module_);
        return *this;
    }
    ~ModuleHold();

    /// Holds `module`, a handle of `LoadModule` or `ModuleOfMessages`; nothing for null.
    [[nodiscard]] static ModuleHold OfHandle(void * module) noexcept;

    /// Keeps the module in memory for the rest of the process.
    void Keep() noexcept { module_ = nullptr; }

private:
    HeldModule * module_ = nullptr;
};

} // namespace KZPlatform
