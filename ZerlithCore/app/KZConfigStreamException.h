/// @file
/// The exception for a configuration text that breaks the grammar.
///
///     std::wistringstream text(L"[Server\nport=80\n");
///     KZConfigFile file(u"server.ini");
///     try {
///         text >> file;
///     } catch (KZConfigStreamException const & exception) {
///         KZGetConsole() << exception.what() << std::endl;
///     }
#pragma once

#include "ZerlithCore/errors/KZException.h"

#include <string>

/// Thrown by the stream operators that read configurations (KZConfigSection.h, KZConfigFile.h), and by nothing else.
///
/// It has no call stack: the fault is in the file and not in the program, and programs that try several files catch it often.
///
/// Thread safety: as KZException.
class KZ_EXPORT KZConfigStreamException : public KZException {
public:
    explicit KZConfigStreamException(std::u16string const & message);
    KZConfigStreamException(KZConfigStreamException const & other);
    KZConfigStreamException & operator=(KZConfigStreamException const & other);
    ~KZConfigStreamException() override;
};
