// Casts around VectorCore. Elements are moved as bytes and never read here: only the typed layer knows their real type.

#include "ZerlithCore/foundation/KZVoidPtrVector.h"

#include "ZerlithCore/foundation/detail/VectorCore.h"

#include <cstring>
#include <utility>

namespace {
using Core = KZDetail::VectorCore<KZVoidPtrVector>;
}

KZVoidPtrVector::KZVoidPtrVector(KZVoidPtrVector const & other) { Core::CopyFrom(*this, other); }

KZVoidPtrVector::KZVoidPtrVector(KZVoidPtrVector && other) noexcept
    : first_(std::exchange(other.first_, nullptr))
    , last_(std::exchange(other.last_, nullptr))
    , end_(std::exchange(other.end_, nullptr)) {}

KZVoidPtrVector::~KZVoidPtrVector() { DeAlloc(); }

KZVoidPtrVector & KZVoidPtrVector::operator=(KZVoidPtrVector const & other) {
    if (this != &other) assign(other.first_, other.last_);
    return *this;
}

void KZVoidPtrVector::insert(void ** where, void * const * first, void * const * last) {
    Core::InsertRange(*this, where, first, last);
}

void KZVoidPtrVector::insert(void ** where, unsigned int count, void * value) {
    Core::Insert(*this, where, count, [&](Unit * gap, Core::Shift const &) { OptFill(gap, count, value); });
}

void ** KZVoidPtrVector::erase(void ** first, void ** last) { return Core::Erase(*this, first, last); }

void ** KZVoidPtrVector::erase(void ** where) {
    return where == last_ ? where : Core::Erase(*this, where, where + 1);
}

void ** KZVoidPtrVector::OptCopy(void * const * first, void * const * last, void ** dest) {
    if (first == last) return dest;
    std::memmove(dest, first, static_cast<std::size_t>(last - first) * sizeof(void *));
    return dest + (last - first);
}

void KZVoidPtrVector::OptFill(void ** dest, unsigned int count, void * value) {
    for (; count != 0; --count, ++dest) std::memcpy(dest, &value, sizeof value);
}

unsigned int KZVoidPtrVector::capacity() const noexcept {
    return first_ ? Core::Count(*this, first_, end_) : 0;
}

void KZVoidPtrVector::reserve(unsigned int count) { Core::Reserve(*this, count); }

void KZVoidPtrVector::resize(unsigned int count, void * value) { Core::Resize(*this, count, value); }

void KZVoidPtrVector::pop_back() {
    if (!empty()) erase(last_ - 1);
}

void KZVoidPtrVector::assign(void * const * first, void * const * last) {
    Core::AssignRange(*this, first, last);
}

void KZVoidPtrVector::assign(unsigned int count, void * value) { Core::AssignCount(*this, count, value); }

void ** KZVoidPtrVector::insert(void ** where, void * value) { return Core::InsertOne(*this, where, value); }

void KZVoidPtrVector::_Xran() const { throw std::out_of_range("Invalid KZVoidPtrVector subscript!"); }

unsigned int KZVoidPtrVector::internal_size() const noexcept {
    return first_ ? Core::Count(*this, first_, last_) : 0;
}

void ** KZVoidPtrVector::Alloc(unsigned int count) {
    return static_cast<void **>(KZDetail::AllocZeroed(count, sizeof(void *)));
}

void KZVoidPtrVector::DeAlloc() noexcept { std::free(first_); }
