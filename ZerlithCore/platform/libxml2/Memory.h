/// @file
/// Memory for libxml2 and libxslt, which crash in many places where they get none.
///
/// Where the system refuses memory in the middle of a LibraryCall, the libraries get it from a reserve, and the call is told.
/// So they go on, and come to an end soon, as the call stops them; what they have made meanwhile is thrown away. Outside of
/// a call they get what the system gives, so nothing changes for others in the process that use them.
///
/// Thread safety: threads may need the reserve at the same time; they share it.
#pragma once

#include <cstddef>
#include <mutex>

namespace KZPlatform::LibXml2 {

/// Puts our functions in front of those that the libraries use; the second call does nothing. A block is one of those
/// functions' or of the reserve, and either is freed rightly, whenever it was made and whoever frees it.
void UseReserve() noexcept;

/// A larger reserve as long as this object lives, for work that can't be stopped when memory is refused.
///
/// Memory of it that is still in use at the end stays for the next one.
///
/// Thread safety: the second object waits until the first one has ended.
class LargerReserve {
public:
    /// Errors: std::bad_alloc.
    explicit LargerReserve(std::size_t bytes);
    ~LargerReserve();
    LargerReserve(LargerReserve const &) = delete;
    LargerReserve & operator=(LargerReserve const &) = delete;

private:
    std::unique_lock<std::mutex> one_;
};

} // namespace KZPlatform::LibXml2
