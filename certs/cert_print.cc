// The printed forms of certificates and certificate lists.
#include <string>

#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/cert_imp_internal.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/keys/ec_evp.h"
#include "nycert/keys/rsa_key_formats.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr unsigned kOctetsPerLine = 16;

// The octets of a big-endian number as "c3:5a:...", kOctetsPerLine a line.
void SprintOctetLines(ObStream* s, const std::string& tabs, const nyBinBuf& number) {
  for (unsigned i = 0; i < number.Len(); ++i) {
    bool last = i + 1 == number.Len();
    bool lineEnd = last || i % kOctetsPerLine == kOctetsPerLine - 1;
    s->Printf("%s%02x%s%s", i % kOctetsPerLine ? "" : tabs.c_str(), number.Data()[i], last ? "" : ":",
              lineEnd ? "\n" : "");
  }
}

unsigned BitLength(const nyBinBuf& magnitude) {
  unsigned i = 0;
  while (i < magnitude.Len() && magnitude.Data()[i] == 0) ++i;
  if (i == magnitude.Len()) return 0;
  unsigned bits = (magnitude.Len() - i - 1) * 8;
  for (unsigned top = magnitude.Data()[i]; top; top >>= 1) ++bits;
  return bits;
}

// An elliptic-curve subject key: curve, size and the key octets.
void SprintEcKey(ObStream* s, const std::string& tabs, obDerSpan spki) {
  nyECKeyInfo info;
  if (nyEC_ParseKeyInfo(spki, info)) return;
  const char* t = tabs.c_str();
  bool ed = info.curve == nyEC_Ed25519;
  s->Printf("%sPublic key: %s %s %d bits\n", t, ed ? "EdDSA" : "ECDSA", nyEC_CurveName(info.curve),
            nyEC_CurveBits(info.curve));
  s->Printf("%s\t%s:\n", t, ed ? "Key" : "Point");
  SprintOctetLines(s, tabs + "\t\t", nyBinBuf(info.publicKey.data, static_cast<unsigned>(info.publicKey.size)));
}

// An RSA subject key read from its RSAPublicKey: algorithm, size, exponent
// (decimal when it fits a long, as most do) and modulus.
void SprintRsaKey(ObStream* s, const std::string& tabs, obDerSpan publicKey) {
  nyBinBuf modulus, exponent;
  if (obPublicDer2RsaPk(publicKey.data, publicKey.size, modulus, exponent) != 0) return;
  const char* t = tabs.c_str();
  s->Printf("%sPublic key: RSA %u bits\n", t, BitLength(modulus));
  if (BitLength(exponent) < 64) {
    unsigned long value = 0;
    for (unsigned i = 0; i < exponent.Len(); ++i) value = (value << 8) | exponent.Data()[i];
    s->Printf("%s\tExponent: %lu\n", t, value);
  } else {
    s->Printf("%s\tExponent:\n", t);
    SprintOctetLines(s, tabs + "\t\t", exponent);
  }
  s->Printf("%s\tModulus:\n", t);
  SprintOctetLines(s, tabs + "\t\t", modulus);
}

}  // namespace

void obCert::Sprint(ObStream* s, obCertHerrorDetails details, int indent) const {
  if (!s) return;
  std::string tabs = obNameTabs(indent);
  const char* t = tabs.c_str();
  if (!OK()) {
    s->Printf("%sError: %s\n", t, Error().getstr() ? Error().getstr() : "");
    return;
  }
  if (details > obCertHerror_Names) {
    s->Printf("%sX509 Certificate Version %d\n", t, Version());
    if (UnhandledCritExt()) s->Printf("%sUnhandled critical extension %s\n", t, UnhandledCritExt()->Dotted().getstr());
    s->Printf("%sSerial Number: %s\n", t, obIntegerText(imp_->fields.serial).c_str());
  }
  obSprintNameLine(s, tabs, "Issuer: ", Issuer());
  obSprintNameLine(s, tabs, "Subject: ", Subject());
  if (details > obCertHerror_Names) {
    s->Printf("%sNot valid before: %s Local Time\n", t, obLocalTimeText(notBefore()).c_str());
    s->Printf("%sNot valid after:  %s Local Time\n", t, obLocalTimeText(notAfter()).c_str());
  }
  if (details == obCertHerror_All) {
    const obCertFields& f = imp_->fields;
    if (nyEC_IsKeyAlgorithm(f.keyAlgorithm))
      SprintEcKey(s, tabs, f.spki);
    else
      SprintRsaKey(s, tabs, f.publicKey);
  }
  if (details > obCertHerror_Names) imp_->extensions.Sprint(s, indent);
}

void obCert::Fprint(FILE* f, obCertHerrorDetails details, int indent) const {
  obFprintText(f, [&](ObStream* s) { Sprint(s, details, indent); });
}

void obCert::Herror(obCertHerrorDetails details) const {
  obHerrorText([&](ObStream* s) { Sprint(s, details, 0); });
}

void obCerts::Sprint(ObStream* s, const char* title, obCertHerrorDetails details, int indent) const {
  obSprintSignedList(s, *this, title, "certificates", details, indent);
}

void obCerts::Fprint(FILE* f, const char* title, obCertHerrorDetails details, int indent) const {
  obFprintText(f, [&](ObStream* s) { Sprint(s, title, details, indent); });
}

void obCerts::Herror(const char* title, obCertHerrorDetails details) const {
  obHerrorText([&](ObStream* s) { Sprint(s, title, details, 0); });
}
