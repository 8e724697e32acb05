// The fields behind an obCertTemplate, shared by the files that build
// structures from them.
#ifndef NYCERT_ENROLL_CERT_TEMPLATE_INTERNAL_H_
#define NYCERT_ENROLL_CERT_TEMPLATE_INTERNAL_H_

#include <memory>

#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/names/obdn.h"

class obASN_Name;
class obASN_SubjectPublicKeyInfo;
class obPubKey;

class obCertTemplate_imp {
 public:
  obCertTemplate_imp() = default;
  obCertTemplate_imp(const obCertTemplate_imp&) = delete;
  obCertTemplate_imp& operator=(const obCertTemplate_imp&) = delete;
  ~obCertTemplate_imp();

  void CopyFrom(const obCertTemplate_imp& other);
  void Clear();
  void SetKey(obPubKey* newKey);

  int version = -1;
  std::unique_ptr<obAsnInt> serial;
  std::unique_ptr<obDN> issuer;
  std::unique_ptr<obDN> subject;
  long notBefore = 0;
  long notAfter = 0;
  obPubKey* key = nullptr;  // one reference of its own
  obExtensionsList extensions;
};

// Whether dn is there and holds at least one name component.
bool obTemplateHasName(const obDN* dn);
// name as the rdnSequence alternative of a Name: 0, or -1.
int obTemplateNameOf(const obDN& dn, obASN_Name& name);
// The SubjectPublicKeyInfo of key: 0, or -1.
int obTemplateKeyInfo(obPubKey& key, obASN_SubjectPublicKeyInfo& out);

#endif  // NYCERT_ENROLL_CERT_TEMPLATE_INTERNAL_H_
