// The system's failure to read its zones at present, as the exception that callers know.
#pragma once

#include "ZerlithCore/errors/KZException.h"

#include <system_error>

namespace KZDetail {

template <class Question>
decltype(auto) AskZoneStore(Question question) {
    try {
        return question();
    } catch (std::system_error const &) {
        throw KZWindowsLastErrorException();
    }
}

} // namespace KZDetail
