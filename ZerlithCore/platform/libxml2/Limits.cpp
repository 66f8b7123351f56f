#include "ZerlithCore/platform/libxml2/Limits.h"

KZPlatform::LibXml2::Limits & KZPlatform::LibXml2::CurrentLimits() noexcept {
    static constinit Limits limits;
    return limits;
}
