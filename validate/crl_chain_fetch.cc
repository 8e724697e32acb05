#include "nycert/validate/crl_chain_fetch.h"

#include <memory>
#include <mutex>

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/async_registry_internal.h"
#include "nycert/validate/revocation_internal.h"

namespace {

// What one gathering walks over and collects.
struct Gathering {
  obd_env* env;
  obRootCA* root;
  obCerts& chain;
  obCRLs& crls;
  int useCacheForEE;
  const ValidateParams& params;
  obFetchCRL_report report;
  void* reportArg;
};

// Certificate i's CRL into g.crls: whether it was found, or else the code
// that ends the gathering (-1 when it is being fetched).
int FetchOne(Gathering& g, int i) {
  obCRL* crl = nullptr;
  long searchId = 0;
  obValidationRC reason = obValidationRC_CRLNotRetrieved;
  obFetch_stat stat = obFetchCRL_e_With_Reason(g.env, &crl, &searchId, g.chain.Get(i), i == 0 ? g.useCacheForEE : 1,
                                               g.chain.Get(i + 1), g.root, &g.params, g.report, g.reportArg, &reason);
  switch (stat) {
    case obFetch_Found:
      g.crls.Add(crl);
      return obValidationRC_OK;
    case obFetch_Pending:
      return obValidationRC_Async;
    case obFetch_NoCRL:
      return obValidationRC_CRLNotRetrieved;
  }
  OB_HERROR("obFetchCRLsForChain: unknown return from obfetchCRL %d", static_cast<int>(stat));
  obFreeSigned(crl);
  return obValidationRC_CRLNotRetrieved;
}

// Every certificate below the top, from the top down: 0, the first failure,
// or -1 when fetches run; index names the certificate concerned. pending
// counts the fetches started.
int Gather(Gathering& g, int& index, int& pending) {
  index = -1;
  pending = 0;
  for (int i = g.chain.Top() - 1; i >= 0; --i) {
    if (!g.chain.Get(i) || !g.chain.Get(i + 1)) {
      index = i;
      return obValidationRC_BadInput;
    }
    int rc = FetchOne(g, i);
    if (rc == obValidationRC_Async) {
      if (pending++ == 0) index = i;
    } else if (rc != obValidationRC_OK) {
      index = i;
      return rc;
    }
  }
  return pending ? obValidationRC_Async : obValidationRC_OK;
}

// An asynchronous gathering until its outcome is delivered.
struct ChainFetch {
  ChainFetch(obd_env* e, obRootCA* r, const obCerts& c, int useEE, const ValidateParams& p, obFetchCRLChain_cb cb,
             void* ctx, long delay)
      : env(e), root(r), chain(c), useCacheForEE(useEE), params(p), callback(cb), context(ctx), delayMs(delay) {}

