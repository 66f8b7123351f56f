// A callback with any body.
#pragma once

#include "ZerlithCore/threads/KZCallback.h"

#include <utility>

inline KZSmartPtr<KZCallback> Callback(auto body) { return KZMakeCallback(std::move(body), u"test"); }
