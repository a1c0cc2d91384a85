#include "tests/support/AllocationHooks.h"

#include <cerrno>
#include <cstdlib>
#include <new>
#include <pthread.h>

namespace allocationhooks {
namespace {

constinit Counts allCounts;
constinit std::atomic<bool (*)()> predicate{nullptr};

} // namespace

bool isCounting() {
    bool (*counting)() = predicate.load(std::memory_order_relaxed);
    return counting && counting();
}

void countWhile(bool (*counting)()) {
    predicate.store(counting);
}

Counts& counts() {
    return allCounts;
}

void resetCounts() {
    allCounts.allocations = 0;
    allCounts.frees = 0;
    allCounts.locks = 0;
}

} // namespace allocationhooks

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

namespace {

void noteAllocation() {
    if (allocationhooks::isCounting()) {
        allocationhooks::counts().allocations.fetch_add(1, std::memory_order_relaxed);
    }
}

void noteFree(void* pointer) {
    if (pointer && allocationhooks::isCounting()) {
        allocationhooks::counts().frees.fetch_add(1, std::memory_order_relaxed);
    }
}

void noteLock() {
    if (allocationhooks::isCounting()) {
        allocationhooks::counts().locks.fetch_add(1, std::memory_order_relaxed);
    }
}

} // namespace

extern "C" {
void* __libc_malloc(size_t size);
void __libc_free(void* pointer);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* pointer, size_t size);
void* __libc_memalign(size_t alignment, size_t size);
// glibc's own lock, reached under its versioned name so the hook below can forward.
int zelvoraRealMutexLock(pthread_mutex_t* mutex);
__asm__(".symver zelvoraRealMutexLock,__pthread_mutex_lock@GLIBC_2.2.5");
int zelvoraRealMutexTrylock(pthread_mutex_t* mutex);
__asm__(".symver zelvoraRealMutexTrylock,__pthread_mutex_trylock@GLIBC_2.2.5");

void* malloc(size_t size) {
    noteAllocation();
    return __libc_malloc(size);
}
void free(void* pointer) {
    noteFree(pointer);
    __libc_free(pointer);
}
void* calloc(size_t count, size_t size) {
    noteAllocation();
    return __libc_calloc(count, size);
}
void* realloc(void* pointer, size_t size) {
    noteAllocation();
    return __libc_realloc(pointer, size);
}
void* memalign(size_t alignment, size_t size) {
    noteAllocation();
    return __libc_memalign(alignment, size);
}
int posix_memalign(void** result, size_t alignment, size_t size) {
    noteAllocation();
    *result = __libc_memalign(alignment, size);
    return *result ? 0 : ENOMEM;
}
void* aligned_alloc(size_t alignment, size_t size) {
    noteAllocation();
    return __libc_memalign(alignment, size);
}
int pthread_mutex_lock(pthread_mutex_t* mutex) {
    noteLock();
    return zelvoraRealMutexLock(mutex);
}
int pthread_mutex_trylock(pthread_mutex_t* mutex) {
    noteLock();
    return zelvoraRealMutexTrylock(mutex);
}
}

void* operator new(size_t size) {
    noteAllocation();
    if (void* pointer = __libc_malloc(size ? size : 1)) {
        return pointer;
    }
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    return operator new(size);
}
void operator delete(void* pointer) noexcept {
    noteFree(pointer);
    __libc_free(pointer);
}
void operator delete[](void* pointer) noexcept {
    operator delete(pointer);
}
void operator delete(void* pointer, size_t) noexcept {
    operator delete(pointer);
}
void operator delete[](void* pointer, size_t) noexcept {
    operator delete(pointer);
}

#endif
