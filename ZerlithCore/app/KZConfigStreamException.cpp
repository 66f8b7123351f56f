#include "ZerlithCore/app/KZConfigStreamException.h"

KZConfigStreamException::KZConfigStreamException(std::u16string const & message)
    : KZException(KZString(message), true) {}

KZConfigStreamException::KZConfigStreamException(KZConfigStreamException const & other) = default;

KZConfigStreamException & KZConfigStreamException::operator=(KZConfigStreamException const & other) = default;

KZConfigStreamException::~KZConfigStreamException() = default;
