// The structures built from a certificate template and back: the
// to-be-signed certificate, the CRMF certificate template, and signing.
//
//   CertTemplate ::= SEQUENCE {
//       version      [0] Version               OPTIONAL,
//       serialNumber [1] INTEGER               OPTIONAL,
//       signingAlg   [2] AlgorithmIdentifier   OPTIONAL,
//       issuer       [3] Name                  OPTIONAL,
//       validity     [4] OptionalValidity      OPTIONAL,
//       subject      [5] Name                  OPTIONAL,
//       publicKey    [6] SubjectPublicKeyInfo  OPTIONAL,
//       issuerUID    [7] UniqueIdentifier      OPTIONAL,
//       subjectUID   [8] UniqueIdentifier      OPTIONAL,
//       extensions   [9] Extensions            OPTIONAL }
//   OptionalValidity ::= SEQUENCE { notBefore [0] Time OPTIONAL,
//                                   notAfter  [1] Time OPTIONAL }
#include <memory>

#include "nycert/asn1/modules/crmf.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/signature_alg.h"
#include "nycert/certs/x509_sign.h"
#include "nycert/certs/x509_time_internal.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/cert_template_internal.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/pubkey.h"

int obTemplateKeyInfo(obPubKey& key, obASN_SubjectPublicKeyInfo& out) {
  nyBinBuf spki;
  if (obPubKeyInfoOf(key, spki) != 0) return -1;
  return obAsnDecode(out, spki.Data(), spki.Len());
}

namespace {

int Missing(const char* what) {
  OB_HERROR("PrepareTBSCert: %s", what);
  return -1;
}

void SetAlgorithm(obASN_AlgorithmIdentifier& alg, const obAsnOid& oid) {
  alg.algorithm = oid;
  alg.parameters.reset();
}

// A key from a SubjectPublicKeyInfo.
obPubKey* ImportKeyInfo(const obASN_SubjectPublicKeyInfo& info) {
  nyBinBuf der;
  if (obAsnEncode(info, der) != 0) return nullptr;
  return obImportPublicKeyInfo(der.Data(), static_cast<int>(der.Len()));
}

}  // namespace

int obCertTemplate::PrepareTBSCert(const obAsnOid* signatureAlgorithm, obASN_TBSCertificate& out) const {
  const obCertTemplate_imp& t = *imp_;
  int version = t.version > 0 ? t.version - 1 : (t.extensions.Count() ? 2 : 0);
  out.version.reset(version ? new obASN_Version(version) : nullptr);
  if (!t.serial) return Missing("no serial number");
  static_cast<obAsnInt&>(out.serialNumber) = *t.serial;
  if (!signatureAlgorithm) return Missing("no algid");
  SetAlgorithm(out.signature, *signatureAlgorithm);
  if (!t.issuer || obTemplateNameOf(*t.issuer, out.issuer) != 0) return Missing("no issuer");
  if (!t.notBefore || obX509SetTime(out.validity.notBefore, t.notBefore) != 0) return Missing("no notbefore");
  if (!t.notAfter || obX509SetTime(out.validity.notAfter, t.notAfter) != 0) return Missing("no notafter");
  if (!t.subject || obTemplateNameOf(*t.subject, out.subject) != 0) return Missing("no subject");
  if (!t.key) return Missing("no key");
  if (obTemplateKeyInfo(*t.key, out.subjectPublicKeyInfo) != 0) return Missing("key is not valid");
  out.extensions.reset();
  if (t.extensions.Count() && t.extensions.Compose(out.extensions.emplace()) != 0)
    return Missing("can't compose the extensions");
  return 0;
}

int obCertTemplate::Prepare_obASN_CertTemplate(obASN_CertTemplate& out, const obAsnOid* signatureAlgorithm) const {
  const obCertTemplate_imp& t = *imp_;
  out = obASN_CertTemplate();
  if (t.version > 0) out.version.reset(new obASN_Version(t.version - 1));
  if (t.serial) out.serialNumber.reset(new obAsnInt(*t.serial));
  if (signatureAlgorithm) SetAlgorithm(out.signingAlg.emplace(), *signatureAlgorithm);
  if (obTemplateHasName(t.issuer.get())) obTemplateNameOf(*t.issuer, out.issuer.emplace());
  if (t.notBefore || t.notAfter) {
    obASN_OptionalValidity& validity = out.validity.emplace();
    if ((t.notBefore && obX509SetTime(validity.notBefore.emplace(), t.notBefore) != 0) ||
        (t.notAfter && obX509SetTime(validity.notAfter.emplace(), t.notAfter) != 0))
      return -1;
  }
  if (obTemplateHasName(t.subject.get())) obTemplateNameOf(*t.subject, out.subject.emplace());
  if (t.key && obTemplateKeyInfo(*t.key, out.publicKey.emplace()) != 0) {
    OB_HERROR("obCertTemplate::Prepare_obASN_CertTemplate: key is not valid");
    return -1;
  }
  if (t.extensions.Count() && t.extensions.Compose(out.extensions.emplace()) != 0) return -1;
  return 0;
}

int obCertTemplate::Set(const obASN_CertTemplate& request) {
  Clear();
  obCertTemplate_imp& t = *imp_;
  int rc = 0;
  if (request.version) t.version = request.version->Value() + 1;
  if (request.serialNumber) t.serial.reset(new obAsnInt(*request.serialNumber));
  if (request.issuer && request.issuer->rdnSequence) t.issuer.reset(new obDN(*request.issuer->rdnSequence));
  if (request.subject && request.subject->rdnSequence) t.subject.reset(new obDN(*request.subject->rdnSequence));
  if (request.validity) {
    const obASN_OptionalValidity& validity = *request.validity;
    if ((validity.notBefore && obX509GetTime(*validity.notBefore, &t.notBefore) != 0) ||
        (validity.notAfter && obX509GetTime(*validity.notAfter, &t.notAfter) != 0))
      rc = -1;
  }
  if (request.publicKey) {
    obPubKey* key = ImportKeyInfo(*request.publicKey);
    if (!key) rc = -1;
    t.SetKey(key);
    obFreePubKey(key);
  }
  if (request.extensions && AddExtensions(*request.extensions) != 0) rc = -1;
  if (rc != 0) OB_HERROR("obCertTemplate::Set: some fields of the request cannot be read");
  return rc;
}

int obSignCertificate(obCertTemplate& tmpl, obPubKey& signingKey, ob_md_type md, nyBinBuf& out) {
  const obAsnOid* alg = obSignatureOid(md, signingKey.algorithm());
  if (!alg) {
    OB_HERROR("obSignCertificate: couldn't find the oid of md type: %i", static_cast<int>(md));
    return -1;
  }
  obASN_TBSCertificate tbs;
  int rc = tmpl.PrepareTBSCert(alg, tbs);
  if (rc != 0) return rc;
  return obX509Sign(tbs, signingKey, md, out);
}
