// obCertTemplate: the wanted contents of a certificate before it exists,
// what a client asks for and what an issuing CA fills in before signing.
// Every field is optional. From a template come a to-be-signed certificate
// (PrepareTBSCert), a CRMF certificate template (Prepare_obASN_CertTemplate)
// and, through obSignCertificate, a signed certificate; MatchCert checks an
// issued certificate against the template that asked for it.
#ifndef NYCERT_ENROLL_CERT_TEMPLATE_H_
#define NYCERT_ENROLL_CERT_TEMPLATE_H_

#include <cstdio>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

class ObStream;
class obASN_CertTemplate;
class obASN_Extensions;
class obASN_TBSCertificate;
class obAsnInt;
class obAsnOid;
class obCert;
class obCertTemplate_imp;
class obDN;
class obExtension;
class obExtensionsList;
class obPubKey;

class NYCERT_EXPORT obCertTemplate {
 public:
  obCertTemplate();
  obCertTemplate(const obCertTemplate& other);
  obCertTemplate& operator=(const obCertTemplate& other);
  ~obCertTemplate();

  // Counted from 1 (1 = X.509 v1, 3 = v3); -1 when unset.
  int Version() const;
  void SetVersion(int version);
  // Null when unset.
  const obAsnInt* SerialNum() const;
  void SetSerialNum(int serial);
  void SetSerialNum(const obAsnInt& serial);
  const obDN* Issuer() const;
  void SetIssuer(const obDN& issuer);
  const obDN* Subject() const;
  void SetSubject(const obDN& subject);
  void ResetSubject();
  // Seconds since 1970 UTC; 0 when unset.
  long notBefore() const;
  void SetNotBefore(long when);
  long notAfter() const;
  void SetNotAfter(long when);
  // Lent; null when unset. SetKey takes a reference of its own; null unsets.
  obPubKey* PubKey() const;
  void SetKey(obPubKey* key);

  const obExtensionsList& Extensions() const;
  obExtension* GetExt(const obAsnOid& oid) const;
  // Appends a copy of ext: 0, or -1.
  int AddExtension(const obAsnOid& oid, int critical, const obExtension& ext);
  // Appends every extension the library has a class for: 0 when all were
  // taken, 1 when some were not (unknown, or a value that does not read),
  // -1 when the list cannot be read at all.
  int AddExtensions(const obASN_Extensions& extensions);

  // Replace every field: with a copy of other's, or with a CRMF template's
  // (0, or -1 when a field cannot be read; the fields read stay).
  void Set(const obCertTemplate& other);
  int Set(const obASN_CertTemplate& request);
  void Clear();

  // 0 when cert has the template's serial number (if set) and key (if set),
  // else -1. Subject, issuer, validity and extensions are not compared.
  int MatchCert(const obCert& cert) const;
  // The to-be-signed certificate, signed with signatureAlgorithm: 0, or -1
  // when a required field is missing.
  int PrepareTBSCert(const obAsnOid* signatureAlgorithm, obASN_TBSCertificate& out) const;
  // A CRMF template with every field that is set (and signingAlg when
  // signatureAlgorithm is given): 0, or -1.
  int Prepare_obASN_CertTemplate(obASN_CertTemplate& out, const obAsnOid* signatureAlgorithm) const;

  void Herror() const;
  void Fprint(FILE* f, int indent) const;
  void Sprint(ObStream* s, int indent) const;

 private:
  obCertTemplate_imp* imp_;
};

// Signs the certificate template describes with signingKey (an RSA key
// able to sign) over md: 0 with the certificate's DER in out, or -1.
NYCERT_EXPORT int obSignCertificate(obCertTemplate& tmpl, obPubKey& signingKey, ob_md_type md, nyBinBuf& out);

#endif  // NYCERT_ENROLL_CERT_TEMPLATE_H_
