#include "nycert/platform/obd_env.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <queue>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

// Keeps due times far from the clock's limits.
constexpr long kMaxDelayMs = 0x7fffffffL;

struct PendingEvent {
  Clock::time_point due;
  std::uint64_t seq;  // posting order
  obd_event_fn fn;
  void* arg;
  obd_event_fn dropped;
};

// Puts the earliest due time, then the earliest posting, on top of the heap.
struct RunsLater {
  bool operator()(const PendingEvent& a, const PendingEvent& b) const {
    if (a.due != b.due) return a.due > b.due;
    return a.seq > b.seq;
  }
};

Clock::duration Millis(long ms) {
  if (ms < 0) ms = 0;
  if (ms > kMaxDelayMs) ms = kMaxDelayMs;
  return std::chrono::milliseconds(ms);
}

}  // namespace

struct obd_env {
  // Set for an environment over an application's loop; the loop fields are then unused.
  obd_sched_hook hook = nullptr;
  void* hookContext = nullptr;

  std::mutex mutex;  // guards every field below
  std::condition_variable wake;
  std::priority_queue<PendingEvent, std::vector<PendingEvent>, RunsLater> queue;
  std::uint64_t nextSeq = 0;
  bool stopRequested = false;
  bool destroying = false;
};

namespace {

using Lock = std::unique_lock<std::mutex>;

// One loop turn: runs, in order, the events due now that were posted before
// the turn began, releasing the lock around each. Ends early on a stop request.
int RunTurn(obd_env* env, Lock& lock) {
  const std::uint64_t postedBefore = env->nextSeq;
  const Clock::time_point now = Clock::now();
  int count = 0;
  while (!env->stopRequested && !env->queue.empty()) {
    const PendingEvent event = env->queue.top();
    // A later posting has a due time no earlier than now, so it sorts after
    // every event still eligible for this turn.
    if (event.due > now || event.seq >= postedBefore) break;
    env->queue.pop();
    lock.unlock();
    event.fn(event.arg);
    lock.lock();
    ++count;
  }
  return count;
}

// Sleeps until an event is due, a stop is requested or limit passes.
void WaitForWork(obd_env* env, Lock& lock, Clock::time_point limit) {
  while (!env->stopRequested) {
    const Clock::time_point now = Clock::now();
    Clock::time_point until = limit;
    if (!env->queue.empty()) {
      const Clock::time_point due = env->queue.top().due;
      if (due <= now) return;
      if (due < until) until = due;
    }
    if (limit <= now) return;
    if (until == Clock::time_point::max()) {
      env->wake.wait(lock);
    } else {
      env->wake.wait_until(lock, until);
    }
  }
}

bool HasLoop(const obd_env* env) { return env && !env->hook; }

}  // namespace

int T_event_sched(obd_env* env, obd_event_fn fn, void* arg, long delayMs) {
  return T_event_sched_e(env, fn, arg, delayMs, nullptr);
}

int T_event_sched_e(obd_env* env, obd_event_fn fn, void* arg, long delayMs, obd_event_fn dropped) {
  if (!env || !fn) return -1;
  if (env->hook) {
    const long delay = std::chrono::duration_cast<std::chrono::milliseconds>(Millis(delayMs)).count();
    return env->hook(env->hookContext, fn, arg, delay) == 0 ? 0 : -1;
  }
  std::lock_guard<std::mutex> hold(env->mutex);
  if (env->destroying) return -1;
  env->queue.push(PendingEvent{Clock::now() + Millis(delayMs), env->nextSeq++, fn, arg, dropped});
  env->wake.notify_all();
  return 0;
}

obd_env* obd_env_create() { return new obd_env; }

obd_env* obd_env_create_hooked(obd_sched_hook hook, void* hookContext) {
  if (!hook) return nullptr;
  obd_env* env = new obd_env;
  env->hook = hook;
  env->hookContext = hookContext;
  return env;
}

void obd_env_destroy(obd_env* env) {
  if (!env) return;
  std::vector<PendingEvent> pending;
  {
    std::lock_guard<std::mutex> hold(env->mutex);
    env->destroying = true;
    for (; !env->queue.empty(); env->queue.pop()) pending.push_back(env->queue.top());
  }
  for (const PendingEvent& event : pending) {
    if (event.dropped) event.dropped(event.arg);
  }
  delete env;
}

int obd_env_run(obd_env* env) {
  if (!HasLoop(env)) return -1;
  Lock lock(env->mutex);
  while (!env->stopRequested) {
    RunTurn(env, lock);
    WaitForWork(env, lock, Clock::time_point::max());
  }
  env->stopRequested = false;
  return 0;
}

int obd_env_run_once(obd_env* env, long timeoutMs) {
  if (!HasLoop(env)) return -1;
  Lock lock(env->mutex);
  WaitForWork(env, lock, Clock::now() + Millis(timeoutMs));
  const int count = RunTurn(env, lock);
  env->stopRequested = false;
  return count;
}

void obd_env_stop(obd_env* env) {
  if (!HasLoop(env)) return;
  std::lock_guard<std::mutex> hold(env->mutex);
  env->stopRequested = true;
  env->wake.notify_all();
}
