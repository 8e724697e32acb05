#include "nycert/validate/ocsp_response.h"

#include "nycert/asn1/modules/ocsp.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/cert_fields_internal.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/ext_key_usage.h"
#include "nycert/crl/crl_cache_internal.h"
#include "nycert/crl/validate_params.h"
#include "nycert/crl/validation_rc.h"
#include "nycert/platform/nybcrypt.h"
#include "nycert/platform/obclock.h"
#include "nycert/validate/ocsp_request.h"
#include "nycert/validate/ocsp_response_internal.h"

namespace {

constexpr obAsnTag kDerEnumerated = 0x0A;
constexpr unsigned kSha1Len = 20;

bool ReadTime(obDerReader& r, long& seconds) {
  obDerElement time;
  return r.PeekTag() == kDerGeneralizedTime && r.Next(time) && obParseTimeElement(time, seconds);
}

// Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE,
//                          extnValue OCTET STRING }
bool ReadExtension(obDerReader& r, obDerSpan& oid, bool& critical, obDerSpan& value) {
  obDerSpan body, flag;
  bool present = false;
  if (!r.Read(kDerSequence, body)) return false;
  obDerReader ext(body);
  critical = false;
  return ext.Read(kDerOid, oid) && ext.ReadOptional(kDerBoolean, flag, present) &&
         (!present || obDerParseBool(flag, critical)) && ext.Read(kDerOctetString, value) && ext.AtEnd();
}

// [n] EXPLICIT Extensions: the nonce is noted, other critical ones flagged.
bool ReadExtensions(obDerSpan wrapped, obOcspResponse* response, bool& unhandledCritical) {
  obDerSpan list;
  if (!obExtReadWhole(wrapped, kDerSequence, list)) return false;
  obDerReader r(list);
  while (!r.AtEnd()) {
    obDerSpan oid, value;
    bool critical;
    if (!ReadExtension(r, oid, critical, value)) return false;
    if (response && obExtIsOid(oid, obASN_id_pkix_ocsp_nonce)) {
      response->hasNonce = true;
      response->nonceValue = value;
    } else if (critical) {
      unhandledCritical = true;
    }
  }
  return true;
}

// RevokedInfo's content: the time, and an optional [0] EXPLICIT CRLReason.
bool ReadRevokedInfo(obDerSpan content, obOcspSingleResponse& out) {
  obDerReader r(content);
  obDerSpan reason, value;
  bool present = false;
  return ReadTime(r, out.revocationTime) && r.ReadOptional(obDerContextCons(0), reason, present) &&
         (!present || obExtReadWhole(reason, kDerEnumerated, value)) && r.AtEnd();
}

bool ReadCertStatus(obDerReader& r, obOcspSingleResponse& out) {
  obDerElement status;
  if (!r.Next(status)) return false;
  if (status.tag == obDerContextPrim(0) && status.content.empty()) {
    out.status = obOcspCert_Good;
    return true;
  }
  if (status.tag == obDerContextCons(1)) {
    out.status = obOcspCert_Revoked;
    return ReadRevokedInfo(status.content, out);
  }
  out.status = obOcspCert_Unknown;
  return status.tag == obDerContextPrim(2) && status.content.empty();
}

// ResponderID: [1] EXPLICIT Name, or [2] EXPLICIT KeyHash (OCTET STRING).
bool ReadResponderId(obDerReader& r, obOcspResponse& out) {
  obDerElement id;
  if (!r.Next(id)) return false;
  out.responderIdTag = id.tag;
  obDerReader inner(id.content);
  obDerElement name;
  if (id.tag == kOcspByName) {
    if (!inner.Next(name) || name.tag != kDerSequence || !inner.AtEnd()) return false;
    out.responderId = name.tlv;
    return true;
  }
  return id.tag == kOcspByKey && inner.Read(kDerOctetString, out.responderId) && inner.AtEnd() &&
         out.responderId.size == kSha1Len;
}

// Version: v1 only, written or left to its default.
bool ReadVersion(obDerReader& r) {
  obDerSpan wrapped, value;
  bool present = false;
  long version = 0;
  if (!r.ReadOptional(obDerContextCons(0), wrapped, present)) return false;
  return !present || (obExtReadWhole(wrapped, kDerInteger, value) && obDerParseSmallUint(value, version) &&
                      version == 0);
}

bool ReadResponseData(obDerSpan content, obOcspResponse& out) {
  obDerReader r(content);
  obDerSpan extensions;
  bool present = false;
  if (!ReadVersion(r) || !ReadResponderId(r, out) || !ReadTime(r, out.producedAt) ||
      !r.Read(kDerSequence, out.responses) || !r.ReadOptional(obDerContextCons(1), extensions, present) ||
      !r.AtEnd())
    return false;
  if (present && !ReadExtensions(extensions, &out, out.unhandledCritical)) return false;
  obDerReader singles(out.responses);
  obOcspSingleResponse single;
  while (!singles.AtEnd()) {
    if (!obOcspNextSingle(singles, single)) return false;
  }
  return true;
}

bool ReadBasicResponse(obDerSpan der, obOcspResponse& out) {
  obDerSpan body, bitString, certs;
  bool present = false;
  obDerReader outer(der);
  if (!outer.Read(kDerSequence, body) || !outer.AtEnd()) return false;
  obDerReader r(body);
  obSignedFields& basic = out.basic;
  if (!r.Read(kDerSequence, basic.toBeSigned) || !obReadAlgorithmId(r, basic.algorithm) ||
      !r.Read(kDerBitString, bitString) || !obDerParseBitString(bitString, basic.signature, basic.unusedBits) ||
      !r.ReadOptional(obDerContextCons(0), certs, present) || !r.AtEnd())
    return false;
  if (present && !obExtReadWhole(certs, kDerSequence, out.certs)) return false;
  return ReadResponseData(basic.toBeSigned.content, out);
}

// ResponseBytes, which must hold a basic response.
bool ReadResponseBytes(obDerSpan wrapped, obOcspResponse& out) {
  obDerSpan body, type, response;
  if (!obExtReadWhole(wrapped, kDerSequence, body)) return false;
  obDerReader r(body);
  return r.Read(kDerOid, type) && r.Read(kDerOctetString, response) && r.AtEnd() &&
         obExtIsOid(type, obASN_id_pkix_ocsp_basic) && ReadBasicResponse(response, out);
}

int StatusCode(long status) {
  switch (status) {
    case 1: return obValidationRC_OCSPMalformedRequest;
    case 2: return obValidationRC_OCSPInternalError;
    case 3: return obValidationRC_OCSPTryLater;
    case 5: return obValidationRC_OCSPSigRequired;
    case 6: return obValidationRC_OCSPUnauthorized;
    default: return obValidationRC_OCSPDecodeFailed;
  }
}

bool Sha1Equals(obDerSpan data, obDerSpan digest) {
  unsigned char out[kSha1Len];
  return ny_md_hashbuf(ob_md_sha1, data.data, static_cast<unsigned>(data.size), out) == kSha1Len &&
         digest.Equal(out, kSha1Len);
}

// AlgorithmIdentifier, compared by identifier only: parameters NULL or absent.
bool SameAlgorithm(obDerReader& a, obDerReader& b) {
  obDerSpan oidA, oidB;
  return obReadAlgorithmId(a, oidA) && obReadAlgorithmId(b, oidB) && oidA == oidB;
}

// CertID contents naming the same certificate.
bool SameCertId(obDerSpan a, obDerSpan b) {
  obDerReader ra(a), rb(b);
  if (!SameAlgorithm(ra, rb)) return false;
  for (obAsnTag tag : {kDerOctetString, kDerOctetString, kDerInteger}) {
    obDerSpan fa, fb;
    if (!ra.Read(tag, fa) || !rb.Read(tag, fb) || fa != fb) return false;
  }
  return ra.AtEnd() && rb.AtEnd();
}

// Whether cert is the one the ResponderID names.
bool NamesSigner(const obOcspResponse& response, const obCertFields& cert) {
  return response.responderIdTag == kOcspByName ? response.responderId == cert.subject
                                                : Sha1Equals(cert.publicKey, response.responderId);
}

bool HasOcspSigning(const obCert& cert) {
  const obExtKeyUsage* usage = cert.ExtKeyUsage();
  if (!usage) return false;
  obASN_ExtKeyUsageSyntax purposes = usage->ExtKeyUsage_2_ASN();
  for (const obASN_KeyPurposeId& purpose : purposes.items) {
    if (purpose == obASN_id_kp_OCSPSigning) return true;
  }
  return false;
}

// A responder certificate carried in the response: issued by issuer, for
// OCSP signing, valid now.
bool IsDelegate(obCert& cert, const obCertFields& fields, obCert& issuer, const obCertFields& issuerFields) {
  long now = ob_time_now();
  return cert.OK() && fields.issuer == issuerFields.subject && cert.VerifySig(issuer.PubKey()) == obVfy_OK &&
         HasOcspSigning(cert) && cert.notBefore() <= now && now <= cert.notAfter();
}

// How a candidate signer fared: not named by the ResponderID, named but
// refused, or the signer.
enum SignerCheck { kNotNamed, kRefused, kSigned };

SignerCheck CheckSigner(const obOcspResponse& response, obCert& cert, bool trusted, obCert& issuer,
                        const obCertFields& issuerFields) {
  obCertFields fields;
  if (!obParseCertFields({cert.GetBuf(), cert.BufLen()}, fields) || !NamesSigner(response, fields)) return kNotNamed;
  if (!trusted && !IsDelegate(cert, fields, issuer, issuerFields)) return kRefused;
  return obVerifySignedFields(response.basic, cert.PubKey()) == obVfy_OK ? kSigned : kRefused;
}

// The configured responder and the issuer are trusted as they stand; a
// certificate the response carries must be the issuer's delegate.
int CheckSignature(const obOcspResponse& response, obCert& issuer, obCert* responder) {
  obCertFields issuerFields;
  if (!obParseCertFields({issuer.GetBuf(), issuer.BufLen()}, issuerFields)) return obValidationRC_OCSPProcessFailed;
  SignerCheck best = kNotNamed;
  for (obCert* trusted : {responder, &issuer}) {
    SignerCheck check = trusted ? CheckSigner(response, *trusted, true, issuer, issuerFields) : kNotNamed;
    if (check == kSigned) return 0;
    if (check == kRefused) best = kRefused;
  }
  obDerReader certs(response.certs);
  obDerElement der;
  while (certs.Next(der)) {
    obCert carried(der.tlv.data, static_cast<unsigned>(der.tlv.size));
    SignerCheck check = CheckSigner(response, carried, false, issuer, issuerFields);
    if (check == kSigned) return 0;
    if (check == kRefused) best = kRefused;
  }
  if (best == kRefused) {
    OB_HERROR("obOCSP_CheckResponse: the signer is not trusted or the signature is bad");
    return obValidationRC_OCSPProcessFailed;
  }
  OB_HERROR("obOCSP_CheckResponse: no certificate for the signer");
  return obValidationRC_OCSPNoResponderCert;
}

// A grace of the parameters; -1 takes the CRL cache's setting.
long Grace(int value, int (*global)()) { return value == -1 ? global() : value; }

int CheckTimes(const obOcspSingleResponse& single, const ValidateParams& params) {
  long now = ob_time_now();
  if (params.Check_this_upd() && single.thisUpdate - Grace(params.Crl_start_grace(), CrlStartGrace) > now) {
    OB_HERROR("obOCSP_CheckResponse: the response is not valid yet");
    return obValidationRC_OCSPTimeWindow;
  }
  if (params.Check_next_upd() && single.nextUpdate > 0 &&
      single.nextUpdate + Grace(params.Crl_end_grace(), CrlEndGrace) < now) {
    OB_HERROR("obOCSP_CheckResponse: the response is obsolete");
    return obValidationRC_OCSPTimeWindow;
  }
  return 0;
}

int StatusResult(obOcspCertStatus status) {
  switch (status) {
    case obOcspCert_Good: return 0;
    case obOcspCert_Revoked: return obValidationRC_Revoked;
    default: return obValidationRC_OCSPStatusUnknown;
  }
}

// The single response about the request's certificate.
bool FindSingle(const obOcspResponse& response, const obOcspRequest& request, obOcspSingleResponse& out) {
  obDerSpan wanted;
  if (!obExtReadWhole({request.CertId().Data(), request.CertId().Len()}, kDerSequence, wanted)) return false;
  obDerReader r(response.responses);
  while (obOcspNextSingle(r, out)) {
    if (SameCertId(out.certId, wanted)) return true;
  }
  return false;
}

}  // namespace

