#pragma once

#include <cstddef>

#include "Export.h"

namespace Pelmor {

// Bounded copy in the manner of memcpy_s: copies count bytes only when count <= capacity and both
// pointers are usable; otherwise copies nothing. Returns 0 on success, EINVAL or ERANGE otherwise.
PELMOR_PLATFORM_API int memcpy(void* destination, unsigned long long capacity, const void* source,
                               unsigned long long count) noexcept;

// As the C function; a null destination does nothing.
PELMOR_PLATFORM_API void* memset(void* destination, int value, unsigned long long count) noexcept;

// As the C function; a null text compares as the empty text.
PELMOR_PLATFORM_API int wcscmp(const wchar_t* a, const wchar_t* b) noexcept;

}  // namespace Pelmor
