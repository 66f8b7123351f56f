/// @file
/// What the library and the module with its documents know of each other.
///
/// The parser and all that it needs are in a module of its own, so that only programs with documents load them. The
/// first `CreateDocument` loads it. It lies beside the library and is linked without it: what it needs of the system
/// comes through `DocumentHost`.
#pragma once

#include "ZerlithCore/platform/Documents.h"

#include <string>
#include <string_view>

namespace KZPlatform {

/// What the module needs of the library.
struct DocumentHost {
    /// Reads the whole file, or the first 2 GB of it. False, with the last error set, on failure.
    bool (*readFile)(std::u16string_view path, std::string & bytes);
    /// `ReplaceFileContent` (FileContent.h).
    bool (*replaceFile)(std::u16string_view path, std::string_view bytes);
    /// The text of the thread's last error.
    std::u16string (*lastErrorText)();
};

/// What the module exports as `KZDocumentModule`.
struct DocumentModule {
    /// The version of the library to which the module belongs. Both are built together, so no other one will do.
    char const * version;
    /// A document without content. `host` is the same in all calls. Errors: std::bad_alloc.
    Document * (*create)(DocumentHost const & host);
};

} // namespace KZPlatform
