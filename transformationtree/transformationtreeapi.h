#pragma once

/// @file
/// Export macro of the shared library `transformationtree`.

#if defined(_WIN32)
#if defined(transformationtree_EXPORTS)
#define TRANSFORMATIONTREE_API __declspec(dllexport)
#else
#define TRANSFORMATIONTREE_API __declspec(dllimport)
#endif
#else
/// Marks what the library exports.
#define TRANSFORMATIONTREE_API __attribute__((visibility("default")))
#endif
