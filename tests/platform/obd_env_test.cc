// The event environment: its own loop, cross-thread posting and the hooked form.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "nycert/platform/obd_env.h"

namespace {

using Millis = std::chrono::milliseconds;
using SteadyClock = std::chrono::steady_clock;

// An event that appends its label to a shared log and may stop the loop.
struct Labelled {
  std::string* log;
  const char* label;
  obd_env* stopEnv;
};

void Append(void* arg) {
  Labelled* event = static_cast<Labelled*>(arg);
  *event->log += std::string(event->label) + " ";
  if (event->stopEnv) obd_env_stop(event->stopEnv);
}

void Count(void* arg) { ++*static_cast<std::atomic<int>*>(arg); }

struct EnvHolder {
  obd_env* env = obd_env_create();
  ~EnvHolder() { obd_env_destroy(env); }
};

// An event that reposts itself with delay 0 and notes whether the repost ran
// inside the scheduling call.
struct Repost {
  obd_env* env;
  int runs = 0;
  bool ranInline = false;
};

void RepostSelf(void* arg) {
  Repost* r = static_cast<Repost*>(arg);
  const int runs = ++r->runs;
  T_event_sched(r->env, RepostSelf, r, 0);
  if (r->runs != runs) r->ranInline = true;
}

long MillisSince(SteadyClock::time_point start) {
  return static_cast<long>(std::chrono::duration_cast<Millis>(SteadyClock::now() - start).count());
}

}  // namespace

TEST(ObdEnvLoop, RunsByDueTimeThenPostingOrderUntilStopped) {
  EnvHolder h;
  std::string log;
  std::vector<Labelled> events = {{&log, "d30", nullptr}, {&log, "a0", nullptr},   {&log, "c10", nullptr},
                                  {&log, "b0", nullptr},  {&log, "c10'", nullptr}, {&log, "stop", h.env},
                                  {&log, "after", nullptr}};
  const long delays[] = {30, 0, 10, -5, 10, 40, 41};  // a negative delay counts as 0
  for (size_t i = 0; i < events.size(); ++i) ASSERT_EQ(T_event_sched(h.env, Append, &events[i], delays[i]), 0);
  EXPECT_EQ(obd_env_run(h.env), 0);
  EXPECT_EQ(log, "a0 b0 c10 c10' d30 stop ");
  // The stop ends the loop after its own event; the rest stays queued.
  EXPECT_EQ(obd_env_run_once(h.env, 1000), 1);
  EXPECT_EQ(log, "a0 b0 c10 c10' d30 stop after ");
}

TEST(ObdEnvLoop, DelayZeroWaitsForTheNextTurn) {
  EnvHolder h;
  Repost r{h.env};
  ASSERT_EQ(T_event_sched(h.env, RepostSelf, &r, 0), 0);
  EXPECT_EQ(r.runs, 0);
  // Each turn runs only what was posted before it: a self-reposting event runs
  // once per turn instead of spinning inside one.
  for (int turn = 1; turn <= 3; ++turn) {
    EXPECT_EQ(obd_env_run_once(h.env, 0), 1);
    EXPECT_EQ(r.runs, turn);
  }
  EXPECT_FALSE(r.ranInline);
}

TEST(ObdEnvLoop, RunOnceWaitsUpToItsTimeout) {
  EnvHolder h;
  std::atomic<int> count{0};
  SteadyClock::time_point start = SteadyClock::now();
  EXPECT_EQ(obd_env_run_once(h.env, 30), 0);
  EXPECT_GE(MillisSince(start), 30);
  ASSERT_EQ(T_event_sched(h.env, Count, &count, 20), 0);
  EXPECT_EQ(obd_env_run_once(h.env, 0), 0);  // not yet due
  start = SteadyClock::now();
  EXPECT_EQ(obd_env_run_once(h.env, 5000), 1);
  EXPECT_LT(MillisSince(start), 2000);  // woke for the event, not the timeout
  EXPECT_EQ(count.load(), 1);
}

TEST(ObdEnvLoop, StopFromAnotherThreadOrBeforeRunEndsOneRun) {
  EnvHolder h;
  std::thread stopper([&] {
    std::this_thread::sleep_for(Millis(20));
    obd_env_stop(h.env);
  });
  EXPECT_EQ(obd_env_run(h.env), 0);  // idle loop woken by the stop
  stopper.join();
  std::atomic<int> count{0};
  obd_env_stop(h.env);
  ASSERT_EQ(T_event_sched(h.env, Count, &count, 0), 0);
  EXPECT_EQ(obd_env_run(h.env), 0);  // the earlier request ends this run at once
  EXPECT_EQ(count.load(), 0);
  EXPECT_EQ(obd_env_run_once(h.env, 0), 1);  // consumed: the event now runs
}

