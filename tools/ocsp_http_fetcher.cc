#include "ocsp_http_fetcher.h"

#include <algorithm>

#include "nycert/buffers/diag.h"
#include "nycert/crl/validation_rc.h"

#define OCSPFETCH_TRACE(...) OB_TDERROR("OCSPFetch", 4, __VA_ARGS__)

namespace {

const char kMe[] = "OcspHttpFetcher";

// The validation code for a transfer that brought no answer.
int FailureCode(HttpResult result) {
  switch (result) {
    case Http_Timeout: return obValidationRC_Timeout;
    case Http_Status:
    case Http_TooLarge: return obValidationRC_OCSPPostFailed;
    default: return obValidationRC_OCSPConnect;
  }
}

}  // namespace

OcspHttpFetcher::OcspHttpFetcher(const HttpRequest& limits) : limits_(limits) {}

int OcspHttpFetcher::Register() { return obOCSP_add_fetcher(Fetch, this); }

int OcspHttpFetcher::Fetch(void* opaque, const char* url, const unsigned char* request, int requestLen,
                           long timeoutMs, obOCSP_FetchDoneCB done, void* doneContext) {
  OcspHttpFetcher* self = static_cast<OcspHttpFetcher*>(opaque);
  if (!url || !HttpClient::Accepts(url) || !request || requestLen <= 0) {
    OCSPFETCH_TRACE("%s: refused, only http and https responders are asked: %s", kMe, url ? url : "(none)");
    return -1;
  }
  HttpRequest post = self->limits_;
  post.url = url;
  post.postBody.assign(reinterpret_cast<const char*>(request), static_cast<size_t>(requestLen));
  post.contentType = "application/ocsp-request";
  post.totalTimeoutMs = std::max(1L, std::min(post.totalTimeoutMs, timeoutMs));
  post.connectTimeoutMs = std::min(post.connectTimeoutMs, post.totalTimeoutMs);
  OCSPFETCH_TRACE("%s: POST %s", kMe, url);
  std::string where = url;
  bool started = self->client_.Start(post, [where, done, doneContext](HttpResponse& response) {
    if (response.result != Http_OK) {
      OCSPFETCH_TRACE("%s: %s: %s (%s)", kMe, where.c_str(), HttpResultName(response.result), response.error.c_str());
      done(doneContext, FailureCode(response.result), nullptr, 0);
      return;
    }
    done(doneContext, 0, response.body.data(), static_cast<int>(response.body.size()));
  });
  return started ? 0 : -1;
}
