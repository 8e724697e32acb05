// obCRLs and the C interface of CRLs.
#include "nycert/crl/crl.h"

obCRLs::obCRLs(int n) : obSignedObjects(n) {}

obCRLs::obCRLs(const obCRLs& other) : obSignedObjects(other) {}

obCRLs::~obCRLs() = default;

namespace {

// Decodes buf into a CRL that lives only for the call of use.
template <class Use>
void WithCRL(const unsigned char* buf, int len, Use use) {
  obCRL* crl = new obCRL(buf, len > 0 ? static_cast<unsigned>(len) : 0);
  use(*crl);
  obFreeSigned(crl);
}

}  // namespace

void obCert_Sprint_CRLbuf(ObStream* s, const unsigned char* buf, int len, obCertHerrorDetails details, int indent) {
  WithCRL(buf, len, [&](const obCRL& crl) { crl.Sprint(s, details, indent); });
}

void obCert_Fprint_CRLbuf(FILE* f, const unsigned char* buf, int len, obCertHerrorDetails details, int indent) {
  WithCRL(buf, len, [&](const obCRL& crl) { crl.Fprint(f, details, indent); });
}
