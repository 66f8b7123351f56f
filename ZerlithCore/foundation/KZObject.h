/// @file
/// Counted objects that can be asked for their interfaces by number.
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"

/// The root of errors and plug-ins: a counted object whose interfaces bear numbers.
///
/// A derived interface overrides `GetIUID` and `QueryInterface`; the latter tries its own number first and then asks
/// its base. Taken numbers: 3 KZErrorI, 4 KZPlugIn, 5 KZRunPlugIn, 6 KZPlugInContainer, 7 KZThreadedRunPlugIn,
/// 8 KZError, 9 KZErrorWithArgs.
class KZ_EXPORT KZObjectI : public KZRefCountI {
public:
    ~KZObjectI() override;

    unsigned long AddRef() const override = 0;
    unsigned long Release() const override = 0;

    /// The number of the most derived interface.
    virtual int GetIUID() const = 0;

    /// Tells whether `QueryInterface(iuid)` would give an object; leaves the count as it was.
    virtual bool IsKindOf(int iuid) const;

    /// A handle on this object when `iuid` is its number, else a null handle.
    virtual KZSmartPtr<KZObjectI> QueryInterface(int iuid) const;
};
