#include "ZerlithCore/threads/KZCallback.h"

KZCallbackArgs::~KZCallbackArgs() = default;

KZCallback::KZCallback(KZString const & name, KZCallbackArgs * args) : name_(name), args_(args) {}

KZCallback::~KZCallback() = default;

void KZCallback::operator()() { (*this)(args_); }
