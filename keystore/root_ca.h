// obRootCA: a trusted root CA held by a key holder, with the settings that
// chains anchored at it are validated with.
#ifndef NYCERT_KEYSTORE_ROOT_CA_H_
#define NYCERT_KEYSTORE_ROOT_CA_H_

#include <memory>

#include "nycert/keystore/pk_named_obj.h"

class obCert;
class obGeneralNames;
class obPKObjects;

// The role of a CA for the holder's own keys. A holder's default certified
// key is the first one rooted at an internal or enrollment CA; failing
// that, the last one rooted at a CA of another role; failing that, the last
// one rooted at an external CA.
enum ObCaType : int {
  obCaType_Unknown = 0,
  // The organisation's own CA.
  obCaType_Internal = 1,
  // The CA this installation enrolled its keys with.
  obCaType_Enrollment = 2,
  // A third party's CA, trusted for peers; its keys are the last choice.
  obCaType_External = 3,
  // A partner organisation's CA.
  obCaType_Partner = 4,
};

// How certificates issued under the root are checked for revocation.
enum ObCaRevocationMethod : int {
  obCaRevocation_CRL = 0,
  obCaRevocation_OCSP = 1,
  obCaRevocation_None = 2,
};

class NYCERT_EXPORT obRootCA_imp : public obPKNamedObj_imp {
 public:
  // Takes its own references to cert and ocspServers (either may be null)
  // and a copy of nameConstraints.
  obRootCA_imp(const char* name, obCert* cert, unsigned valType, ObCaType caType, int purpose,
               const unsigned char* id, int idLen, const obGeneralNames* nameConstraints, int crlTo,
               ObCaRevocationMethod revocationMethod, obPKObjects* ocspServers);
  ~obRootCA_imp() override;

  // The certificate's subject; null without a certificate.
  obDN* DN() const override;
  void Sprint(ObStream* s, int indent) const override;

  obCert* cert;
  unsigned valType;
  ObCaType caType;
  std::unique_ptr<obGeneralNames> nameConstraints;
  int crlTo;
  bool msEnterprise = false;
  bool useCN2FetchUser = false;
  ObCaRevocationMethod revocationMethod;
  obPKObjects* ocspServers;
};

class NYCERT_EXPORT obRootCA : public obPKNamedObj {
 public:
  // purpose is the purpose word; crlTo the destination handed on with the
  // CRLs of this CA when they are pushed into the CRL cache. The revocation
  // method is CRLs and there are no OCSP servers. References and copies are
  // taken as by obRootCA_imp.
  obRootCA(const char* name, obCert* cert, unsigned valType, ObCaType caType, int purpose, const unsigned char* id,
           int idLen, const obGeneralNames* nameConstraints, int crlTo);
  // Takes over imp.
  explicit obRootCA(obRootCA_imp* imp);
  ~obRootCA() override;

  // Lent; null when the CA has none.
  obCert* Cert() const { return imp_->cert; }
  // Validation settings for chains anchored here: bits of path validation's
  // flags, read there.
  unsigned ValType() const { return imp_->valType; }
  void SetValType(unsigned valType) { imp_->valType = valType; }
  ObCaType CAType() const { return imp_->caType; }
  void SetCAType(ObCaType caType) { imp_->caType = caType; }
  // The permitted subtrees of names below this root; null when unconstrained.
  const obGeneralNames* NameConstraints() const { return imp_->nameConstraints.get(); }
  int CrlTo() const { return imp_->crlTo; }
  int IsMsEnterprise() const { return imp_->msEnterprise ? 1 : 0; }
  void SetMsEnterprise(int on) { imp_->msEnterprise = on != 0; }
  int UseCN2FetchUser() const { return imp_->useCN2FetchUser ? 1 : 0; }
  void SetUseCN2FetchUser(int on) { imp_->useCN2FetchUser = on != 0; }
  ObCaRevocationMethod RevocationMethod() const { return imp_->revocationMethod; }
  void SetRevocationMethod(ObCaRevocationMethod method) { imp_->revocationMethod = method; }
  // The obOcspServer objects to ask, lent; null when none are set.
  obPKObjects* OcspServers() const { return imp_->ocspServers; }
  // Takes a reference to servers (null clears) and drops the one held.
  void SetOcspServers(obPKObjects* servers);

 private:
  obRootCA_imp* imp_;
};

#endif  // NYCERT_KEYSTORE_ROOT_CA_H_
