#include "ZerlithCore/time/KZDurationExceptionEx.h"

KZDurationExceptionEx::KZDurationExceptionEx(KZDurationEx const & duration)
    : KZException(duration.AsString(true)), duration_(duration) {}

KZDurationExceptionEx::KZDurationExceptionEx(KZString const & message) : KZException(message) {}

KZDurationExceptionEx::KZDurationExceptionEx(KZDurationExceptionEx const & other) = default;

KZDurationExceptionEx::~KZDurationExceptionEx() = default;
