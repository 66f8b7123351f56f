// The library to which an object belongs is found through the object's class: the type information of the class lies in the
// module that has the class's functions.
#include "ZerlithCore/app/detail/KZPlugInLibraries.h"

#include "ZerlithCore/app/KZApplication.h"
#include "ZerlithCore/app/detail/KZPlugInGuard.h"
#include "ZerlithCore/diagnostics/KZLockedCOUT.h"
#include "ZerlithCore/platform/Containment.h"
#include "ZerlithCore/platform/Modules.h"
#include "ZerlithCore/threads/detail/KZThreadTable.h"

#include <algorithm>
#include <ostream>
#include <span>
#include <typeinfo>
#include <utility>

namespace {

void const * CodeOf(KZRefCountI const & object) { return &typeid(object); }

bool IsHeldElsewhere(KZRefCountI const & object) {
    object.AddRef();
    return object.Release() > 1;
}

void Tell(std::exception_ptr const & cause) noexcept {
    KZDetail::CallGuarded([&] {
        if (cause) std::rethrow_exception(cause);
        KZDetail::WriteErrorLine(u"a destructor has called std::terminate");
    });
}

} // namespace

void KZPlugInLibraries::Reserve() { libraries_.reserve(libraries_.size() + 1); }

void KZPlugInLibraries::Add(void * library, KZString const & path) {
    if (Has(library))
        KZPlatform::FreeModule(library);
    else
        libraries_.push_back({library, path});
}

void KZPlugInLibraries::Refuse(void * library, KZString const & path, Objects objects) noexcept {
    std::size_t const first = libraries_.size();
    KZDetail::CallGuarded([&] { Add(library, path); });
    LetGoFrom(first, objects);
}

void KZPlugInLibraries::LetGo(Objects objects) noexcept { LetGoFrom(0, objects); }

// Frees the libraries from index `first` on; earlier ones stay.
void KZPlugInLibraries::LetGoFrom(std::size_t first, Objects & objects) noexcept {
    bool const isComplete = KZDetail::CallGuarded([&] { TakeSubscribers(first, objects); });
    DropAll(objects);
    for (Library & library : std::span(libraries_).subspan(first)) {
        if (!isComplete && !library.whyItStays) library.whyItStays = L"what is in use could not be found out";
        Free(library);
    }
    libraries_.resize(first);
}

void KZPlugInLibraries::LetGo(KZSmartPtr<KZRefCountI> & object) noexcept {
    KZRefCountI const * const last = object;
    if (!last) return;
    void const * const code = CodeOf(*last);
    last->AddRef();
    object.Clear();
    std::exception_ptr cause;
    if (KZPlatform::CallContained([=] { last->Release(); }, cause)) return;
    Tell(cause);
    Keep(code, L"a destructor in it has failed");
}

bool KZPlugInLibraries::Has(void const * library) const noexcept {
    return std::ranges::find(libraries_, library, &Library::handle) != libraries_.end();
}

KZPlugInLibraries::Library * KZPlugInLibraries::OwnerOf(void const * address) noexcept {
    auto const owner = std::ranges::find_if(
        libraries_, [=](Library const & library) { return KZPlatform::IsInModule(library.handle, address); });
    return owner == libraries_.end() ? nullptr : &*owner;
}

void KZPlugInLibraries::Keep(void const * code, wchar_t const * why) noexcept {
    if (Library * const library = OwnerOf(code)) library->whyItStays = why;
}

void KZPlugInLibraries::TakeSubscribers(std::size_t firstLibrary, Objects & objects) {
    KZLogManager & manager = KZApplication::GetLogManager();
    for (auto place = manager.GetFirstChannelItr(); KZLogChannel * const channel = *place; ++place) {
        bool hasTaken = false;
        for (KZSmartPtr<KZLogSubscriberI> const & subscriber : channel->GetSubscribers()) {
            Library const * const owner = OwnerOf(CodeOf(*subscriber));
            if (!owner || owner < libraries_.data() + firstLibrary) continue;
            KZSmartPtr<KZRefCountI> const object(subscriber);
            if (std::ranges::find(objects, object) == objects.end()) objects.insert(objects.begin(), object);
            channel->UnSubscribe(subscriber);
            hasTaken = true;
        }
        // After this flush no other thread is still passing a text to the subscriber.
        if (hasTaken) channel->GetStream().rdbuf()->pubsync();
    }
}

// An object may be held by another one in the list that is destroyed only during the walk. So the walk is repeated until it
// releases nothing more.
void KZPlugInLibraries::DropAll(Objects & objects) noexcept {
    for (bool hasDropped = true; hasDropped;) {
        hasDropped = false;
        for (KZSmartPtr<KZRefCountI> & object : objects) {
            if (object.IsNull() || IsHeldElsewhere(*object)) continue;
            LetGo(object);
            hasDropped = true;
        }
    }
    for (KZSmartPtr<KZRefCountI> & object : objects) {
        if (object.IsNull()) continue;
        Keep(CodeOf(*object), L"objects of it are still held");
        LetGo(object);
    }
}

void KZPlugInLibraries::Free(Library & library) noexcept {
    if (!library.whyItStays && KZDetail::IsUsedByThreads(library.handle))
        library.whyItStays = L"threads may still be running in it";
    if (!library.whyItStays) {
        KZPlatform::FreeModule(library.handle);
        return;
    }
    KZDetail::CallGuarded([&] {
        KZLockedCOUT console;
        console.GetCout(1) << L"The library " << library.path << L" stays in memory: " << library.whyItStays
                           << std::endl;
    });
}
