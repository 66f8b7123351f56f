#include "ZerlithCore/time/KZDateExceptionEx.h"

KZDateExceptionEx::KZDateExceptionEx(KZDateTimeEx const & dateTime)
    : KZException(dateTime.AsString(KZTimeZone::GetUTCTimeZone())), dateTime_(dateTime) {}

KZDateExceptionEx::KZDateExceptionEx(KZString const & message) : KZException(message) {}

KZDateExceptionEx::KZDateExceptionEx(KZDateExceptionEx const & other) = default;

KZDateExceptionEx::~KZDateExceptionEx() = default;
