/// @file
/// Counted objects that can be asked for their interfaces by number.
///
///     class Report : public KZCounted<Report, KZObjectI> {
///     public:
///         static constexpr int Iuid = 1000;
///         int GetIUID() const override { return Iuid; }
///     };
///
///     void Check(KZSmartPtr<KZObjectI> const & object) {
///         KZSmartPtr<Report> const report = KZInterfaceOf<Report>(*object);    // null if it isn't one
///     }
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"

/// The base of errors and plug-ins: a counted object whose interfaces have numbers.
///
/// A derived interface has a constant `Iuid`, its number, and overrides `GetIUID` and `QueryInterface`; the latter compares
/// its own number first and then calls that of its base. The library uses the numbers 3 to 9.
///
/// Thread safety: as the derived class; those of the library may be asked, copied and dropped from any thread.
class KZ_EXPORT KZObjectI : public KZRefCountI {
public:
    ~KZObjectI() override;

    unsigned long AddRef() const override = 0;
    unsigned long Release() const override = 0;

    /// The number of the most derived interface.
    virtual int GetIUID() const = 0;

    /// Returns whether `QueryInterface(iuid)` returns an object; doesn't change the count.
    virtual bool IsKindOf(int iuid) const;

    /// A handle on this object when `iuid` is one of its numbers, else a null handle.
    virtual KZSmartPtr<KZObjectI> QueryInterface(int iuid) const;
};

/// A handle on `object` as the `Interface` that `QueryInterface(Interface::Iuid)` returns; null when it returns none, or an
/// object of another class. Also between a program and its plug-ins.
template <class Interface>
[[nodiscard]] KZSmartPtr<Interface> KZInterfaceOf(KZObjectI const & object) {
    KZSmartPtr<KZObjectI> const found = object.QueryInterface(Interface::Iuid);
    return KZSmartPtr<Interface>(dynamic_cast<Interface *>(found.GetPtr()));
}
