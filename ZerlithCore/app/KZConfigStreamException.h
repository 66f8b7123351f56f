/// @file
/// A configuration text that breaks the grammar.
#pragma once

#include "ZerlithCore/errors/KZException.h"

#include <string>

/// Thrown by the stream operators that read configurations (KZConfigSection.h, KZConfigFile.h), and by nothing else.
///
/// It takes no call stack: a broken file is the user's matter, and the readers that try several files catch it often.
///
/// Thread safety: as KZException.
class KZ_EXPORT KZConfigStreamException : public KZException {
public:
    explicit KZConfigStreamException(std::u16string const & message);
    KZConfigStreamException(KZConfigStreamException const & other);
    KZConfigStreamException & operator=(KZConfigStreamException const & other);
    ~KZConfigStreamException() override;
};
