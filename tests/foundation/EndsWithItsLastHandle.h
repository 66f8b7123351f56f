#pragma once

#include "ZerlithCore/foundation/KZSmartPtr.h"

// Whether an object that counts its handles, made from `arguments`, ends with the last of them and not before.
template <class Counted, class... Arguments>
bool EndsWithItsLastHandle(Arguments const &... arguments) {
    static int ended = 0;
    struct Watched : Counted {
        using Counted::Counted;
        ~Watched() override { ++ended; }
    };
    KZSmartPtr<Watched> first(new Watched(arguments...)), second = first;
    first.Clear();
    bool const stays = ended == 0;
    second.Clear();
    return stays && ended == 1;
}
