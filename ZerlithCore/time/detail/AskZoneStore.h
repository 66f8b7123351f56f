// Calls `question` and turns the std::system_error of zone data that can't be read into the exception that callers
// expect.
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
