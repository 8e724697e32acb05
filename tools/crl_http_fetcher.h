// CrlHttpFetcher: the CRL cache's fetcher for http: and https: distribution
// points, over HttpClient.
//
// A fetched body is DER or PEM (one CRL or several "X509 CRL" blocks); the
// CRLs go to the cache's completion, which judges them on the cache's
// environment. Other schemes are refused with a log line on the topic
// "CRLFetch" at level 4; ldap: is named as unsupported.
#ifndef NYCERT_TOOLS_CRL_HTTP_FETCHER_H_
#define NYCERT_TOOLS_CRL_HTTP_FETCHER_H_

#include <string>
#include <vector>

#include "http_client.h"
#include "nycert/crl/crl_cache.h"

class obCRLs;

// The CRLs in an HTTP body, DER or PEM: how many were added to crls (each
// decoded and OK), or -1 when the body holds none.
int CrlsFromBody(const std::vector<unsigned char>& body, obCRLs& crls);

class CrlHttpFetcher {
 public:
  // The limits every fetch uses (the URL of the request is ignored).
  explicit CrlHttpFetcher(const HttpRequest& limits = HttpRequest());
  // Unregisters nothing: call obCRLCache_free_fetchers first when it was
  // registered. Ends the fetches still running.
  ~CrlHttpFetcher() = default;

  // Registers the fetcher for URI distribution points: 0, or -1.
  int Register();

  // The fetch function the cache calls.
  static obFetcher_stat Fetch(void* opaque, obGeneralName* dp, int flags, obCRLFetchDone done, void* context);

 private:
  HttpRequest limits_;
  HttpClient client_;
};

#endif  // NYCERT_TOOLS_CRL_HTTP_FETCHER_H_
