/// @file
/// The fixed list of 62 time zones that older programs know by number.
///
///     KZTimeZone const & local = KZTimeZone::GetLocalTimeZone();
///     int const number = KZTimeZoneObsolete::GetType(local);     // 36 in Berlin: WEurope
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/time/KZTimeZone.h"

/// Finds the number of a zone among 62 known ones.
///
/// The names of the rows are fixed; their rules are read from the system's zone data at the first call. A row whose
/// zone the system doesn't have can be found by its name only.
///
/// Thread safety: may be called from any thread.
class KZ_EXPORT KZTimeZoneObsolete {
public:
    /// The rows, in order. Each stands for the zone of that name followed by "Standard Time".
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

    /// Returns the row with the standard name of `zone`, otherwise the first row with the same bias and the same
    /// changes of clocks (month, weekday, week and hour). If there is none, returns 22, the number of Ekaterinburg:
    /// callers rely on it. Errors: throws KZWindowsLastErrorException when the rules can't be read at present; the next
    /// call tries again.
    [[nodiscard]] static TimeZoneType GetType(KZTimeZone const & zone);
};
