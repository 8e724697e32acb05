// The HTTP client against local peers: bodies, error statuses, POSTs, the
// body limit, refused connections, silent servers and time-outs, refused
// schemes, and cancelling on destruction.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "http_client.h"
#include "support/local_http.h"
#include "support/test_support.h"

namespace {

using Clock = std::chrono::steady_clock;
using Bytes = std::vector<unsigned char>;

// Collects completions and waits for them, bounded.
class Responses {
 public:
  HttpDone Sink() {
    return [this](HttpResponse& r) {
      std::lock_guard<std::mutex> hold(mutex_);
      got_.push_back(r);
      cv_.notify_all();
    };
  }
  bool WaitFor(size_t count, int ms) {
    std::unique_lock<std::mutex> lock(mutex_);
    return cv_.wait_for(lock, std::chrono::milliseconds(ms), [&] { return got_.size() >= count; });
  }
  HttpResponse At(size_t i) {
    std::lock_guard<std::mutex> hold(mutex_);
    return got_.at(i);
  }

 private:
  std::mutex mutex_;
  std::condition_variable cv_;
  std::vector<HttpResponse> got_;
};

HttpRequest Get(const std::string& url, long totalMs = 5000) {
  HttpRequest r;
  r.url = url;
  r.connectTimeoutMs = 2000;
  r.totalTimeoutMs = totalMs;
  return r;
}

TEST(HttpClient, BodiesStatusesPostsAndTheBodyLimit) {
  TempDir dir;
  WriteBytes(dir.File("small.bin"), Bytes{1, 2, 3, 0, 255});
  WriteBytes(dir.File("big.bin"), Bytes(200000, 7));
  StaticHttpServer server(dir.path());
  ASSERT_TRUE(server.Ready());
  HttpClient client;
  Responses responses;
  ASSERT_TRUE(client.Start(Get(server.Url("small.bin")), responses.Sink()));
  ASSERT_TRUE(responses.WaitFor(1, 10000));
  HttpResponse r = responses.At(0);
  EXPECT_EQ(r.result, Http_OK) << r.error;
  EXPECT_EQ(r.status, 200);
  EXPECT_EQ(r.body, (Bytes{1, 2, 3, 0, 255}));

  ASSERT_TRUE(client.Start(Get(server.Url("missing.crl")), responses.Sink()));
  ASSERT_TRUE(responses.WaitFor(2, 10000));
  EXPECT_EQ(responses.At(1).result, Http_Status);
  EXPECT_EQ(responses.At(1).status, 404);
  EXPECT_TRUE(responses.At(1).body.empty());

  // The static server does not take POSTs: the answer shows the POST arrived.
  HttpRequest post = Get(server.Url("small.bin"));
  post.postBody = std::string("\x30\x03\x02\x01\x01", 5);
  post.contentType = "application/ocsp-request";
  ASSERT_TRUE(client.Start(post, responses.Sink()));
  ASSERT_TRUE(responses.WaitFor(3, 10000));
  EXPECT_EQ(responses.At(2).result, Http_Status);
  EXPECT_EQ(responses.At(2).status, 501);

  HttpRequest limited = Get(server.Url("big.bin"));
  limited.maxBody = 1000;
  ASSERT_TRUE(client.Start(limited, responses.Sink()));
  ASSERT_TRUE(responses.WaitFor(4, 10000));
  EXPECT_EQ(responses.At(3).result, Http_TooLarge);
  EXPECT_TRUE(responses.At(3).body.empty());
}

TEST(HttpClient, RefusedSilentAndUnsupported) {
  HttpClient client;
  Responses responses;
  ASSERT_TRUE(client.Start(Get("http://127.0.0.1:" + std::to_string(ClosedPort()) + "/x"), responses.Sink()));
  ASSERT_TRUE(responses.WaitFor(1, 10000));
  EXPECT_EQ(responses.At(0).result, Http_Connect) << responses.At(0).error;

  SilentListener silent;
  Clock::time_point start = Clock::now();
  ASSERT_TRUE(client.Start(Get(silent.Url("x"), 700), responses.Sink()));
  ASSERT_TRUE(responses.WaitFor(2, 10000));
  EXPECT_EQ(responses.At(1).result, Http_Timeout);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));

  EXPECT_FALSE(client.Start(Get("ldap://127.0.0.1/cn=crl"), responses.Sink()));
  EXPECT_FALSE(client.Start(Get("file:///etc/passwd"), responses.Sink()));
  EXPECT_TRUE(HttpClient::Accepts("HTTPS://example.test/x"));
  EXPECT_FALSE(HttpClient::Accepts("http://"));
}

TEST(HttpClient, DestructionCancelsRunningTransfers) {
  SilentListener silent;
  Responses responses;
  Clock::time_point start = Clock::now();
  {
    HttpClient client;
    ASSERT_TRUE(client.Start(Get(silent.Url("a"), 60000), responses.Sink()));
    ASSERT_TRUE(client.Start(Get(silent.Url("b"), 60000), responses.Sink()));
  }
  ASSERT_TRUE(responses.WaitFor(2, 0));
  EXPECT_EQ(responses.At(0).result, Http_Cancelled);
  EXPECT_EQ(responses.At(1).result, Http_Cancelled);
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