  std::mutex mutex;
  bool ended = false;
  obd_env* env;
  obRootCA* root;
  obCerts chain;
  int useCacheForEE;
  ValidateParams params;
  obFetchCRLChain_cb callback;
  void* context;
  long delayMs;
  obCRLs crls;
  int pending = 0;
  int rc = obValidationRC_OK;
  int index = -1;
};

using Registry = obAsyncRegistry<ChainFetch>;
Registry g_fetches;

void Deliver(void* arg) {
  long id = Registry::FromArg(arg);
  std::shared_ptr<ChainFetch> f = g_fetches.Find(id);
  if (!f) return;
  std::lock_guard<std::mutex> hold(f->mutex);
  if (f->ended) return;
  f->ended = true;
  g_fetches.Remove(id);
  f->callback(f->rc, &f->crls, f->index, f->context);
}

void Drop(void* arg) {
  long id = Registry::FromArg(arg);
  std::shared_ptr<ChainFetch> f = g_fetches.Find(id);
  if (!f) return;
  std::lock_guard<std::mutex> hold(f->mutex);
  f->ended = true;
  g_fetches.Remove(id);
}

// Hands the outcome over delayMs from now; the fetch is locked.
void ScheduleDelivery(long id, ChainFetch& f) {
  if (T_event_sched_e(f.env, Deliver, Registry::AsArg(id), f.delayMs, Drop) != 0) {
    f.ended = true;
    g_fetches.Remove(id);
  }
}

// A pending fetch reported: the CRL it brought is taken from the cache.
void OnReport(int result, obCert* cert, long, void* arg) {
  long id = Registry::FromArg(arg);
  std::shared_ptr<ChainFetch> f = g_fetches.Find(id);
  if (!f) return;
  std::lock_guard<std::mutex> hold(f->mutex);
  if (f->ended) return;
  int i = f->chain.Top() - 1;
  while (i >= 0 && f->chain.Get(i) != cert) --i;
  if (i >= 0) {
    Gathering again{f->env, f->root, f->chain, f->crls, f->useCacheForEE, f->params, nullptr, nullptr};
    int rc = result == 1 ? FetchOne(again, i) : result;
    // As the walk would, report the failure nearest the top.
    if (rc != obValidationRC_OK && (f->rc == obValidationRC_OK || i > f->index)) {
      f->rc = rc == obValidationRC_Async ? obValidationRC_CRLNotRetrieved : rc;
      f->index = i;
    }
  }
  if (--f->pending == 0) ScheduleDelivery(id, *f);
}

// No answer in time: the first certificate still waited for has no CRL.
void OnTimeout(void* arg) {
  long id = Registry::FromArg(arg);
  std::shared_ptr<ChainFetch> f = g_fetches.Find(id);
  if (!f) return;
  std::lock_guard<std::mutex> hold(f->mutex);
  if (f->ended || f->pending == 0) return;
  if (f->rc == obValidationRC_OK) f->rc = obValidationRC_CRLNotRetrieved;
  f->pending = 0;
  ScheduleDelivery(id, *f);
}

}  // namespace

int obFetchCRLChain_e(obd_env* env, obRootCA* root, obCerts& chain, obCRLs& crls, int useCacheForEE, int& index,
                      const ValidateParams& params) {
  Gathering g{env, root, chain, crls, useCacheForEE, params, nullptr, nullptr};
  int pending = 0;
  return Gather(g, index, pending);
}

int obFetchCRLChain(obRootCA* root, obCerts& chain, obCRLs& crls, int useCacheForEE, int& index,
                    const ValidateParams& params) {
  return obFetchCRLChain_e(g_env_get(), root, chain, crls, useCacheForEE, index, params);
}

int obFetchCRLChain_no_grace(obRootCA* root, obCerts& chain, obCRLs& crls, int useCacheForEE, int& index) {
  ValidateParams params;
  params.Set_crl_start_grace(0);
  params.Set_crl_end_grace(0);
  return obFetchCRLChain(root, chain, crls, useCacheForEE, index, params);
}

int obFetchCRLChainA_e(obd_env* env, obRootCA* root, obCerts& chain, int useCacheForEE, const ValidateParams& params,
                       obFetchCRLChain_cb callback, void* context, long delayMs) {
  if (!callback || !env) return obValidationRC_BadInput;
  auto f = std::make_shared<ChainFetch>(env, root, chain, useCacheForEE, params, callback, context, delayMs);
  long id = g_fetches.Add(f);
  std::lock_guard<std::mutex> hold(f->mutex);
  Gathering g{env, root, f->chain, f->crls, useCacheForEE, f->params, OnReport, Registry::AsArg(id)};
  int rc = Gather(g, f->index, f->pending);
  if (rc != obValidationRC_Async) {
    f->rc = rc;
    f->pending = 0;
    ScheduleDelivery(id, *f);
    return f->ended ? obValidationRC_BadInput : rc;
  }
  if (T_event_sched_e(env, OnTimeout, Registry::AsArg(id), kRevocationTimeoutMs, Drop) != 0) {
    f->ended = true;
    g_fetches.Remove(id);
    return obValidationRC_BadInput;
  }
  return rc;
}

int obFetchCRLChainA(obRootCA* root, obCerts& chain, int useCacheForEE, const ValidateParams& params,
                     obFetchCRLChain_cb callback, void* context, long delayMs) {
  return obFetchCRLChainA_e(g_env_get(), root, chain, useCacheForEE, params, callback, context, delayMs);
}
