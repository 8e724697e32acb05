#include "nycert/validate/chain_search.h"

#include <cstdlib>
#include <cstring>

#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/ext_key_id.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"

namespace {

bool SameDN(const obDN* a, const obDN* b) { return a && b && a->Equal(*b); }

bool SameKeyId(obDerSpan a, obDerSpan b) {
  return a.size == b.size && std::memcmp(a.data, b.data, a.size) == 0;
}

// Whether cert is the one an authority key identifier without a key
// identifier names: its issuer among names, and its serial number.
bool IssuedAs(const obCert& cert, const obGeneralNames& names, const obAsnInt& serial) {
  if (!cert.Issuer() || !cert.SerialNum() || !(*cert.SerialNum() == serial)) return false;
  obGeneralName issuer(*cert.Issuer());
  return names.Match(&issuer) != 0;
}

}  // namespace

//   AuthorityKeyIdentifier ::= SEQUENCE {
//       keyIdentifier [0] KeyIdentifier OPTIONAL,
//       authorityCertIssuer [1] GeneralNames OPTIONAL,
//       authorityCertSerialNumber [2] CertificateSerialNumber OPTIONAL }
int obCerts_FindCertWithSubjectKId(const obCerts* list, const obExtKeyID* authorityKeyId) {
  if (!list || !authorityKeyId) return -1;
  obDerSpan keyId = authorityKeyId->KIdBuf();
  const obGeneralNames* names = authorityKeyId->KIdGNs();
  const obAsnInt* serial = authorityKeyId->KIdSN();
  if (keyId.size == 0 && (!names || !serial)) return -1;
  for (int i = 0; i < list->Size(); ++i) {
    const obCert* candidate = list->Get(i);
    if (!candidate || !candidate->OK()) continue;
    if (keyId.size > 0) {
      const obExtKeyID* subjectKeyId = candidate->SubjectKeyId();
      if (subjectKeyId && SameKeyId(subjectKeyId->KIdBuf(), keyId)) return i;
    } else if (IssuedAs(*candidate, *names, *serial)) {
      return i;
    }
  }
  return -1;
}

int obCerts_FindIssuer(const obCerts* list, const obCert* cert) {
  if (!list || !cert) return -1;
  if (const obExtKeyID* authorityKeyId = cert->AuthorityKeyId()) {
    if (!std::getenv("DONT_USE_AUTHKID")) return obCerts_FindCertWithSubjectKId(list, authorityKeyId);
  }
  for (int i = 0; i < list->Size(); ++i) {
    const obCert* candidate = list->Get(i);
    if (candidate && SameDN(candidate->Subject(), cert->Issuer())) return i;
  }
  return -1;
}

int obCerts_FindSubordinate(const obCerts* list, const obCert* cert) {
  if (!list || !cert) return -1;
  for (int i = 0; i < list->Size(); ++i) {
    const obCert* candidate = list->Get(i);
    if (candidate && SameDN(candidate->Issuer(), cert->Subject())) return i;
  }
  return -1;
}
