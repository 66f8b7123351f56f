#include "ZerlithCore/files/KZFileStream.h"

namespace {

void Open(std::wios & stream, KZFileStreamBuf & buffer, KZString const & path, std::ios_base::openmode mode) {
    if (buffer.open(path, mode)) {
        stream.clear();
    } else {
        stream.setstate(std::ios_base::failbit);
    }
}

bool Close(std::wios & stream, KZFileStreamBuf & buffer) {
    bool const closed = buffer.close();
    if (!closed) stream.setstate(std::ios_base::failbit);
    return closed;
}

} // namespace

KZFileStream::KZFileStream(KZString const & path, std::ios_base::openmode mode) : KZFileStream() {
    open(path, mode);
}

KZFileStream::~KZFileStream() = default;

void KZFileStream::open(KZString const & path, std::ios_base::openmode mode) {
    Open(*this, buffer_, path, mode);
}

bool KZFileStream::close() { return Close(*this, buffer_); }

KZOFileStream::KZOFileStream(KZString const & path, std::ios_base::openmode mode) : KZOFileStream() {
    open(path, mode);
}

KZOFileStream::~KZOFileStream() = default;

void KZOFileStream::open(KZString const & path, std::ios_base::openmode mode) {
    Open(*this, buffer_, path, mode | std::ios_base::out);
}

bool KZOFileStream::close() { return Close(*this, buffer_); }
