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
/// A conversion goes from "%" to the next letter of "sdfuatm"; whatever else is between them is ignored. The letters mean:
/// s, d, f: the argument unchanged. u: a duration. a, la, t, lt: the date, long date, time or long time of an argument of the
/// form "%Y/%m/%d %H:%M:%S"; an argument of another form is unchanged. m: an amount of money with two decimals.
///
/// An index that is out of range gives the first argument, unchanged, or nothing if there are no arguments. A bad template is
/// no error: after a "%" that none of these letters follows, the rest of the template is copied unchanged.
KZ_EXPORT KZString KZPrintf(KZString const & format, std::vector<KZString> const & arguments);
