// A module for documents that belongs to another version of the library.
#include "ZerlithCore/platform/DocumentModule.h"

extern "C" {
extern KZ_EXPORT KZPlatform::DocumentModule const KZDocumentModule;
KZPlatform::DocumentModule const KZDocumentModule{"0.0.0", nullptr};
}
