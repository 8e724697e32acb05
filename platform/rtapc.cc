#include "nycert/platform/rtapc.h"

#include <algorithm>
#include <chrono>

namespace {

thread_local int t_workerNumber = 0;

long long NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

// The heap's top is the request to serve next.
bool RTApc::Later::operator()(const Request& a, const Request& b) const {
  if (a.priority != b.priority) return a.priority < b.priority;
  return a.seq > b.seq;
}

RTApc::RTApc(RTComm* comm, int numThreads, long timeoutMs) : comm_(comm), timeoutMs_(timeoutMs) {
  if (comm_) SetNumThreads(numThreads);
}

RTApc::~RTApc() {
  std::vector<Request> left;
  std::vector<std::thread> workers;
  {
    std::lock_guard<std::mutex> hold(mutex_);
    closing_ = true;
    wanted_ = 0;
    left.swap(queue_);
    workers.swap(workers_);
  }
  wake_.notify_all();
  for (std::thread& worker : workers) worker.join();
  std::sort(left.begin(), left.end(), [](const Request& a, const Request& b) { return a.seq < b.seq; });
  for (const Request& request : left) Finish(request, RTApc_Cancelled);
}

int RTApc::QueueRequest(RTApc_work_fn work, obd_event_fn done, obd_event_fn dropped, void* arg, obd_env* env,
                        int priority) {
  if (!work || !done || !comm_) return -1;
  {
    std::lock_guard<std::mutex> hold(mutex_);
    if (closing_) return -1;
    queue_.push_back(Request{work, done, dropped, arg, env, priority, nextSeq_++, NowMs()});
    std::push_heap(queue_.begin(), queue_.end(), Later());
  }
  wake_.notify_one();
  return 0;
}

int RTApc::SetNumThreads(int n) {
  if (n < 0) return -1;
  std::vector<std::thread> leaving;
  {
    std::lock_guard<std::mutex> hold(mutex_);
    if (closing_) return -1;
    wanted_ = n;
    while (static_cast<int>(workers_.size()) < n) {
      int number = static_cast<int>(workers_.size()) + 1;
      workers_.emplace_back([this, number] { WorkerLoop(number); });
    }
    while (static_cast<int>(workers_.size()) > n) {
      leaving.push_back(std::move(workers_.back()));
      workers_.pop_back();
    }
  }
  wake_.notify_all();
  for (std::thread& worker : leaving) worker.join();
  return 0;
}

int RTApc::NumThreads() const {
  std::lock_guard<std::mutex> hold(mutex_);
  return static_cast<int>(workers_.size());
}

int RTApc::WorkerNumber() { return t_workerNumber; }

void RTApc::WorkerLoop(int number) {
  t_workerNumber = number;
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    wake_.wait(lock, [&] { return number > wanted_ || !queue_.empty(); });
    if (number > wanted_) return;
    std::pop_heap(queue_.begin(), queue_.end(), Later());
    Request request = queue_.back();
    queue_.pop_back();
    lock.unlock();
    bool expired = timeoutMs_ > 0 && NowMs() - request.queuedMs > timeoutMs_;
    Finish(request, expired ? RTApc_Expired : RTApc_Run);
    lock.lock();
  }
}

void RTApc::Finish(const Request& request, int runState) {
  request.work(request.arg, runState);
  RTComm_post(comm_, request.env, request.done, request.arg, request.dropped);
}
