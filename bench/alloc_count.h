// Heap accounting for the benchmarks: malloc and its siblings are replaced
// (alloc_count.cc), so allocations by nycert and by OpenSSL are counted alike.
#ifndef NYCERT_BENCH_ALLOC_COUNT_H_
#define NYCERT_BENCH_ALLOC_COUNT_H_

#include <benchmark/benchmark.h>

#include <cstdint>

struct AllocTotals {
  uint64_t allocs = 0;
  uint64_t bytes = 0;  // as requested
};

// The allocations made since the program started.
AllocTotals AllocTotalsNow();

// Reports itemsPerIteration items per iteration processed and, per item, the
// allocations ("allocs") and bytes ("bytes") made since before.
void SetAllocCounters(benchmark::State& state, const AllocTotals& before, int64_t itemsPerIteration);

// The timed loop, running body once per iteration, with the counters above.
template <class Body>
void CountedLoop(benchmark::State& state, int64_t itemsPerIteration, Body&& body) {
  const AllocTotals before = AllocTotalsNow();
  for (auto _ : state) body();
  SetAllocCounters(state, before, itemsPerIteration);
}

#endif  // NYCERT_BENCH_ALLOC_COUNT_H_
