/// @file
/// Keeps a module in memory for those who use what lies in it.
///
///     KZPlatform::ModuleHold const hold(text);    // the module that carries `text` stays as long as `hold` is there
#pragma once

#include "ZerlithCore/KZExport.h"

#include <utility>

namespace KZPlatform {

struct HeldModule;

/// A counted hold on a module: the module stays in memory until everybody who loaded it and everybody who holds it has let
/// go. Copies hold it once more.
///
/// The last hold doesn't unload the module itself, since whoever drops it may be code of that module. The next call of
/// `LoadModule` or `FreeModule` does.
///
/// Thread safety: distinct objects may be used on several threads.
class KZ_EXPORT ModuleHold {
public:
    /// Holds nothing.
    ModuleHold() noexcept = default;
    /// Holds the module in which `address` lies, code or data. Nothing is held when no module has it, when it is the
    /// program's or this library's own, which nobody unloads, and when there is no memory for the count.
    explicit ModuleHold(void const * address) noexcept;
    ModuleHold(ModuleHold const & other) noexcept;
    ModuleHold(ModuleHold && other) noexcept : module_(std::exchange(other.module_, nullptr)) {}
    ModuleHold & operator=(ModuleHold other) noexcept {
        std::swap(module_, other.module_);
        return *this;
    }
    ~ModuleHold();

    /// Holds `module`, a handle of the loader or of `ModuleOfMessages`; nothing for null.
    [[nodiscard]] static ModuleHold OfHandle(void * module) noexcept;

    /// Lets the module stay in memory for the rest of the process.
    void Keep() noexcept { module_ = nullptr; }

private:
    HeldModule * module_ = nullptr;
};

} // namespace KZPlatform
