/// @file
/// The function objects that threads and pools call.
///
///     struct Server { void Listen() {} } server;
///     KZSmartPtr<KZCallback> body(new KZCallbackMethVoid<Server>(u"listener", &server, &Server::Listen));
///     (*body)();
///     body = KZMakeCallback([&server] { server.Listen(); });     // any function object will do
#pragma once

#include "ZerlithCore/foundation/KZRefCount.h"
#include "ZerlithCore/foundation/KZSmartPtr.h"
#include "ZerlithCore/text/KZString.h"

#include <concepts>
#include <type_traits>
#include <utility>

/// The base class of what a callback gets as its argument. It has a reference count and nothing else.
///
/// Thread safety: `AddRef` and `Release` may be called from any thread.
class KZ_EXPORT KZCallbackArgs : public KZCounted<KZCallbackArgs> {
public:
    KZCallbackArgs() noexcept = default;
    virtual ~KZCallbackArgs();
};

/// A function object with a reference count, a name and a stored argument. A derived class overrides the call operator that
/// takes `args`: the other one calls it with the stored argument. For a lambda or another function object no class is needed;
/// see `KZMakeCallback`.
///
/// Thread safety: handles may be copied and dropped on several threads. Whether several threads may call it at once depends on
/// the derived class.
class KZ_EXPORT KZCallback : public KZCounted<KZCallback> {
public:
    /// Stores `args`, which may be null, and holds a reference on it.
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

private:
    KZString name_;
    KZSmartPtr<KZCallbackArgs> args_;
};

/// A callback whose argument has a type of its own. `ArgsPointer` is a pointer or a smart pointer to a class derived from
/// KZCallbackArgs. The caller must pass an object of that class, or null: the type isn't checked.
///
/// Thread safety: as KZCallback.
template <class ArgsPointer>
class KZCallbackT : public KZCallback {
public:
    using KZCallback::KZCallback;
    using KZCallback::operator();

    void operator()(KZSmartPtr<KZCallbackArgs> const & args) override {
        using Args = std::remove_reference_t<decltype(*std::declval<ArgsPointer const &>())>;
        Call(ArgsPointer(static_cast<Args *>(args.GetPtr())));
    }
    /// Calls with the typed argument, which may be null.
    virtual void Call(ArgsPointer args) = 0;
};

/// Calls a member function with the argument. The object isn't owned and must outlive the calls.
///
/// Thread safety: that of the member function.
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

/// Calls a member function that takes no argument; an argument of the callback is ignored. The object isn't owned and must
/// outlive the calls.
///
/// Thread safety: that of the member function.
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

/// A function, lambda or other object that can be called without arguments and isn't a callback already.
template <class Function>
concept KZCallable = std::invocable < std::decay_t<Function>
& > &&std::constructible_from<std::decay_t<Function>, Function> &&
    !std::derived_from<std::decay_t<Function>, KZCallback>;

/// Calls a function object that it holds; a result and an argument of the callback are ignored.
///
/// Thread safety: that of the function object.
template <class Function>
class KZCallbackFunction : public KZCallback {
public:
    using KZCallback::operator();

    KZCallbackFunction(KZString const & name, Function function)
        : KZCallback(name), function_(std::move(function)) {}

    void operator()(KZSmartPtr<KZCallbackArgs> const &) override { static_cast<void>(function_()); }

private:
    Function function_;
};

/// A callback that holds a copy of `function`, or the object itself if it is passed by `std::move`. `name` is for people who
/// look at it. Errors: std::bad_alloc, and what copying `function` throws.
template <KZCallable Function>
[[nodiscard]] KZSmartPtr<KZCallback> KZMakeCallback(Function && function,
                                                    KZString const & name = KZString()) {
    return new KZCallbackFunction<std::decay_t<Function>>(name, std::forward<Function>(function));
}