bool obOcspNextSingle(obDerReader& r, obOcspSingleResponse& out) {
  obDerSpan body, next, extensions;
  bool hasNext = false, hasExtensions = false;
  if (!r.Read(kDerSequence, body)) return false;
  obDerReader fields(body);
  out = obOcspSingleResponse();
  if (!fields.Read(kDerSequence, out.certId) || !ReadCertStatus(fields, out) || !ReadTime(fields, out.thisUpdate) ||
      !fields.ReadOptional(obDerContextCons(0), next, hasNext) ||
      !fields.ReadOptional(obDerContextCons(1), extensions, hasExtensions) || !fields.AtEnd())
    return false;
  if (hasNext) {
    obDerReader wrapped(next);
    if (!ReadTime(wrapped, out.nextUpdate) || !wrapped.AtEnd()) return false;
  }
  obDerReader id(out.certId);
  obDerSpan unused;
  return obReadAlgorithmId(id, unused) && id.Read(kDerOctetString, unused) && id.Read(kDerOctetString, unused) &&
         id.Read(kDerInteger, unused) && id.AtEnd() &&
         (!hasExtensions || ReadExtensions(extensions, nullptr, out.unhandledCritical));
}

int obOcspParseResponse(obDerSpan der, obOcspResponse& out) {
  obDerReader outer(der);
  obDerSpan body, status, bytes;
  bool present = false;
  out = obOcspResponse();
  if (outer.Read(kDerSequence, body) && outer.AtEnd()) {
    obDerReader r(body);
    if (r.Read(kDerEnumerated, status) && obDerParseSmallUint(status, out.responseStatus) &&
        r.ReadOptional(obDerContextCons(0), bytes, present) && r.AtEnd() &&
        (out.responseStatus != 0 || (present && ReadResponseBytes(bytes, out))))
      return 0;
  }
  out.responseStatus = -1;
  return obValidationRC_OCSPDecodeFailed;
}

