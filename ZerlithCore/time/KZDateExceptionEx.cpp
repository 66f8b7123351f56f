#include "ZerlithCore/time/KZDateExceptionEx.h"

KZDateExceptionEx::KZDateExceptionEx(KZDateTimeEx const & dateTime)
    : KZException(dateTime.AsString(*KZTimeZone::GetPredefined().utc)), dateTime_(dateTime) {}

KZDateExceptionEx::KZDateExceptionEx(KZString const & message) : KZException(message) {}

KZDateExceptionEx::KZDateExceptionEx(KZDateExceptionEx const & other) = default;

KZDateExceptionEx::~KZDateExceptionEx() = default;
