/// @file
/// The fixed list of 62 zones that older callers know by number.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/time/KZTimeZone.h"

/// Finds the number of a zone among 62 known ones.
///
/// The rows bear fixed names; their rules are those of the system's zone data, read at the first question. A row whose
/// zone the system doesn't have is found by its name only.
///
/// Thread safety: callable from any thread.
class KZ_EXPORT KZTimeZoneObsolete {
public:
    /// The rows, in order; each stands for the name with "Standard Time" behind it.
    enum TimeZoneType : int {
        NewZealand,
        Fiji,
        CentralPacific,
        WestPacific,
        Vladivostok,
        Tasmania,
        EAustralia,
        AUSEastern,
        AUSCentral,
        CenAustralia,
        Yakutsk,
        Tokyo,
        Korea,
        WAustralia,
        Taipei,
        Singapore,
        China,
        SEAsia,
        SriLanka,
        CentralAsia,
        India,
        WestAsia,
        Ekaterinburg,
        Afghanistan,
        Caucasus,
        Arabian,
        Iran,
        Russian,
        EAfrica,
        Arab,
        SouthAfrica,
        Israel,
        GTB,
        FLE,
        Egypt,
        EEurope,
        WEurope,
        Romance,
        CentralEuropean,
        CentralEurope,
        Greenwich,
        GMT,
        Azores,
        MidAtlantic,
        SAEastern,
        ESouthAmerica,
        Newfoundland,
        SAWestern,
        Atlantic,
        USEastern,
        SAPacific,
        Eastern,
        Mexico,
        Central,
        CanadaCentral,
        USMountain,
        Mountain,
        Pacific,
        Alaskan,
        Hawaiian,
        Samoa,
        Dateline
    };

    /// The row of the zone's standard name, else the first row of the same bias with the same changes of clocks (month,
    /// weekday, week and hour); 22 where there is none, which is also the number of Ekaterinburg: callers rely on it.
    /// Errors: rules that can't be read at present throw a KZWindowsLastErrorException; the next call tries again.
    [[nodiscard]] static TimeZoneType GetType(KZTimeZone const & zone);
};
