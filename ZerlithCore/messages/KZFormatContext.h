/// @file
/// The language, the date format and the time zone in which the text of a message is made.
///
///     KZString text;
///     KZErrorID const id(new KZError(glbKZOREMsgSourceP, 14));
///     id->AsString(text, KZFormatContext(u"fra", u"%d/%m/%Y"));
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/text/KZString.h"

#include <memory>

class KZTimeZone;

/// The language, the date format and the time zone in which a text is made. Each may be left out.
///
/// The language is a code of three letters ("enu", "fra"), or another name that the message source knows. An empty language
/// means the neutral one. An empty date format means `KZDateTime::DefaultFormat`.
///
/// Thread safety: one object needs outside locking; copies are independent.
class KZ_EXPORT KZFormatContext {
public:
    KZFormatContext() noexcept = default;
    explicit KZFormatContext(KZString const & language, KZString const & dateFormat = KZString());
    KZFormatContext(KZString const & language, KZString const & dateFormat, KZTimeZone const & zone);

    [[nodiscard]] KZString const & GetLanguage() const noexcept { return language_; }
    [[nodiscard]] KZString const & GetDateFormat() const noexcept { return dateFormat_; }
    /// The zone that was set; UTC if none was. Valid until another zone is set or this object is destroyed.
    [[nodiscard]] KZTimeZone const & GetTimeZone() const;

    void SetLanguage(KZString const & language) { language_ = language; }
    void SetDateFormat(KZString const & dateFormat) { dateFormat_ = dateFormat; }
    void SetTimeZone(KZTimeZone const & zone);

private:
    KZString language_;
    KZString dateFormat_;
    std::shared_ptr<KZTimeZone const> zone_; // null: the default zone
};

/// The circumstances of an operation. So far they are a format context only.
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
