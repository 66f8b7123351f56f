// Modules through the system's dynamic loader. Two of its habits are hidden from callers. dlsym also searches the
// libraries that a library depends on, so a result is accepted only if it lies in the library itself. dlerror gives a
// text without a number, so that text becomes the last error where the file gives no better reason.
//
// A module that is held (ModuleHold.h) has one more load of the loader's, however many holds there are. The last hold
// doesn't undo that load. The next call of `LoadModule` or `FreeModule` does, since these call the loader anyway. The
// lock of the list of held modules is never held while the loader is called: the loader runs static constructors of
// modules under a lock of its own, and these constructors may need a hold.
#include "ZerlithCore/platform/Modules.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/ModuleHold.h"
#include "ZerlithCore/platform/ModuleMessages.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <mutex>
#include <new>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace KZPlatform {

struct HeldModule {
    link_map const * record;
    void * load; // the handle of the load that keeps the module
    unsigned int holders;
    HeldModule * next;
};

namespace {

namespace fs = std::filesystem;

// A relative path with directories is made absolute, so that the library's path stays right after the working
// directory has changed.
std::string LoaderPath(std::u16string_view path) {
    std::string const bytes = KZEncoding::UnitsToUtf8(path, KZEncoding::Utf8Mode::Escape);
    if (bytes.find('/') == std::string::npos || bytes.front() == '/') return bytes;
    std::error_code error;
    fs::path const absolute = fs::absolute(bytes, error);
    return error ? bytes : absolute.lexically_normal().string();
}

void SetLoaderError(std::string const & path) {
    char const * const words = dlerror();
    struct stat status {};
    if (path.find('/') != std::string::npos && stat(path.c_str(), &status) != 0)
        SetLastErrorNumber(errno);
    else if (S_ISDIR(status.st_mode))
        SetLastErrorNumber(EISDIR);
    else
        SetLastErrorText(KZEncoding::Utf8ToUnits(words ? words : "The library can't be loaded.",
                                                 KZEncoding::Utf8Mode::Replace));
}

constinit std::mutex heldLock;
constinit HeldModule * heldModules = nullptr;

// Requires: the caller holds `heldLock`.
HeldModule * FindHeld(link_map const * record) noexcept {
    HeldModule * held = heldModules;
    while (held && held->record != record) held = held->next;
    return held;
}

// Adds a holder if the module is held already; null otherwise.
HeldModule * Join(link_map const * record) noexcept {
    std::lock_guard const guard(heldLock);
    HeldModule * const held = FindHeld(record);
    if (held) ++held->holders;
    return held;
}

HeldModule * Hold(link_map const * record) noexcept {
    if (HeldModule * const held = Join(record)) return held;
    void * const load = dlopen(record->l_name, RTLD_LAZY | RTLD_NOLOAD);
    HeldModule * const made = load ? new (std::nothrow) HeldModule{record, load, 1, nullptr} : nullptr;
    if (made) {
        std::lock_guard const guard(heldLock);
        if (!FindHeld(record)) {
            made->next = heldModules;
            return heldModules = made;
        }
    }
    // There is no memory, or another thread has added the module meanwhile.
    delete made;
    if (load) dlclose(load);
    return made ? Join(record) : nullptr;
}

// Undoes the loads of modules that nobody holds any more.
void DropUnheld() noexcept {
    HeldModule * unheld = nullptr;
    {
        std::lock_guard const guard(heldLock);
        for (HeldModule ** link = &heldModules; HeldModule * const held = *link;) {
            if (held->holders != 0) {
                link = &held->next;
                continue;
            }
            *link = held->next;
            held->next = unheld;
            unheld = held;
        }
    }
    while (unheld) {
        HeldModule * const dropped = std::exchange(unheld, unheld->next);
        dlclose(dropped->load);
        delete dropped;
    }
}

// True for a handle of the loader; false for null and for a handle of ModuleOfMessages, which the loader doesn't
// know.
bool IsHandle(void * module) noexcept {
    return module && (reinterpret_cast<std::uintptr_t>(module) & 1U) == 0;
}

link_map const * RecordOf(void * module) noexcept {
    link_map * record = nullptr;
    return dlinfo(module, RTLD_DI_LINKMAP, &record) == 0 ? record : nullptr;
}

// The loader's record of the module in which `address` lies. `_dl_find_object`, where the system has it, doesn't
// search for a symbol too; that search takes a thousand times as long in a large library.
link_map const * RecordOfAddress(void const * address) noexcept {
#if defined(DLFO_STRUCT_HAS_EH_DBASE)
    dl_find_object found{};
    return _dl_find_object(const_cast<void *>(address), &found) == 0 ? found.dlfo_link_map : nullptr;
#else
    Dl_info info{};
    void * record = nullptr;
    return dladdr1(address, &info, &record, RTLD_DL_LINKMAP) != 0 ? static_cast<link_map *>(record) : nullptr;
#endif
}

// The loader's name of a library, made absolute. A library that was found through a relative folder has a relative name,
// which leads elsewhere once the working directory has changed; its folder is known by the full path.
std::string FullPath(char const * name) {
    if (*name == '/') return name;
    void * const module = dlopen(name, RTLD_LAZY | RTLD_NOLOAD);
    std::array<char, PATH_MAX> folder{};
    bool const isKnown = module && dlinfo(module, RTLD_DI_ORIGIN, folder.data()) == 0;
    if (module) dlclose(module);
    return isKnown ? (folder.data() / fs::path(name).filename()).lexically_normal().string() : name;
}

} // namespace

