/// @file
/// The function objects that threads and pools call.
///
///     KZSmartPtr<KZCallback> body(new KZCallbackMethVoid<Server>(u"listener", &server, &Server::Listen));
///     (*body)();
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"

#include <type_traits>

/// The base of whatever a callback receives: counted, otherwise empty.
///
/// Thread safety: `AddRef` and `Release` may be called from any thread.
class KZ_EXPORT KZCallbackArgs {
public:
    KZCallbackArgs() noexcept = default;
    virtual ~KZCallbackArgs();

    unsigned long AddRef() const noexcept { return count_.Increment(); }
    unsigned long Release() const;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

private:
    KZCounter count_;
};

/// A counted function object with a name and a stored argument.
///
/// Thread safety: handles may be copied and dropped on several threads; whether calls may overlap is up to the derived
/// class.
class KZ_EXPORT KZCallback {
public:
    /// Takes a hold on `args`, which may be null.
    explicit KZCallback(KZString const & name, KZCallbackArgs * args = nullptr);
    KZCallback(KZCallback const &) = default;
    KZCallback & operator=(KZCallback const &) = default;

    /// Calls with the stored argument.
    virtual void operator()();
    /// Calls with `args`, which may be null.
    virtual void operator()(KZSmartPtr<KZCallbackArgs> const & args) = 0;
    virtual ~KZCallback();

    [[nodiscard]] KZString const & GetName() const noexcept { return name_; }
    [[nodiscard]] KZSmartPtr<KZCallbackArgs> const & GetArgs() const noexcept { return args_; }

    unsigned long AddRef() const noexcept { return count_.Increment(); }
    unsigned long Release() const;
    [[nodiscard]] unsigned long NbRef() const noexcept { return count_.Get(); }

private:
    KZString name_;
    KZSmartPtr<KZCallbackArgs> args_;
    KZCounter count_;
};

/// A callback whose argument has a type of its own. `ArgsPointer` is a pointer, or a smart pointer, to a class derived from
/// KZCallbackArgs; whoever calls passes such an object or null.
template <class ArgsPointer>
class KZCallbackT : public KZCallback {
public:
    using KZCallback::KZCallback;
    using KZCallback::operator();

    void operator()(KZSmartPtr<KZCallbackArgs> const & args) override {
        using Args = std::remove_reference_t<decltype(*std::declval<ArgsPointer const &>())>;
        Call(ArgsPointer(static_cast<Args *>(args.GetPtr())));
    }
    /// The call with the argument as what it is.
    virtual void Call(ArgsPointer args) = 0;
};

/// Calls a member function with the argument. The object isn't owned.
template <class Class, class ArgsPointer>
class KZCallbackMeth : public KZCallbackT<ArgsPointer> {
public:
    using Method = void (Class::*)(ArgsPointer);

    KZCallbackMeth(KZString const & name, Class * object, Method method, KZCallbackArgs * args = nullptr)
        : KZCallbackT<ArgsPointer>(name, args), object_(object), method_(method) {}

    void Call(ArgsPointer args) override { (object_->*method_)(args); }

private:
    Class * object_;
    Method method_;
};

/// Calls a member function that takes no argument, whatever the callback is called with. The object isn't owned.
template <class Class>
class KZCallbackMethVoid : public KZCallback {
public:
    using Method = void (Class::*)();
    using KZCallback::operator();

    KZCallbackMethVoid(KZString const & name, Class * object, Method method, KZCallbackArgs * args = nullptr)
        : KZCallback(name, args), object_(object), method_(method) {}

    void operator()(KZSmartPtr<KZCallbackArgs> const &) override { (object_->*method_)(); }

private:
    Class * object_;
    Method method_;
};
