#include "nycert/enroll/cert_template.h"

#include <string>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/extension.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/enroll/cert_template_internal.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/obstream.h"

obCertTemplate_imp::~obCertTemplate_imp() { SetKey(nullptr); }

void obCertTemplate_imp::SetKey(obPubKey* newKey) {
  if (newKey) obSavePubKey(newKey);
  obFreePubKey(key);
  key = newKey;
}

void obCertTemplate_imp::Clear() {
  version = -1;
  serial.reset();
  issuer.reset();
  subject.reset();
  notBefore = notAfter = 0;
  SetKey(nullptr);
  extensions.Clear();
}

void obCertTemplate_imp::CopyFrom(const obCertTemplate_imp& other) {
  if (this == &other) return;
  Clear();
  version = other.version;
  if (other.serial) serial.reset(new obAsnInt(*other.serial));
  if (other.issuer) issuer.reset(new obDN(*other.issuer));
  if (other.subject) subject.reset(new obDN(*other.subject));
  notBefore = other.notBefore;
  notAfter = other.notAfter;
  SetKey(other.key);
  for (int i = 0; i < other.extensions.Count(); ++i)
    extensions.Add(*other.extensions.OidAt(i), other.extensions.CriticalAt(i), other.extensions.At(i)->Clone());
}

bool obTemplateHasName(const obDN* dn) { return dn && dn->Count() > 0 && dn->GetName(); }

int obTemplateNameOf(const obDN& dn, obASN_Name& name) {
  if (!obTemplateHasName(&dn)) return -1;
  name.Select_rdnSequence() = *dn.GetName();
  return 0;
}

obCertTemplate::obCertTemplate() : imp_(new obCertTemplate_imp) {}
obCertTemplate::obCertTemplate(const obCertTemplate& other) : imp_(new obCertTemplate_imp) {
  imp_->CopyFrom(*other.imp_);
}
obCertTemplate& obCertTemplate::operator=(const obCertTemplate& other) {
  imp_->CopyFrom(*other.imp_);
  return *this;
}
obCertTemplate::~obCertTemplate() { delete imp_; }

int obCertTemplate::Version() const { return imp_->version; }
void obCertTemplate::SetVersion(int version) { imp_->version = version; }
const obAsnInt* obCertTemplate::SerialNum() const { return imp_->serial.get(); }
void obCertTemplate::SetSerialNum(int serial) { imp_->serial.reset(new obAsnInt(serial)); }
void obCertTemplate::SetSerialNum(const obAsnInt& serial) { imp_->serial.reset(new obAsnInt(serial)); }
const obDN* obCertTemplate::Issuer() const { return imp_->issuer.get(); }
void obCertTemplate::SetIssuer(const obDN& issuer) { imp_->issuer.reset(new obDN(issuer)); }
const obDN* obCertTemplate::Subject() const { return imp_->subject.get(); }
void obCertTemplate::SetSubject(const obDN& subject) { imp_->subject.reset(new obDN(subject)); }
void obCertTemplate::ResetSubject() { imp_->subject.reset(); }
long obCertTemplate::notBefore() const { return imp_->notBefore; }
void obCertTemplate::SetNotBefore(long when) { imp_->notBefore = when; }
long obCertTemplate::notAfter() const { return imp_->notAfter; }
void obCertTemplate::SetNotAfter(long when) { imp_->notAfter = when; }
obPubKey* obCertTemplate::PubKey() const { return imp_->key; }
void obCertTemplate::SetKey(obPubKey* key) { imp_->SetKey(key); }
const obExtensionsList& obCertTemplate::Extensions() const { return imp_->extensions; }
obExtension* obCertTemplate::GetExt(const obAsnOid& oid) const { return imp_->extensions.Get(oid); }
void obCertTemplate::Set(const obCertTemplate& other) { imp_->CopyFrom(*other.imp_); }
void obCertTemplate::Clear() { imp_->Clear(); }

int obCertTemplate::AddExtension(const obAsnOid& oid, int critical, const obExtension& ext) {
  return imp_->extensions.Add(oid, critical, ext.Clone());
}

// Each extension goes through the certificate handlers on its own, so one
// that cannot be taken does not stop the ones after it.
int obCertTemplate::AddExtensions(const obASN_Extensions& extensions) {
  nyBinBuf der;
  obDerSpan content;
  if (obAsnEncode(extensions, der) != 0 || !obExtReadWhole({der.Data(), der.Len()}, kDerSequence, content)) {
    OB_HERROR("obCertTemplate::AddExtensions: cannot read the extensions");
    return -1;
  }
  obDerReader r(content);
  int skipped = 0;
  while (!r.AtEnd()) {
    obDerElement element;
    if (!r.Next(element)) return -1;
    int before = imp_->extensions.Count();
    obAsnOid unhandled;
    if (imp_->extensions.Process(element.tlv, obCertExtHandlers(), unhandled) != 0 ||
        imp_->extensions.Count() == before)
      ++skipped;
  }
  return skipped ? 1 : 0;
}

int obCertTemplate::MatchCert(const obCert& cert) const {
  const char* const kName = "obCertTemplate_imp::MatchCert";
  if (imp_->serial && (!cert.SerialNum() || *imp_->serial != *cert.SerialNum())) {
    OB_HERROR("%s: serial number is different than in the request.", kName);
    return -1;
  }
  if (!imp_->key) return 0;
  obDerSpan spki = cert.SubjectPublicKeyInfo();
  obPubKey* certKey =
      spki.size ? obImportPublicKeyInfo(spki.data, static_cast<int>(spki.size)) : nullptr;
  if (!certKey) {
    OB_HERROR("%s: No key in the certificate.", kName);
    return -1;
  }
  int equal = obPubKey_Equal(imp_->key, certKey);
  obFreePubKey(certKey);
  if (equal) return 0;
  OB_HERROR("%s: key in the certificate is different than in the request.", kName);
  return -1;
}

void obCertTemplate::Sprint(ObStream* s, int indent) const {
  if (!s) return;
  std::string tabs = obNameTabs(indent);
  s->Printf("%sCertificate template:\n", tabs.c_str());
  tabs += '\t';
  if (imp_->version >= 0) s->Printf("%sVersion: %d\n", tabs.c_str(), imp_->version);
  if (imp_->serial) {
    s->Printf("%sSerial number: ", tabs.c_str());
    imp_->serial->Sprint(s, 0);
  }
  obSprintNameLine(s, tabs, "Issuer: ", imp_->issuer.get());
  obSprintNameLine(s, tabs, "Subject: ", imp_->subject.get());
  if (imp_->notBefore) s->Printf("%sNot before: %s\n", tabs.c_str(), obLocalTimeText(imp_->notBefore).c_str());
  if (imp_->notAfter) s->Printf("%sNot after: %s\n", tabs.c_str(), obLocalTimeText(imp_->notAfter).c_str());
  if (imp_->key)
    s->Printf("%sPublic key: %s, %d bits\n", tabs.c_str(), imp_->key->ClassName(), imp_->key->GetLen(obPK_Len_Bits));
  if (imp_->extensions.Count()) {
    s->Printf("%sExtensions:\n", tabs.c_str());
    imp_->extensions.Sprint(s, indent + 2);
  }
}

void obCertTemplate::Fprint(FILE* f, int indent) const {
  obFprintText(f, [&](ObStream* s) { Sprint(s, indent); });
}

void obCertTemplate::Herror() const {
  obHerrorText([&](ObStream* s) { Sprint(s, 0); });
}