TEST(ObdEnvLoop, EventsPostedFromOtherThreadsRunOnTheLoopThread) {
  EnvHolder h;
  constexpr int kThreads = 4, kEach = 200;
  struct Shared {
    obd_env* env;
    std::thread::id loopThread;
    std::atomic<int> runs{0}, offLoop{0};
  } shared;
  shared.env = h.env;
  shared.loopThread = std::this_thread::get_id();
  obd_event_fn onLoop = [](void* arg) {
    Shared* s = static_cast<Shared*>(arg);
    if (std::this_thread::get_id() != s->loopThread) ++s->offLoop;
    if (++s->runs == kThreads * kEach) obd_env_stop(s->env);
  };
  std::vector<std::thread> posters;
  for (int t = 0; t < kThreads; ++t) {
    posters.emplace_back([&shared, onLoop, t] {
      for (int i = 0; i < kEach; ++i) {
        if (i % 50 == 0) std::this_thread::sleep_for(Millis(1));  // let the loop go idle now and then
        T_event_sched(shared.env, onLoop, &shared, (i + t) % 3);
      }
    });
  }
  EXPECT_EQ(obd_env_run(h.env), 0);
  for (std::thread& poster : posters) poster.join();
  EXPECT_EQ(shared.runs.load(), kThreads * kEach);
  EXPECT_EQ(shared.offLoop.load(), 0);
}

TEST(ObdEnvLoop, DestroyHandsPendingArgumentsToTheirDropHandlers) {
  obd_env* env = obd_env_create();
  struct Drops {
    obd_env* env;
    int dropped = 0, repostResult = 0;
  } drops{env};
  obd_event_fn never = [](void*) { FAIL() << "a dropped event ran"; };
  obd_event_fn freeString = [](void* arg) { delete static_cast<std::string*>(arg); };
  obd_event_fn noteDrop = [](void* arg) {
    Drops* d = static_cast<Drops*>(arg);
    ++d->dropped;
    d->repostResult = T_event_sched(d->env, [](void*) {}, nullptr, 0);
  };
  // Heap arguments: the sanitizer build reports any that is not freed.
  ASSERT_EQ(T_event_sched_e(env, never, new std::string("due now"), 0, freeString), 0);
  ASSERT_EQ(T_event_sched_e(env, never, new std::string("due later"), 60000, freeString), 0);
  ASSERT_EQ(T_event_sched_e(env, never, &drops, 10, noteDrop), 0);
  ASSERT_EQ(T_event_sched(env, never, nullptr, 0), 0);  // no handler: simply discarded
  obd_env_destroy(env);
  EXPECT_EQ(drops.dropped, 1);
  EXPECT_EQ(drops.repostResult, -1);  // a stopping environment refuses new events
}

TEST(ObdEnvLoop, NullArgumentsAreRefused) {
  EnvHolder h;
  obd_event_fn nothing = [](void*) {};
  EXPECT_EQ(T_event_sched(nullptr, nothing, nullptr, 0), -1);
  EXPECT_EQ(T_event_sched(h.env, nullptr, nullptr, 0), -1);
  EXPECT_EQ(T_event_sched_e(h.env, nullptr, nullptr, 0, nothing), -1);
  EXPECT_EQ(obd_env_run(nullptr), -1);
  EXPECT_EQ(obd_env_run_once(nullptr, 0), -1);
  obd_env_stop(nullptr);
  obd_env_destroy(nullptr);
  EXPECT_EQ(obd_env_create_hooked(nullptr, nullptr), nullptr);
}

namespace {

struct HandedOver {
  obd_event_fn fn;
  void* arg;
  long delayMs;
};

struct AppLoop {
  std::vector<HandedOver> events;
  bool refuse = false;
};

int AppHook(void* hookContext, obd_event_fn fn, void* arg, long delayMs) {
  AppLoop* loop = static_cast<AppLoop*>(hookContext);
  if (loop->refuse) return 1;
  loop->events.push_back({fn, arg, delayMs});
  return 0;
}

}  // namespace

TEST(ObdEnvHooked, HandsEveryEventToTheApplicationsLoop) {
  AppLoop app;
  obd_env* env = obd_env_create_hooked(AppHook, &app);
  ASSERT_NE(env, nullptr);
  std::atomic<int> count{0};
  obd_event_fn dropped = [](void*) { FAIL() << "the application's loop owns hooked events"; };
  EXPECT_EQ(T_event_sched(env, Count, &count, 25), 0);
  EXPECT_EQ(T_event_sched_e(env, Count, &count, -3, dropped), 0);
  app.refuse = true;
  EXPECT_EQ(T_event_sched(env, Count, &count, 0), -1);
  ASSERT_EQ(app.events.size(), 2u);
  EXPECT_EQ(app.events[0].delayMs, 25);
  EXPECT_EQ(app.events[1].delayMs, 0);
  EXPECT_EQ(count.load(), 0);  // nothing runs inside the scheduling call
  // There is no loop of its own to run or stop.
  EXPECT_EQ(obd_env_run(env), -1);
  EXPECT_EQ(obd_env_run_once(env, 0), -1);
  obd_env_stop(env);
  obd_env_destroy(env);
  for (const HandedOver& e : app.events) e.fn(e.arg);  // the application runs them later
  EXPECT_EQ(count.load(), 2);
}
