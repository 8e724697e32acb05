// obCRLs and the C interface of CRLs.
#include "nycert/crl/crl.h"

#include "nycert/certs/print_text_internal.h"

obCRLs::obCRLs(int n) : obSignedObjects(n) {}

obCRLs::obCRLs(const obCRLs& other) : obSignedObjects(other) {}

obCRLs::~obCRLs() = default;

void obCert_Sprint_CRLbuf(ObStream* s, const unsigned char* buf, int len, obCertHerrorDetails details, int indent) {
  obWithDecoded<obCRL>(buf, len, [&](const obCRL& crl) { crl.Sprint(s, details, indent); });
}

void obCert_Fprint_CRLbuf(FILE* f, const unsigned char* buf, int len, obCertHerrorDetails details, int indent) {
  obWithDecoded<obCRL>(buf, len, [&](const obCRL& crl) { crl.Fprint(f, details, indent); });
}
