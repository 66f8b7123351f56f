// The plug-in classes that need no thread: reference count, interface numbers and status.
#include "ZerlithCore/app/KZPlugIn.h"

// --- KZPlugIn

KZPlugIn::KZPlugIn() = default;
KZPlugIn::~KZPlugIn() = default;

int KZPlugIn::GetIUID() const { return Iuid; }

bool KZPlugIn::IsKindOf(int iuid) const { return KZObjectI::IsKindOf(iuid); }

KZSmartPtr<KZObjectI> KZPlugIn::QueryInterface(int iuid) const {
    if (iuid == Iuid) return KZSmartPtr<KZObjectI>(const_cast<KZPlugIn *>(this));
    return KZObjectI::QueryInterface(iuid);
}

KZPlugIn::Status KZPlugIn::GetStatus() const { return status_; }

bool KZPlugIn::IsRunningPlugIn() const { return false; }

bool KZPlugIn::IsContainerPlugIn() const { return false; }

KZUsageInfo KZPlugIn::GetUsageInfo() const { return {}; }

std::vector<KZPlugIn::PlugInIdEx> KZPlugIn::GetDependentV() const { return {}; }

void KZPlugIn::Unload() {}

void KZPlugIn::RequestExit(bool) {}

// --- KZRunPlugIn

KZRunPlugIn::~KZRunPlugIn() = default;

int KZRunPlugIn::GetIUID() const { return Iuid; }

KZSmartPtr<KZObjectI> KZRunPlugIn::QueryInterface(int iuid) const {
    if (iuid == Iuid) return KZSmartPtr<KZObjectI>(const_cast<KZRunPlugIn *>(this));
    return KZPlugIn::QueryInterface(iuid);
}

bool KZRunPlugIn::IsRunningPlugIn() const { return true; }

KZErrorID KZRunPlugIn::Init(KZApplicationWithPlugIns const &) { return KZErrorID(0); }

// --- KZPlugInContainer

KZPlugInContainer::~KZPlugInContainer() = default;

int KZPlugInContainer::GetIUID() const { return Iuid; }

KZSmartPtr<KZObjectI> KZPlugInContainer::QueryInterface(int iuid) const {
    if (iuid == Iuid) return KZSmartPtr<KZObjectI>(const_cast<KZPlugInContainer *>(this));
    return KZPlugIn::QueryInterface(iuid);
}

bool KZPlugInContainer::IsContainerPlugIn() const { return true; }

KZErrorID KZPlugInContainer::Init(KZApplicationWithPlugIns const &) { return KZErrorID(0); }

KZSmartPtrVector<KZSmartPtr<KZPlugIn>> const & KZPlugInContainer::GetPlugInList() const { return members_; }

void KZPlugInContainer::AddMember(KZSmartPtr<KZPlugIn> const & member) {
    if (!member.IsNull()) members_.push_back(member);
}

// --- KZLibPlugIn

KZLibPlugIn::~KZLibPlugIn() = default;

KZString KZLibPlugIn::GetName() const { return u"ZerlithCore PlugIn"; }

KZGuid KZLibPlugIn::GetId() const { return Id; }

KZUsageInfo KZLibPlugIn::GetUsageInfo() const {
    KZUsageInfo usage;
    usage.AddCmdLineArgDesc(u"help", u"Show the options of the program and of its plug-ins.");
    return usage;
}

KZErrorID KZLibPlugIn::Init(KZApplicationWithPlugIns const &) { return KZErrorID(0); }
