#include "AllocationControl.h"

#include <dlfcn.h>
#include <execinfo.h>
#include <link.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

// The allocator's own functions sit in a section of their own, so that a walk up the stack can step
// over them.
#define PELMOR_ALLOCATOR __attribute__((section("pelmor_allocator")))
extern "C" char __start_pelmor_allocator[];
extern "C" char __stop_pelmor_allocator[];

namespace {

using MallocFn = void* (*)(size_t);
using CallocFn = void* (*)(size_t, size_t);
using ReallocFn = void* (*)(void*, size_t);
using FreeFn = void (*)(void*);
using UsableFn = size_t (*)(void*);
using MemalignFn = int (*)(void**, size_t, size_t);

MallocFn realMalloc;
CallocFn realCalloc;
ReallocFn realRealloc;
FreeFn realFree;
UsableFn realUsable;
MemalignFn realMemalign;

// dlsym may allocate before the real functions are known; those few blocks come from here and are never
// freed.
alignas(16) char bootstrap[16384];
std::atomic<size_t> bootstrapUsed{0};
bool resolving = false;

bool FromBootstrap(const void* p) {
    return p >= static_cast<const void*>(bootstrap) &&
           p < static_cast<const void*>(bootstrap + sizeof bootstrap);
}

void* BootstrapAlloc(size_t size) {
    const size_t rounded = (size + 15) & ~size_t(15);
    const size_t at = bootstrapUsed.fetch_add(rounded);
    if (at + rounded > sizeof bootstrap) return nullptr;
    return bootstrap + at;
}

template <typename Fn>
Fn Next(const char* name) {
    return reinterpret_cast<Fn>(dlsym(RTLD_NEXT, name));
}

void Resolve() {
    if (realMalloc) return;
    resolving = true;
    realCalloc = Next<CallocFn>("calloc");
    realRealloc = Next<ReallocFn>("realloc");
    realFree = Next<FreeFn>("free");
    realUsable = Next<UsableFn>("malloc_usable_size");
    realMemalign = Next<MemalignFn>("posix_memalign");
    realMalloc = Next<MallocFn>("malloc");
    resolving = false;
}

// Per thread: plain values, so that reading them never allocates.
thread_local bool counting = false;
thread_local long long counted = 0;
thread_local long long failAt = 0;
thread_local bool failedOne = false;
// PELMOR_TORTURE_TRAP=K stops a debugger at allocation K of every failing run (the failed one, or one a
// leak report names), to see who asked for it.
long long trapAt = 0;

std::atomic<long long> live{0};
std::atomic<long long> liveBlocks{0};
std::atomic<long long> peak{0};
std::atomic<bool> watchingPeak{false};
long long liveAtStart = 0;

// The blocks a counted run allocated and has not freed yet: what would be a leak if they outlive the
// run. Open addressing with linear probing in static storage, so that keeping it allocates nothing.
struct TrackedBlock {
    void* block;
    size_t size;
    long long ordinal;  // which allocation of the run (1 = the first)
};
constexpr size_t kTrackedSlots = size_t(1) << 16;
TrackedBlock tracked[kTrackedSlots];
size_t trackedCount = 0;
bool trackedOverflow = false;
std::atomic_flag trackedLock = ATOMIC_FLAG_INIT;
std::atomic<bool> anyTracked{false};

class TrackedGuard {
  public:
    TrackedGuard() {
        while (trackedLock.test_and_set(std::memory_order_acquire)) {
        }
    }
    ~TrackedGuard() { trackedLock.clear(std::memory_order_release); }
};

size_t SlotOf(const void* block) {
    return (reinterpret_cast<uintptr_t>(block) >> 4) * 0x9E3779B97F4A7C15ull >> (64 - 16);
}

void Track(void* block, size_t size, long long ordinal) {
    TrackedGuard guard;
    if (trackedCount + 1 >= kTrackedSlots / 2) {
        trackedOverflow = true;
        return;
    }
    size_t slot = SlotOf(block);
    while (tracked[slot].block)
        slot = (slot + 1) & (kTrackedSlots - 1);
    tracked[slot] = {block, size, ordinal};
    ++trackedCount;
    anyTracked.store(true, std::memory_order_relaxed);
}

// Removes block if it is tracked; moves later members of its probe run back into the gap so that no
// lookup stops early.
void Untrack(const void* block) {
    if (!anyTracked.load(std::memory_order_relaxed)) return;
    TrackedGuard guard;
    size_t slot = SlotOf(block);
    while (tracked[slot].block && tracked[slot].block != block)
        slot = (slot + 1) & (kTrackedSlots - 1);
    if (!tracked[slot].block) return;
    tracked[slot] = {};
    --trackedCount;
    for (size_t next = (slot + 1) & (kTrackedSlots - 1); tracked[next].block;
         next = (next + 1) & (kTrackedSlots - 1)) {
        const size_t home = SlotOf(tracked[next].block);
        // Move it back when its home is not in the cyclic range (slot, next].
        const bool homeInRange = slot < next ? (home > slot && home <= next) : (home > slot || home <= next);
        if (homeInRange) continue;
        tracked[slot] = tracked[next];
        tracked[next] = {};
        slot = next;
    }
}

void ForgetTracked() {
    TrackedGuard guard;
    std::memset(static_cast<void*>(tracked), 0, sizeof tracked);
    trackedCount = 0;
    trackedOverflow = false;
    anyTracked.store(false, std::memory_order_relaxed);
}

// Inside libcurl's transfer on this thread (see curl_easy_perform below), and whether allocations made
// there by libcurl and OpenSSL are spared.
thread_local int insideTransfer = 0;
bool spareTransfers = false;

// Where code lies: the library's own (this executable, which links its objects, and its platform
// layer) and the network libraries'. Filled when sparing is turned on.
struct CodeRange {
    uintptr_t begin;
    uintptr_t end;
};
CodeRange libraryCode[16];
int libraryRanges = 0;
CodeRange networkCode[16];
int networkRanges = 0;

bool Within(const CodeRange* ranges, int count, uintptr_t pc) {
    for (int i = 0; i < count; ++i)
        if (pc >= ranges[i].begin && pc < ranges[i].end) return true;
    return false;
}

int NoteCodeRanges(dl_phdr_info* info, size_t, void*) {
    const char* name = info->dlpi_name ? info->dlpi_name : "";
    const bool library =
        !*name || std::strstr(name, "libPelmorSocket") || std::strstr(name, "libPelmorPlatform");
    const bool network =
        std::strstr(name, "libcurl") || std::strstr(name, "libssl") || std::strstr(name, "libcrypto");
    if (!library && !network) return 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = info->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD || !(segment.p_flags & PF_X)) continue;
        const CodeRange range{info->dlpi_addr + segment.p_vaddr,
                              info->dlpi_addr + segment.p_vaddr + segment.p_memsz};
        if (library && libraryRanges < 16) libraryCode[libraryRanges++] = range;
        if (network && networkRanges < 16) networkCode[networkRanges++] = range;
    }
    return 0;
}

