#include "crl_http_fetcher.h"

#include <strings.h>

#include "nycert/buffers/diag.h"
#include "nycert/crl/crl.h"
#include "nycert/names/general_name.h"
#include "tool_input.h"

#define CRLFETCH_TRACE(...) OB_TDERROR("CRLFetch", 4, __VA_ARGS__)

namespace {

const char kMe[] = "CrlHttpFetcher";
const char kCrlLabel[] = "X509 CRL";

}  // namespace

int CrlsFromBody(const std::vector<unsigned char>& body, obCRLs& crls) {
  std::vector<ToolObject> objects;
  std::string error;
  if (!ParseToolObjects(body, objects, error)) return -1;
  int added = 0;
  for (const ToolObject& object : objects) {
    if (!object.error.empty() || (!object.label.empty() && object.label != kCrlLabel)) continue;
    obCRL* crl = new obCRL(object.der.data(), static_cast<unsigned>(object.der.size()));
    if (!crl->OK()) {
      CRLFETCH_TRACE("%s: not a CRL: %s", kMe, crl->Error().getstr());
      obFreeSigned(crl);
      continue;
    }
    crls.Add(crl);
    ++added;
  }
  return added > 0 ? added : -1;
}

CrlHttpFetcher::CrlHttpFetcher(const HttpRequest& limits) : limits_(limits) {}

int CrlHttpFetcher::Register() {
  return obCRLCache_add_fetcher(Fetch, this, 1u << obGN_uniformResourceIdentifier);
}

obFetcher_stat CrlHttpFetcher::Fetch(void* opaque, obGeneralName* dp, int, obCRLFetchDone done, void* context) {
  CrlHttpFetcher* self = static_cast<CrlHttpFetcher*>(opaque);
  const char* text = dp ? dp->GetStr() : nullptr;
  std::string url = text ? text : "";
  if (!HttpClient::Accepts(url)) {
    if (strncasecmp(url.c_str(), "ldap:", 5) == 0 || strncasecmp(url.c_str(), "ldaps:", 6) == 0)
      CRLFETCH_TRACE("%s: ldap distribution points are not supported: %s", kMe, url.c_str());
    else
      CRLFETCH_TRACE("%s: refused scheme, only http and https are fetched: %s", kMe, url.c_str());
    return obFetcher_Unsupported;
  }
  HttpRequest request = self->limits_;
  request.url = url;
  CRLFETCH_TRACE("%s: GET %s", kMe, url.c_str());
  bool started = self->client_.Start(request, [url, done, context](HttpResponse& response) {
    if (response.result != Http_OK) {
      CRLFETCH_TRACE("%s: %s: %s (%s)", kMe, url.c_str(), HttpResultName(response.result), response.error.c_str());
      done(nullptr, context, response.result);
      return;
    }
    obCRLs crls;
    if (CrlsFromBody(response.body, crls) < 0) {
      CRLFETCH_TRACE("%s: %s: the body holds no CRL (%zu octets)", kMe, url.c_str(), response.body.size());
      done(nullptr, context, Http_Transfer);
      return;
    }
    done(&crls, context, 0);
  });
  return started ? obFetcher_Started : obFetcher_Failed;
}
