#pragma once

#include "Export.h"

namespace Pelmor {

// How many steps this thread has skipped because memory ran out. Code that swallows a failed allocation
// (and so leaves a value short) notes it here; code that must not send or hand over half-built data
// compares the count before and after building it.
PELMOR_PLATFORM_API unsigned long long MemoryShortages() noexcept;
PELMOR_PLATFORM_API void NoteMemoryShortage() noexcept;

}  // namespace Pelmor
