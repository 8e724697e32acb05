#include "nycert/certs/cert.h"

#include <cstring>

#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkix1_algorithms.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/authority_info_access.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/cert_imp_internal.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/ext_key_id.h"
#include "nycert/certs/ext_key_usage.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/ec_evp.h"
#include "nycert/keys/pubkey.h"
#include "nycert/names/obdn.h"

obCert_imp::~obCert_imp() = default;

namespace {

bool OidIs(obDerSpan oid, const obAsnOid& known) { return oid.Equal(known.data(), known.size()); }

// RSA keys, also under the signature identifiers some old CAs wrote there.
bool IsRsaKeyAlgorithm(obDerSpan oid) {
  return OidIs(oid, obASN_rsaEncryption) || OidIs(oid, obASN_md5WithRSAEncryption) ||
         OidIs(oid, obASN_sha1WithRSAEncryption) || OidIs(oid, obASN_sha1WithRSASignature);
}

bool IsDsaKeyAlgorithm(obDerSpan oid) { return OidIs(oid, obASN_id_dsa_with_sha1) || OidIs(oid, obASN_id_dsa); }

// Why the subject key cannot be used, or null. An EC point is checked
// against its curve only when the key is built.
const char* KeyRefusal(const obCertFields& f) {
  if (nyEC_IsKeyAlgorithm(f.keyAlgorithm)) {
    nyECKeyInfo info;
    return nyEC_ParseKeyInfo(f.spki, info);
  }
  if (!IsRsaKeyAlgorithm(f.keyAlgorithm))
    return IsDsaKeyAlgorithm(f.keyAlgorithm) ? "DSA key not supported" : "Not RSA key";
  if (f.publicKeyUnusedBits != 0 || !obCheckRsaPublicKey(f.publicKey)) return "Error decoding key";
  return nullptr;
}

obDN* DecodeName(obDerSpan der, obDN& name) {
  return name.Decode(der.data, static_cast<int>(der.size)) == 0 ? &name : nullptr;
}

// The values decoding builds beyond the located fields: false when one of
// them does not decode.
bool BuildValues(obCert_imp& c) {
  const obCertFields& f = c.fields;
  c.version = static_cast<int>(f.version) + 1;
  obAsnReadBuf serial(f.serial.data, f.serial.size);
  unsigned long consumed = 0;
  if (c.serialValue.BDecContent(serial, kDerInteger, static_cast<obAsnLen>(f.serial.size), consumed) < 0) return false;
  c.serial = &c.serialValue;
  c.issuer = DecodeName(f.issuer, c.issuerName);
  c.subject = DecodeName(f.subject, c.subjectName);
  if (!c.issuer || !c.subject) return false;
  return f.validityCount < 2 ||
         (obParseTimeElement(f.validity[0], c.notBefore) && obParseTimeElement(f.validity[1], c.notAfter));
}

}  // namespace

obCert::obCert(const unsigned char* buf, unsigned int len) : obCert(new obCert_imp(buf, len)) {}

obCert::obCert(obCert_imp* imp) : obSigned(imp), imp_(imp) {
  if (OK()) Decode();
}

obCert::~obCert() = default;

void obCert::Decode() {
  obDerSpan der{imp_->buf, imp_->bufLen};
  obCertFields& f = imp_->fields;
  if (!obParseCertFields(der, f) || !BuildValues(*imp_)) return SetDecodeError();
  if (f.validityCount < 2) return SetError("No validity period");
  // The whole structure is read before what it says is judged.
  obAsnOid unhandled;
  int rc = f.hasExtensions
               ? imp_->extensions.Process(f.extensions, obCertExtHandlers(), unhandled, obExtMaking::kOnFirstUse)
               : 0;
  if (rc < 0) return SetError("Error Decoding");
  if (f.version < 0) return SetError("Unsupported version");
  if (const char* why = KeyRefusal(f)) return SetError(why);
  if (rc == 1) SetUnhandledExt(&unhandled);
}

