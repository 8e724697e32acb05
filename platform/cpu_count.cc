#include "nycert/platform/cpu_count.h"

#include <unistd.h>

#include <atomic>

namespace {
std::atomic<int> g_fixedCount{0};
}

int ob_num_processors() {
  int fixed = g_fixedCount.load(std::memory_order_relaxed);
  if (fixed != 0) return fixed;
  long online = sysconf(_SC_NPROCESSORS_ONLN);
  return online > 0 ? static_cast<int>(online) : -1;
}

void ob_num_processors_set_fixed(int n) { g_fixedCount.store(n, std::memory_order_relaxed); }
