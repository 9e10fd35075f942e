#pragma once

/// Marks what the JSON format exports. KQDB_STATIC and the platforms are as in kqtl/Export.h; KQDB_JSON_BUILDING is
/// defined while this library itself is compiled, never by a host.
#if defined(KQDB_STATIC)
#define DB2JSON_API
#elif defined(_WIN32)
#if defined(KQDB_JSON_BUILDING)
#define DB2JSON_API __declspec(dllexport)
#else
#define DB2JSON_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define DB2JSON_API __attribute__((visibility("default")))
#else
#define DB2JSON_API
#endif
