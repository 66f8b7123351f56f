/// @file
/// Gives a file new content in such a way that a failure leaves the old content.
///
///     if (!KZPlatform::ReplaceFileContent(u"page.html", bytes)) ...    // page.html is as it was
///
/// Both functions follow links, create the file when it is missing (also the target of a link that leads nowhere),
/// and wait until the disk has the content. A device, a pipe, or a name for the standard output has no old content
/// and is simply written to. A directory can't be written.
///
/// A function that fails leaves the reason in the thread's last error. Paths are as in Files.h. `std::bad_alloc` is
/// thrown before anything is changed.
///
/// Thread safety: callable from any thread. When two threads replace one file at the same time, the later one's
/// content stays. Overwriting one file from several threads needs a lock of the caller's.
#pragma once

#include <string_view>

namespace KZPlatform {

/// Makes `bytes` the content of the file at one moment: others see the old file or the new one, never a part of
/// either, even when the process is killed or the machine stops. The new content is written to a file with a name of
/// its own in the same folder, which is then renamed.
///
/// The new file has the permissions of the old one, and its owner and group as far as the system lets this user set
/// them. If the group can't be set, the group gets the rights that everybody has. Other names of the same file (hard
/// links) keep the old content.
///
/// False: the file is as it was, and the file with the other name is removed again, unless the process is killed.
/// This is also the result for a file that this user may not write, and for a folder in which this user may not make
/// files. There is one exception: when the disk fails to confirm the new name, as the last step, the result is false
/// and the new content stays.
[[nodiscard]] bool ReplaceFileContent(std::u16string_view path, std::string_view bytes);

/// Writes `bytes` into the file that is there: its names, owner and permissions stay, and no other file is made. In
/// exchange, others can see a part of the new content, and a process that is killed can leave one.
///
/// Room on the disk is reserved first where the system can do that. Cost: the old content is held in memory
/// meanwhile.
///
/// False: the file has its old content, or is missing if it was missing. If the old content can't be written back,
/// the last error is a text that says so. A file that this user may not read isn't written.
[[nodiscard]] bool OverwriteFileContent(std::u16string_view path, std::string_view bytes);

} // namespace KZPlatform
