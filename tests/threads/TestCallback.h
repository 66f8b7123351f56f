// Callbacks for tests.
#pragma once

#include "ZerlithCore/threads/KZCallback.h"

#include <functional>

/// A callback that calls `body`.
inline KZSmartPtr<KZCallback> Callback(std::function<void()> body) {
    struct Function : KZCallback {
        explicit Function(std::function<void()> itsBody) : KZCallback(u"test"), body(std::move(itsBody)) {}
        using KZCallback::operator();
        void operator()(KZSmartPtr<KZCallbackArgs> const &) override { body(); }
        std::function<void()> body;
    };
    return new Function(std::move(body));
}
