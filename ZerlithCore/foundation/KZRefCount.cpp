#include "ZerlithCore/foundation/KZRefCount.h"

KZRefCountI::~KZRefCountI() = default;

KZRefCount::~KZRefCount() = default;

unsigned long KZRefCount::Release() const {
    unsigned long const left = count_.Decrement();
    if (left == 0) delete this;
    return left;
}
