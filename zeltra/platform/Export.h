// Marks what the shared library shows to programs.
// SPDX-License-Identifier: MIT
#ifndef ZELTRA_PLATFORM_EXPORT_H_
#define ZELTRA_PLATFORM_EXPORT_H_

// Everything is built with hidden visibility, so a missing ZELTRA_API fails on every system, not just on Windows.
#if defined(_WIN32)
#if defined(ZELTRA_BUILDING_LIBRARY)
#define ZELTRA_API __declspec(dllexport)
#else
#define ZELTRA_API __declspec(dllimport)
#endif
#else
#define ZELTRA_API __attribute__((visibility("default")))
#endif

// ZELTRA_EXPORT_TEMPLATE(X<T>); in a header announces an instantiation that one source defines by a plain
// `template class X<T>;`. GCC for Windows exports only members that are defined outside the class body, and programs
// would not find the others, so on Windows each program instantiates what it calls.
#if defined(_WIN32) && !defined(ZELTRA_BUILDING_LIBRARY)
#define ZELTRA_EXPORT_TEMPLATE(...) static_assert(true)
#else
#define ZELTRA_EXPORT_TEMPLATE(...) extern template class ZELTRA_API __VA_ARGS__
#endif

#endif  // ZELTRA_PLATFORM_EXPORT_H_
