// The implementation behind obCert, shared by its decoding and printing.
#ifndef NYCERT_CERTS_CERT_IMP_INTERNAL_H_
#define NYCERT_CERTS_CERT_IMP_INTERNAL_H_

#include <mutex>

#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/certs/cert_fields_internal.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/signed.h"
#include "nycert/keys/pubkey.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/publish_once.h"

struct obPubKeyFree {
  void operator()(obPubKey* key) const { obFreePubKey(key); }
};

class obCert_imp : public obSigned_imp {
 public:
  using obSigned_imp::obSigned_imp;
  ~obCert_imp() override;

  // Made on first use and then kept; threads that race to make it keep the
  // first one published. A key that cannot be made marks the certificate
  // once, however many threads find that out.
  obPublishOnce<obPubKey, obPubKeyFree> pubKey;
  std::once_flag keyFailure;
  int version = 1;
  // The values live here to save allocations; the pointers are set once
  // each has decoded.
  obAsnInt serialValue;
  obDN issuerName;
  obDN subjectName;
  obAsnInt* serial = nullptr;
  obDN* issuer = nullptr;
  obDN* subject = nullptr;
  obExtensionsList extensions;
  // Spans into buf.
  obCertFields fields;
  long notBefore = 0;
  long notAfter = 0;
};

#endif  // NYCERT_CERTS_CERT_IMP_INTERNAL_H_
