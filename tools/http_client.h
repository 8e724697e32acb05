// HttpClient: asynchronous HTTP GET and POST over libcurl.
//
// Transfers run on a thread of the client's own through libcurl's multi
// interface, with a connect and a total time-out and a limit on the body.
// Each transfer ends with exactly one call of its completion, on the
// client's thread: hand the result on to wherever it is needed (the CRL
// fetcher posts it to the CRL cache, which judges it on its environment).
// Only http and https URLs are accepted, redirects included.
#ifndef NYCERT_TOOLS_HTTP_CLIENT_H_
#define NYCERT_TOOLS_HTTP_CLIENT_H_

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

// How a transfer ended.
enum HttpResult : int {
  Http_OK = 0,            // a 2xx answer
  Http_Status = -1,       // the server answered with another status
  Http_Timeout = -2,      // the connect or total time-out passed
  Http_Connect = -3,      // no connection (refused, unresolvable)
  Http_TooLarge = -4,     // the body passed the size limit
  Http_Transfer = -5,     // any other failure of the transfer
  Http_Cancelled = -6,    // the client was destroyed first
};

// The name of a result, for messages.
const char* HttpResultName(HttpResult result);

struct HttpRequest {
  std::string url;
  // Empty for a GET; a POST sends body with contentType.
  std::string postBody;
  std::string contentType;
  long connectTimeoutMs = 5000;
  long totalTimeoutMs = 20000;
  size_t maxBody = 16u << 20;
};

struct HttpResponse {
  HttpResult result = Http_Transfer;
  long status = 0;  // the HTTP status, 0 when none came
  std::string contentType;
  std::vector<unsigned char> body;
  std::string error;  // what went wrong, for messages
};

using HttpDone = std::function<void(HttpResponse&)>;

class HttpClient {
 public:
  HttpClient();
  // Ends the transfers still running (each completes with Http_Cancelled)
  // and joins the thread.
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  // Queues a transfer: true, or false (done is not called) when the URL's
  // scheme is not http or https or the client could not start.
  bool Start(HttpRequest request, HttpDone done);

  // Whether url is one the client fetches: "http://" or "https://".
  static bool Accepts(const std::string& url);

 private:
  struct Transfer;
  void Run();
  void AddQueued();
  void Finish(Transfer* transfer, int curlCode);

  void* multi_ = nullptr;
  std::mutex mutex_;  // guards queued_ and stopping_
  std::vector<Transfer*> queued_;
  bool stopping_ = false;
  std::vector<Transfer*> running_;  // the client thread's own
  std::thread thread_;
};

#endif  // NYCERT_TOOLS_HTTP_CLIENT_H_
