#include "nycert/asn1/runtime/asn_time.h"
#include "nycert/certs/cert_fields_internal.h"

bool obIsTimeTag(obAsnTag tag) { return tag == kDerUtcTime || tag == kDerGeneralizedTime; }

namespace {

const obAsnTimeKind* TimeKindOf(obAsnTag tag) {
  if (tag == kDerUtcTime) return &obAsnUTCTime::kKind;
  return tag == kDerGeneralizedTime ? &obAsnGeneralizedTime::kKind : nullptr;
}

}  // namespace

bool obParseTimeElement(const obDerElement& time, long& seconds) {
  const obAsnTimeKind* kind = TimeKindOf(time.tag);
  return kind && obAsnParseTime(*kind, time.content.data, time.content.size, &seconds) == 0;
}

bool obIsValidTimeElement(const obDerElement& time) {
  const obAsnTimeKind* kind = TimeKindOf(time.tag);
  return kind && kind->check(time.content.data, time.content.size) != 0;
}

namespace {

// Validity ::= SEQUENCE { notBefore Time, notAfter Time }; fewer times are
// let through for the caller to report.
bool ReadValidity(obDerReader& r, obCertFields& out) {
  obDerSpan body;
  if (!r.Read(kDerSequence, body)) return false;
  obDerReader times(body);
  while (!times.AtEnd()) {
    if (out.validityCount == 2 || !obIsTimeTag(times.PeekTag()) || !times.Next(out.validity[out.validityCount]))
      return false;
    ++out.validityCount;
  }
  return true;
}

// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, subjectPublicKey BIT STRING }
bool ReadPublicKeyInfo(obDerReader& r, obCertFields& out) {
  obDerElement spki;
  obDerSpan bits;
  if (!r.Read(kDerSequence, spki)) return false;
  obDerReader fields(spki.content);
  if (!obReadAlgorithmId(fields, out.keyAlgorithm) || !fields.Read(kDerBitString, bits) || !fields.AtEnd())
    return false;
  out.spki = spki.tlv;
  return obDerParseBitString(bits, out.publicKey, out.publicKeyUnusedBits);
}

// Version ::= INTEGER { v1(0), v2(1), v3(2) }; any other value is read as
// -1, for the caller to refuse.
bool ReadVersion(obDerReader& r, long& version) {
  obDerSpan explicitVersion, value;
  bool present = false;
  if (!r.ReadOptional(obDerContextCons(0), explicitVersion, present)) return false;
  if (!present) return true;
  obDerReader inner(explicitVersion);
  if (!inner.Read(kDerInteger, value) || !inner.AtEnd() || !obDerIsValidInteger(value)) return false;
  if (!obDerParseSmallUint(value, version) || version > 2) version = -1;
  return true;
}

// UniqueIdentifier ::= BIT STRING, under an implicit [n]
bool ReadUniqueId(obDerReader& r, unsigned n) {
  obDerSpan content, bits;
  bool present = false;
  unsigned unused = 0;
  if (!r.ReadOptional(obDerContextPrim(n), content, present)) return false;
  return !present || obDerParseBitString(content, bits, unused);
}

bool ReadExtensions(obDerReader& r, obCertFields& out) {
  obDerSpan explicitExtensions;
  if (!r.ReadOptional(obDerContextCons(3), explicitExtensions, out.hasExtensions)) return false;
  if (!out.hasExtensions) return true;
  obDerReader inner(explicitExtensions);
  return inner.Read(kDerSequence, out.extensions) && inner.AtEnd();
}

bool ReadTbs(obDerSpan body, obCertFields& out) {
  obDerReader r(body);
  obDerSpan innerAlgorithm;
  obDerElement issuer, subject;
  if (!ReadVersion(r, out.version) || !r.Read(kDerInteger, out.serial) || out.serial.empty() ||
      !obReadAlgorithmId(r, innerAlgorithm) || !r.Read(kDerSequence, issuer) || !ReadValidity(r, out) ||
      !r.Read(kDerSequence, subject) || !ReadPublicKeyInfo(r, out) || !ReadUniqueId(r, 1) || !ReadUniqueId(r, 2) ||
      !ReadExtensions(r, out))
    return false;
  out.issuer = issuer.tlv;
  out.subject = subject.tlv;
  return r.AtEnd();
}

}  // namespace

bool obParseCertFields(obDerSpan der, obCertFields& out) {
  obSignedFields signedFields;
  if (!obParseSignedFields(der, signedFields)) return false;
  out.signatureAlgorithm = signedFields.algorithm;
  out.tbs = signedFields.toBeSigned.tlv;
  return ReadTbs(signedFields.toBeSigned.content, out);
}

namespace {

// The magnitude of a positive INTEGER: its octets without the sign octet.
bool PositiveMagnitude(obDerSpan content, obDerSpan& magnitude) {
  if (!obDerIsValidInteger(content) || (content.data[0] & 0x80)) return false;
  magnitude = content;
  if (magnitude.data[0] == 0) magnitude = {magnitude.data + 1, magnitude.size - 1};
  return !magnitude.empty();
}

size_t BitLength(obDerSpan magnitude) {
  unsigned top = magnitude.data[0];
  size_t bits = (magnitude.size - 1) * 8;
  while (top) {
    ++bits;
    top >>= 1;
  }
  return bits;
}

bool IsOdd(obDerSpan magnitude) { return magnitude.data[magnitude.size - 1] & 1; }

}  // namespace

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, publicExponent INTEGER }
bool obCheckRsaPublicKey(obDerSpan publicKey) {
  obDerReader outer(publicKey);
  obDerSpan body, modulus, exponent, n, e;
  if (!outer.Read(kDerSequence, body) || !outer.AtEnd()) return false;
  obDerReader fields(body);
  if (!fields.Read(kDerInteger, modulus) || !fields.Read(kDerInteger, exponent) || !fields.AtEnd()) return false;
  if (!PositiveMagnitude(modulus, n) || !PositiveMagnitude(exponent, e)) return false;
  size_t modulusBits = BitLength(n);
  return modulusBits >= 512 && modulusBits <= 16384 && IsOdd(n) && IsOdd(e) && BitLength(e) >= 2 && e.size < n.size;
}
