/// @file
/// The subscriber that passes the texts of a log channel to any function object.
///
///     KZLogManager & manager = KZApplication::GetLogManager();
///     unsigned int const channel = manager.AddChannel(u"Network");
///     manager.Subscribe(channel, KZMakeLogSubscriber(1, [](int level, KZString const & text) {
///         if (level == 0) std::wcerr << text;
///     }));
#pragma once

#include "ZerlithCore/log/KZLogSubscriberI.h"

#include <concepts>
#include <type_traits>
#include <utility>

/// Calls a function object that it holds with each text and its level.
///
/// Thread safety: one channel never calls the function twice at the same time; several channels may.
template <class Function>
class KZFunctionLogSubscriber : public KZLogSubscriberI {
public:
    KZFunctionLogSubscriber(int desiredLevel, Function function)
        : KZLogSubscriberI(desiredLevel), function_(std::move(function)) {}

    void OnFlush(int level, KZString const & text) override { static_cast<void>(function_(level, text)); }

private:
    Function function_;
};

/// A subscriber for the levels up to `desiredLevel` that holds a copy of `function`, or the object itself if it is passed by
/// `std::move`. Errors: std::bad_alloc, and what copying `function` throws.
template <class Function>
requires std::invocable < std::decay_t<Function>
&, int,
    KZString const & > [[nodiscard]] KZSmartPtr<KZLogSubscriberI> KZMakeLogSubscriber(int desiredLevel,
                                                                                      Function && function) {
    return new KZFunctionLogSubscriber<std::decay_t<Function>>(desiredLevel,
                                                               std::forward<Function>(function));
}
