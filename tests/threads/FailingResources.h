/// @file
/// Makes the system refuse memory.
#pragma once

/// While an object of this class exists, the calling thread gets no memory. Sanitizers have allocators of their own;
/// with them only `operator new` fails.
class FailingResources {
public:
    FailingResources();
    ~FailingResources();
    FailingResources(FailingResources const &) = delete;
    FailingResources & operator=(FailingResources const &) = delete;
};
