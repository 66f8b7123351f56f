// Walks the stack with the C++ runtime's unwinder, so it sees exactly the frames that an exception would. The
// unwinder uses tables that every function on x86-64 and aarch64 has; it needs no frame pointers.
#include "ZerlithCore/platform/Stack.h"

#include "ZerlithCore/platform/posix/StackProbe.h"
#include "ZerlithCore/platform/posix/SymbolFile.h"

#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <link.h>
#include <map>
#include <memory>
#include <string_view>
#include <unistd.h>
#include <unwind.h>

namespace KZPlatform {

thread_local constinit sigjmp_buf * stackProbe = nullptr;

namespace {

struct Walk {
    std::span<void *> addresses;
    bool awaitsInterrupted; // skip frames until the one that a signal interrupted
    unsigned int toSkip;    // the number of frames of the walk itself
    std::size_t count = 0;
};

bool IsPassedOver(Walk & walk, bool isInterrupted) {
    if (walk.awaitsInterrupted) {
        walk.awaitsInterrupted = !isInterrupted;
        return !isInterrupted;
    }
    return walk.toSkip != 0 && walk.toSkip-- != 0;
}

_Unwind_Reason_Code NoteFrame(_Unwind_Context * context, void * argument) {
    Walk & walk = *static_cast<Walk *>(argument);
    int isInterrupted = 0; // true: the address is that of an instruction; false: it is the one after a call
    std::uintptr_t const address = _Unwind_GetIPInfo(context, &isInterrupted);
    if (IsPassedOver(walk, isInterrupted != 0)) return _URC_NO_REASON;
    if (address == 0 || walk.count == walk.addresses.size()) return _URC_END_OF_STACK;
    walk.addresses[walk.count++] = reinterpret_cast<void *>(isInterrupted ? address : address - 1);
    return _URC_NO_REASON;
}

/// Walks the stack; a fault during the walk ends it (StackProbe.h). This is a function of its own because local
/// variables that change between the two returns of `sigsetjmp` would lose their values. What changes here is in the
/// caller's memory.
__attribute__((noinline)) void WalkGuarded(Walk & walk) noexcept {
    sigjmp_buf wayBack;
    sigjmp_buf * const outer = stackProbe;
    if (sigsetjmp(wayBack, 0) == 0) {
        stackProbe = &wayBack;
        _Unwind_Backtrace(&NoteFrame, &walk);
    }
    stackProbe = outer;
}

std::string Demangle(char const * name) {
    int status = 0;
    std::unique_ptr<char, decltype(&std::free)> const readable(
        abi::__cxa_demangle(name, nullptr, nullptr, &status), &std::free);
    return readable ? readable.get() : name;
}

std::string_view WithoutFolder(std::string_view path) { return path.substr(path.rfind('/') + 1); }

constexpr char const * ownProgram = "/proc/self/exe"; // the loader has no path for the main program

std::string ModuleName(link_map const & map) {
    if (map.l_name[0] != '\0') return std::string(WithoutFolder(map.l_name));
    char path[4096];
    ssize_t const length = readlink(ownProgram, path, sizeof path);
    return std::string(WithoutFolder({path, length > 0 ? static_cast<std::size_t>(length) : 0}));
}

/// Addresses whose functions can only be found in the files of their modules, by the path of the file.
using Unresolved = std::map<std::string, std::vector<SymbolQuery>>;

FrameName NameByLoader(void * address, std::size_t index, Unresolved & unresolved) {
    FrameName frame{};
    Dl_info info{};
    link_map * map = nullptr;
    if (!dladdr1(address, &info, reinterpret_cast<void **>(&map), RTLD_DL_LINKMAP) || !map) return frame;
    auto const value = reinterpret_cast<std::uintptr_t>(address);
    frame.module = ModuleName(*map);
    frame.moduleOffset = value - map->l_addr;
    if (info.dli_sname) {
        frame.function = Demangle(info.dli_sname);
        frame.functionOffset = value - reinterpret_cast<std::uintptr_t>(info.dli_saddr);
    } else {
        unresolved[map->l_name[0] != '\0' ? map->l_name : ownProgram].push_back(
            {frame.moduleOffset, index, {}, 0});
    }
    return frame;
}

} // namespace

__attribute__((noinline)) std::size_t CaptureStack(std::span<void *> addresses, StackOrigin origin) noexcept {
    bool const isInterrupted = origin == StackOrigin::Interrupted;
    Walk walk{addresses, isInterrupted, isInterrupted ? 0U : 2U};
    WalkGuarded(walk);
    return walk.count;
}

std::vector<FrameName> NameAddresses(std::span<void * const> addresses) {
    std::vector<FrameName> frames;
    frames.reserve(addresses.size());
    Unresolved unresolved;
    for (void * const address : addresses) frames.push_back(NameByLoader(address, frames.size(), unresolved));
    for (auto & [path, queries] : unresolved) {
        FindSymbols(path.c_str(), queries);
        for (SymbolQuery const & query : queries) {
            if (query.name.empty()) continue;
            frames[query.tag].function = Demangle(query.name.c_str());
            frames[query.tag].functionOffset = query.address - query.start;
        }
    }
    return frames;
}

} // namespace KZPlatform
