#pragma once

/// The export mark of every class and function of the foundation and of the database that a host calls.
///
/// The foundation's objects are part of the shared library db2, so both export from the same binary:
/// - KQDB_STATIC is defined by whoever builds or links the libraries statically; nothing is marked then.
/// - KQDB_BUILDING is defined while the library itself is compiled, never by a host.
/// Templates are instantiated where they are used and need no mark.
#if defined(KQDB_STATIC)
#define KQ_API
#elif defined(_WIN32)
#if defined(KQDB_BUILDING)
#define KQ_API __declspec(dllexport)
#else
#define KQ_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define KQ_API __attribute__((visibility("default")))
#else
#define KQ_API
#endif

/// Keeps rare work out of what calls it, which stays short.
#if defined(__GNUC__)
#define KQ_NOINLINE __attribute__((noinline))
#elif defined(_MSC_VER)
#define KQ_NOINLINE __declspec(noinline)
#else
#define KQ_NOINLINE
#endif