int obOCSP_CheckResponse(const unsigned char* der, int len, const obOcspRequest& request, obCert& issuer,
                         obCert* responder, const ValidateParams& params, long& nextUpdate) {
  obOcspResponse response;
  if (!der || len <= 0 || obOcspParseResponse({der, static_cast<size_t>(len)}, response) != 0) {
    OB_HERROR("obOCSP_CheckResponse: the reply is not an OCSP response");
    return obValidationRC_OCSPDecodeFailed;
  }
  if (response.responseStatus != 0) {
    OB_HERROR("obOCSP_CheckResponse: the responder answered with status %ld", response.responseStatus);
    return StatusCode(response.responseStatus);
  }
  int rc = CheckSignature(response, issuer, responder);
  if (rc != 0) return rc;
  if (response.hasNonce && response.nonceValue != request.NonceValue()) {
    OB_HERROR("obOCSP_CheckResponse: the response's nonce is not the request's");
    return obValidationRC_OCSPProcessFailed;
  }
  obOcspSingleResponse single;
  if (response.unhandledCritical || !FindSingle(response, request, single) || single.unhandledCritical) {
    OB_HERROR("obOCSP_CheckResponse: the response holds no usable answer about the certificate");
    return obValidationRC_OCSPProcessFailed;
  }
  rc = CheckTimes(single, params);
  if (rc != 0) return rc;
  nextUpdate = single.nextUpdate;
  return StatusResult(single.status);
}
