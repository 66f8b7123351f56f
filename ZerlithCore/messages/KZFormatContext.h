/// @file
/// In what language, date format and time zone a text is to be made.
///
///     KZString text;
///     KZErrorID const id(new KZError(glbKZOREMsgSourceP, 14));
///     id->AsString(text, KZFormatContext(u"fra", u"%d/%m/%Y"));
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <memory>

class KZTimeZone;

/// Language, date format and time zone for the making of a text. All may be left out.
///
/// The language is a code of three letters ("enu", "fra") or whatever else the message source in question knows; empty
/// means the neutral language. An empty date format means `KZDateTime::DefaultFormat`.
///
/// Thread safety: one object needs outside locking; copies are independent.
class KZ_EXPORT KZFormatContext {
public:
    KZFormatContext() noexcept = default;
    explicit KZFormatContext(KZString const & language, KZString const & dateFormat = KZString());
    KZFormatContext(KZString const & language, KZString const & dateFormat, KZTimeZone const & zone);

    [[nodiscard]] KZString const & GetLanguage() const noexcept { return language_; }
    [[nodiscard]] KZString const & GetDateFormat() const noexcept { return dateFormat_; }
    /// A default zone, UTC, when none was set. Valid as long as this object keeps its zone.
    [[nodiscard]] KZTimeZone const & GetTimeZone() const;

    void SetLanguage(KZString const & language) { language_ = language; }
    void SetDateFormat(KZString const & dateFormat) { dateFormat_ = dateFormat; }
    void SetTimeZone(KZTimeZone const & zone);

private:
    KZString language_;
    KZString dateFormat_;
    std::shared_ptr<KZTimeZone const> zone_; // null: the default zone
};

/// What an operation is given about its surroundings: so far a format context.
///
/// Thread safety: as KZFormatContext.
class KZ_EXPORT KZExecContext {
public:
    KZExecContext() noexcept = default;
    explicit KZExecContext(KZFormatContext const & formatContext) : formatContext_(formatContext) {}

    [[nodiscard]] KZFormatContext const & GetFormatContext() const noexcept { return formatContext_; }

private:
    KZFormatContext formatContext_;
};
