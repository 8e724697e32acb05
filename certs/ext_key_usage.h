// obExtKeyUsage: the extKeyUsage extension (2.5.29.37).
//
//   ExtKeyUsageSyntax ::= SEQUENCE SIZE (1..MAX) OF KeyPurposeId
//   KeyPurposeId ::= OBJECT IDENTIFIER
//
// The purposes the library knows are answered from a mask; the encoding is
// kept whole, so purposes it does not know survive a round trip.
#ifndef NYCERT_CERTS_EXT_KEY_USAGE_H_
#define NYCERT_CERTS_EXT_KEY_USAGE_H_

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/ext_bytes.h"
#include "nycert/certs/extension.h"
#include "nycert/platform/export.h"

// The known key purposes; 0 stands for none.
enum obExtKeyUsageType {
  obEKU_badValue = 0,
  obEKU_serverAuth = 1,       // 1.3.6.1.5.5.7.3.1
  obEKU_clientAuth = 2,       // 1.3.6.1.5.5.7.3.2
  obEKU_codeSigning = 3,      // 1.3.6.1.5.5.7.3.3
  obEKU_emailProtection = 4,  // 1.3.6.1.5.5.7.3.4
  obEKU_ipsecEndSystem = 5,   // 1.3.6.1.5.5.7.3.5
  obEKU_ipsecTunnel = 6,      // 1.3.6.1.5.5.7.3.6
  obEKU_ipsecUser = 7,        // 1.3.6.1.5.5.7.3.7
  obEKU_timeStamping = 8,     // 1.3.6.1.5.5.7.3.8
  obEKU_smartCardLogon = 9,   // 1.3.6.1.4.1.311.20.2.2
};

class NYCERT_EXPORT obExtKeyUsage_imp : public obExtension_imp {
 public:
  // From the DER of an ExtKeyUsageSyntax and the mask of its known purposes
  // (0 for one that cannot be read, which is kept as received).
  obExtKeyUsage_imp(obDerSpan der, unsigned mask) : der_(der.data, der.size), mask_(mask) {}
  // From known purposes; unsupported types are reported and left out.
  obExtKeyUsage_imp(const obExtKeyUsageType* types, int count);

  const char* ExtName() const override;
  void Sprint(ObStream* s, int indent) const override;
  int EncodeValue(obAsnWriteBuf& b) const override;

  obASN_ExtKeyUsageSyntax ExtKeyUsage_2_ASN() const;
  int HasUsage(obExtKeyUsageType type) const;

 private:
  obExtBytes<64> der_;
  unsigned mask_;  // bit (1 << type) for each known purpose held
};

class NYCERT_EXPORT obExtKeyUsage : public obExtension {
 public:
  // The purposes listed, in order; unsupported types are reported and left out.
  obExtKeyUsage(const obExtKeyUsageType* types, int count);
  obExtKeyUsage(const obExtKeyUsage& other);
  obExtKeyUsage* Clone() const override;

  // The purposes as the generated value, unknown ones included.
  obASN_ExtKeyUsageSyntax ExtKeyUsage_2_ASN() const;
  // 1 when the purpose is listed, else 0; types outside 1..9 are reported.
  int HasUsage(obExtKeyUsageType type) const;
  // The name of a type ("bad value" for 0, "serverAuth", ...); outside 0..9
  // null, reported.
  static const char* ExtKeyusageStr(obExtKeyUsageType type);
  // The identifier of a type, or null for 0 and types outside 1..9.
  static const obAsnOid* ExtKeyusageOid(obExtKeyUsageType type);

  // The handler of the extension's value; a malformed value gives an
  // extended key usage that lists no purpose, not accepted.
  static obExtension* Handle(obDerSpan value, int critical, int& accepted);

 private:
  obExtKeyUsage(obDerSpan der, unsigned mask) : obExtension(data_), data_(der, mask) {}

  obExtKeyUsage_imp data_;
};

#endif  // NYCERT_CERTS_EXT_KEY_USAGE_H_
