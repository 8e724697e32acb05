#include "support/thread_fetcher.h"

#include <gtest/gtest.h>

#include <chrono>

ThreadFetcher::ThreadFetcher(const obCRLs& crls, int status) : crls_(crls), status_(status) {
  EXPECT_EQ(0, obCRLCache_add_fetcher(Fetch, this, 0));
}

ThreadFetcher::~ThreadFetcher() {
  for (std::thread& t : threads_) t.join();
}

std::thread::id ThreadFetcher::FetchThread() {
  std::lock_guard<std::mutex> hold(mutex_);
  return fetchThread_;
}

obFetcher_stat ThreadFetcher::Fetch(void* opaque, obGeneralName*, int, obCRLFetchDone done, void* context) {
  ThreadFetcher* self = static_cast<ThreadFetcher*>(opaque);
  std::lock_guard<std::mutex> hold(self->mutex_);
  self->threads_.emplace_back([self, done, context] {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    {
      std::lock_guard<std::mutex> inner(self->mutex_);
      self->fetchThread_ = std::this_thread::get_id();
    }
    if (self->status_ != 0)
      done(nullptr, context, self->status_);
    else
      done(&self->crls_, context, 0);
  });
  return obFetcher_Started;
}
