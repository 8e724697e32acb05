// The printed forms of certificates and certificate lists.
#include <string>

#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/cert_imp_internal.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/keys/pubkey.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

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
  obPubKey* key = imp_->pubKey.Peek();
  if (details == obCertHerror_All && key && obDiagOn()) {
    s->Printf("%sPubKey:\n", t);
    key->Herror();
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
