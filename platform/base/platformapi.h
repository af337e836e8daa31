#pragma once

/// @file
/// Export macro of the shared library `platform`.

#if defined(_WIN32)
#if defined(platform_EXPORTS)
#define PLATFORM_API __declspec(dllexport)
#else
#define PLATFORM_API __declspec(dllimport)
#endif
#else
/// Marks what the library exports.
#define PLATFORM_API __attribute__((visibility("default")))
#endif
