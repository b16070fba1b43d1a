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

// On: allocations that libcurl and OpenSSL make inside curl_easy_perform are neither counted nor
// failed; libcurl 7.88 mishandles some failures of its own there. The library's allocations, around the
// transfer and in the write callbacks it runs, are still failed one by one.
void SpareNetworkTransfers(bool spare);

// Live heap bytes and blocks of the whole process now.
long long LiveBytes();
long long LiveBlocks();

// The blocks the last counted run (Start to Stop, on its thread) allocated and nobody has freed since,
// from any thread. Read it once the run's thread has ended, so that its per-thread state is gone too.
struct Leftovers {
    long long blocks = 0;
    long long bytes = 0;
    long long firstOrdinal = 0;  // the earliest of them: which allocation of the run it was
    long long firstSize = 0;     // and its usable size
    bool overflow = false;       // more blocks were live at once than the check can follow
};
Leftovers StillLive();

}  // namespace AllocationControl
