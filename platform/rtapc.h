// RTApc: a pool of worker threads serving requests whose results go back
// through a request channel (RTComm).
//
// A request is a work function, run on a worker, and a done handler, posted
// through the channel afterwards to run on the caller's environment. Requests
// of higher priority are served first, those of equal priority in order of
// queuing. A request that waited longer than the pool's time-out, or that is
// still queued when the pool is deleted, does not run its work: the work
// function is called with RTApc_Expired or RTApc_Cancelled instead, so that
// the done handler can report it.
#ifndef NYCERT_PLATFORM_RTAPC_H_
#define NYCERT_PLATFORM_RTAPC_H_

#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "nycert/platform/export.h"
#include "nycert/platform/obd_env.h"
#include "nycert/platform/rtcomm.h"

// How a request's work function is called.
enum RTApc_RunState { RTApc_Run = 0, RTApc_Expired = 1, RTApc_Cancelled = 2 };

typedef void (*RTApc_work_fn)(void* arg, int runState);

class NYCERT_EXPORT RTApc {
 public:
  // numThreads workers (at least 0) serving requests for comm; timeoutMs is
  // the longest a request may wait for a worker (0 or less: no limit).
  RTApc(RTComm* comm, int numThreads, long timeoutMs);
  // Cancels the requests still queued, lets the running ones finish and
  // joins the workers.
  ~RTApc();
  RTApc(const RTApc&) = delete;
  RTApc& operator=(const RTApc&) = delete;

  int OK() const { return comm_ != nullptr; }
  // Queues work(arg) for a worker and then done(arg) through the channel to
  // env (null: the channel's), dropped(arg) should it never be delivered.
  // 0, or -1 (nothing queued) for missing functions or a pool being deleted.
  int QueueRequest(RTApc_work_fn work, obd_event_fn done, obd_event_fn dropped, void* arg, obd_env* env,
                   int priority);
  // Grows or shrinks the pool to n workers; a worker leaving finishes its
  // request first. 0, or -1 for a negative n.
  int SetNumThreads(int n);
  int NumThreads() const;

  // On a worker thread its number from 1 up, elsewhere 0.
  static int WorkerNumber();

 private:
  struct Request {
    RTApc_work_fn work;
    obd_event_fn done;
    obd_event_fn dropped;
    void* arg;
    obd_env* env;
    int priority;
    std::uint64_t seq;
    long long queuedMs;
  };
  struct Later {
    bool operator()(const Request& a, const Request& b) const;
  };

  void WorkerLoop(int number);
  void Finish(const Request& request, int runState);

  RTComm* comm_;
  long timeoutMs_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::vector<Request> queue_;  // a heap ordered by Later
  std::vector<std::thread> workers_;
  int wanted_ = 0;  // workers numbered above this leave
  std::uint64_t nextSeq_ = 0;
  bool closing_ = false;
};

#endif  // NYCERT_PLATFORM_RTAPC_H_
