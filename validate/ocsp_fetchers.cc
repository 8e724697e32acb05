#include "nycert/validate/ocsp_fetchers_internal.h"

#include "nycert/buffers/diag.h"
#include "nycert/keys/pkobj.h"

namespace {

constexpr int kMaxFetchers = 10;

struct Fetcher {
  obOCSP_Fetcher fetch;
  void* opaque;
};

Fetcher g_fetchers[kMaxFetchers];
int g_fetcherCount = 0;

}  // namespace

int obOCSP_add_fetcher(obOCSP_Fetcher fetch, void* opaque) {
  if (!fetch) return -1;
  if (g_fetcherCount == kMaxFetchers) {
    OB_HERROR("obOCSP_add_fetcher: the table of %d fetchers is full", kMaxFetchers);
    return -1;
  }
  g_fetchers[g_fetcherCount++] = {fetch, opaque};
  // Completions may come on fetcher threads and drop references to the
  // certificates they checked: reference counts are locked from now on.
  obPKobj::UseMutex();
  return 0;
}

void obOCSP_free_fetchers() { g_fetcherCount = 0; }

int obOcspStartFetch(const char* url, const unsigned char* request, int requestLen, long timeoutMs,
                     obOCSP_FetchDoneCB done, void* doneContext) {
  for (int i = 0; i < g_fetcherCount; ++i) {
    if (g_fetchers[i].fetch(g_fetchers[i].opaque, url, request, requestLen, timeoutMs, done, doneContext) == 0)
      return 0;
  }
  return -1;
}
