// Casts around VectorCore, and the hooks for elements that are plain bytes.

#include "ZerlithCore/foundation/KZRawVector.h"

#include "ZerlithCore/foundation/detail/VectorCore.h"

#include <cstring>
#include <utility>

namespace {
using Core = KZDetail::VectorCore<KZRawVector>;
}

// A constructor can't call the hook of a derived class. So a derived class whose elements aren't copied as bytes has a
// copy constructor of its own.
KZRawVector::KZRawVector(KZRawVector const & other) : elementSize_(other.elementSize_) {
    Core::CopyFrom(*this, other);
}

KZRawVector::KZRawVector(KZRawVector && other) noexcept
    : first_(std::exchange(other.first_, nullptr))
    , last_(std::exchange(other.last_, nullptr))
    , end_(std::exchange(other.end_, nullptr))
    , elementSize_(other.elementSize_) {}

KZRawVector::~KZRawVector() { std::free(first_); }

KZRawVector & KZRawVector::operator=(KZRawVector const & other) {
    if (elementSize_ != other.elementSize_) throw std::invalid_argument("vectors of different elements");
    if (this != &other) assign(other.first_, other.last_);
    return *this;
}

void KZRawVector::insert(unsigned char * where, unsigned char const * first, unsigned char const * last) {
    Core::InsertRange(*this, where, first, last);
}

void KZRawVector::insert(unsigned char * where, unsigned int count, unsigned char const * value) {
    Core::Insert(*this, where, count,
                 [&](Unit * gap, Core::Shift const & shift) { OptFill(gap, count, shift(value)); });
}

unsigned char * KZRawVector::erase(unsigned char * first, unsigned char * last) {
    if (first == last) return first;
    unsigned char * const oldLast = last_;
    Core::Erase(*this, first, last);
    std::memset(last_, 0, static_cast<std::size_t>(oldLast - last_));
    return first;
}

unsigned char * KZRawVector::erase(unsigned char * where) {
    return where == last_ ? where : KZRawVector::erase(where, where + elementSize_);
}

unsigned char * KZRawVector::OptCopy(unsigned char const * first, unsigned char const * last,
                                     unsigned char * dest) {
    if (first == last) return dest;
    auto const span = static_cast<std::size_t>(last - first);
    std::memmove(dest, first, span);
    return dest + span;
}

void KZRawVector::OptFill(unsigned char * dest, unsigned int count, unsigned char const * value) {
    for (; count != 0; --count, dest += elementSize_) std::memmove(dest, value, elementSize_);
}

unsigned char * KZRawVector::Alloc(unsigned int count) {
    return static_cast<unsigned char *>(KZDetail::AllocZeroed(count, elementSize_));
}

void KZRawVector::DeAlloc() { std::free(first_); }

unsigned int KZRawVector::capacity() const noexcept { return first_ ? Core::Count(*this, first_, end_) : 0; }

void KZRawVector::reserve(unsigned int count) { Core::Reserve(*this, count); }

void KZRawVector::resize(unsigned int count, unsigned char const * value) {
    Core::Resize(*this, count, value);
}

void KZRawVector::pop_back() {
    if (!empty()) erase(last_ - elementSize_);
}

void KZRawVector::assign(unsigned char const * first, unsigned char const * last) {
    Core::AssignRange(*this, first, last);
}

void KZRawVector::assign(unsigned int count, unsigned char const * value) {
    Core::AssignCount(*this, count, value);
}

unsigned char * KZRawVector::insert(unsigned char * where, unsigned char const * value) {
    return Core::InsertOne(*this, where, value);
}

void KZRawVector::_Xran() const { throw std::out_of_range("Invalid KZRawVector subscript!"); }

unsigned int KZRawVector::internal_size() const noexcept {
    return first_ ? Core::Count(*this, first_, last_) : 0;
}
