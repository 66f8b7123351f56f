#include "ZerlithCore/files/KZFile.h"

#include "ZerlithCore/platform/FileContent.h"
#include "ZerlithCore/platform/Files.h"

#include <string_view>

using View = std::u16string_view;

bool KZFile::Open(KZString const & path, Access access, Creation creation, Share share,
                  Protection protection) {
    return handle_.Open(View(path), access, creation, share, protection);
}

bool KZFile::Read(void * bytes, std::size_t size, std::size_t & count) noexcept {
    return handle_.Read(bytes, size, count);
}

bool KZFile::Write(void const * bytes, std::size_t size) noexcept { return handle_.Write(bytes, size); }

bool KZFile::Write(void const * bytes, std::size_t size, std::size_t & written) noexcept {
    return handle_.Write(bytes, size, written);
}

std::int64_t KZFile::Seek(std::int64_t offset, Origin origin) noexcept {
    return handle_.Seek(offset, origin);
}

std::int64_t KZFile::GetSize() const noexcept { return handle_.Size(); }

bool KZFile::Exists(KZString const & path) {
    return KZPlatform::KindOfPath(View(path)) == KZPlatform::PathKind::File;
}

bool KZFile::IsReadable(KZString const & path) { return Exists(path) && KZPlatform::MayRead(View(path)); }

bool KZFile::Remove(KZString const & path) { return KZPlatform::RemoveFile(View(path)); }

bool KZFile::Rename(KZString const & from, KZString const & to) {
    return KZPlatform::RenamePath(View(from), View(to));
}

bool KZFile::Replace(KZString const & path, void const * bytes, std::size_t size) {
    return KZPlatform::ReplaceFileContent(View(path), {static_cast<char const *>(bytes), size});
}

bool KZFile::Overwrite(KZString const & path, void const * bytes, std::size_t size) {
    return KZPlatform::OverwriteFileContent(View(path), {static_cast<char const *>(bytes), size});
}
