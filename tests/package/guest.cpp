#include <ZerlithCore/ZerlithCore.h>

class Guest : public KZRunPlugIn {
public:
    KZString GetName() const override { return u"Guest"; }
    KZGuid GetId() const override { return {0x6B1F0A11, 0x2C3D4E5F, 0x708192A3, 0xB4C5D6E7}; }
    KZErrorID Run() override { return KZErrorID(0); }
};

extern "C" KZ_EXPORT KZPlugIn * GetPlugInObject() { return new Guest; }
