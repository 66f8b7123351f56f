// What an error object does unless its class says otherwise. The text of an identifier is made in messages/KZError.cpp.
#include "ZerlithCore/errors/KZErrorID.h"

KZErrorI::~KZErrorI() = default;

int KZErrorI::GetIUID() const { return Iuid; }

bool KZErrorI::IsKindOf(int iuid) const { return KZObjectI::IsKindOf(iuid); }

unsigned int KZErrorI::GetParameterCount() const { return 0; }

KZErrorI::ErrorParamType KZErrorI::GetParameterType(unsigned int) const { return ParamNone; }

void const * KZErrorI::GetParameterValue(unsigned int) const { return nullptr; }

KZString KZErrorI::GetParameterValueAsString(unsigned int, KZExecContext const &) const { return {}; }
