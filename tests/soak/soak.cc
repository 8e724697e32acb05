// The soak program that scripts/soak.sh runs: for a given time, several
// threads validate a good and a revoked chain while their CRLs come over
// HTTP (fetched when the memory cache loses them, and prefetched by the
// cache's timers), the CRL database is garbage-collected, and a thread signs
// through the key-task pool. At the end it prints the verdicts, the wrong
// ones and the errors (both must be 0), and the resident memory over time.
//
//   nycert_soak PKI_DIR SECONDS
//
// PKI_DIR holds what make_demo_pki.sh makes, with its CRLs served at the
// distribution points the certificates name, an expired CRL of the root in
// expired.crl.pem, and an empty folder crldb for the CRL database.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "crl_http_fetcher.h"
#include "nycert/nycert.h"
#include "tool_input.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kValidators = 3;
// Cache entries live just over the prefetch lead (300 s), so that the
// prefetch timers fire every ten seconds.
constexpr unsigned kCacheSeconds = 310;
constexpr int kDropEverySeconds = 5;
constexpr int kCollectEverySeconds = 15;

// A one-shot wait for a callback that runs on another thread.
struct Waiter {
  std::mutex mutex;
  std::condition_variable ready;
  bool done = false;
  int rc = 0;
  std::vector<unsigned char> data;

  void Finish(int result, const void* bytes, int len) {
    std::lock_guard<std::mutex> hold(mutex);
    rc = result;
    if (bytes) data.assign(static_cast<const unsigned char*>(bytes), static_cast<const unsigned char*>(bytes) + len);
    done = true;
    ready.notify_one();
  }
  // Waits up to limit for the callback: false when it did not come.
  bool Wait(std::chrono::seconds limit) {
    std::unique_lock<std::mutex> hold(mutex);
    bool came = ready.wait_for(hold, limit, [this] { return done; });
    done = false;
    return came;
  }
};

struct Counts {
  std::mutex mutex;
  std::map<std::string, long> verdicts;  // "<chain>: <verdict text>"
  std::atomic<long> wrong{0}, errors{0}, signatures{0}, collected{0};

  void Verdict(const char* chain, int rc) {
    std::lock_guard<std::mutex> hold(mutex);
    ++verdicts[std::string(chain) + ": " + obValidationRC_GetString(rc)];
  }
  void Error(const std::string& what) {
    if (errors++ < 20) std::fprintf(stderr, "error: %s\n", what.c_str());
  }
};

Counts g_counts;
std::atomic<bool> g_stop{false};

// A callback that never came may still come for a waiter on a stack: the
// soak ends at once.
[[noreturn]] void GiveUp(const char* what) {
  std::fprintf(stderr, "error: %s; stopping\n", what);
  std::fflush(nullptr);
  std::_Exit(1);
}

bool ReadAll(const std::string& path, std::vector<ToolObject>& objects) {
  std::string error;
  return ReadToolObjects(path, objects, error) && !objects.empty();
}

// The certificates of a PEM file in a new list, or empty.
obCerts ReadChain(const std::string& path) {
  obCerts certs;
  std::vector<ToolObject> objects;
  if (!ReadAll(path, objects)) return certs;
  for (const ToolObject& o : objects) certs.Add(new obCert(o.der.data(), static_cast<unsigned>(o.der.size())));
  return certs;
}

obCRL* ReadCrl(const std::string& path) {
  std::vector<ToolObject> objects;
  if (!ReadAll(path, objects)) return nullptr;
  return new obCRL(objects[0].der.data(), static_cast<unsigned>(objects[0].der.size()));
}

struct Chain {
  const char* name;
  obCerts certs;
  int expected;  // the verdict it must get
};

// Each chain must get its expected verdict. The other of the two (a revoked
// chain accepted, a good one called revoked) is wrong; any other code is an
// error.
void Judge(const Chain& chain, int rc) {
  g_counts.Verdict(chain.name, rc);
  if (rc == chain.expected) return;
  if (rc == obValidationRC_OK || rc == obValidationRC_Revoked) {
    ++g_counts.wrong;
    std::fprintf(stderr, "wrong verdict for the %s chain: %s\n", chain.name, obValidationRC_GetString(rc));
    return;
  }
  g_counts.Error(std::string(chain.name) + " chain: " + obValidationRC_GetString(rc));
}

