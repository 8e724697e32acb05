#include "nycert/validate/cert_val.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/async_registry_internal.h"
#include "nycert/validate/name_constraints.h"
#include "nycert/validate/revocation_internal.h"
#include "nycert/validate/validate_path.h"
#include "nycert/validate/validation_text.h"

// A validation waiting for revocation answers. The registry below holds it
// by its number; reports, the time-out and the environment's drop handler
// find it there, and the first of them to end it removes it.
struct obValidationStat {
  obValidationStat(obRootCA* r, const obCerts& c, const ValidateParams& p, obCert_ValCB cb, void* ctx, long exp)
      : root(r), chain(c), params(p), callback(cb), context(ctx), expiration(exp) {
    obSavePKobj(root);
  }
  ~obValidationStat() { obFreePKobj(root); }
  obValidationStat(const obValidationStat&) = delete;
  obValidationStat& operator=(const obValidationStat&) = delete;

  std::mutex mutex;  // held while the walk runs and when the validation ends
  bool ended = false;
  obRootCA* root;
  obCerts chain;
  ValidateParams params;
  obCert_ValCB callback;
  void* context;
  long expiration;
  obRevocationWalk walk;
};

namespace {

constexpr int kMessageSize = 1024;

using StatPtr = std::shared_ptr<obValidationStat>;

using Registry = obAsyncRegistry<obValidationStat>;
Registry g_pending;

// The long text of rc, then the subject of the certificate at index.
void FillMessage(obCerts& chain, int rc, int index, char* message, int size) {
  if (!message || size < 1) return;
  obCert_ValErrToStr(chain, rc, index, message, size);
  const obCert* cert = index >= 0 && index < chain.Size() ? chain.Get(index) : nullptr;
  const char* subject = cert && cert->Subject() ? cert->Subject()->GetStr() : nullptr;
  if (!subject) return;
  size_t used = std::strlen(message);
  const char* gap = used && message[used - 1] != ' ' ? " " : "";
  std::snprintf(message + used, static_cast<size_t>(size) - used, "%s%s", gap, subject);
}

// Ends a validation: forgets it and hands its outcome to the callback. The
// stat is locked.
void End(obValidationStat_opaque id, obValidationStat& stat, int rc, int index) {
  stat.ended = true;
  g_pending.Remove(id);
  char message[kMessageSize] = "";
  if (rc != obValidationRC_OK) FillMessage(stat.chain, rc, index, message, sizeof message);
  OB_HERROR("obCert_ValCerts: %s", rc == obValidationRC_OK ? "validation OK" : message);
  stat.callback(rc, message, index, stat.expiration, stat.context);
}

// Goes on with the walk of a validation that is still waiting.
void Resume(obValidationStat_opaque id, int result, int ocspIndex, bool fromOcsp) {
  StatPtr stat = g_pending.Find(id);
  if (!stat) return;
  std::lock_guard<std::mutex> hold(stat->mutex);
  if (stat->ended) return;
  int index = fromOcsp ? ocspIndex : stat->walk.next;
  int rc = result;
  if (!fromOcsp && result == 1) rc = obValidateRevocation_e(stat->walk, index, nullptr);
  if (rc != obValidationRC_Async) End(id, *stat, rc, rc == obValidationRC_OK ? -1 : index);
}

void OnCrlReport(int result, obCert*, long, void* arg) { Resume(Registry::FromArg(arg), result, -1, false); }
void OnOcspReport(void* context, int rc, int index) { Resume(Registry::FromArg(context), rc, index, true); }

void OnTimeout(void* arg) {
  obValidationStat_opaque id = Registry::FromArg(arg);
  StatPtr stat = g_pending.Find(id);
  if (!stat) return;
  std::lock_guard<std::mutex> hold(stat->mutex);
  if (stat->ended) return;
  OB_HERROR("obCert_ValCerts: no revocation answer within %ld ms", kRevocationTimeoutMs);
  End(id, *stat, obValidationRC_Timeout, stat->walk.next);
}

// The environment is going away: the validation ends without a report.
void OnDropped(void* arg) {
  obValidationStat_opaque id = Registry::FromArg(arg);
  StatPtr stat = g_pending.Find(id);
  if (!stat) return;
  std::lock_guard<std::mutex> hold(stat->mutex);
  stat->ended = true;
  g_pending.Remove(id);
}

// The revocation stage with a callback: the walk runs on a registered copy
// of the chain, so that it can wait for answers after the caller returned.
int RevocationWithCallback(obd_env* env, obRootCA* root, obCerts& chain, const ValidateParams& params,
                           obCert_ValCB callback, void* context, long expiration, int& index,
                           long* revocationValidUntil) {
  auto stat = std::make_shared<obValidationStat>(root, chain, params, callback, context, expiration);
  obValidationStat_opaque id = g_pending.Add(stat);
  int rc;
  {
    std::lock_guard<std::mutex> hold(stat->mutex);
    obRevocationWalk& walk = stat->walk;
    walk = {env, root, &stat->chain, &stat->params, -2, OnCrlReport, OnOcspReport, Registry::AsArg(id)};
    rc = obValidateRevocation_e(walk, index, revocationValidUntil);
    if (rc != obValidationRC_Async) {
      stat->ended = true;
      g_pending.Remove(id);
    }
  }
  if (rc == obValidationRC_Async &&
      T_event_sched_e(env, OnTimeout, Registry::AsArg(id), kRevocationTimeoutMs, OnDropped) != 0) {
    OnDropped(Registry::AsArg(id));
    rc = obValidationRC_BadInput;
  }
  return rc;
}

int Revocation(obd_env* env, obRootCA* root, obCerts& chain, const ValidateParams& params, obCert_ValCB callback,
               void* context, long expiration, int& index, long* revocationValidUntil) {
  if (callback)
    return RevocationWithCallback(env, root, chain, params, callback, context, expiration, index,
                                  revocationValidUntil);
  obRevocationWalk walk{env, root, &chain, &params, -2, nullptr, nullptr, nullptr};
  return obValidateRevocation_e(walk, index, revocationValidUntil);
}

// The stages of checks in their fixed order; the first fault ends them.
int RunStages(obd_env* env, obRootCA* root, obCerts& chain, const ValidateParams& params, obCert_ValCB callback,
              void* context, int checks, long& expiration, int& index, long* revocationValidUntil) {
  int rc = obValidationRC_OK;
  if ((checks & obCheck_Path) && (rc = obValidatePath(chain, index, expiration, params)) != 0) return rc;
  if ((checks & obCheck_Signatures) && (rc = obValidateSignatures(chain, index)) != 0) return rc;
  if (checks & obCheck_NameConstraints) {
    rc = obValidateNameConstraints(root, chain.Get(0));
    if (rc != obValidationRC_OK) {
      index = 0;
      return rc;
    }
  }
  if (checks & obCheck_Revocation)
    rc = Revocation(env, root, chain, params, callback, context, expiration, index, revocationValidUntil);
  return rc;
}

// What the A forms hand to their callback through the environment.
struct Delivery {
  obCert_ValCB callback;
  int rc;
  std::string message;
  int index;
  long expiration;
  void* context;
};

void Deliver(void* arg) {
  std::unique_ptr<Delivery> d(static_cast<Delivery*>(arg));
  d->callback(d->rc, d->message.c_str(), d->index, d->expiration, d->context);
}

void DropDelivery(void* arg) { delete static_cast<Delivery*>(arg); }

}  // namespace

