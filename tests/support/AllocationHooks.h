#pragma once

// Process-wide hooks over the allocator (malloc and its kin, operator new and delete) and
// pthread_mutex_lock, for the executables that check that a code path never allocates,
// frees or locks. AllocationHooks.cpp is compiled into each such executable (never into
// the shared support library, as it replaces the allocator of the whole process). A call
// counts while the installed predicate holds on the calling thread. Sanitizer builds keep
// their own allocator: there the hooks are left out and nothing is counted.

#include <atomic>

namespace allocationhooks {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kActive = false;
#else
inline constexpr bool kActive = true;
#endif

struct Counts {
    std::atomic<long long> allocations{0};
    std::atomic<long long> frees{0};
    std::atomic<long long> locks{0};
};

// Which calls count: those made while `counting()` returns true; null counts none.
void countWhile(bool (*counting)());
// Whether a call made now on this thread counts.
bool isCounting();
Counts& counts();
void resetCounts();

} // namespace allocationhooks
