#include "nycert/crl/crl_fields_internal.h"

#include "nycert/certs/cert_fields_internal.h"
#include "nycert/certs/signed_fields_internal.h"

namespace {

bool ReadTime(obDerReader& r, obDerElement& time) { return obIsTimeTag(r.PeekTag()) && r.Next(time); }

// Counts the entries of revokedCertificates; each must at least be a SEQUENCE.
bool CountRevoked(obDerSpan revoked, size_t& count) {
  obDerReader r(revoked);
  obDerSpan entry;
  for (count = 0; !r.AtEnd(); ++count) {
    if (!r.Read(kDerSequence, entry)) return false;
  }
  return true;
}

// Version ::= INTEGER { v1(0), v2(1), v3(2) }; a CRL is v1 or v2, and any
// other value is read as -1, for the caller to refuse.
bool ReadVersion(obDerReader& r, long& version) {
  obDerSpan value;
  bool present = false;
  if (!r.ReadOptional(kDerInteger, value, present)) return false;
  if (!present) return true;
  if (!obDerIsValidInteger(value)) return false;
  if (!obDerParseSmallUint(value, version) || version > 1) version = -1;
  return true;
}

bool ReadExtensions(obDerReader& r, obCrlFields& out) {
  obDerSpan explicitExtensions;
  if (!r.ReadOptional(obDerContextCons(0), explicitExtensions, out.hasExtensions)) return false;
  if (!out.hasExtensions) return true;
  obDerReader inner(explicitExtensions);
  return inner.Read(kDerSequence, out.extensions) && inner.AtEnd();
}

bool ReadTbs(obDerSpan body, obCrlFields& out) {
  obDerReader r(body);
  obDerSpan innerAlgorithm;
  obDerElement issuer;
  bool hasRevoked = false;
  if (!ReadVersion(r, out.version) || !obReadAlgorithmId(r, innerAlgorithm) || !r.Read(kDerSequence, issuer) ||
      !ReadTime(r, out.thisUpdate))
    return false;
  out.hasNextUpdate = obIsTimeTag(r.PeekTag());
  if (out.hasNextUpdate && !r.Next(out.nextUpdate)) return false;
  if (!r.ReadOptional(kDerSequence, out.revoked, hasRevoked) || !CountRevoked(out.revoked, out.revokedCount) ||
      !ReadExtensions(r, out))
    return false;
  out.issuer = issuer.tlv;
  return r.AtEnd();
}

}  // namespace

bool obParseCrlFields(obDerSpan der, obCrlFields& out) {
  obSignedFields signedFields;
  if (!obParseSignedFields(der, signedFields)) return false;
  out.signatureAlgorithm = signedFields.algorithm;
  out.tbs = signedFields.toBeSigned.tlv;
  return ReadTbs(signedFields.toBeSigned.content, out);
}
