// obCert: a decoded X.509 certificate, and obCerts, the list every chain and
// bag of certificates travels in.
//
// A certificate is decoded once, when it is made: the fields are located in
// the kept DER, the names, serial, validity and handled extensions are
// built, and the subject key is checked. Test OK() afterwards; Error() says
// what failed. The object is reference counted (obSaveSigned, obFreeSigned).
#ifndef NYCERT_CERTS_CERT_H_
#define NYCERT_CERTS_CERT_H_

#include <cstdio>

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/key_usage.h"
#include "nycert/certs/signed.h"
#include "nycert/platform/export.h"

class ObStream;
class obAsnInt;
class obAsnOid;
class obAuthorityInfoAccess;
class obBasicConstraint;
class obCert_imp;
class obDN;
class obExtKeyID;
class obExtKeyUsage;
class obExtension;
class obExtensionsList;
class obGeneralNames;
class obPubKey;

// How much of a certificate is printed: names only, everything but the key,
// or everything.
enum obCertHerrorDetails : int {
  obCertHerror_Names = 1,
  obCertHerror_Details = 2,
  obCertHerror_All = 3,
};

class NYCERT_EXPORT obCert : public obSigned {
 public:
  obCert(const unsigned char* buf, unsigned int len);
  obCert(const obCert&) = delete;
  obCert& operator=(const obCert&) = delete;
  ~obCert() override;

  // The subject key, imported on the first call; null when it cannot be.
  obPubKey* PubKey();
  // The certificate's version (1 for a certificate without the field).
  int Version() const;
  long notBefore() const;
  long notAfter() const;
  obDN* Issuer() const;
  obDN* Subject() const;
  // 0 with out set, or -1 when there is no serial or it needs more than 32 bits.
  int SerialNum(int& out) const;
  obAsnInt* SerialNum() const;

  // The handled extensions, and typed views of the common ones (null when
  // the certificate does not carry them).
  const obExtensionsList& Extensions() const;
  obExtension* GetExt(const obAsnOid* oid) const;
  int IsCritical(const obAsnOid* oid) const;
  obBasicConstraint* GetBasicConstraint() const;
  obGeneralNames* AltNames() const;
  obGeneralNames* DistPoints() const;
  obKeyUsage* KeyUsage() const;
  obExtKeyUsage* ExtKeyUsage() const;
  obExtKeyID* SubjectKeyId() const;
  obExtKeyID* AuthorityKeyId() const;
  obAuthorityInfoAccess* AuthInfoAccess() const;
  // 1 when the certificate has no key-usage extension at all (deliberately
  // permissive), else whether that usage is set.
  int HasKeyUsage(obKeyUsageType usage) const;

  // Spans into the kept DER: the TBSCertificate, the SubjectPublicKeyInfo,
  // and the serial number's INTEGER content octets as written.
  obDerSpan TbsCertificate() const;
  obDerSpan SubjectPublicKeyInfo() const;
  obDerSpan SerialContent() const;

  // 1 when both hold the same DER octets, else 0.
  int operator==(const obCert& other) const;

  void Herror(obCertHerrorDetails details) const;
  // To f (standard error when null), every line indented by indent tabs.
  void Fprint(FILE* f, obCertHerrorDetails details, int indent) const;
  void Sprint(ObStream* s, obCertHerrorDetails details, int indent) const;

 private:
  explicit obCert(obCert_imp* imp);
  void Decode();

  obCert_imp* imp_;
};

class NYCERT_EXPORT obCerts : public obSignedObjects {
 public:
  explicit obCerts(int n = 0);
  obCerts(const obCerts& other);
  ~obCerts() override;

  // Add and Set take the caller's reference over; Get lends.
  void Add(obCert* cert) { AddSigned(cert); }
  obCert* Get(int i) const { return static_cast<obCert*>(GetSigned(i)); }
  int Set(int i, obCert* cert) { return SetSigned(i, cert); }
  // The occupied slot with the lowest index whose subject equals dn, or null.
  obCert* GetBySubjectDN(const obDN& dn) const;

  void Herror(const char* title, obCertHerrorDetails details) const;
  void Fprint(FILE* f, const char* title, obCertHerrorDetails details, int indent) const;
  void Sprint(ObStream* s, const char* title, obCertHerrorDetails details, int indent) const;
};

// The C interface.
NYCERT_EXPORT obCert* obCert_Decode(const unsigned char* buf, int len);
NYCERT_EXPORT void obCert_Save(obCert* cert);
NYCERT_EXPORT void obCert_Free(obCert* cert);
NYCERT_EXPORT obDN* obCert_GetSubject(obCert* cert);
NYCERT_EXPORT void obCerts_ClearAll(obCerts* certs);
NYCERT_EXPORT void obCerts_Free(obCerts* certs);
// Writes the list (slots from 0 up to the first empty one) as a DER SEQUENCE
// OF Certificate into buf of size octets: the length, or -1. A null buf
// gives the length only.
NYCERT_EXPORT int obCerts_2buf(obCerts* certs, unsigned char* buf, int size);
// The certificates of a DER SEQUENCE OF Certificate in a new list, or null
// when buf is not one or an element does not decode.
NYCERT_EXPORT obCerts* obCerts_buf2Certs(const unsigned char* buf, int len);
// Prints a DER certificate at detail 3 on the diagnostic channel, only while
// debug printing is on.
NYCERT_EXPORT void obCert_Herror_buf(const unsigned char* buf, int len);
NYCERT_EXPORT void obCert_Sprint_certbuf(ObStream* s, const unsigned char* buf, int len, obCertHerrorDetails details, int indent);
NYCERT_EXPORT void obCert_Fprint_certbuf(FILE* f, const unsigned char* buf, int len, obCertHerrorDetails details, int indent);
// "Subject: <subject>, Issuer: <issuer>" in a new string for the caller to
// release with delete[]; null for a null certificate.
NYCERT_EXPORT char* obCert_CertNamesToStr(const obCert* cert);

#endif  // NYCERT_CERTS_CERT_H_
