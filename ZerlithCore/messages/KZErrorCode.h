/// @file
/// Conversions between the errors of the library and `std::error_code`.
///
///     std::error_code failure;
///     std::filesystem::space("/no/such/folder", failure);
///     KZErrorID const id = KZFromErrorCode(failure);          // its text is the system's
///
///     KZDateTimeEx moment;
///     KZErrorID const error = moment.FromString(u"soon");
///     if (error.Bad()) throw std::system_error(KZToErrorCode(error), error.AsString().AsUTF8());
///
/// Thread safety: callable from any thread.
#pragma once

#include "ZerlithCore/KZExport.h"
#include "ZerlithCore/errors/KZErrorID.h"

#include <system_error>

/// The category of error codes that stand for errors other than the system's: the value is the error's code. An error code
/// has no room for arguments and message source, so its message is only the number; pass the text of the error on beside it.
/// Errors: std::bad_alloc at the first call only.
[[nodiscard]] KZ_EXPORT std::error_category const & KZErrorCategory();

/// An error of the system (KZWinLastError) becomes a code of `std::system_category()`, any other one a code of
/// `KZErrorCategory()`, success an empty code.
[[nodiscard]] KZ_EXPORT std::error_code KZToErrorCode(KZErrorID const & error);

/// A code of the system's or the generic category becomes an error of the system, a code of `KZErrorCategory()` an error
/// with that code, and a code of another category an error with the fixed text "category: message". An empty code, also one
/// of another category, is success. An error of the system becomes the thread's last error, too.
/// Errors: std::bad_alloc.
[[nodiscard]] KZ_EXPORT KZErrorID KZFromErrorCode(std::error_code const & code);
