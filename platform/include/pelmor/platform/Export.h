#pragma once

// Symbols of the platform layer that its users (the library, tools, tests) link against.
#if defined(_WIN32)
#define PELMOR_PLATFORM_API __declspec(dllexport)
#else
#define PELMOR_PLATFORM_API __attribute__((visibility("default")))
#endif
