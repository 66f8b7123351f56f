#include "ZerlithCore/threads/KZCallback.h"

KZCallbackArgs::~KZCallbackArgs() = default;

unsigned long KZCallbackArgs::Release() const {
    unsigned long const left = count_.Decrement();
    if (left == 0) delete this;
    return left;
}

KZCallback::KZCallback(KZString const & name, KZCallbackArgs * args) : name_(name), args_(args) {}

KZCallback::~KZCallback() = default;

void KZCallback::operator()() { (*this)(args_); }

unsigned long KZCallback::Release() const {
    unsigned long const left = count_.Decrement();
    if (left == 0) delete this;
    return left;
}
