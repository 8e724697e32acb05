#include "support/local_http.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const int kStartupMs = 10000;

// A socket bound to 127.0.0.1 on a port the OS picks: the descriptor, with
// *port set; -1 on failure.
int BoundSocket(int* port) {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) return -1;
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t len = sizeof addr;
  if (bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
      getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
    close(fd);
    return -1;
  }
  *port = ntohs(addr.sin_port);
  return fd;
}

// Reads the server's announcement ("... port N ...") from fd within the
// start-up time: the port, or 0.
int ReadAnnouncedPort(int fd) {
  std::string text;
  for (int waited = 0; waited < kStartupMs; waited += 100) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, 100) <= 0) continue;
    char buf[256];
    ssize_t n = read(fd, buf, sizeof buf);
    if (n <= 0) return 0;
    text.append(buf, static_cast<size_t>(n));
    size_t at = text.find(" port ");
    if (at != std::string::npos && text.find(' ', at + 6) != std::string::npos) return std::atoi(text.c_str() + at + 6);
  }
  return 0;
}

}  // namespace

StaticHttpServer::StaticHttpServer(const std::string& dir) {
  int out[2];
  if (pipe(out) != 0) return;
  pid_ = fork();
  if (pid_ == 0) {
    dup2(out[1], STDOUT_FILENO);
    int devnull = open("/dev/null", O_WRONLY);
    if (devnull >= 0) dup2(devnull, STDERR_FILENO);
    close(out[0]);
    execlp("python3", "python3", "-u", "-m", "http.server", "0", "--bind", "127.0.0.1", "--directory", dir.c_str(),
           static_cast<char*>(nullptr));
    _exit(127);
  }
  close(out[1]);
  // The pipe stays open while the server runs: a write to a closed one
  // would end it.
  output_ = out[0];
  if (pid_ > 0) port_ = ReadAnnouncedPort(output_);
}

StaticHttpServer::~StaticHttpServer() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  if (output_ >= 0) close(output_);
}

std::string StaticHttpServer::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
}

SilentListener::SilentListener() {
  fd_ = BoundSocket(&port_);
  if (fd_ >= 0 && listen(fd_, 16) != 0) port_ = 0;
}

SilentListener::~SilentListener() {
  if (fd_ >= 0) close(fd_);
}

std::string SilentListener::Url(const std::string& path) const {
  return "http://127.0.0.1:" + std::to_string(port_) + "/" + path;
}

int ClosedPort() {
  int port = 0;
  int fd = BoundSocket(&port);
  if (fd >= 0) close(fd);
  return port;
}
