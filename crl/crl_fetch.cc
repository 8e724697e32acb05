// Finding the CRL for a certificate: the memory caches, the database, then
// the registered fetchers.
#include <memory>
#include <vector>

#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache_internal.h"
#include "nycert/crl/crl_db.h"
#include "nycert/crl/crl_number.h"
#include "nycert/names/general_names.h"
#include "nycert/platform/g_env.h"

namespace {

// The names the certificate's CRL is filed under: lent by the certificate,
// or the issuer's DN kept here.
class LookupNames {
 public:
  explicit LookupNames(const obCert& cert) {
    const obGeneralNames* dps = cert.DistPoints();
    if (!dps && cert.Issuer()) issuerName_.reset(new obGeneralName(*cert.Issuer()));
    if (issuerName_) names_.push_back(issuerName_.get());
    for (int i = 0; dps && i < dps->Count(); ++i) {
      if (dps->Get(i)) names_.push_back(dps->Get(i));
    }
  }
  const std::vector<const obGeneralName*>& Names() const { return names_; }

 private:
  std::unique_ptr<obGeneralName> issuerName_;
  std::vector<const obGeneralName*> names_;
};

// What one look-up is about.
struct Lookup {
  const char* me;
  obCert* cert;
  int certIsCA;
  obCert* issuer;
  const ValidateParams* params;
  obValidationRC reason = obValidationRC_CRLNotRetrieved;
};

// A CRL of the memory caches for dp that serves the certificate, with a
// reference for the caller; null when none does.
obCRL* FromMemory(Lookup& l, const obGeneralName& dp) {
  bool hit = false;
  for (obCRL_contents type : CrlKindsFor(l.certIsCA)) {
    obCRL* crl = CrlMemGet(dp, type);
    if (!crl) continue;
    hit = true;
    obValidationRC check = CrlCheckFor(*crl, *l.cert, l.certIsCA, l.issuer, l.params);
    if (check == obValidationRC_OK) return crl;
    CRLCACHE_TRACE("obCRLCache_GetFromCache: crl not valid");
    CRLCACHE_TRACE("%s: dp (%s) was found in memory cache, but is not valid. Will try to fetch it.", l.me, dp.GetStr());
    CrlKeepReason(&l.reason, check);
    obFreeSigned(crl);
  }
  if (!hit)
    CRLCACHE_TRACE("%s: dp (%s) was not found in memory cache. Will Try to fetch from the FDB.", l.me, dp.GetStr());
  return nullptr;
}

// Traces the CRL number of the authority's naming scheme that dp carries:
// whether dp is of a kind the database keeps (a URI or a DN).
bool TraceCrlNumber(const char* me, const obGeneralName& dp) {
  int number = 0;
  if (dp.GetType() == obGN_uniformResourceIdentifier) {
    if (obca_URI_to_crl_number(dp.GetStr(), &number) != 0)
      CRLCACHE_TRACE("%s: Bad URI, cannot find crl number in URI. URI: %s", me, dp.GetStr());
    return true;
  }
  if (dp.GetType() == obGN_directoryName) {
    if (obca_DN_to_crl_number(dp.GetDN(), &number) != 0)
      CRLCACHE_TRACE("%s: Bad DN, cannot find crl number in the DN. DN: %s", me, dp.GetStr());
    return true;
  }
  CRLCACHE_TRACE("%s: dp's type is not DN nor URI. Cannot find crl number.will try next dp.", me);
  return false;
}

// A CRL of the database for dp that serves the certificate, now also in the
// memory cache; null when none does.
obCRL* FromDatabase(Lookup& l, const obGeneralName& dp) {
  if (!TraceCrlNumber(l.me, dp)) return nullptr;
  for (obCRL_contents type : CrlKindsFor(l.certIsCA)) {
    obCRL* crl = CrlDB::Get(&dp, CrlDBSuffix(type));
    if (!crl) continue;
    obValidationRC check = CrlCheckFor(*crl, *l.cert, l.certIsCA, l.issuer, l.params);
    if (check == obValidationRC_OK) {
      CRLCACHE_TRACE("%s: Found the CRL in the FDB", l.me);
      CrlCacheForCert(dp, crl, l.cert, l.issuer, l.params ? *l.params : ValidateParams());
      return crl;
    }
    CrlKeepReason(&l.reason, check);
    obFreeSigned(crl);
  }
  return nullptr;
}

obFetch_stat Answer(obValidationRC* reason, obValidationRC value, obFetch_stat stat) {
  if (reason) *reason = value;
  return stat;
}

// Starts the fetchers for a certificate found nowhere: pending, or no CRL.
obFetch_stat FetchAsync(obd_env* env, Lookup& l, const std::vector<const obGeneralName*>& names, long* searchId,
                        obFetchCRL_report report, void* arg, obValidationRC* reason) {
  if (!CrlHaveFetchers()) {
    CRLCACHE_TRACE("%s: No CRL fetchers defined", l.me);
    return Answer(reason, l.reason, obFetch_NoCRL);
  }
  if (!env || env != g_env_get()) {
    CRLCACHE_TRACE("%s: OBD_ENV is not g_env, can't use fetchers", l.me);
    return Answer(reason, l.reason, obFetch_NoCRL);
  }
  CRLCACHE_TRACE("%s: CRL was not found in cache. Will fetch it async.", l.me);
  CrlSearchRequest request;
  request.env = env;
  request.cert = l.cert;
  request.issuer = l.issuer;
  if (l.params) request.params = *l.params;
  request.reason = l.reason;
  obCert* cert = l.cert;
  request.finished = [report, arg, cert](int result, long id) {
    if (report) report(result, cert, id, arg);
  };
  long id = CrlStartSearch(names, std::move(request), l.me);
  if (id == 0) return Answer(reason, l.reason, obFetch_NoCRL);
  if (searchId) *searchId = id;
  return Answer(reason, obValidationRC_Async, obFetch_Pending);
}

}  // namespace

