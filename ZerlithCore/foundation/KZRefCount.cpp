#include "ZerlithCore/foundation/KZRefCount.h"

KZRefCountI::~KZRefCountI() = default;

KZRefCount::~KZRefCount() = default;
