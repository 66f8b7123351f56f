/// @file
/// The libraries of a host, and how it lets go of them.
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <vector>

/// Libraries that were loaded for their plug-ins.
///
/// A library may leave memory only when nobody calls its code any more. Code is called through objects of its classes,
/// which destroy themselves by it, and by threads.
///
/// Thread safety: one object needs outside locking.
class KZPlugInLibraries {
public:
    /// Objects to let go of, each held once.
    using Objects = std::vector<KZSmartPtr<KZRefCountI>>;

    /// Makes room, so that one `Add` or `Refuse` needs no memory.
    void Reserve();
    /// Takes over one load of `library`. A second load of it is given back.
    void Add(void * library, KZString const & path);
    /// Lets go of a library that isn't wanted, and of `objects`, as `LetGo` does; but where it was taken over before, by
    /// another load, only of this load and the objects. Without memory the library stays.
    void Refuse(void * library, KZString const & path, Objects objects) noexcept;

    /// Lets go of `objects` in their order, of what the libraries left on log channels, and then of the libraries.
    ///
    /// A library stays in memory for the rest of the process, and a line tells so, when somebody else still holds one of
    /// these objects, when the destructor of one didn't come to its end, and when threads are running in it.
    void LetGo(Objects objects) noexcept;
    /// Lets go of one object, which becomes null, and of no library. Null is ignored.
    void LetGo(KZSmartPtr<KZRefCountI> & object) noexcept;

private:
    struct Library {
        void * handle;
        KZString path;
        wchar_t const * whyItStays = nullptr;
    };

    void LetGoFrom(std::size_t first, Objects & objects) noexcept;
    [[nodiscard]] bool Has(void const * library) const noexcept;
    [[nodiscard]] Library * OwnerOf(void const * address) noexcept;
    void Keep(void const * code, wchar_t const * why) noexcept;
    void TakeSubscribers(std::size_t firstLibrary, Objects & objects);
    void DropAll(Objects & objects) noexcept;
    static void Free(Library & library) noexcept;

    std::vector<Library> libraries_;
};