void OnVerdict(int rc, const char*, int, long, void* context) { static_cast<Waiter*>(context)->Finish(rc, nullptr, 0); }

// Validates the chains in turn until told to stop; each verdict comes on
// the library's environment.
void Validator(obRootCA* root, std::vector<Chain> chains) {
  Waiter waiter;
  for (size_t turn = 0; !g_stop; ++turn) {
    Chain& chain = chains[turn % chains.size()];
    long expiration = 0;
    obCert_ValCertsA(root, chain.certs, nullptr, expiration, ValidateParams(), OnVerdict, &waiter, obCheck_All);
    if (!waiter.Wait(std::chrono::seconds(90))) GiveUp("no verdict within 90 seconds");
    Judge(chain, waiter.rc);
  }
}

void OnSignature(void* context, int rc, void* data, int len, const char*) {
  static_cast<Waiter*>(context)->Finish(rc, data, len);
}

// Signs numbered messages through the key-task pool and checks each
// signature with the certificate's key.
void Signer(obPubKey* key, obCert* cert) {
  Waiter waiter;
  for (long n = 0; !g_stop; ++n) {
    std::string message = "soak message " + std::to_string(n);
    const unsigned char* bytes = reinterpret_cast<const unsigned char*>(message.data());
    int len = static_cast<int>(message.size());
    if (key->SignA(obPKop_DigestInfo, ob_md_sha256, bytes, len, OnSignature, &waiter, g_env_get()) < 0 ||
        !waiter.Wait(std::chrono::seconds(30)))
      GiveUp("a key task did not complete");
    if (waiter.rc != TASK_SUCCESS || cert->PubKey()->Verify(obPKop_DigestInfo, ob_md_sha256, bytes, len,
                                                            waiter.data.data(), static_cast<int>(waiter.data.size())))
      g_counts.Error("a signature from the key-task pool does not verify");
    else
      ++g_counts.signatures;
  }
}

long ResidentKb() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 6, "VmRSS:") == 0) return std::atol(line.c_str() + 6);
  }
  return -1;
}

// Drops the cached CRLs of the chains' distribution points, so that the
// next validations fetch them again.
void DropCachedCrls(const Chain& chain) {
  for (int i = 0; i < chain.certs.Count(); ++i) {
    const obGeneralNames* points = chain.certs.Get(i)->DistPoints();
    for (int p = 0; points && p < points->Count(); ++p) obCRLCache_DelFromCaches(points->Get(p));
  }
}

// Stores the expired CRL in the database and collects the database: the
// record must go again.
void Collect(obCRL* expired) {
  if (obCRLCache_Push(expired, ValidateParams(), obCRLCacheDest_Memory | obCRLCacheDest_Database) != 0) {
    g_counts.Error("the expired CRL was not stored");
    return;
  }
  int removed = crl_db_garbage_collector();
  if (removed < 1)
    g_counts.Error("the garbage collector removed " + std::to_string(removed) + " records");
  else
    g_counts.collected += removed;
}

