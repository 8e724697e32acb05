#include "support/ocsp_peer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>

#include "nycert/crl/validation_rc.h"
#include "support/test_support.h"

namespace {

using Clock = std::chrono::steady_clock;

long MsLeft(Clock::time_point deadline) {
  auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return left > 0 ? static_cast<long>(left) : 0;
}

// Reads from fd until the peer closes, the deadline passes or limit octets.
bool ReadAll(int fd, Clock::time_point deadline, size_t limit, std::string& out) {
  char chunk[4096];
  for (;;) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, static_cast<int>(MsLeft(deadline))) <= 0) return false;
    ssize_t n = read(fd, chunk, sizeof chunk);
    if (n < 0) return false;
    if (n == 0) return true;
    out.append(chunk, static_cast<size_t>(n));
    if (out.size() > limit) return false;
  }
}

// The port of "ACCEPT <addr>:<port> ..." among the tool's first lines.
int AcceptedPort(int fd, Clock::time_point deadline) {
  std::string text;
  char c;
  while (MsLeft(deadline) > 0) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, static_cast<int>(MsLeft(deadline))) <= 0 || read(fd, &c, 1) != 1) return 0;
    if (c != '\n') {
      text += c;
      continue;
    }
    size_t at = text.find("ACCEPT ");
    size_t colon = text.find(' ', at + 7);
    if (at != std::string::npos && colon != std::string::npos) {
      colon = text.rfind(':', colon);
      return std::atoi(text.c_str() + colon + 1);
    }
    text.clear();
  }
  return 0;
}

int ParsePort(const std::string& url) {
  const std::string prefix = "http://127.0.0.1:";
  return url.compare(0, prefix.size(), prefix) == 0 ? std::atoi(url.c_str() + prefix.size()) : 0;
}

sockaddr_in Loopback(int port) {
  sockaddr_in addr{};
  addr.sin_family = AF_INET;
  addr.sin_port = htons(static_cast<uint16_t>(port));
  addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return addr;
}

}  // namespace

OcspResponderProcess::OcspResponderProcess(const std::string& dir, const std::string& index,
                                           const std::string& args) {
  int out[2];
  if (pipe(out) != 0) return;
  std::string command = "cd '" + dir + "' && exec " + OpensslTool() + " ocsp -index " + index + " -port 0 " + args;
  pid_ = fork();
  if (pid_ == 0) {
    dup2(out[1], 1);
    int null = open("/dev/null", O_WRONLY);
    dup2(null, 2);
    close(out[0]);
    execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  close(out[1]);
  if (pid_ > 0) port_ = AcceptedPort(out[0], Clock::now() + std::chrono::seconds(10));
  close(out[0]);
}

OcspResponderProcess::~OcspResponderProcess() {
  if (pid_ <= 0) return;
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}

SilentServer::SilentServer() {
  fd_ = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in addr = Loopback(0);
  socklen_t len = sizeof addr;
  if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 || listen(fd_, 8) != 0 ||
      getsockname(fd_, reinterpret_cast<sockaddr*>(&addr), &len) != 0)
    return;
  port_ = ntohs(addr.sin_port);
}

// Connections wait in the backlog unanswered; closing the socket resets them.
SilentServer::~SilentServer() {
  if (fd_ >= 0) close(fd_);
}

bool PostOcsp(const std::string& url, const Bytes& request, long timeoutMs, Bytes& reply) {
  Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  int port = ParsePort(url);
  int fd = port ? socket(AF_INET, SOCK_STREAM, 0) : -1;
  if (fd < 0) return false;
  sockaddr_in addr = Loopback(port);
  std::string message = "POST / HTTP/1.0\r\nContent-Type: application/ocsp-request\r\nContent-Length: " +
                        std::to_string(request.size()) + "\r\n\r\n" +
                        std::string(request.begin(), request.end());
  std::string answer;
  bool ok = connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0 &&
            write(fd, message.data(), message.size()) == static_cast<ssize_t>(message.size()) &&
            ReadAll(fd, deadline, 1 << 20, answer);
  close(fd);
  size_t body = answer.find("\r\n\r\n");
  if (!ok || answer.compare(0, 12, "HTTP/1.0 200") != 0 || body == std::string::npos) return false;
  reply.assign(answer.begin() + static_cast<long>(body) + 4, answer.end());
  return true;
}

int PostingFetcher(void* opaque, const char* url, const unsigned char* request, int requestLen, long timeoutMs,
                   void (*done)(void*, int, const unsigned char*, int), void* doneContext) {
  if (opaque) ++*static_cast<int*>(opaque);
  Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeoutMs);
  Bytes reply;
  if (PostOcsp(url, Bytes(request, request + requestLen), timeoutMs, reply))
    done(doneContext, 0, reply.data(), static_cast<int>(reply.size()));
  else
    done(doneContext, MsLeft(deadline) > 0 ? obValidationRC_OCSPConnect : obValidationRC_Timeout, nullptr, 0);
  return 0;
}

std::string IndexLine(char state, const std::string& serialHex, const std::string& subject) {
  std::string revoked = state == 'R' ? "231114221320Z" : "";
  return std::string(1, state) + "\t301231235959Z\t" + revoked + "\t" + serialHex + "\tunknown\t" + subject + "\n";
}

namespace {

CertRequest OcspCertRequest(const std::string& subject, const std::string& serial, const std::string& ext) {
  CertRequest r;
  r.subject = subject;
  r.serial = serial;
  r.extensions = ext;
  r.keyBits = 1024;
  return r;
}

}  // namespace

OcspPki::OcspPki() : pki(SharedPki()) {
  good = pki.Issue("ocsp_good", OcspCertRequest("/CN=ocsp good", "0x5001", ""));
  revoked = pki.Issue("ocsp_revoked", OcspCertRequest("/CN=ocsp revoked", "0x5002", ""));
  unknown = pki.Issue("ocsp_unknown", OcspCertRequest("/CN=ocsp unknown", "0x5003", ""));
  delegate = pki.Issue("ocsp_delegate", OcspCertRequest("/CN=ocsp delegate", "0x5004", "extendedKeyUsage=OCSPSigning"));
  plain = pki.Issue("ocsp_plain", OcspCertRequest("/CN=ocsp plain", "0x5005", "extendedKeyUsage=serverAuth"));
  WriteBytes(pki.dir() + "/ocsp_index.txt",
             Text(IndexLine('V', "5001", "/CN=ocsp good") + IndexLine('R', "5002", "/CN=ocsp revoked")));
  Openssl(pki.dir(), "req -x509 -new -key " + CachedKey(1536) + " -subj /CN=unrelated -days 30 -out ocsp_other.pem");
}

std::unique_ptr<OcspResponderProcess> OcspPki::Responder(const std::string& args) const {
  return std::make_unique<OcspResponderProcess>(pki.dir(), "ocsp_index.txt", "-CA ca.pem " + args);
}

std::string OcspPki::CaSigner() const { return "-rsigner ca.pem -rkey " + pki.CaKeyPath(); }

std::string OcspPki::Signer(const std::string& name) const {
  return "-rsigner " + name + ".pem -rkey " + (name == "ocsp_other" ? CachedKey(1536) : CachedKey(1024));
}

const OcspPki& SharedOcspPki() {
  static OcspPki* shared = new OcspPki;
  return *shared;
}
