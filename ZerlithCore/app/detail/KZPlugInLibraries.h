/// @file
/// The libraries of a host, and how it frees them. Not installed.
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"

#include <cstddef>
#include <vector>

/// Libraries that were loaded for their plug-ins.
///
/// A library may be freed only when nobody can call its code any more. Its code is called by threads that run in it, and
/// through objects of its classes, at the latest by their destructors.
///
/// Thread safety: one object needs outside locking.
class KZPlugInLibraries {
public:
    /// Objects to release. The vector holds one reference on each.
    using Objects = std::vector<KZSmartPtr<KZRefCountI>>;

    /// Reserves room, so that the next `Add` or `Refuse` doesn't allocate.
    void Reserve();
    /// Takes over one load of `library`. If it is taken over already, the second load is undone.
    void Add(void * library, KZString const & path);
    /// Releases `objects` and frees a library that isn't wanted, as `LetGo` does. If the library was taken over by an earlier
    /// load, only this load is undone. Without memory the library stays loaded.
    void Refuse(void * library, KZString const & path, Objects objects) noexcept;

    /// Releases `objects` in their order, then the subscribers that the libraries left on log channels, and then frees the
    /// libraries.
    ///
    /// A library stays in memory until the process ends, and a line on the console says so, if somebody else still holds one of
    /// these objects, if the destructor of one has thrown, or if threads are running in the library.
    void LetGo(Objects objects) noexcept;
    /// Releases one object, sets `object` to null, and frees no library. Null is ignored.
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