void * LoadModule(std::u16string_view path) {
    DropUnheld();
    std::string const file = LoaderPath(path);
    // For the loader an empty name is the program itself.
    if (file.empty() || file.find('\0') != std::string::npos) {
        SetLastErrorNumber(ENOENT);
        return nullptr;
    }
    void * const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) SetLoaderError(file);
    return module;
}

bool FreeModule(void * module) {
    DropUnheld();
    if (IsHandle(module) && dlclose(module) == 0) return true;
    SetLastErrorNumber(EINVAL);
    return false;
}

void * FindSymbol(void * module, char const * name) {
    void * const address = IsHandle(module) ? dlsym(module, name) : nullptr;
    if (address && RecordOfAddress(address) == RecordOf(module)) return address;
    SetLastErrorNumber(ENOENT);
    return nullptr;
}

bool IsModuleLoaded(std::u16string_view path) {
    std::string const file = LoaderPath(path);
    void * const module = file.empty() ? nullptr : dlopen(file.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (module) dlclose(module);
    return module != nullptr;
}

std::u16string GetExecutablePath() {
    std::error_code error;
    fs::path const path = fs::read_symlink("/proc/self/exe", error);
    if (error) SetLastErrorNumber(error.value());
    return KZEncoding::Utf8ToUnits(path.native(), KZEncoding::Utf8Mode::Escape);
}

std::u16string GetModulePath(void const * address) {
    link_map const * const record = RecordOfAddress(address);
    if (!record) return {};
    // The program's own record has no name.
    if (!record->l_name || !*record->l_name) return GetExecutablePath();
    return KZEncoding::Utf8ToUnits(FullPath(record->l_name), KZEncoding::Utf8Mode::Escape);
}

bool IsInModule(void * module, void const * address) noexcept {
    link_map const * const record = address && IsHandle(module) ? RecordOfAddress(address) : nullptr;
    return record && record == RecordOf(module);
}

// --- Holds

ModuleHold::ModuleHold(void const * address) noexcept {
    static link_map const * const own = RecordOfAddress(&heldModules);
    link_map const * const record = address ? RecordOfAddress(address) : nullptr;
    bool const canLeave = record && record != own && record->l_name && *record->l_name;
    if (canLeave) module_ = Hold(record);
}

ModuleHold::ModuleHold(ModuleHold const & other) noexcept : module_(other.module_) {
    if (!module_) return;
    std::lock_guard const guard(heldLock);
    ++module_->holders;
}

ModuleHold::~ModuleHold() {
    if (!module_) return;
    std::lock_guard const guard(heldLock);
    --module_->holders;
}

ModuleHold ModuleHold::OfHandle(void * module) noexcept {
    KZModuleMessageTable const * const table =
        module && !IsHandle(module) ? MessagesOfModule(module) : nullptr;
    if (table) return ModuleHold(table);
    link_map const * const record = module ? RecordOf(module) : nullptr;
    return record ? ModuleHold(record->l_ld) : ModuleHold();
}

} // namespace KZPlatform
