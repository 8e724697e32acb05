// Validates a chain without blocking, on the application's own event loop:
// the library schedules its work on that loop, a CRL fetcher brings the
// CRLs from another thread, and the verdict arrives as a callback.
//
//   validate_async ROOTS CHAIN CRL_DIR [AT]
//
// The fetcher stands in for HTTP: for http://host/NAME it reads
// CRL_DIR/NAME.pem on a thread of its own.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "example_files.h"
#include "nycert/nycert.h"

namespace {

// The application's loop: callbacks by due time, posted from any thread.
struct AppLoop {
  using Clock = std::chrono::steady_clock;
  std::mutex mutex;
  std::condition_variable wake;
  std::multimap<Clock::time_point, std::pair<obd_event_fn, void*>> events;

  // The hook through which the library's environment posts to this loop.
  static int Post(void* self, obd_event_fn fn, void* arg, long delayMs) {
    AppLoop* loop = static_cast<AppLoop*>(self);
    std::lock_guard<std::mutex> hold(loop->mutex);
    loop->events.emplace(Clock::now() + std::chrono::milliseconds(delayMs), std::make_pair(fn, arg));
    loop->wake.notify_one();
    return 0;
  }
  // Waits for the first event to fall due (at once when now) and runs it.
  void RunOne(bool now = false) {
    std::unique_lock<std::mutex> hold(mutex);
    while (events.empty() || (!now && events.begin()->first > Clock::now())) {
      if (events.empty())
        wake.wait(hold);
      else
        wake.wait_until(hold, events.begin()->first);
    }
    auto event = events.begin()->second;
    events.erase(events.begin());
    hold.unlock();
    event.first(event.second);
  }
};

// The CRL fetcher: answers each fetch from a thread of its own, as an HTTP
// client does, reporting to the cache through done.
struct FileFetcher {
  std::string dir;
  std::vector<std::thread> threads;

  static obFetcher_stat Fetch(void* self, obGeneralName* dp, int, obCRLFetchDone done, void* context) {
    FileFetcher* fetcher = static_cast<FileFetcher*>(self);
    std::string url = dp->GetStr() ? dp->GetStr() : "";  // dp is lent: keep a copy
    if (url.compare(0, 7, "http://") != 0) return obFetcher_Unsupported;
    std::string path = fetcher->dir + url.substr(url.rfind('/')) + ".pem";
    fetcher->threads.emplace_back([path, done, context] {
      obCRLs crls;
      bool read = ReadCrls(path.c_str(), crls);
      std::printf("fetched %s: %s\n", path.c_str(), read ? "a CRL" : "nothing");
      done(read ? &crls : nullptr, context, read ? 0 : -1);  // from this thread
    });
    return obFetcher_Started;
  }
};

struct Outcome {
  bool done = false;
  int rc = obValidationRC_Async;
  static void Record(int rc, const char* message, int index, long, void* self) {
    std::printf("verdict: %s\n", obValidationRC_GetString(rc));
    if (rc != obValidationRC_OK) std::printf("reason:  %s\nat:      certificate %d\n", message, index);
    static_cast<Outcome*>(self)->rc = rc;
    static_cast<Outcome*>(self)->done = true;
  }
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4 && argc != 5) {
    std::fprintf(stderr, "usage: %s ROOTS CHAIN CRL_DIR [AT]\n", argv[0]);
    return 2;
  }
  if (argc == 5) ob_time_set_fixed(std::atol(argv[4]));
  std::unique_ptr<obKeyHolder> holder(obKeyHolder_New());
  obCerts roots, chain;
  if (!ReadCertificates(argv[1], roots) || !ReadCertificates(argv[2], chain)) return 2;
  TrustRoots(roots, *holder);
  obRootCA* root = obCerts_Sort(&chain, &chain) == 0 ? obCert_FixChain(&chain, holder.get()) : nullptr;
  if (!root) return 1;

  // The library's environment over our loop; fetchers run only for it.
  AppLoop loop;
  g_env_set(obd_env_create_hooked(AppLoop::Post, &loop));
  FileFetcher fetcher{argv[3], {}};
  obCRLCache_add_fetcher(FileFetcher::Fetch, &fetcher, 0);

  // Two rounds: the first waits for the fetched CRLs, the second finds
  // them in the CRL cache. Each verdict comes through the loop.
  Outcome outcome;
  for (int round = 1; round <= 2; ++round) {
    outcome.done = false;
    long expiration = 0;
    int rc =
        obCert_ValCertsA(root, chain, nullptr, expiration, ValidateParams(), Outcome::Record, &outcome, obCheck_All);
    std::printf("round %d: %s\n", round, rc == obValidationRC_Async ? "waiting for CRLs" : "answered at once");
    while (!outcome.done) loop.RunOne();  // the library ends a wait after a minute
  }

  // Shutting down: no more fetches, prefetch timers stopped, then the
  // events still queued run once so that what they hold is freed.
  obCRLCache_free_fetchers();
  for (std::thread& t : fetcher.threads) t.join();
  obCRLCache_Flush();
  while (!loop.events.empty()) loop.RunOne(true);
  obd_env_destroy(g_env_set(nullptr));
  return outcome.rc == obValidationRC_OK ? 0 : 1;
}
