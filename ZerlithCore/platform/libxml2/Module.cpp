// What the library finds in this module.
#include "ZerlithCore/platform/DocumentModule.h"

#include "ZerlithCore/platform/libxml2/DocumentObject.h"

namespace {

KZPlatform::Document * Create(KZPlatform::DocumentHost const & host) {
    using namespace KZPlatform::LibXml2;
    Initialise(host);
    return NewDocumentObject(NewDoc(), false);
}

} // namespace

extern "C" {
extern KZ_EXPORT KZPlatform::DocumentModule const KZDocumentModule;
KZPlatform::DocumentModule const KZDocumentModule{ZERLITHCORE_VERSION, Create};
}
