// The dynamic loader of the system. Two habits of it are kept from the callers: dlsym also looks into the libraries
// that a library depends on, so what it finds counts only in the library itself; and dlerror has no number, so its
// words become a last error of their own where the file gives no better reason.
#include "ZerlithCore/platform/Modules.h"

#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Utf8.h"

#include <cerrno>
#include <cstdint>
#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <sys/stat.h>
#include <system_error>

namespace KZPlatform {

namespace {

namespace fs = std::filesystem;

// Where a path has directories it is made absolute, so that the library knows its place after the working directory
// has changed.
std::string LoaderPath(std::u16string_view path) {
    std::string const bytes = UnitsToUtf8(path, Utf8Mode::Escape);
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
        SetLastErrorText(Utf8ToUnits(words ? words : "The library can't be loaded.", Utf8Mode::Replace));
}

// Tells a real handle from one of ModuleOfMessages and from null, which mean something else to the loader.
bool IsHandle(void * module) noexcept {
    return module && (reinterpret_cast<std::uintptr_t>(module) & 1U) == 0;
}

link_map const * RecordOf(void * module) noexcept {
    link_map * record = nullptr;
    return dlinfo(module, RTLD_DI_LINKMAP, &record) == 0 ? record : nullptr;
}

link_map const * RecordOfAddress(void const * address) noexcept {
    Dl_info info{};
    void * record = nullptr;
    return dladdr1(address, &info, &record, RTLD_DL_LINKMAP) != 0 ? static_cast<link_map *>(record) : nullptr;
}

} // namespace

void * LoadModule(std::u16string_view path) {
    std::string const file = LoaderPath(path);
    // An empty name would give the program itself.
    if (file.empty() || file.find('\0') != std::string::npos) {
        SetLastErrorNumber(ENOENT);
        return nullptr;
    }
    void * const module = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) SetLoaderError(file);
    return module;
}

bool FreeModule(void * module) {
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
    return Utf8ToUnits(path.native(), Utf8Mode::Escape);
}

std::u16string GetModulePath(void const * address) {
    link_map const * const record = RecordOfAddress(address);
    if (!record) return {};
    // The program's own record has no name.
    return record->l_name && *record->l_name ? Utf8ToUnits(record->l_name, Utf8Mode::Escape)
                                             : GetExecutablePath();
}

} // namespace KZPlatform
