#include "http_client.h"

#include <curl/curl.h>
#include <strings.h>

#include <algorithm>
#include <mutex>

namespace {

// How long the client thread sleeps in one poll when nothing happens; new
// requests and the destructor wake it at once.
const int kPollMs = 1000;
const long kMaxRedirects = 5;

void GlobalInit() {
  static std::once_flag once;
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

bool HasPrefix(const std::string& text, const char* prefix) {
  size_t n = std::char_traits<char>::length(prefix);
  return text.size() > n && strncasecmp(text.c_str(), prefix, n) == 0;
}

HttpResult ResultOf(int code) {
  switch (code) {
    case CURLE_OK:
      return Http_OK;
    case CURLE_OPERATION_TIMEDOUT:
      return Http_Timeout;
    case CURLE_COULDNT_CONNECT:
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
      return Http_Connect;
    case CURLE_FILESIZE_EXCEEDED:
      return Http_TooLarge;
    default:
      return Http_Transfer;
  }
}

}  // namespace

struct HttpClient::Transfer {
  Transfer(HttpRequest r, HttpDone d) : request(std::move(r)), done(std::move(d)) {}
  Transfer(const Transfer&) = delete;
  Transfer& operator=(const Transfer&) = delete;

  HttpRequest request;
  HttpDone done;
  HttpResponse response;
  CURL* easy = nullptr;
  curl_slist* headers = nullptr;
  char error[CURL_ERROR_SIZE] = {};
  bool tooLarge = false;

  ~Transfer() {
    curl_slist_free_all(headers);
    if (easy) curl_easy_cleanup(easy);
  }

  static size_t Write(char* data, size_t size, size_t count, void* self) {
    Transfer* t = static_cast<Transfer*>(self);
    size_t n = size * count;
    if (t->response.body.size() + n > t->request.maxBody) {
      t->tooLarge = true;
      return 0;
    }
    t->response.body.insert(t->response.body.end(), data, data + n);
    return n;
  }

  // Sets up the easy handle: false when libcurl refuses.
  bool Prepare() {
    easy = curl_easy_init();
    if (!easy) return false;
    const HttpRequest& r = request;
    bool ok = curl_easy_setopt(easy, CURLOPT_URL, r.url.c_str()) == CURLE_OK &&
              curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https") == CURLE_OK &&
              curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https") == CURLE_OK;
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, kMaxRedirects);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, r.connectTimeoutMs);
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, r.totalTimeoutMs);
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(r.maxBody));
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::Write);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, error);
    curl_easy_setopt(easy, CURLOPT_PRIVATE, this);
    if (!r.postBody.empty() || !r.contentType.empty()) {
      curl_easy_setopt(easy, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(r.postBody.size()));
      curl_easy_setopt(easy, CURLOPT_POSTFIELDS, r.postBody.data());
      headers = curl_slist_append(nullptr, ("Content-Type: " + r.contentType).c_str());
      curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers);
    }
    return ok;
  }
};

const char* HttpResultName(HttpResult result) {
  switch (result) {
    case Http_OK:
      return "ok";
    case Http_Status:
      return "HTTP error status";
    case Http_Timeout:
      return "timed out";
    case Http_Connect:
      return "cannot connect";
    case Http_TooLarge:
      return "body too large";
    case Http_Transfer:
      return "transfer failed";
    case Http_Cancelled:
      return "cancelled";
  }
  return "?";
}

bool HttpClient::Accepts(const std::string& url) { return HasPrefix(url, "http://") || HasPrefix(url, "https://"); }

HttpClient::HttpClient() {
  GlobalInit();
  multi_ = curl_multi_init();
  if (multi_) thread_ = std::thread(&HttpClient::Run, this);
}

HttpClient::~HttpClient() {
  {
    std::lock_guard<std::mutex> hold(mutex_);
    stopping_ = true;
  }
  if (thread_.joinable()) {
    curl_multi_wakeup(multi_);
    thread_.join();
  }
  if (multi_) curl_multi_cleanup(multi_);
}

bool HttpClient::Start(HttpRequest request, HttpDone done) {
  if (!multi_ || !Accepts(request.url)) return false;
  Transfer* transfer = new Transfer(std::move(request), std::move(done));
  {
    std::lock_guard<std::mutex> hold(mutex_);
    if (stopping_) {
      delete transfer;
      return false;
    }
    queued_.push_back(transfer);
  }
  curl_multi_wakeup(multi_);
  return true;
}

// Moves the queued transfers into the multi handle; client thread.
void HttpClient::AddQueued() {
  std::vector<Transfer*> queued;
  {
    std::lock_guard<std::mutex> hold(mutex_);
    queued.swap(queued_);
  }
  for (Transfer* transfer : queued) {
    if (!transfer->Prepare() || curl_multi_add_handle(multi_, transfer->easy) != CURLM_OK) {
      Finish(transfer, CURLE_FAILED_INIT);
      continue;
    }
    running_.push_back(transfer);
  }
}

// Completes a transfer and frees it; client thread.
void HttpClient::Finish(Transfer* transfer, int curlCode) {
  HttpResponse& r = transfer->response;
  r.result = transfer->tooLarge ? Http_TooLarge : ResultOf(curlCode);
  if (transfer->easy) {
    curl_easy_getinfo(transfer->easy, CURLINFO_RESPONSE_CODE, &r.status);
    char* type = nullptr;
    if (curl_easy_getinfo(transfer->easy, CURLINFO_CONTENT_TYPE, &type) == CURLE_OK && type) r.contentType = type;
  }
  if (r.result == Http_OK && (r.status < 200 || r.status > 299)) r.result = Http_Status;
  if (r.result == Http_Status) r.error = "HTTP status " + std::to_string(r.status);
  else if (r.result != Http_OK)
    r.error = transfer->error[0] ? transfer->error : curl_easy_strerror(static_cast<CURLcode>(curlCode));
  if (r.result != Http_OK) r.body.clear();
  transfer->done(r);
  delete transfer;
}

void HttpClient::Run() {
  for (;;) {
    bool stopping;
    {
      std::lock_guard<std::mutex> hold(mutex_);
      stopping = stopping_;
    }
    if (stopping) break;
    AddQueued();
    int active = 0;
    curl_multi_perform(multi_, &active);
    int left = 0;
    while (CURLMsg* msg = curl_multi_info_read(multi_, &left)) {
      if (msg->msg != CURLMSG_DONE) continue;
      Transfer* transfer = nullptr;
      curl_easy_getinfo(msg->easy_handle, CURLINFO_PRIVATE, reinterpret_cast<char**>(&transfer));
      int code = msg->data.result;
      curl_multi_remove_handle(multi_, msg->easy_handle);
      running_.erase(std::remove(running_.begin(), running_.end(), transfer), running_.end());
      Finish(transfer, code);
    }
    curl_multi_poll(multi_, nullptr, 0, kPollMs, nullptr);
  }
  AddQueued();
  for (Transfer* transfer : running_) {
    curl_multi_remove_handle(multi_, transfer->easy);
    transfer->response.error = "cancelled";
    transfer->response.result = Http_Cancelled;
    transfer->done(transfer->response);
    delete transfer;
  }
  running_.clear();
}
