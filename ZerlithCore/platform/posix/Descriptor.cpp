// Functions on open files and folders that several sources use.
#include "ZerlithCore/platform/posix/Descriptor.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/vfs.h>

namespace KZPlatform {

Descriptor OpenFolder(std::string_view folderPart) {
    std::string const path(folderPart.empty() ? "." : folderPart);
    return Descriptor(open(path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
}

bool IsOfKernel(int folder) noexcept {
    struct statfs system {};
    return fstatfs(folder, &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
}

bool WriteAll(int descriptor, std::string_view bytes, std::size_t & written) noexcept {
    written = 0;
    while (written != bytes.size()) {
        auto const count =
            Repeat([&] { return write(descriptor, bytes.data() + written, bytes.size() - written); });
        if (!Succeeded(count >= 0)) return false;
        // The system took nothing and gave no reason; repeating the call could go on for ever.
        if (count == 0) return Fail(EIO);
        written += static_cast<std::size_t>(count);
    }
    return true;
}

bool WaitForDisk(int descriptor) noexcept {
    if (Repeat([&] { return fsync(descriptor); }) == 0) return true;
    return Succeeded(errno == EINVAL || errno == EROFS || errno == EOPNOTSUPP || errno == ENOSYS);
}

} // namespace KZPlatform
