// A CRL fetcher for validation tests that answers from threads of its own.
#ifndef NYCERT_TESTS_SUPPORT_THREAD_FETCHER_H_
#define NYCERT_TESTS_SUPPORT_THREAD_FETCHER_H_

#include <mutex>
#include <thread>
#include <vector>

#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"

// Registered on construction; answers every distribution point with the
// same CRLs (or fails with status) a few milliseconds later from a new
// thread, and remembers that thread. Joins its threads when destroyed.
class ThreadFetcher {
 public:
  explicit ThreadFetcher(const obCRLs& crls, int status = 0);
  ~ThreadFetcher();
  ThreadFetcher(const ThreadFetcher&) = delete;
  ThreadFetcher& operator=(const ThreadFetcher&) = delete;

  std::thread::id FetchThread();

 private:
  static obFetcher_stat Fetch(void* opaque, obGeneralName* dp, int flags, obCRLFetchDone done, void* context);

  obCRLs crls_;
  int status_;
  std::mutex mutex_;
  std::vector<std::thread> threads_;
  std::thread::id fetchThread_;
};

#endif  // NYCERT_TESTS_SUPPORT_THREAD_FETCHER_H_
