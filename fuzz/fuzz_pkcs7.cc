// PKCS#7 bundle reading on arbitrary input: nothing may crash or leak. A
// bundle that reads must have appended exactly the objects it reports, all
// decoded, and writing them again must give a bundle that reads back to the
// same objects in the same order.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "nycert/crl/pkcs7_bundle.h"

namespace {

bool SameObjects(const obSignedObjects& a, const obSignedObjects& b, obSigned* (*get)(const obSignedObjects&, int)) {
  if (a.Count() != b.Count()) return false;
  for (int i = 0; i < a.Count(); ++i) {
    const obSigned* x = get(a, i);
    const obSigned* y = get(b, i);
    if (!x || !y || !x->OK() || x->BufLen() != y->BufLen() || std::memcmp(x->GetBuf(), y->GetBuf(), x->BufLen()) != 0)
      return false;
  }
  return true;
}

obSigned* CertAt(const obSignedObjects& list, int i) { return static_cast<const obCerts&>(list).Get(i); }
obSigned* CrlAt(const obSignedObjects& list, int i) { return static_cast<const obCRLs&>(list).Get(i); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  obCerts certs;
  obCRLs crls;
  int rc = obPKCS72CertCRL(reinterpret_cast<const char*>(data), static_cast<unsigned>(size), &certs, &crls);
  if (rc < 0) {
    if (certs.Count() != 0 || crls.Count() != 0) abort();
    return 0;
  }
  if (rc != certs.Count() + crls.Count()) abort();
  int len = 0;
  if (obCertCRL2PKCS7(&certs, &crls, nullptr, 0, len) != 0 || len <= 0) abort();
  std::vector<char> out(static_cast<size_t>(len));
  if (obCertCRL2PKCS7(&certs, &crls, out.data(), static_cast<unsigned>(out.size()), len) != 0) abort();
  obCerts certsBack;
  obCRLs crlsBack;
  if (obPKCS72CertCRL(out.data(), static_cast<unsigned>(out.size()), &certsBack, &crlsBack) != rc) abort();
  if (!SameObjects(certs, certsBack, CertAt) || !SameObjects(crls, crlsBack, CrlAt)) abort();
  return 0;
}
