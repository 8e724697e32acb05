// OcspHttpFetcher: the OCSP fetcher for http: and https: responders, over
// HttpClient: each request goes out as an HTTP POST of
// application/ocsp-request, and the body that comes back is handed to the
// check, which judges it on its own environment.
#ifndef NYCERT_TOOLS_OCSP_HTTP_FETCHER_H_
#define NYCERT_TOOLS_OCSP_HTTP_FETCHER_H_

#include "http_client.h"
#include "nycert/validate/ocsp_fetchers.h"

class OcspHttpFetcher {
 public:
  // The limits every fetch uses besides the check's own time-out (the URL
  // of the request is ignored).
  explicit OcspHttpFetcher(const HttpRequest& limits = HttpRequest());
  // Unregisters nothing: call obOCSP_free_fetchers first when it was
  // registered. Ends the fetches still running.
  ~OcspHttpFetcher() = default;

  // Registers the fetcher: 0, or -1.
  int Register();

  // The fetch function the check calls.
  static int Fetch(void* opaque, const char* url, const unsigned char* request, int requestLen, long timeoutMs,
                   obOCSP_FetchDoneCB done, void* doneContext);

 private:
  HttpRequest limits_;
  HttpClient client_;
};

#endif  // NYCERT_TOOLS_OCSP_HTTP_FETCHER_H_
