// Counting allocator: malloc, calloc, realloc and free are replaced by
// wrappers over glibc's own, which every allocation in the process reaches:
// operator new, OpenSSL's CRYPTO_malloc and the library's direct mallocs
// alike. Aligned allocations (posix_memalign and friends) are not counted;
// neither nycert nor OpenSSL makes them on the paths measured.
//
// The counters are bumped with a plain load and store, not a locked add: a
// locked add costs about as much as a small allocation itself and would be
// charged to whichever library allocates most. Threads allocating at once
// may then lose counts, so only single-threaded benchmarks report them.
#include "nycert/bench/alloc_count.h"

#include <atomic>
#include <cstddef>

extern "C" {
void* __libc_malloc(size_t n);
void* __libc_calloc(size_t count, size_t n);
void* __libc_realloc(void* p, size_t n);
void __libc_free(void* p);
}

namespace {

std::atomic<uint64_t> g_allocs{0};
std::atomic<uint64_t> g_bytes{0};

void Count(size_t n) {
  g_allocs.store(g_allocs.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  g_bytes.store(g_bytes.load(std::memory_order_relaxed) + n, std::memory_order_relaxed);
}

}  // namespace

extern "C" {

void* malloc(size_t n) {
  Count(n);
  return __libc_malloc(n);
}

void* calloc(size_t count, size_t n) {
  Count(count * n);
  return __libc_calloc(count, n);
}

// A reallocation counts as one allocation of the new size.
void* realloc(void* p, size_t n) {
  if (n) Count(n);
  return __libc_realloc(p, n);
}

void free(void* p) { __libc_free(p); }

}  // extern "C"

AllocTotals AllocTotalsNow() {
  return {g_allocs.load(std::memory_order_relaxed), g_bytes.load(std::memory_order_relaxed)};
}

void SetAllocCounters(benchmark::State& state, const AllocTotals& before, int64_t itemsPerIteration) {
  const AllocTotals after = AllocTotalsNow();
  const int64_t items = state.iterations() * itemsPerIteration;
  state.SetItemsProcessed(items);
  if (items <= 0) return;
  state.counters["allocs"] = static_cast<double>(after.allocs - before.allocs) / static_cast<double>(items);
  state.counters["bytes"] = static_cast<double>(after.bytes - before.bytes) / static_cast<double>(items);
}
