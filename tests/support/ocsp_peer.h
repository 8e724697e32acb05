// OCSP peers for tests, all on 127.0.0.1: the openssl tool's responder over a
// CA database, a server that accepts and never answers, and a small HTTP
// client that posts a request to either.
#ifndef NYCERT_TESTS_SUPPORT_OCSP_PEER_H_
#define NYCERT_TESTS_SUPPORT_OCSP_PEER_H_

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "support/cert_pki.h"

// `openssl ocsp -index <index> -port 0 <args>` run in dir on a port the
// system picks; killed with the object. Port() is 0 when it did not start
// within a few seconds.
class OcspResponderProcess {
 public:
  OcspResponderProcess(const std::string& dir, const std::string& index, const std::string& args);
  ~OcspResponderProcess();
  OcspResponderProcess(const OcspResponderProcess&) = delete;
  OcspResponderProcess& operator=(const OcspResponderProcess&) = delete;

  int Port() const { return port_; }
  std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

 private:
  pid_t pid_ = -1;
  int port_ = 0;
};

// A listening socket that accepts connections and never answers them;
// closes them with the object.
class SilentServer {
 public:
  SilentServer();
  ~SilentServer();
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;

  int Port() const { return port_; }
  std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/"; }

 private:
  int fd_ = -1;
  int port_ = 0;
};

// Posts request as application/ocsp-request to an http://127.0.0.1:<port>/
// URL and gives the reply's body; false on any failure or after timeoutMs.
bool PostOcsp(const std::string& url, const Bytes& request, long timeoutMs, Bytes& reply);

// An OCSP fetcher (obOCSP_Fetcher) that posts with PostOcsp and completes
// before it returns (-989 when the time-out passed, else -982 on failure),
// counting its calls in *opaque (an int) when given.
int PostingFetcher(void* opaque, const char* url, const unsigned char* request, int requestLen, long timeoutMs,
                   void (*done)(void*, int, const unsigned char*, int), void* doneContext);

// One line of an openssl CA database: "V" (valid) or "R" (revoked) with the
// serial in hex.
std::string IndexLine(char state, const std::string& serialHex, const std::string& subject);

// The shared CA's certificates for OCSP (RSA-1024 keys of their own): one
// good, one revoked and one the CA database does not know; a delegated
// responder, a certificate without the OCSP-signing purpose, and a
// self-signed responder of no relation (ocsp_other.pem).
struct OcspPki {
  OcspPki();

  // A responder over the database, signing as args say (-rsigner, -rkey, ...).
  std::unique_ptr<OcspResponderProcess> Responder(const std::string& args) const;
  // The arguments that sign with the CA's key, or with the certificate
  // <name>.pem issued here and its key.
  std::string CaSigner() const;
  std::string Signer(const std::string& name) const;

  const TestPki& pki;
  Bytes good, revoked, unknown, delegate, plain;
};

// Made on first use, shared by the tests of one binary.
const OcspPki& SharedOcspPki();

#endif  // NYCERT_TESTS_SUPPORT_OCSP_PEER_H_
