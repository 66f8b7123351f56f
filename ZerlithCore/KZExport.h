/// @file
/// The one macro that marks what the shared library, or a plug-in, shows to others.
#pragma once

// Told by the format of programs, so that no room beside platform/ asks for the system.
#if defined(__ELF__)
#define KZ_EXPORT __attribute__((visibility("default")))
#else
#define KZ_EXPORT __declspec(dllexport)
#endif
