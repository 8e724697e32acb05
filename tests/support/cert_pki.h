// A small PKI made with the openssl tool for certificate tests: a CA and
// certificates it issues, plus re-signing of edited certificates so tests can
// build shapes the tool will not make.
#ifndef NYCERT_TESTS_SUPPORT_CERT_PKI_H_
#define NYCERT_TESTS_SUPPORT_CERT_PKI_H_

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "nycert/keys/pk_types.h"
#include "support/test_support.h"

class obASN_AlgorithmIdentifier;
class obASN_Certificate;
class obAsnType;
class obPubKey;
class obSigned;

using Bytes = std::vector<unsigned char>;

// Owns one reference to a signed object: a certificate or a CRL.
struct FreeSigned {
  void operator()(obSigned* obj) const;
};
template <class T>
using SignedPtr = std::unique_ptr<T, FreeSigned>;
// A T made from der, whether it decodes or not.
template <class T>
SignedPtr<T> Decoded(const Bytes& der) {
  return SignedPtr<T>(new T(der.data(), static_cast<unsigned>(der.size())));
}

// What one issued certificate should carry.
struct CertRequest {
  std::string subject = "/C=US/O=Example Inc/CN=www.example.com";
  std::string extensions;  // lines of an openssl extension section, or empty
  std::string digest = "sha256";
  int keyBits = 2048;      // 0 for an EC P-256 key
  std::string serial = "0x1001";
  int days = 365;
};

class TestPki {
 public:
  // A self-signed RSA-2048 CA, "/C=US/O=Example Trust/CN=Example Test CA".
  TestPki();

  const std::string& dir() const { return dir_.path(); }
  const Bytes& CaDer() const { return caDer_; }
  const std::string& CaKeyPath() const { return caKey_; }
  std::string CaPemPath() const { return dir_.File("ca.pem"); }
  // The CA's key as a handle (private, so it signs and verifies); owned here.
  obPubKey* CaKey() const { return caKeyHandle_.get(); }

  // A certificate the CA issues for request, as DER; its PEM is left in
  // dir()/<name>.pem and the subject key in dir()/<name>.key.
  Bytes Issue(const std::string& name, const CertRequest& request) const;
  // What `openssl x509 <args>` prints for the DER certificate.
  std::string X509Output(const Bytes& der, const std::string& args) const;

 private:
  TempDir dir_;
  std::string caKey_;
  Bytes caDer_;
  std::shared_ptr<obPubKey> caKeyHandle_;
};

// der decoded, edited by edit, re-signed by key with md, and encoded again.
Bytes Resign(const Bytes& der, const std::function<void(obASN_Certificate&)>& edit, obPubKey* key,
             ob_md_type md = ob_md_sha256);

// A signed structure (certificate, CRL or request) whose to-be-signed octets
// edit changes in place, signed again by key with md: for the BER forms the
// codecs would not write.
Bytes ResignOctets(const Bytes& der, const std::function<void(Bytes& tbs)>& edit, obPubKey* key,
                   ob_md_type md = ob_md_sha256);
// Replaces the one occurrence of from in octets with to, of the same length.
void ReplaceOnce(Bytes& octets, const Bytes& from, const Bytes& to);
// The signed structure key makes with md over tbs (certificate, CRL or request).
Bytes SignedBy(const obAsnType& tbs, obPubKey* key, ob_md_type md);
// alg names the RSA signature algorithm of md, parameters absent, as signing writes it.
void SetSignatureAlg(obASN_AlgorithmIdentifier& alg, ob_md_type md);

// One revoked certificate of a CRL.
struct RevokedEntry {
  Bytes serial;               // the INTEGER content octets, as DER writes them
  long revoked = 1700000000;  // revocation date, seconds since 1970
  int reason = -1;            // a CRLReason entry extension, or -1 for none
};

// One CRL extension: its dotted OID, criticality and DER value.
struct CrlExtensionValue {
  std::string oid;
  bool critical = false;
  Bytes value;
};

struct CrlOptions {
  long thisUpdate = 1700000000;
  long nextUpdate = 1700000000 + 7 * 86400;  // 0: none
  std::vector<CrlExtensionValue> extensions;
  ob_md_type md = ob_md_sha256;
};

// A v2 CRL of the PKI's CA listing revoked, made with the generated codecs
// and signed with the CA key. Serials of more than four octets must be
// positive (the codec writes large integers as magnitudes).
Bytes MakeCrl(const TestPki& pki, const std::vector<RevokedEntry>& revoked, const CrlOptions& options = {});
// The shortest two's-complement octets of v.
Bytes SerialOctets(int64_t v);

// Hand-built DER: an element of tag with a definite length (content up to
// 65535 octets), runs of octets joined, and text as octets.
Bytes Tlv(unsigned char tag, const Bytes& content);
Bytes Cat(std::initializer_list<Bytes> parts);
Bytes Text(const std::string& text);

// The shared PKI of a test binary, made on first use.
const TestPki& SharedPki();

#endif  // NYCERT_TESTS_SUPPORT_CERT_PKI_H_
