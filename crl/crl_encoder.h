// obCRL_Encoder: builds and signs a version-2 CRL for a CA.
//
//   TBSCertList ::= SEQUENCE {
//       version              Version OPTIONAL,  -- v2
//       signature            AlgorithmIdentifier,
//       issuer               Name,
//       thisUpdate           Time,
//       nextUpdate           Time OPTIONAL,
//       revokedCertificates  SEQUENCE OF SEQUENCE {
//           userCertificate     CertificateSerialNumber,
//           revocationDate      Time,
//           crlEntryExtensions  Extensions OPTIONAL } OPTIONAL,
//       crlExtensions   [0]  Extensions OPTIONAL }
//
// The issuer is the CA certificate's subject, copied octet for octet. The
// extensions are the authority key identifier (the CA's subject key
// identifier, or one computed from its key), the CRL number when one is set,
// and a critical issuing distribution point when one is set. Entries keep
// the order they were added in and carry a reason code when given one.
#ifndef NYCERT_CRL_CRL_ENCODER_H_
#define NYCERT_CRL_CRL_ENCODER_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"
#include "nycert/platform/export.h"

class obAsnInt;
class obCert;
class obCRL_Encoder_imp;
class obIssuingDP;
class obPubKey;

// The reasons of RFC 5280, 5.3.1 (8 is not used).
enum obCRLReason : int {
  obCRLReason_None = -1,  // no reason code entry extension
  obCRLReason_Unspecified = 0,
  obCRLReason_KeyCompromise = 1,
  obCRLReason_CACompromise = 2,
  obCRLReason_AffiliationChanged = 3,
  obCRLReason_Superseded = 4,
  obCRLReason_CessationOfOperation = 5,
  obCRLReason_CertificateHold = 6,
  obCRLReason_RemoveFromCRL = 8,
  obCRLReason_PrivilegeWithdrawn = 9,
  obCRLReason_AACompromise = 10,
};

class NYCERT_EXPORT obCRL_Encoder {
 public:
  // A CRL of the CA whose certificate is issuer, to be signed with key (the
  // CA's private key). Both must outlive the encoder. thisUpdate starts as
  // the library clock's now, nextUpdate as absent.
  obCRL_Encoder(obCert& issuer, obPubKey& key);
  ~obCRL_Encoder();
  obCRL_Encoder(const obCRL_Encoder&) = delete;
  obCRL_Encoder& operator=(const obCRL_Encoder&) = delete;

  void SetThisUpdate(long when);
  // 0 leaves nextUpdate out.
  void SetNextUpdate(long when);
  // A negative number leaves the CRL number out (the default).
  void SetCRLNumber(long number);
  // A copy of idp becomes the CRL's critical issuing distribution point;
  // null drops it.
  void SetIssuingDP(const obIssuingDP* idp);
  // Lists serial (a non-negative integer) as revoked since when, with a
  // reason code unless reason is obCRLReason_None: 0, or -1 for a negative
  // serial or an unknown reason.
  int AddRevoked(const obAsnInt& serial, long when, obCRLReason reason = obCRLReason_None);
  int RevokedCount() const;

  // Builds the CRL and signs it over md into out: 0, or -1 with a message
  // and out untouched.
  int Encode(ob_md_type md, nyBinBuf& out) const;

 private:
  obCRL_Encoder_imp* imp_;
};

#endif  // NYCERT_CRL_CRL_ENCODER_H_
