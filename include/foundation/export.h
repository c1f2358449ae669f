#pragma once

/// @def PTMATCH_EXPORT
/// Marks the classes and functions that the shared library exports; everything else stays hidden.
#if defined(_WIN32)
#if defined(PTMATCH_BUILDING)
#define PTMATCH_EXPORT __declspec(dllexport)
#else
#define PTMATCH_EXPORT __declspec(dllimport)
#endif
#else
#define PTMATCH_EXPORT __attribute__((visibility("default")))
#endif
