#include "nycert/platform/obclock.h"

#include <atomic>
#include <ctime>

namespace {
std::atomic<long> g_fixedTime{0};
}

long ob_time_now() {
  long fixed = g_fixedTime.load(std::memory_order_relaxed);
  return fixed != 0 ? fixed : static_cast<long>(std::time(nullptr));
}

void ob_time_set_fixed(long t) { g_fixedTime.store(t, std::memory_order_relaxed); }
