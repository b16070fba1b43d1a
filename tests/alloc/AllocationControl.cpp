#include "AllocationControl.h"

#include <dlfcn.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

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

std::atomic<long long> live{0};
std::atomic<long long> peak{0};
std::atomic<bool> watchingPeak{false};
long long liveAtStart = 0;

// True when this allocation is the one to fail.
bool CountOne() {
    if (!counting) return false;
    ++counted;
    if (failAt != 0 && counted == failAt) {
        failedOne = true;
        return true;
    }
    return false;
}

void Added(void* p) {
    if (!p) return;
    const long long now =
        live.fetch_add(static_cast<long long>(realUsable(p))) + static_cast<long long>(realUsable(p));
    if (!watchingPeak.load(std::memory_order_relaxed)) return;
    long long seen = peak.load(std::memory_order_relaxed);
    while (now > seen && !peak.compare_exchange_weak(seen, now)) {
    }
}

void Removed(void* p) {
    if (p) live.fetch_sub(static_cast<long long>(realUsable(p)));
}

void* Allocate(size_t size) {
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

void* AllocateAligned(size_t size, size_t alignment) {
    Resolve();
    if (CountOne()) return nullptr;
    void* p = nullptr;
    if (realMemalign(&p, alignment < sizeof(void*) ? sizeof(void*) : alignment, size) != 0) return nullptr;
    Added(p);
    return p;
}

}  // namespace

extern "C" {

void* malloc(size_t size) {
    return Allocate(size);
}

void* calloc(size_t count, size_t size) {
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

void* realloc(void* old, size_t size) {
    if (FromBootstrap(old)) {
        void* p = Allocate(size);
        if (p) std::memcpy(p, old, size);
        return p;
    }
    Resolve();
    if (CountOne()) return nullptr;
    const long long before = old ? static_cast<long long>(realUsable(old)) : 0;
    void* p = realRealloc(old, size);
    if (p || size == 0) live.fetch_sub(before);
    if (p) Added(p);
    return p;
}

void free(void* p) {
    Release(p);
}

}  // extern "C"

void* operator new(size_t size) {
    void* p = Allocate(size ? size : 1);
    if (!p) throw std::bad_alloc();
    return p;
}
void* operator new[](size_t size) {
    return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size ? size : 1);
}
void* operator new[](size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size ? size : 1);
}
void* operator new(size_t size, std::align_val_t alignment) {
    void* p = AllocateAligned(size ? size : 1, static_cast<size_t>(alignment));
    if (!p) throw std::bad_alloc();
    return p;
}
void* operator new[](size_t size, std::align_val_t alignment) {
    return operator new(size, alignment);
}
void* operator new(size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return AllocateAligned(size ? size : 1, static_cast<size_t>(alignment));
}
void* operator new[](size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
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
    counted = 0;
    failAt = fail;
    failedOne = false;
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

}  // namespace AllocationControl
