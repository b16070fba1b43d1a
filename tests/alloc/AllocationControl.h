#pragma once

#include <cstddef>

// This test binary's own malloc, calloc, realloc, free and operator new/delete. They count the
// allocations the calling thread makes while counting is on, can fail one of them on purpose, and keep
// the process's live heap bytes and their peak. Libraries loaded into the process (Qt, libcurl,
// OpenSSL, Boost.JSON, the library under test) all allocate through them.
namespace AllocationControl {

struct Figures {
    long long allocations = 0;  // allocations this thread asked for while counting
    bool failed = false;        // whether the chosen one was failed
    long long peakBytes = 0;    // highest live heap bytes above those live at Start
};

// Starts counting on this thread; failAt > 0 fails that allocation (1 = the first) and no other.
void Start(long long failAt = 0);
// Stops and reports.
Figures Stop();
// Counting pauses while the test itself talks to the emulator, and resumes with the same count.
void Pause();
void Resume();

// Live heap bytes of the whole process now.
long long LiveBytes();

}  // namespace AllocationControl
