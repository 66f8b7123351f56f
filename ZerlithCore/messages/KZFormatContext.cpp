// The functions of a format context that need the class of time zones, which the header only declares.
#include "ZerlithCore/messages/KZFormatContext.h"

#include "ZerlithCore/time/KZTimeZone.h"

KZFormatContext::KZFormatContext(KZString const & language, KZString const & dateFormat)
    : language_(language), dateFormat_(dateFormat) {}

KZFormatContext::KZFormatContext(KZString const & language, KZString const & dateFormat,
                                 KZTimeZone const & zone)
    : KZFormatContext(language, dateFormat) {
    SetTimeZone(zone);
}

KZTimeZone const & KZFormatContext::GetTimeZone() const {
    return zone_ ? *zone_ : KZTimeZone::GetUTCTimeZone();
}

void KZFormatContext::SetTimeZone(KZTimeZone const & zone) {
    zone_ = std::make_shared<KZTimeZone const>(zone);
}
