#include "ZerlithCore/text/KZString.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/KZDateTimeEx.h"

// The functions of KZString that return calendar values. KZString declares them, but doesn't know these classes,
// which are in this higher room.

KZDateTime KZString::AsKZDateTime(bool * success) const {
    KZDateTime value;
    KZErrorID const error = value.FromString(*this);
    if (success) *success = error.Good();
    return value;
}

KZDateTimeEx KZString::AsKZDateTimeEx(bool * success) const {
    KZDateTimeEx value;
    KZErrorID const error = value.FromString(*this);
    if (success) *success = error.Good();
    return value;
}

KZDateEx KZString::AsKZDateEx(bool * success) const {
    KZDateEx value;
    bool const good = value.FromString(*this);
    if (success) *success = good;
    return value;
}

KZTimeEx KZString::AsKZTimeEx(bool * success) const {
    KZTimeEx value;
    bool const good = value.FromString(*this);
    if (success) *success = good;
    return value;
}

KZDurationEx KZString::AsKZDurationEx(bool * success) const {
    KZDurationEx value;
    bool const good = value.FromString(*this, KZDurationEx::second);
    if (success) *success = good;
    return value;
}
