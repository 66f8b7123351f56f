#include "ZerlithCore/files/KZFileStream.h"

namespace {

void Open(std::wios & stream, KZFileStreamBuf & buffer, KZString const & path, std::ios_base::openmode mode,
          KZTextEncoding encoding) {
    if (buffer.open(path, mode, encoding)) {
        stream.clear();
    } else {
        stream.setstate(std::ios_base::failbit);
    }
}

bool Close(std::wios & stream, KZFileStreamBuf & buffer) {
    // If memory ran out while a number or text was being formatted, the stream is bad although the buffer has seen no error.
    bool const isWhole = buffer.close() && !stream.bad();
    if (!isWhole) stream.setstate(std::ios_base::failbit);
    return isWhole;
}

} // namespace

KZFileStream::KZFileStream(KZString const & path, std::ios_base::openmode mode, KZTextEncoding encoding)
    : KZFileStream() {
    open(path, mode, encoding);
}

KZFileStream::~KZFileStream() = default;

void KZFileStream::open(KZString const & path, std::ios_base::openmode mode, KZTextEncoding encoding) {
    Open(*this, buffer_, path, mode, encoding);
}

bool KZFileStream::close() { return Close(*this, buffer_); }

KZOFileStream::KZOFileStream(KZString const & path, std::ios_base::openmode mode, KZTextEncoding encoding)
    : KZOFileStream() {
    open(path, mode, encoding);
}

KZOFileStream::~KZOFileStream() = default;

void KZOFileStream::open(KZString const & path, std::ios_base::openmode mode, KZTextEncoding encoding) {
    Open(*this, buffer_, path, mode | std::ios_base::out, encoding);
}

bool KZOFileStream::close() { return Close(*this, buffer_); }