// Whether the library asked for this allocation inside a transfer (its write callback, say) rather than
// libcurl or OpenSSL: the nearest caller outside this allocator and the C and C++ runtimes decides. A few
// frames are enough; deeper than that (compression inside libcurl) counts as the network's.
PELMOR_ALLOCATOR bool AskedByTheLibrary() {
    thread_local bool walking = false;
    if (walking) return false;
    walking = true;
    void* frames[10];
    const int depth = backtrace(frames, 10);
    walking = false;
    for (int i = 0; i < depth; ++i) {
        const auto pc = reinterpret_cast<uintptr_t>(frames[i]);
        if (pc >= reinterpret_cast<uintptr_t>(__start_pelmor_allocator) &&
            pc < reinterpret_cast<uintptr_t>(__stop_pelmor_allocator))
            continue;
        if (Within(networkCode, networkRanges, pc)) return false;
        if (Within(libraryCode, libraryRanges, pc)) return true;
    }
    return false;
}

// True when this allocation is the one to fail.
PELMOR_ALLOCATOR bool CountOne() {
    if (!counting) return false;
    if (spareTransfers && insideTransfer > 0 && !AskedByTheLibrary()) return false;
    ++counted;
    if (counted == trapAt && failAt != 0) std::raise(SIGTRAP);
    if (failAt != 0 && counted == failAt) {
        failedOne = true;
        return true;
    }
    return false;
}

void Added(void* p) {
    if (!p) return;
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    if (counting) Track(p, realUsable(p), counted);
    const long long now =
        live.fetch_add(static_cast<long long>(realUsable(p))) + static_cast<long long>(realUsable(p));
    if (!watchingPeak.load(std::memory_order_relaxed)) return;
    long long seen = peak.load(std::memory_order_relaxed);
    while (now > seen && !peak.compare_exchange_weak(seen, now)) {
    }
}

void Removed(void* p) {
    if (!p) return;
    liveBlocks.fetch_sub(1, std::memory_order_relaxed);
    Untrack(p);
    live.fetch_sub(static_cast<long long>(realUsable(p)));
}

PELMOR_ALLOCATOR void* Allocate(size_t size) {
    if (resolving) return BootstrapAlloc(size);
    Resolve();
    if (CountOne()) return nullptr;
    void* p = realMalloc(size);
    Added(p);
    return p;
}

void Release(void* p) {
    if (!p || FromBootstrap(p)) return;
    Resolve();
    Removed(p);
    realFree(p);
}

PELMOR_ALLOCATOR void* AllocateAligned(size_t size, size_t alignment) {
    Resolve();
    if (CountOne()) return nullptr;
    void* p = nullptr;
    if (realMemalign(&p, alignment < sizeof(void*) ? sizeof(void*) : alignment, size) != 0) return nullptr;
    Added(p);
    return p;
}

}  // namespace

