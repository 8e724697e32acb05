// obExtKeyID: the subjectKeyIdentifier (2.5.29.14) and
// authorityKeyIdentifier (2.5.29.35) extensions.
//
//   SubjectKeyIdentifier ::= KeyIdentifier
//   AuthorityKeyIdentifier ::= SEQUENCE {
//       keyIdentifier [0] KeyIdentifier OPTIONAL,
//       authorityCertIssuer [1] GeneralNames OPTIONAL,
//       authorityCertSerialNumber [2] CertificateSerialNumber OPTIONAL }
//   KeyIdentifier ::= OCTET STRING
//
// An identifier computed from a key is the SHA-1 digest of the key's public
// DER (for RSA the RSAPublicKey, which is the subjectPublicKey bit string's
// content): the first method of RFC 5280, 4.2.1.2.
#ifndef NYCERT_CERTS_EXT_KEY_ID_H_
#define NYCERT_CERTS_EXT_KEY_ID_H_

#include <memory>

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/ext_bytes.h"
#include "nycert/certs/extension.h"
#include "nycert/certs/lazy_names.h"
#include "nycert/platform/export.h"

class obPubKey;

enum KeyIdType {
  obKeyId_Subject = 0,
  obKeyId_Authority = 1,
};

class NYCERT_EXPORT obExtKeyID_imp : public obExtension_imp {
 public:
  // An identifier of type with the octets id[0..len).
  obExtKeyID_imp(KeyIdType type, const unsigned char* id, unsigned long len) : type_(type), keyId_(id, len) {}
  // An identifier of type computed from key; empty when that fails (reported).
  obExtKeyID_imp(KeyIdType type, obPubKey& key);
  obExtKeyID_imp(const obExtKeyID_imp& other);

  const char* ExtName() const override;
  void Sprint(ObStream* s, int indent) const override;
  int EncodeValue(obAsnWriteBuf& b) const override;

  // Takes the parts of an AuthorityKeyIdentifier value: false, leaving this
  // unchanged, when it is malformed.
  bool SetAuthority(obDerSpan value);

  KeyIdType KIdType() const { return type_; }
  obDerSpan KIdBuf() const { return {keyId_.data(), keyId_.size()}; }
  obGeneralNames* KIdGNs() const;
  const obAsnInt* KIdSN() const { return serial_.get(); }

 private:
  KeyIdType type_;
  obExtBytes<32> keyId_;
  obAsnBytes issuer_;  // the content of authorityCertIssuer; empty when absent
  std::unique_ptr<obAsnInt> serial_;
  obLazyNames names_;
};

class NYCERT_EXPORT obExtKeyID : public obExtension {
 public:
  // A subject key identifier.
  explicit obExtKeyID(const obAsnOcts& keyId);
  // An authority key identifier.
  explicit obExtKeyID(const obASN_AuthorityKeyIdentifier& aki);
  // An identifier of type computed from key (see above); on failure the
  // identifier is empty (reported).
  obExtKeyID(KeyIdType type, obPubKey& key);
  obExtKeyID(const obExtKeyID& other);
  obExtKeyID* Clone() const override;

  KeyIdType KIdType() const;
  // The key identifier octets, owned by the extension; empty when it has none.
  obDerSpan KIdBuf() const;
  // The authority's issuer names, or null.
  obGeneralNames* KIdGNs() const;
  // The authority's certificate serial number, or null.
  const obAsnInt* KIdSN() const;

  // The handlers of the two values; a malformed value gives null.
  static obExtension* HandleSubjectKeyId(obDerSpan value, int critical, int& accepted);
  static obExtension* HandleAuthorityKeyId(obDerSpan value, int critical, int& accepted);

 private:
  obExtKeyID(KeyIdType type, const unsigned char* id, unsigned long len) : obExtension(data_), data_(type, id, len) {}

  obExtKeyID_imp data_;
};

#endif  // NYCERT_CERTS_EXT_KEY_ID_H_
