#include "ZerlithCore/threads/KZThreadObject.h"

void KZThreadObject::Stop() {}

KZThreadObject::~KZThreadObject() = default;
