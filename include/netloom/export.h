#pragma once

// Symbol export for the shared library. On Windows the classes and globals are
// exported from the DLL and imported by hosts; elsewhere default visibility applies.
#if defined(NETLOOM_STATIC)
#define NETLOOM_API
#elif defined(_WIN32)
#if defined(NETLOOM_BUILDING)
#define NETLOOM_API __declspec(dllexport)
#else
#define NETLOOM_API __declspec(dllimport)
#endif
#else
#define NETLOOM_API __attribute__((visibility("default")))
#endif
