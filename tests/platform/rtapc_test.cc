#include "nycert/platform/rtapc.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "nycert/platform/rtcomm.h"

namespace {

// A request's record: how its work was called, where its done handler ran.
struct Job {
  int runState = -1;
  int order = -1;
  bool done = false;
  bool dropped = false;
  std::thread::id doneThread;
  std::atomic<int>* counter = nullptr;
};

std::atomic<int> g_order{0};

void Work(void* arg, int runState) {
  Job* job = static_cast<Job*>(arg);
  job->runState = runState;
  job->order = g_order++;
}
void Done(void* arg) {
  Job* job = static_cast<Job*>(arg);
  job->done = true;
  job->doneThread = std::this_thread::get_id();
  if (job->counter) ++*job->counter;
}
void Dropped(void* arg) { static_cast<Job*>(arg)->dropped = true; }

// Holds the only worker until released.
struct Gate {
  std::mutex mutex;
  std::condition_variable cv;
  bool open = false;
  bool entered = false;
  static void Work(void* arg, int) {
    Gate* gate = static_cast<Gate*>(arg);
    std::unique_lock<std::mutex> lock(gate->mutex);
    gate->entered = true;
    gate->cv.notify_all();
    gate->cv.wait(lock, [&] { return gate->open; });
  }
  static void Done(void*) {}
  void WaitEntered() {
    std::unique_lock<std::mutex> lock(mutex);
    cv.wait(lock, [&] { return entered; });
  }
  void Open() {
    std::lock_guard<std::mutex> hold(mutex);
    open = true;
    cv.notify_all();
  }
};

class RTApcTest : public ::testing::Test {
 protected:
  void SetUp() override {
    env_ = obd_env_create();
    comm_ = RTComm_create(env_);
    RTComm_start(comm_);
  }
  void TearDown() override {
    RTComm_stop(comm_);
    RTComm_destroy(comm_);
    obd_env_destroy(env_);
  }
  void Drain(const std::vector<Job*>& jobs) {
    for (int i = 0; i < 500; ++i) {
      bool all = true;
      for (Job* job : jobs) all &= job->done;
      if (all) return;
      obd_env_run_once(env_, 10);
    }
  }
  obd_env* env_ = nullptr;
  RTComm* comm_ = nullptr;
};

TEST_F(RTApcTest, HigherPriorityFirstThenQueuingOrder) {
  RTApc pool(comm_, 1, 0);
  Gate gate;
  ASSERT_EQ(pool.QueueRequest(Gate::Work, Gate::Done, nullptr, &gate, nullptr, 0), 0);
  gate.WaitEntered();
  Job low1, low2, high;
  pool.QueueRequest(Work, Done, Dropped, &low1, nullptr, -1);
  pool.QueueRequest(Work, Done, Dropped, &low2, nullptr, -1);
  pool.QueueRequest(Work, Done, Dropped, &high, nullptr, 5);
  gate.Open();
  Drain({&low1, &low2, &high});
  EXPECT_LT(high.order, low1.order);
  EXPECT_LT(low1.order, low2.order);
  EXPECT_EQ(high.doneThread, std::this_thread::get_id());
  EXPECT_EQ(low1.runState, RTApc_Run);
}

TEST_F(RTApcTest, WaitingPastTheTimeOutExpires) {
  RTApc pool(comm_, 1, 5);
  Gate gate;
  pool.QueueRequest(Gate::Work, Gate::Done, nullptr, &gate, nullptr, 0);
  gate.WaitEntered();
  Job late;
  pool.QueueRequest(Work, Done, Dropped, &late, nullptr, 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(30));
  gate.Open();
  Drain({&late});
  EXPECT_TRUE(late.done);
  EXPECT_EQ(late.runState, RTApc_Expired);
}

TEST_F(RTApcTest, DeletingThePoolCancelsQueuedRequests) {
  Job queued;
  {
    RTApc pool(comm_, 0, 0);
    EXPECT_EQ(pool.NumThreads(), 0);
    pool.QueueRequest(Work, Done, Dropped, &queued, nullptr, 0);
  }
  EXPECT_EQ(queued.runState, RTApc_Cancelled);
  Drain({&queued});
  EXPECT_TRUE(queued.done);
  EXPECT_FALSE(queued.dropped);
}

TEST_F(RTApcTest, StoppedChannelDropsInsteadOfDelivering) {
  Job job;
  RTComm_stop(comm_);
  EXPECT_EQ(RTComm_post(comm_, nullptr, Done, &job, Dropped), -1);
  EXPECT_TRUE(job.dropped);
  EXPECT_EQ(obd_env_run_once(env_, 0), 0);
  EXPECT_FALSE(job.done);
  EXPECT_EQ(RTComm_create(nullptr), nullptr);
}

TEST_F(RTApcTest, ResultsLeftOnADestroyedEnvironmentAreDropped) {
  obd_env* other = obd_env_create();
  Job job;
  EXPECT_EQ(RTComm_post(comm_, other, Done, &job, Dropped), 0);
  obd_env_destroy(other);
  EXPECT_TRUE(job.dropped);
  EXPECT_FALSE(job.done);
}

TEST_F(RTApcTest, ThreadStressManyRequestsWhileThePoolResizes) {
  RTApc pool(comm_, 2, 0);
  const int kJobs = 400;
  std::vector<Job> jobs(kJobs);
  std::atomic<int> delivered{0};
  std::thread resizer([&] {
    for (int n : {4, 1, 3, 0, 2}) {
      pool.SetNumThreads(n);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  });
  std::vector<std::thread> producers;
  for (int t = 0; t < 4; ++t) {
    producers.emplace_back([&, t] {
      for (int i = t; i < kJobs; i += 4) {
        jobs[static_cast<size_t>(i)].counter = &delivered;
        pool.QueueRequest(Work, Done, Dropped, &jobs[static_cast<size_t>(i)], nullptr, i % 3);
      }
    });
  }
  for (std::thread& p : producers) p.join();
  resizer.join();
  EXPECT_EQ(pool.NumThreads(), 2);
  for (int i = 0; i < 1000 && delivered.load() < kJobs; ++i) obd_env_run_once(env_, 10);
  EXPECT_EQ(delivered.load(), kJobs);
  for (const Job& job : jobs) {
    EXPECT_EQ(job.runState, RTApc_Run);
    EXPECT_EQ(job.doneThread, std::this_thread::get_id());
  }
  EXPECT_EQ(pool.SetNumThreads(-1), -1);
}

}  // namespace
