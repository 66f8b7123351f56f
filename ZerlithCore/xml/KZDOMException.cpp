#include "ZerlithCore/xml/KZDOMException.h"

KZDOMException::KZDOMException(std::int32_t result, KZGuid const & interfaceId, KZString const & message)
    : KZException(message), result_(result), interfaceId_(interfaceId) {}

KZDOMException::KZDOMException(KZDOMException const & other) = default;

KZDOMException::~KZDOMException() = default;
