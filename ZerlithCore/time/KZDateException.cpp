#include "ZerlithCore/time/KZDateException.h"

KZDateException::KZDateException(KZDateTime const & dateTime)
    : KZException(dateTime.AsString()), dateTime_(dateTime) {}

KZDateException::KZDateException(KZString const & message) : KZException(message) {}

KZDateException::KZDateException(KZDateException const & other) = default;

KZDateException::~KZDateException() = default;
