#pragma once

/// Marks what the shared library exports; everything else in it is hidden. Empty in a static build.
#if defined(KZ3_LATTIQ_STATIC)
#define KZ3_LATTIQ_API
#elif defined(_WIN32) && defined(KZ3_LATTIQ_BUILD)
#define KZ3_LATTIQ_API __declspec(dllexport)
#elif defined(_WIN32)
#define KZ3_LATTIQ_API __declspec(dllimport)
#else
#define KZ3_LATTIQ_API __attribute__((visibility("default")))
#endif