// Prints the samples and whether memory kept growing after warm-up: the
// highest sample of the last half against the highest up to its start.
void ReportMemory(const std::vector<long>& samples, long every) {
  std::printf("VmRSS (kB) every %ld s:", every);
  for (long kb : samples) std::printf(" %ld", kb);
  std::printf("\n");
  size_t half = samples.size() / 2;
  if (half < 2) {
    std::printf("memory: too few samples to judge growth\n");
    return;
  }
  long before = *std::max_element(samples.begin(), samples.begin() + static_cast<long>(half));
  long after = *std::max_element(samples.begin() + static_cast<long>(half), samples.end());
  bool stable = after <= before + before / 50;
  std::printf("memory: peak %ld kB in the first half, %ld kB in the second: %s\n", before, after,
              stable ? "stopped growing after warm-up" : "STILL GROWING");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s PKI_DIR SECONDS\n", argv[0]);
    return 2;
  }
  std::string dir = argv[1];
  long seconds = std::atol(argv[2]);
  obPKobj::UseMutex();
  obCRLCache_SetTimeout(kCacheSeconds);
  if (obCRLCache_set_dbpath((dir + "/crldb").c_str()) != 0) return 2;

  std::unique_ptr<obKeyHolder> holder(obKeyHolder_New());
  obCerts roots = ReadChain(dir + "/root.pem");
  nyBinBuf keyPem;
  std::unique_ptr<obPubKey, void (*)(obPubKey*)> key(nullptr, obFreePubKey);
  if (File2Buf(obString((dir + "/good.key").c_str()), keyPem) == 0)
    key.reset(obImportRSAKeyPEM(reinterpret_cast<const char*>(keyPem.Data()), keyPem.Len()));
  std::unique_ptr<obCRL, void (*)(obSigned*)> expired(ReadCrl(dir + "/expired.crl.pem"), obFreeSigned);
  if (roots.Count() != 1 || !key || !expired || !expired->OK()) {
    std::fprintf(stderr, "%s: the PKI is incomplete\n", dir.c_str());
    return 2;
  }
  obRootCA* ca = new obRootCA("soak root", roots.Get(0), 0, obCaType_Internal, 0, nullptr, 0, nullptr, 0);
  holder->AddCA(ca);
  obFreePKobj(ca);

  // The chains, anchored here once; each validator gets lists of its own.
  std::vector<Chain> chains = {{"good", ReadChain(dir + "/good_chain.pem"), obValidationRC_OK},
                               {"revoked", ReadChain(dir + "/revoked_chain.pem"), obValidationRC_Revoked}};
  obRootCA* root = nullptr;
  for (Chain& chain : chains) {
    root = obCerts_Sort(&chain.certs, &chain.certs) == 0 ? obCert_FixChain(&chain.certs, holder.get()) : nullptr;
    if (!root) return 2;
  }

  // The library's environment runs on a thread of its own; fetches over
  // HTTP, key tasks on the pool.
  obd_env* env = g_env_get();
  std::thread loop([env] { obd_env_run(env); });
  KeyTaskMngmnt_init(env);
  HttpRequest limits;
  limits.totalTimeoutMs = 10000;
  std::unique_ptr<CrlHttpFetcher> fetcher(new CrlHttpFetcher(limits));
  fetcher->Register();

  std::vector<std::thread> workers;
  for (int i = 0; i < kValidators; ++i) workers.emplace_back(Validator, root, chains);
  workers.emplace_back(Signer, key.get(), chains[0].certs.Get(0));

  // Twenty memory samples over the run, at least five seconds apart.
  long every = std::max(5L, seconds / 20);
  std::vector<long> samples;
  Clock::time_point start = Clock::now();
  for (long s = 0; s < seconds; ++s) {
    std::this_thread::sleep_until(start + std::chrono::seconds(s + 1));
    if (s % kDropEverySeconds == 0) DropCachedCrls(chains[0]);
    if (s % kCollectEverySeconds == 0) Collect(expired.get());
    if (s % every == 0) samples.push_back(ResidentKb());
  }
  g_stop = true;
  for (std::thread& t : workers) t.join();

  obCRLCacheStats stats;
  obCRLCache_GetStats(&stats);
  KeyTaskMngmnt_term();
  obCRLCache_free_fetchers();
  fetcher.reset();
  obCRLCache_Flush();
  obd_env_stop(env);
  loop.join();

  long verdicts = 0;
  for (const auto& v : g_counts.verdicts) {
    std::printf("verdicts %-40s %ld\n", v.first.c_str(), v.second);
    verdicts += v.second;
  }
  std::printf("validations: %ld in %ld s\n", verdicts, seconds);
  std::printf("CRL searches: %d, fetches started %d, succeeded %d; prefetches started %d, succeeded %d\n",
              stats.searches, stats.asyncSearches, stats.successfulAsyncFetch, stats.prefetchAsyncSearches,
              stats.prefetchSuccessfulAsyncFetch);
  std::printf("signatures on the key-task pool: %ld\n", g_counts.signatures.load());
  std::printf("expired CRL records collected: %ld\n", g_counts.collected.load());
  std::printf("wrong verdicts: %ld\nunprovoked errors: %ld\n", g_counts.wrong.load(), g_counts.errors.load());
  ReportMemory(samples, every);
  return g_counts.wrong == 0 && g_counts.errors == 0 ? 0 : 1;
}
