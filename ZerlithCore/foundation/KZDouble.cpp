#include "ZerlithCore/foundation/KZDouble.h"

bool KZDouble::zeroValueOnAssign = false;
double KZDouble::thePrecision = 1e-9;
