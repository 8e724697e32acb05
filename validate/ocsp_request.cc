#include "nycert/validate/ocsp_request.h"

#include "nycert/asn1/modules/ocsp.h"
#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/cert_fields_internal.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/nybcrypt.h"
#include "nycert/platform/obrand.h"

namespace {

constexpr unsigned kSha1Len = 20;

bool Sha1(obDerSpan data, obAsnOcts& out) {
  unsigned char digest[kSha1Len];
  if (ny_md_hashbuf(ob_md_sha1, data.data, static_cast<unsigned>(data.size), digest) != kSha1Len) return false;
  out.Set(digest, kSha1Len);
  return true;
}

// The CertID of the certificate whose serial and issuer name are in cert,
// with the issuer's key from issuer.
bool MakeCertId(const obCertFields& cert, const obCertFields& issuer, obASN_CertID& id) {
  id.hashAlgorithm.algorithm = obASN_id_sha1;
  id.hashAlgorithm.parameters.emplace().SetValue(new obAsnNull);
  return Sha1(cert.issuer, id.issuerNameHash) && Sha1(issuer.publicKey, id.issuerKeyHash) &&
         id.serialNumber.SetBytes(cert.serial.data, cert.serial.size) == 0;
}

// Extension { extnID id-pkix-ocsp-nonce, extnValue OCTET STRING holding the
// nonce as an OCTET STRING }; value gets the extnValue's octets.
bool MakeNonce(obASN_Extension& ext, nyBinBuf& value) {
  unsigned char nonce[obOcspRequest::kNonceLen];
  if (obrand_gen(nonce, sizeof nonce) < 0 || obAsnEncode(obAsnOcts(nonce, sizeof nonce), value) < 0) return false;
  ext.extnID = obASN_id_pkix_ocsp_nonce;
  ext.extnValue.Set(value.Data(), value.Len());
  return true;
}

}  // namespace

int obOcspRequest::Build(const obCert& cert, const obCert& issuer) {
  obCertFields certFields, issuerFields;
  obASN_OCSPRequest request;
  obASN_Request& single = request.tbsRequest.requestList.Append();
  if (!obParseCertFields({cert.GetBuf(), cert.BufLen()}, certFields) ||
      !obParseCertFields({issuer.GetBuf(), issuer.BufLen()}, issuerFields) ||
      !MakeCertId(certFields, issuerFields, single.reqCert) ||
      !MakeNonce(request.tbsRequest.requestExtensions.emplace().Append(), nonceValue_) ||
      obAsnEncode(single.reqCert, certId_) < 0 || obAsnEncode(request, der_) < 0) {
    OB_HERROR("obOcspRequest::Build: cannot encode the request");
    der_.Clear();
    certId_.Clear();
    nonceValue_.Clear();
    return obValidationRC_OCSPEncodeFailed;
  }
  return 0;
}
