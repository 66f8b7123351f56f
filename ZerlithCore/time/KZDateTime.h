/// @file
/// A moment as seconds since 1970, for programs that need no milliseconds and no years beyond 2106.
///
///     KZDateTime moment;
///     KZErrorID const error = moment.FromString(u"2024/05/06 07:08:09");    // in local time
///     KZString const text = moment.AsString(u"%d %B %Y, %H:%M");            // "06 May 2024, 07:08"
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <compare>
#include <cstdint>

class KZErrorID;
class KZTimeZone;

/// A moment: seconds since 1970-01-01 00:00:00 UTC, in 32 unsigned bits, which last until the year 2106. 0 is the null
/// date.
///
/// Texts are local times of a zone: that of this computer unless another one is passed.
///
/// Thread safety: as an integer.
class KZ_EXPORT KZDateTime {
public:
    /// Stands for the local zone where a KZTimeZone is expected. Errors: those of `KZTimeZone::GetLocalTimeZone`.
    struct KZ_EXPORT LocalTimeZone {
        operator KZTimeZone const &() const;
    };
    static constexpr LocalTimeZone localTimeZone{};

    static constexpr char16_t const * DefaultFormat = u"%Y/%m/%d %H:%M:%S";

    /// The null date.
    constexpr KZDateTime() noexcept = default;
    /// `seconds` since 1970 UTC.
    constexpr explicit KZDateTime(std::uint32_t seconds) noexcept : seconds_(seconds) {}

    /// Reads `text`, a local time of `zone`, by `format`. After an error the value is unchanged.
    ///
    /// Conversions: %Y %m %d %H %M %S in digits, also %y (69 to 99 are 19xx) %e %j %I %p, %b %B %h %a %A with English
    /// names, %D %T %R %F %x %X, %n %t %%. A number may begin with blanks and zeros; a blank in `format` stands for any
    /// number of blanks; the case of names is ignored. Fields that `format` lacks are those of 1970-01-01 00:00:00. A
    /// time that a change of clocks skips or repeats is read with the offset from before the change. Errors: 8 when
    /// `text` doesn't have that form, 9 when it names no date from 1970 to 2106.
    KZErrorID FromString(KZString const & text, KZString const & format = DefaultFormat,
                         KZTimeZone const & zone = localTimeZone);

    /// Puts the local time of `zone` into `out`, by a `format` of the standard's strftime. A null date gives an empty
    /// text. Errors: 7 when the text is longer than 65,536 characters; `out` is then unchanged.
    KZErrorID AsString(KZString & out, KZString const & format,
                       KZTimeZone const & zone = localTimeZone) const;
    /// Returns that text; empty on error.
    [[nodiscard]] KZString AsString(KZString const & format = DefaultFormat,
                                    KZTimeZone const & zone = localTimeZone) const;

    [[nodiscard]] constexpr bool IsNull() const noexcept { return seconds_ == 0; }
    [[nodiscard]] constexpr std::uint32_t AsSeconds() const noexcept { return seconds_; }

    /// The order of time; null comes first.
    friend constexpr bool operator==(KZDateTime const &, KZDateTime const &) noexcept = default;
    friend constexpr std::strong_ordering operator<=>(KZDateTime const & a, KZDateTime const & b) noexcept {
        return a.seconds_ <=> b.seconds_;
    }

private:
    std::uint32_t seconds_ = 0;
};

/// Prints `duration` seconds as "01:02:03", after the days if there are any: "2 01:02:03". The text of a negative
/// duration begins with "-".
KZ_EXPORT KZString KZPrintDuration(KZDuration duration);

template <>
struct std::hash<KZDateTime> {
    std::size_t operator()(KZDateTime const & value) const noexcept {
        return std::hash<std::uint32_t>()(value.AsSeconds());
    }
};