extern "C" {

obFetch_stat obFetchCRL_e_With_Reason(obd_env* env, obCRL** crl, long* searchId, obCert* cert, int useCache,
                                      obCert* issuer, obRootCA*, const ValidateParams* params,
                                      obFetchCRL_report report, void* arg, obValidationRC* reason) {
  static const char me[] = "obFetchCRL";
  if (!crl || !cert) return Answer(reason, obValidationRC_BadInput, obFetch_NoCRL);
  *crl = nullptr;
  const obDN* subject = cert->Subject();
  CRLCACHE_TRACE("\n\n%s: fetching crl for certificate dn: %s", me, subject ? subject->GetStr() : "");
  CrlCacheStats().searches++;
  Lookup l{me, cert, CrlCertIsCA(*cert), issuer, params};
  LookupNames names(*cert);
  for (const obGeneralName* dp : names.Names()) {
    obCRL* found = FromMemory(l, *dp);
    if (!found && useCache) found = FromDatabase(l, *dp);
    if (found) {
      found->SetUsed();
      *crl = found;
      return Answer(reason, obValidationRC_OK, obFetch_Found);
    }
    CRLCACHE_TRACE("%s: dp (%s) was not found in cache (memory and file).", me, dp->GetStr());
  }
  CrlCacheStats().misses++;
  return FetchAsync(env, l, names.Names(), searchId, report, arg, reason);
}

obFetch_stat obFetchCRL_e(obd_env* env, obCRL** crl, long* searchId, obCert* cert, int useCache, obCert* issuer,
                          obRootCA* root, const ValidateParams* params, obFetchCRL_report report, void* arg) {
  return obFetchCRL_e_With_Reason(env, crl, searchId, cert, useCache, issuer, root, params, report, arg, nullptr);
}

obFetch_stat obFetchCRL(obCRL** crl, long* searchId, obCert* cert, int useCache, obCert* issuer, obRootCA* root,
                        const ValidateParams* params, obFetchCRL_report report, void* arg) {
  return obFetchCRL_e(g_env_get(), crl, searchId, cert, useCache, issuer, root, params, report, arg);
}

}  // extern "C"
