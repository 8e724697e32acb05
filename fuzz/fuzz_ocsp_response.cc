// OCSP responses on arbitrary input, located and judged as the answer to a
// request about a fixed certificate: nothing may crash or leak. The judging
// is stable under a configured responder, and a response judged good or revoked decodes and holds an
// entry for the certificate with that status, inside its time window.
#include <cstdint>
#include <cstdlib>

#include "nycert/certs/cert.h"
#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/ocsp_request.h"
#include "nycert/validate/ocsp_response.h"
#include "nycert/validate/ocsp_response_internal.h"
#include "ocsp_fixture.h"

namespace {

struct Fixture {
  obCert* ca = new obCert(kOcspFixtureCa, sizeof kOcspFixtureCa);
  obCert* cert = new obCert(kOcspFixtureCert, sizeof kOcspFixtureCert);
  obOcspRequest request;

  Fixture() {
    ob_time_set_fixed(kOcspFixtureTime);
    if (!ca->OK() || !cert->OK() || request.Build(*cert, *ca) != 0) abort();
  }
};

Fixture& Shared() {
  static Fixture* fixture = new Fixture;
  return *fixture;
}

// Some entry of the located response has status and a window holding now.
bool HasEntry(const obOcspResponse& response, obOcspCertStatus status) {
  obDerReader r(response.responses);
  obOcspSingleResponse single;
  while (obOcspNextSingle(r, single)) {
    if (single.status == status && single.thisUpdate <= kOcspFixtureTime + 600 &&
        (single.nextUpdate == 0 || kOcspFixtureTime <= single.nextUpdate + 600))
      return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Fixture& f = Shared();
  int len = static_cast<int>(size);
  ValidateParams params;
  long nextUpdate = 0;
  int rc = obOCSP_CheckResponse(data, len, f.request, *f.ca, nullptr, params, nextUpdate);
  // A configured responder can only settle who signed.
  int withResponder = obOCSP_CheckResponse(data, len, f.request, *f.ca, f.cert, params, nextUpdate);
  if (withResponder != rc && rc != obValidationRC_OCSPNoResponderCert && rc != obValidationRC_OCSPProcessFailed)
    abort();
  obOcspResponse located;
  bool parsed = obOcspParseResponse({data, size}, located) == 0;
  if (rc == 0 && !(parsed && HasEntry(located, obOcspCert_Good))) abort();
  if (rc == obValidationRC_Revoked && !(parsed && HasEntry(located, obOcspCert_Revoked))) abort();
  return 0;
}
