#include "ZerlithCore/text/KZString.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/time/KZDateTime.h"

// The string's readings of values whose classes stand above it; nothing else in this room looks upward.

KZDateTime KZString::AsKZDateTime(bool * success) const {
    KZDateTime value;
    KZErrorID const error = value.FromString(*this);
    if (success) *success = error.Good();
    return value;
}