int obCert_ValCerts_e(obd_env* env, obRootCA* root, obCerts& chain, obCRLs* crls, long* expiration,
                      long* revocationValidUntil, const ValidateParams& params, char* message, int messageSize,
                      int* index, obCert_ValCB callback, void* context, int checks) {
  if (message && messageSize > 0) message[0] = '\0';
  if (!root) return obValidationRC_BadInput;
  if (crls) obCert_PushCRLs(*crls, params, root->CrlTo());
  int at = -1;
  long earliest = 0;
  OB_HERROR("obCert_OurValCerts: validaing chain of len %d", chain.Count());
  int rc = RunStages(env, root, chain, params, callback, context, checks, earliest, at, revocationValidUntil);
  if (index) *index = at;
  if (expiration) *expiration = earliest;
  if (rc == obValidationRC_OK) {
    OB_HERROR("obCert_OurValCerts: validation OK");
  } else if (rc != obValidationRC_Async && message && messageSize > 0) {
    FillMessage(chain, rc, at, message, messageSize);
    OB_HERROR("obCert_ValCerts: %s", message);
  }
  return rc;
}

int obCert_ValCerts(obRootCA* root, obCerts& chain, obCRLs* crls, long* expiration, long* revocationValidUntil,
                    const ValidateParams& params, char* message, int messageSize, int* index,
                    obCert_ValCB callback, void* context, int checks) {
  return obCert_ValCerts_e(g_env_get(), root, chain, crls, expiration, revocationValidUntil, params, message,
                           messageSize, index, callback, context, checks);
}

int obCert_ValCertsA_e(obd_env* env, obRootCA* root, obCerts& chain, obCRLs* crls, long& expiration,
                       const ValidateParams& params, obCert_ValCB callback, void* context, int checks) {
  if (!callback || !env) return obValidationRC_BadInput;
  char message[kMessageSize];
  int index = -1;
  int rc = obCert_ValCerts_e(env, root, chain, crls, &expiration, nullptr, params, message, sizeof message, &index,
                             callback, context, checks);
  if (rc == obValidationRC_Async) return rc;
  auto* d = new Delivery{callback, rc, message, index, expiration, context};
  if (T_event_sched_e(env, Deliver, d, 0, DropDelivery) != 0) {
    delete d;
    return obValidationRC_BadInput;
  }
  return rc;
}

int obCert_ValCertsA(obRootCA* root, obCerts& chain, obCRLs* crls, long& expiration, const ValidateParams& params,
                     obCert_ValCB callback, void* context, int checks) {
  return obCert_ValCertsA_e(g_env_get(), root, chain, crls, expiration, params, callback, context, checks);
}
