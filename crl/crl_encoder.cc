#include "nycert/crl/crl_encoder.h"

#include <memory>
#include <vector>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/ext_key_id.h"
#include "nycert/certs/issuer_key_id.h"
#include "nycert/certs/signature_alg.h"
#include "nycert/certs/x509_sign.h"
#include "nycert/certs/x509_time_internal.h"
#include "nycert/crl/issuing_dp.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/obclock.h"

namespace {

struct RevokedSerial {
  obAsnInt serial;
  long when;
  obCRLReason reason;
};

bool KnownReason(obCRLReason reason) {
  return reason == obCRLReason_None || (reason >= obCRLReason_Unspecified && reason <= obCRLReason_AACompromise &&
                                        reason != 7);
}

void AddExtension(obASN_Extensions& list, const obAsnOid& oid, bool critical, const unsigned char* value,
                  unsigned long len) {
  obASN_Extension& ext = list.Append();
  ext.extnID = oid;
  if (critical) ext.critical.reset(new obAsnBool(true));
  ext.extnValue.Set(value, len);
}

// An extension whose value is the DER of a runtime value.
int AddEncoded(obASN_Extensions& list, const obAsnOid& oid, bool critical, const obAsnType& value) {
  nyBinBuf der;
  if (obAsnEncode(value, der) != 0) return -1;
  AddExtension(list, oid, critical, der.Data(), der.Len());
  return 0;
}

// An extension whose value an extension object writes.
int AddObject(obASN_Extensions& list, const obAsnOid& oid, bool critical, const obExtension& ext) {
  obAsnBytes value;
  if (ext.EncodeValue(value) != 0) return -1;
  AddExtension(list, oid, critical, value.data(), value.size());
  return 0;
}

}  // namespace

class obCRL_Encoder_imp {
 public:
  obCRL_Encoder_imp(obCert& issuerCert, obPubKey& signingKey) : issuer(issuerCert), key(signingKey) {}

  int BuildTbs(ob_md_type md, obASN_TBSCertList& tbs) const;
  int BuildExtensions(obASN_Extensions& out) const;
  int BuildEntry(const RevokedSerial& entry, obASN_TBSCertList_revokedCertificates_elem& out) const;

  obCert& issuer;
  obPubKey& key;
  long thisUpdate = ob_time_now();
  long nextUpdate = 0;
  long crlNumber = -1;
  std::unique_ptr<obIssuingDP> idp;
  std::vector<RevokedSerial> revoked;
};

int obCRL_Encoder_imp::BuildEntry(const RevokedSerial& entry, obASN_TBSCertList_revokedCertificates_elem& out) const {
  static_cast<obAsnInt&>(out.userCertificate) = entry.serial;
  if (obX509SetTime(out.revocationDate, entry.when) != 0) return -1;
  if (entry.reason == obCRLReason_None) return 0;
  obAsnEnum reason(entry.reason);
  return AddEncoded(out.crlEntryExtensions.emplace(), obASN_id_ce_cRLReasons, false, reason);
}

int obCRL_Encoder_imp::BuildExtensions(obASN_Extensions& out) const {
  std::unique_ptr<obExtKeyID> aki(obAuthorityKeyIdOf(issuer));
  if (!aki) {
    OB_HERROR("obCRL_Encoder::Encode: no key identifier for the issuer");
    return -1;
  }
  if (AddObject(out, obASN_id_ce_authorityKeyIdentifier, false, *aki) != 0) return -1;
  if (crlNumber >= 0 && AddEncoded(out, obASN_id_ce_cRLNumber, false, obAsnInt(crlNumber)) != 0) return -1;
  if (idp && AddObject(out, obASN_id_ce_issuingDistributionPoint, true, *idp) != 0) return -1;
  return 0;
}

int obCRL_Encoder_imp::BuildTbs(ob_md_type md, obASN_TBSCertList& tbs) const {
  const obAsnOid* alg = obSignatureOid(md, key.algorithm());
  if (!alg) {
    OB_HERROR("obCRL_Encoder::Encode: no signature algorithm for digest %d", static_cast<int>(md));
    return -1;
  }
  obASN_TBSCertificate issuerTbs;
  obDerSpan tbsSpan = issuer.TbsCertificate();
  if (!issuer.OK() || obAsnDecode(issuerTbs, tbsSpan.data, tbsSpan.size) != 0) {
    OB_HERROR("obCRL_Encoder::Encode: the issuer certificate cannot be read");
    return -1;
  }
  tbs.version.reset(new obASN_Version(obASN_Version::v2));
  tbs.signature.algorithm = *alg;
  tbs.issuer = issuerTbs.subject;
  if (obX509SetTime(tbs.thisUpdate, thisUpdate) != 0 ||
      (nextUpdate && obX509SetTime(tbs.nextUpdate.emplace(), nextUpdate) != 0)) {
    OB_HERROR("obCRL_Encoder::Encode: update times cannot be written");
    return -1;
  }
  if (!revoked.empty()) {
    obASN_TBSCertList_revokedCertificates& list = tbs.revokedCertificates.emplace();
    list.items.reserve(revoked.size());
    for (const RevokedSerial& entry : revoked) {
      if (BuildEntry(entry, list.Append()) != 0) {
        OB_HERROR("obCRL_Encoder::Encode: a revoked entry cannot be written");
        return -1;
      }
    }
  }
  return BuildExtensions(tbs.crlExtensions.emplace());
}

obCRL_Encoder::obCRL_Encoder(obCert& issuer, obPubKey& key) : imp_(new obCRL_Encoder_imp(issuer, key)) {}
obCRL_Encoder::~obCRL_Encoder() { delete imp_; }

void obCRL_Encoder::SetThisUpdate(long when) { imp_->thisUpdate = when; }
void obCRL_Encoder::SetNextUpdate(long when) { imp_->nextUpdate = when; }
void obCRL_Encoder::SetCRLNumber(long number) { imp_->crlNumber = number; }
void obCRL_Encoder::SetIssuingDP(const obIssuingDP* idp) { imp_->idp.reset(idp ? idp->Clone() : nullptr); }
int obCRL_Encoder::RevokedCount() const { return static_cast<int>(imp_->revoked.size()); }

int obCRL_Encoder::AddRevoked(const obAsnInt& serial, long when, obCRLReason reason) {
  if (!serial.IsBlock() && serial.Value() < 0) {
    OB_HERROR("obCRL_Encoder::AddRevoked: negative serial number %d", serial.Value());
    return -1;
  }
  if (!KnownReason(reason)) {
    OB_HERROR("obCRL_Encoder::AddRevoked: unknown reason %d", static_cast<int>(reason));
    return -1;
  }
  imp_->revoked.push_back({serial, when, reason});
  return 0;
}

int obCRL_Encoder::Encode(ob_md_type md, nyBinBuf& out) const {
  obASN_TBSCertList tbs;
  if (imp_->BuildTbs(md, tbs) != 0) return -1;
  return obX509Sign(tbs, imp_->key, md, out);
}
