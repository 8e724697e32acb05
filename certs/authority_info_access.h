// obAuthorityInfoAccess: the authorityInfoAccess extension (1.3.6.1.5.5.7.1.1).
//
//   AuthorityInfoAccessSyntax ::= SEQUENCE SIZE (1..MAX) OF AccessDescription
//   AccessDescription ::= SEQUENCE { accessMethod OBJECT IDENTIFIER,
//                                    accessLocation GeneralName }
//
// Only locations that are URIs beginning with "http://" serve as URLs.
#ifndef NYCERT_CERTS_AUTHORITY_INFO_ACCESS_H_
#define NYCERT_CERTS_AUTHORITY_INFO_ACCESS_H_

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/ext_bytes.h"
#include "nycert/certs/extension.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obAuthorityInfoAccess_imp : public obExtension_imp {
 public:
  obAuthorityInfoAccess_imp() = default;
  obAuthorityInfoAccess_imp(const obAuthorityInfoAccess_imp& other) = default;

  const char* ExtName() const override;
  void Sprint(ObStream* s, int indent) const override;
  int EncodeValue(obAsnWriteBuf& b) const override;

  // Takes an AuthorityInfoAccessSyntax value: false (reported), leaving this
  // empty, when it is malformed.
  bool Set(obDerSpan value);

  obASN_AuthorityInfoAccessSyntax AuthorityInfoAccess() const;
  const char* GetAccessByID(const obAsnOid& method) const;

 private:
  obDerSpan Der() const { return {store_.data(), derLen_}; }

  // The value's DER, followed by each http:// location as a zero-terminated
  // text, in the order they stand in the DER.
  obExtBytes<256> store_;
  size_t derLen_ = 0;
};

class NYCERT_EXPORT obAuthorityInfoAccess : public obExtension {
 public:
  // From the generated value; an unusable one leaves the extension empty (reported).
  explicit obAuthorityInfoAccess(const obASN_AuthorityInfoAccessSyntax& access);
  obAuthorityInfoAccess(const obAuthorityInfoAccess& other);
  obAuthorityInfoAccess* Clone() const override;

  // The access descriptions as the generated value.
  obASN_AuthorityInfoAccessSyntax AuthorityInfoAccess() const;
  // The first http:// location of an access method (e.g. obASN_id_ad_ocsp,
  // obASN_id_ad_caIssuers), owned by the extension; null when there is none.
  const char* GetAccessByID(const obAsnOid& method) const;

  // The handler of the extension's value; a malformed value gives null.
  static obExtension* Handle(obDerSpan value, int critical, int& accepted);

 private:
  obAuthorityInfoAccess() : obExtension(data_) {}

  obAuthorityInfoAccess_imp data_;
};

#endif  // NYCERT_CERTS_AUTHORITY_INFO_ACCESS_H_
