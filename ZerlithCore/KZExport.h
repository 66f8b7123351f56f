/// @file
/// The one macro that marks what the shared library, or a plug-in, shows to others.
#pragma once

#if defined(_WIN32)
#define KZ_EXPORT __declspec(dllexport)
#else
#define KZ_EXPORT __attribute__((visibility("default")))
#endif
