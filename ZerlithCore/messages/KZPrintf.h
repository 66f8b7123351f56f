/// @file
/// The expansion of message templates.
///
///     KZPrintf(u"%1:s isn't in %0:s", {u"server.ini", u"port"});   // "port isn't in server.ini"
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <vector>

/// Expands a message template. "%s" is the first argument, "%n:s" the one with index n, "%%" a percent sign.
///
/// A conversion reaches from "%" to the next letter of "sdfuatm"; what stands between is thrown away. s, d, f: the
/// argument as it stands; u: a duration; a, la, t, lt: date, long date, time, long time, of an argument of the form
/// "%Y/%m/%d %H:%M:%S" (another one goes in as it stands); m: money, with two decimals. An index out of range gives the
/// first argument as it stands, and nothing if there is none. A bad template is no error: a "%" with no letter behind it
/// ends the expansion, the rest goes in as it stands.
KZ_EXPORT KZString KZPrintf(KZString const & format, std::vector<KZString> const & arguments);
