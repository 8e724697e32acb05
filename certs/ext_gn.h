// obExtGN: an extension that comes down to a list of general names: the
// subject's alternative names (2.5.29.17), or the names of the CRL
// distribution points (2.5.29.31).
//
//   SubjectAltName ::= GeneralNames
//   CRLDistributionPoints ::= SEQUENCE SIZE (1..MAX) OF DistributionPoint
//   DistributionPoint ::= SEQUENCE { distributionPoint [0] DistributionPointName OPTIONAL,
//       reasons [1] ReasonFlags OPTIONAL, cRLIssuer [2] GeneralNames OPTIONAL }
//   DistributionPointName ::= CHOICE { fullName [0] GeneralNames,
//       nameRelativeToCRLIssuer [1] RelativeDistinguishedName }
//
// Distribution points are reduced to the http: and ldap: URIs of their full
// names; points with reasons, a CRL issuer or a relative name are left out
// (and make a critical extension unhandled). The encoding is kept whole; the
// obGeneralNames list is made on first use.
#ifndef NYCERT_CERTS_EXT_GN_H_
#define NYCERT_CERTS_EXT_GN_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/ext_bytes.h"
#include "nycert/certs/extension.h"
#include "nycert/certs/lazy_names.h"
#include "nycert/platform/export.h"

enum obExtGNKind {
  obExtGN_SubjectAltName = 0,
  obExtGN_CRLDistributionPoints = 1,
};

class NYCERT_EXPORT obExtGN_imp : public obExtension_imp {
 public:
  // From a checked value of kind.
  obExtGN_imp(obExtGNKind kind, obDerSpan der) : kind_(kind), der_(der.data, der.size) {}
  // From names: alternative names as they are, distribution points as one
  // point whose full name is the list.
  obExtGN_imp(obExtGNKind kind, const obGeneralNames& names);
  obExtGN_imp(const obExtGN_imp& other);

  const char* ExtName() const override;
  void Sprint(ObStream* s, int indent) const override;
  int EncodeValue(obAsnWriteBuf& b) const override;

  obExtGNKind Kind() const { return kind_; }
  obGeneralNames* Names() const;
  obASN_GeneralNames AsnNames() const;

 private:
  obExtGNKind kind_;
  obExtBytes<128> der_;
  obLazyNames names_;
};

class NYCERT_EXPORT obExtGN : public obExtension {
 public:
  explicit obExtGN(const obGeneralNames& names, obExtGNKind kind = obExtGN_SubjectAltName);
  obExtGN(const obExtGN& other);
  obExtGN* Clone() const override;

  obExtGNKind Kind() const;
  // The names, owned by the extension.
  obGeneralNames* Names() const;
  // The names as the generated value; names that cannot be converted are
  // reported and left out.
  obASN_GeneralNames AsnNames() const;

  // The handlers of the two values; a malformed value gives null.
  static obExtension* HandleSubjectAltName(obDerSpan value, int critical, int& accepted);
  static obExtension* HandleCRLDistributionPoints(obDerSpan value, int critical, int& accepted);

 private:
  obExtGN(obExtGNKind kind, obDerSpan der) : obExtension(data_), data_(kind, der) {}

  obExtGN_imp data_;
};

#endif  // NYCERT_CERTS_EXT_GN_H_
