// Local HTTP peers for network tests, on 127.0.0.1 with ports the OS picks:
// python3's http.server serving a folder, and a listener that never answers.
#ifndef NYCERT_TESTS_SUPPORT_LOCAL_HTTP_H_
#define NYCERT_TESTS_SUPPORT_LOCAL_HTTP_H_

#include <sys/types.h>

#include <string>

// python3 -m http.server over dir, stopped (killed and reaped) with the object.
class StaticHttpServer {
 public:
  explicit StaticHttpServer(const std::string& dir);
  ~StaticHttpServer();
  StaticHttpServer(const StaticHttpServer&) = delete;
  StaticHttpServer& operator=(const StaticHttpServer&) = delete;

  // Whether it announced its port within a few seconds.
  bool Ready() const { return port_ > 0; }
  // "http://127.0.0.1:<port>/<path>".
  std::string Url(const std::string& path) const;

 private:
  pid_t pid_ = -1;
  int output_ = -1;  // the server's standard output
  int port_ = 0;
};

// A socket listening on 127.0.0.1 that never accepts: connections complete
// and then hear nothing.
class SilentListener {
 public:
  SilentListener();
  ~SilentListener();
  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;

  std::string Url(const std::string& path) const;

 private:
  int fd_ = -1;
  int port_ = 0;
};

// A port on 127.0.0.1 where nothing listens (it was bound and closed).
int ClosedPort();

#endif  // NYCERT_TESTS_SUPPORT_LOCAL_HTTP_H_