extern "C" {

PELMOR_ALLOCATOR void* malloc(size_t size) {
    return Allocate(size);
}

PELMOR_ALLOCATOR void* calloc(size_t count, size_t size) {
    if (resolving) {
        void* p = BootstrapAlloc(count * size);
        if (p) std::memset(p, 0, count * size);
        return p;
    }
    Resolve();
    if (CountOne()) return nullptr;
    void* p = realCalloc(count, size);
    Added(p);
    return p;
}

PELMOR_ALLOCATOR void* realloc(void* old, size_t size) {
    if (FromBootstrap(old)) {
        void* p = Allocate(size);
        if (p) std::memcpy(p, old, size);
        return p;
    }
    Resolve();
    if (CountOne()) return nullptr;
    const long long before = old ? static_cast<long long>(realUsable(old)) : 0;
    void* p = realRealloc(old, size);
    if (p || size == 0) {
        if (old) {
            liveBlocks.fetch_sub(1, std::memory_order_relaxed);
            Untrack(old);
        }
        live.fetch_sub(before);
    }
    if (p) Added(p);
    return p;
}

void free(void* p) {
    Release(p);
}

// Stands in for libcurl's, which the library calls through its import table, to know when an
// allocation is made by a transfer in progress rather than by the library itself.
int curl_easy_perform(void* handle) {
    using PerformFn = int (*)(void*);
    static const PerformFn real = Next<PerformFn>("curl_easy_perform");
    ++insideTransfer;
    const int code = real(handle);
    --insideTransfer;
    return code;
}

}  // extern "C"

PELMOR_ALLOCATOR void* operator new(size_t size) {
    void* p = Allocate(size ? size : 1);
    if (!p) throw std::bad_alloc();
    return p;
}
PELMOR_ALLOCATOR void* operator new[](size_t size) {
    return operator new(size);
}
PELMOR_ALLOCATOR void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size ? size : 1);
}
PELMOR_ALLOCATOR void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size ? size : 1);
}
PELMOR_ALLOCATOR void* operator new(size_t size, std::align_val_t alignment) {
    void* p = AllocateAligned(size ? size : 1, static_cast<size_t>(alignment));
    if (!p) throw std::bad_alloc();
    return p;
}
PELMOR_ALLOCATOR void* operator new[](size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
}
PELMOR_ALLOCATOR void* operator new(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return AllocateAligned(size ? size : 1, static_cast<size_t>(alignment));
}
PELMOR_ALLOCATOR void* operator new[](size_t size, std::align_val_t alignment,
                                      const std::nothrow_t&) noexcept {
    return AllocateAligned(size ? size : 1, static_cast<size_t>(alignment));
}
void operator delete(void* p) noexcept {
    Release(p);
}
void operator delete[](void* p) noexcept {
    Release(p);
}
void operator delete(void* p, size_t) noexcept {
    Release(p);
}
void operator delete[](void* p, size_t) noexcept {
    Release(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    Release(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    Release(p);
}
void operator delete(void* p, std::align_val_t) noexcept {
    Release(p);
}
void operator delete[](void* p, std::align_val_t) noexcept {
    Release(p);
}
void operator delete(void* p, size_t, std::align_val_t) noexcept {
    Release(p);
}
void operator delete[](void* p, size_t, std::align_val_t) noexcept {
    Release(p);
}

namespace AllocationControl {

void Start(long long fail) {
    static const char* const trap = std::getenv("PELMOR_TORTURE_TRAP");
    trapAt = trap ? std::atoll(trap) : 0;
    counted = 0;
    failAt = fail;
    failedOne = false;
    ForgetTracked();
    liveAtStart = live.load();
    peak.store(liveAtStart);
    watchingPeak.store(true);
    counting = true;
}

Figures Stop() {
    counting = false;
    watchingPeak.store(false);
    Figures figures;
    figures.allocations = counted;
    figures.failed = failedOne;
    figures.peakBytes = peak.load() - liveAtStart;
    failAt = 0;
    return figures;
}

void Pause() {
    counting = false;
}

void Resume() {
    counting = true;
}

long long LiveBytes() {
    return live.load();
}

long long LiveBlocks() {
    return liveBlocks.load();
}

void SpareNetworkTransfers(bool spare) {
    if (spare && libraryRanges == 0) {
        dl_iterate_phdr(NoteCodeRanges, nullptr);
        void* warm[1];
        backtrace(warm, 1);  // its first call loads the unwinder, which allocates
    }
    spareTransfers = spare;
}

Leftovers StillLive() {
    TrackedGuard guard;
    Leftovers left;
    left.overflow = trackedOverflow;
    for (const TrackedBlock& entry : tracked) {
        if (!entry.block) continue;
        ++left.blocks;
        left.bytes += static_cast<long long>(entry.size);
        if (left.firstOrdinal == 0 || entry.ordinal < left.firstOrdinal) {
            left.firstOrdinal = entry.ordinal;
            left.firstSize = static_cast<long long>(entry.size);
        }
    }
    return left;
}

}  // namespace AllocationControl
