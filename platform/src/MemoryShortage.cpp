#include "pelmor/platform/MemoryShortage.h"

namespace {
// Trivially destructible, so no per-thread destructor has to be registered (which can itself fail).
thread_local unsigned long long shortages = 0;
}  // namespace

namespace Pelmor {

unsigned long long MemoryShortages() noexcept {
    return shortages;
}

void NoteMemoryShortage() noexcept {
    ++shortages;
}

}  // namespace Pelmor
