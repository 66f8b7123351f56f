// The module is looked for beside the library, wherever that is, so an installed tree may be moved. It is never unloaded,
// since handles on documents may be dropped at any time.
#include "ZerlithCore/platform/DocumentModule.h"

#include "ZerlithCore/platform/FileContent.h"
#include "ZerlithCore/platform/FileHandle.h"
#include "ZerlithCore/platform/LastError.h"
#include "ZerlithCore/platform/Modules.h"

#include <algorithm>
#include <atomic>
#include <limits>

namespace KZPlatform {

namespace {

constexpr std::u16string_view moduleName = u"" ZERLITHCORE_DOCUMENT_MODULE;
constexpr std::string_view ownVersion = ZERLITHCORE_VERSION;

constinit std::atomic<DocumentModule const *> loadedModule = nullptr;

std::u16string LastErrorReason() {
    return ErrorText(LastErrorNumber()).value_or(u"The system has given no reason");
}

bool ReadFile(std::u16string_view path, std::string & bytes) {
    constexpr std::size_t chunk = 65536;
    FileHandle file;
    if (!file.Open(path, FileAccess::Read, FileCreation::OpenExisting)) return false;
    std::int64_t const size = file.Size();
    bytes.reserve(static_cast<std::size_t>(
        std::clamp<std::int64_t>(size, 0, std::numeric_limits<int>::max()))); // a device may claim any size
    for (std::size_t read = 1; read != 0 && bytes.size() <= std::numeric_limits<int>::max();) {
        std::size_t const filled = bytes.size();
        bytes.resize(filled + chunk);
        if (!file.Read(bytes.data() + filled, chunk, read)) return false;
        bytes.resize(filled + read);
    }
    return true;
}

constexpr DocumentHost host{ReadFile, ReplaceFileContent, LastErrorReason};

std::u16string ModulePath() {
    std::u16string path = GetModulePath(&loadedModule);
    path.resize(path.find_last_of(u"/\\") + 1); // nothing where there is no separator
    return path.append(moduleName);
}

DocumentModule const * LoadDocumentModule() {
    std::u16string const path = ModulePath();
    void * const handle = LoadModule(path);
    if (!handle) {
        SetLastErrorText(u"The module for documents can't be loaded: " + path + u": " + LastErrorReason());
        return nullptr;
    }
    auto const * const module = static_cast<DocumentModule const *>(FindSymbol(handle, "KZDocumentModule"));
    if (module && module->version == ownVersion) return module;
    FreeModule(handle);
    SetLastErrorText(u"The module for documents belongs to another version of the library: " + path);
    return nullptr;
}

} // namespace

Document * CreateDocument() {
    DocumentModule const * module = loadedModule.load(std::memory_order_acquire);
    if (!module) {
        module = LoadDocumentModule(); // two threads may do so; the system loads it once
        if (!module) return nullptr;
        loadedModule.store(module, std::memory_order_release);
    }
    return module->create(host);
}

} // namespace KZPlatform
