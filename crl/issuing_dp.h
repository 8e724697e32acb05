// obIssuingDP: the issuingDistributionPoint extension of a CRL (2.5.29.28),
// and the table of extensions a CRL is decoded with.
//
//   IssuingDistributionPoint ::= SEQUENCE {
//       distributionPoint          [0] DistributionPointName OPTIONAL,
//       onlyContainsUserCerts      [1] IMPLICIT BOOLEAN DEFAULT FALSE,
//       onlyContainsCACerts        [2] IMPLICIT BOOLEAN DEFAULT FALSE,
//       onlySomeReasons            [3] IMPLICIT ReasonFlags OPTIONAL,
//       indirectCRL                [4] IMPLICIT BOOLEAN DEFAULT FALSE,
//       onlyContainsAttributeCerts [5] IMPLICIT BOOLEAN DEFAULT FALSE }
//   DistributionPointName ::= CHOICE { fullName [0] IMPLICIT GeneralNames,
//       nameRelativeToCRLIssuer [1] IMPLICIT RelativeDistinguishedName }
//
// Supported are a full name and one of the two "only contains" kinds for
// certificates; reasons, indirect CRLs, attribute certificates and relative
// names are reported and leave a critical extension unhandled. The encoding
// is kept whole; the names are made on first use.
#ifndef NYCERT_CRL_ISSUING_DP_H_
#define NYCERT_CRL_ISSUING_DP_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/ext_bytes.h"
#include "nycert/certs/extension.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/lazy_names.h"
#include "nycert/platform/export.h"

class obASN_IssuingDistributionPoint;

// Which certificates a CRL covers.
enum obCRL_contents : int {
  obCRL_AllCerts = 0,   // all of them
  obCRL_ARL = 1,        // authority revocation list: CA certificates only
  obCRL_UserCerts = 2,  // end-entity certificates only
};

class NYCERT_EXPORT obIssuingDP_imp : public obExtension_imp {
 public:
  // From a value the handler has checked.
  obIssuingDP_imp(obCRL_contents kind, obDerSpan der) : kind_(kind), der_(der.data, der.size) {}
  // From a kind and names (null or empty: no distribution point name).
  obIssuingDP_imp(obCRL_contents kind, const obGeneralNames* names);
  obIssuingDP_imp(const obIssuingDP_imp& other);

  const char* ExtName() const override;
  void Sprint(ObStream* s, int indent) const override;
  int EncodeValue(obAsnWriteBuf& b) const override;

  obCRL_contents Type() const { return kind_; }
  // The full name's general names (an empty list when there is none).
  obGeneralNames* Names() const;
  // The names as the generated value; names that cannot be converted are
  // reported and left out.
  obASN_GeneralNames AsnNames() const;

 private:
  obCRL_contents kind_;
  obExtBytes<96> der_;
  obLazyNames names_;
};

class NYCERT_EXPORT obIssuingDP : public obExtension {
 public:
  obIssuingDP(obCRL_contents kind, const obGeneralNames* names);
  obIssuingDP(const obIssuingDP& other);
  obIssuingDP* Clone() const override;

  obCRL_contents Type() const;
  obGeneralNames* Names() const;
  obASN_GeneralNames AsnNames() const;

  // The handler of the extension's value: null for a malformed value; not
  // accepted when it asks for options beyond the supported ones.
  static obExtension* Handle(obDerSpan value, int critical, int& accepted);

 private:
  obIssuingDP(obCRL_contents kind, obDerSpan der) : obExtension(data_), data_(kind, der) {}

  obIssuingDP_imp data_;
};

// The table CRLs are decoded with: issuingDistributionPoint handled, the
// superseded identifier 2.5.29.26 skipped even when critical.
NYCERT_EXPORT const obExtHandlerTable& obCRLExtHandlers();

// For the CRL encoder: a new issuing distribution point (names are copied;
// null for none), its release, and its generated value (0, or -1 for a
// null dp).
NYCERT_EXPORT obIssuingDP* obIssuingDP_new(obCRL_contents kind, const obGeneralNames* names);
NYCERT_EXPORT void obIssuingDP_delete(obIssuingDP* dp);
NYCERT_EXPORT int obComposeIssuingDP(const obIssuingDP* dp, obASN_IssuingDistributionPoint& out);

#endif  // NYCERT_CRL_ISSUING_DP_H_
