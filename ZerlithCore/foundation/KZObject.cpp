#include "ZerlithCore/foundation/KZObject.h"

KZObjectI::~KZObjectI() = default;

bool KZObjectI::IsKindOf(int iuid) const { return !QueryInterface(iuid).IsNull(); }

KZSmartPtr<KZObjectI> KZObjectI::QueryInterface(int iuid) const {
    if (iuid != GetIUID()) return {};
    return KZSmartPtr<KZObjectI>(const_cast<KZObjectI *>(this));
}