obPubKey* obCert::PubKey() {
  obPubKey* key = imp_->pubKey.Peek();
  if (key || !OK()) return key;
  key = imp_->pubKey.Get([this] {
    const obDerSpan& spki = imp_->fields.spki;
    obPublishOnce<obPubKey, obPubKeyFree>::Owned made(obImportPublicKeyInfo(spki.data, static_cast<int>(spki.size)));
    if (made && !made->OK()) made.reset();
    return made;
  });
  if (!key) std::call_once(imp_->keyFailure, [this] { SetError("Error decoding key"); });
  return key;
}

int obCert::Version() const { return imp_->version; }
long obCert::notBefore() const { return imp_->notBefore; }
long obCert::notAfter() const { return imp_->notAfter; }
obDN* obCert::Issuer() const { return imp_->issuer; }
obDN* obCert::Subject() const { return imp_->subject; }
obAsnInt* obCert::SerialNum() const { return imp_->serial; }

int obCert::SerialNum(int& out) const {
  if (!imp_->serial || imp_->serial->IsBlock()) return -1;
  out = imp_->serial->Value();
  return 0;
}

const obExtensionsList& obCert::Extensions() const { return imp_->extensions; }

obExtension* obCert::GetExt(const obAsnOid* oid) const { return oid ? imp_->extensions.Get(*oid) : nullptr; }

int obCert::IsCritical(const obAsnOid* oid) const { return oid ? imp_->extensions.IsCritical(*oid) : 0; }

namespace {

template <class T>
T* Typed(const obExtensionsList& list, const obAsnOid& oid) {
  return dynamic_cast<T*>(list.Get(oid));
}

obGeneralNames* NamesOf(const obExtensionsList& list, const obAsnOid& oid) {
  obExtGN* ext = Typed<obExtGN>(list, oid);
  return ext ? ext->Names() : nullptr;
}

}  // namespace

obBasicConstraint* obCert::GetBasicConstraint() const {
  return Typed<obBasicConstraint>(imp_->extensions, obASN_id_ce_basicConstraints);
}
obGeneralNames* obCert::AltNames() const { return NamesOf(imp_->extensions, obASN_id_ce_subjectAltName); }
obGeneralNames* obCert::DistPoints() const { return NamesOf(imp_->extensions, obASN_id_ce_cRLDistributionPoints); }
obKeyUsage* obCert::KeyUsage() const { return Typed<obKeyUsage>(imp_->extensions, obASN_id_ce_keyUsage); }
obExtKeyUsage* obCert::ExtKeyUsage() const { return Typed<obExtKeyUsage>(imp_->extensions, obASN_id_ce_extKeyUsage); }
obExtKeyID* obCert::SubjectKeyId() const {
  return Typed<obExtKeyID>(imp_->extensions, obASN_id_ce_subjectKeyIdentifier);
}
obExtKeyID* obCert::AuthorityKeyId() const {
  return Typed<obExtKeyID>(imp_->extensions, obASN_id_ce_authorityKeyIdentifier);
}
obAuthorityInfoAccess* obCert::AuthInfoAccess() const {
  return Typed<obAuthorityInfoAccess>(imp_->extensions, obASN_id_pe_authorityInfoAccess);
}

int obCert::HasKeyUsage(obKeyUsageType usage) const {
  obKeyUsage* keyUsage = KeyUsage();
  return keyUsage ? keyUsage->HasUsage(usage) : 1;
}

obDerSpan obCert::TbsCertificate() const { return imp_->fields.tbs; }
obDerSpan obCert::SubjectPublicKeyInfo() const { return imp_->fields.spki; }
obDerSpan obCert::SerialContent() const { return imp_->fields.serial; }

int obCert::operator==(const obCert& other) const {
  return BufLen() == other.BufLen() && (BufLen() == 0 || std::memcmp(GetBuf(), other.GetBuf(), BufLen()) == 0);
}
