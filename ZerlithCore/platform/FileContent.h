/// @file
/// Giving a file new content so that a failure leaves the old one.
///
///     if (!KZPlatform::ReplaceFileContent(u"page.html", bytes)) ...    // page.html is as it was
///
/// Both follow links, make a file that is missing, also the one that a link leads nowhere to, and wait until the disk has
/// the content. What isn't a regular file, as a device, a pipe, or a name that stands for standard output, has no old content
/// and is simply written to. A directory can't be written.
///
/// A function that fails leaves the reason in the thread's last error. Paths are as in Files.h. `std::bad_alloc` is thrown
/// before anything is changed.
///
/// Thread safety: any thread. Of two writers of one file at a time the later one's content stays when both replace it;
/// overwriting needs outside locking.
#pragma once

#include <string_view>

namespace KZPlatform {

/// Makes `bytes` the content of the file at once: others see the old file or the new one, never a part, even when the process
/// is killed or the machine stops. It is made under a name of its own in the same folder and then takes the file's name.
///
/// The new file has the permissions of the old one, and its owner and group as far as the system lets this user give
/// them; rights of a group that can't be kept become those of everybody. Other names of the same file (hard links) keep the old content.
///
/// False: the file is as it was, and the one with the other name is removed again (a killed process leaves it). So
/// it is for a file that this user may not write, and where this user may make no file in its folder. Only when the
/// disk doesn't confirm the new name, as the last step, the new content stands all the same.
[[nodiscard]] bool ReplaceFileContent(std::u16string_view path, std::string_view bytes);

/// Makes `bytes` the content of the file where it is: names, owner and permissions are untouched, and no other file is made,
/// but others can see a part, and a process that is killed leaves one.
///
/// Room is reserved first where the system can. Cost: the old content is held in memory meanwhile.
///
/// False: the file has its old content, or is missing if it was. If that can't be written back, a text that says so is
/// the last error. A file that can't be read isn't written.
[[nodiscard]] bool OverwriteFileContent(std::u16string_view path, std::string_view bytes);

} // namespace KZPlatform
