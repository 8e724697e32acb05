#include "nycert/certs/signed.h"

#include <cstring>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/signature_alg.h"
#include "nycert/certs/signed_fields_internal.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/nybcrypt.h"

obSigned_imp::obSigned_imp(const unsigned char* data, unsigned int len) {
  if (!data || len == 0) {
    ok = 0;
    error = "Empty data";
    return;
  }
  buf = new unsigned char[len];
  std::memcpy(buf, data, len);
  bufLen = len;
}

obSigned_imp::~obSigned_imp() {
  delete unhandledCritExt;
  delete[] buf;
}

obSigned::obSigned(const unsigned char* buf, unsigned int len) : obSigned(new obSigned_imp(buf, len)) {}

obSigned::obSigned() : obSigned(new obSigned_imp) {}

obSigned::~obSigned() = default;

void obSigned::SetError(const obString& text) {
  imp_->error = text;
  imp_->ok = 0;
}

int obSigned::DecodeBuf(obAsnType& t) {
  obAsnReadBuf b(imp_->buf, imp_->bufLen);
  unsigned long consumed = 0;
  int rc = imp_->buf ? t.BDec(b, consumed) : -1;
  if (rc >= 0 && b.Remaining() != 0) {
    OB_HERROR("obASN_DecodeBuf not all the buffer was decoded");
    rc = -1;
  }
  if (rc < 0) {
    SetError("Error Decoding");
    return -1;
  }
  return 0;
}

void obSigned::SetDecodeError() {
  obDerReader whole(imp_->buf, imp_->bufLen);
  obDerElement first;
  if (whole.Next(first) && !whole.AtEnd()) OB_HERROR("obASN_DecodeBuf not all the buffer was decoded");
  SetError("Error Decoding");
}

void obSigned::SetUnhandledExt(const obAsnOid* oid) {
  delete imp_->unhandledCritExt;
  imp_->unhandledCritExt = oid ? oid->Copy() : nullptr;
}

// Signed ::= SEQUENCE { toBeSigned, algorithm AlgorithmIdentifier, signature BIT STRING }
bool obParseSignedFields(obDerSpan der, obSignedFields& out) {
  obDerReader outer(der);
  obDerSpan body, bitString;
  if (!outer.Read(kDerSequence, body) || !outer.AtEnd()) return false;
  obDerReader fields(body);
  return fields.Read(kDerSequence, out.toBeSigned) && obReadAlgorithmId(fields, out.algorithm) &&
         fields.Read(kDerBitString, bitString) && fields.AtEnd() &&
         obDerParseBitString(bitString, out.signature, out.unusedBits);
}

// AlgorithmIdentifier ::= SEQUENCE { algorithm OBJECT IDENTIFIER, parameters ANY OPTIONAL }
bool obReadAlgorithmId(obDerReader& r, obDerSpan& oid) {
  obDerSpan body;
  obDerElement parameters;
  if (!r.Read(kDerSequence, body)) return false;
  obDerReader alg(body);
  if (!alg.Read(kDerOid, oid) || !obAsnOid::IsValidContent(oid.data, oid.size)) return false;
  return alg.AtEnd() || (alg.Next(parameters) && alg.AtEnd());
}

obVfy_status obSigned::VerifySig(obPubKey* key) const {
  obSignedFields parts;
  if (!obParseSignedFields({imp_->buf, imp_->bufLen}, parts)) {
    OB_HERROR("ob_VerifySigned: Failed decoding of signed\n");
    return obVfy_DecodeError;
  }
  return obVerifySignedFields(parts, key);
}

namespace {

// Whether key can check a signature of kind need. RSA keys from an installed
// importer may report another kind; only the elliptic-curve kinds are sure.
bool KeyFits(const obPubKey& key, obAlgType need) {
  obAlgType have = key.algorithm();
  return have == need || (need == obAlg_RSA && have != obAlg_EC && have != obAlg_Ed25519);
}

}  // namespace

obVfy_status obVerifySignedFields(const obSignedFields& parts, obPubKey* key) {
  const obSignatureAlg* alg = obFindSignatureAlg(parts.algorithm);
  if (!alg) {
    OB_HERROR("ob_VerifySigned: unsupported algorithm");
    return obVfy_UnsupportedAlg;
  }
  const unsigned char* tbs = parts.toBeSigned.tlv.data;
  unsigned tbsLen = static_cast<unsigned>(parts.toBeSigned.tlv.size);
  unsigned char digest[kObMaxDigestLen];
  int digestLen = 0;
  // Ed25519 signs the message itself; the others a digest of it.
  if (alg->key != obAlg_Ed25519) {
    digestLen = ny_md_hashbuf(alg->md, tbs, tbsLen, digest);
    if (digestLen < 0) return obVfy_UnsupportedAlg;
  }
  // Signature octets: the bit count rounded up to whole octets.
  size_t bits = parts.signature.size * 8 - parts.unusedBits;
  int sigLen = static_cast<int>((bits + 7) / 8);
  if (!key || !KeyFits(*key, alg->key)) return obVfy_BadSignature;
  int rc = alg->key == obAlg_Ed25519
               ? key->Verify(obPKop_Raw, alg->md, tbs, static_cast<int>(tbsLen), parts.signature.data, sigLen)
               : key->Verify(obPKop_DigestInfoCompat, alg->md, digest, digestLen, parts.signature.data, sigLen);
  return rc < 0 ? obVfy_BadSignature : obVfy_OK;
}

void obSaveSigned(obSigned* obj) { obSavePKobj(obj); }

void obFreeSigned(obSigned* obj) { obFreePKobj(obj); }

obSignedObjects::obSignedObjects(int n) : imp_(new obSignedObjects_imp) {
  if (n > 0) Grow(n);
}

obSignedObjects::obSignedObjects(const obSignedObjects& other) : imp_(new obSignedObjects_imp) {
  int count = other.Count();
  if (count == 0) return;
  Grow(count);
  int next = 0;
  for (int i = 0; i < other.Size(); ++i) {
    obSigned* obj = other.imp_->slots[i];
    if (!obj) continue;
    obSaveSigned(obj);
    imp_->slots[next++] = obj;
  }
}

obSignedObjects::~obSignedObjects() {
  ClearAll();
  delete[] imp_->slots;
  delete imp_;
}

void obSignedObjects::Grow(int capacity) {
  obSigned** slots = new obSigned*[capacity]();
  for (int i = 0; i < imp_->capacity; ++i) slots[i] = imp_->slots[i];
  delete[] imp_->slots;
  imp_->slots = slots;
  imp_->capacity = capacity;
}

int obSignedObjects::Count() const {
  int count = 0;
  for (int i = 0; i < imp_->capacity; ++i) count += imp_->slots[i] != nullptr;
  return count;
}

int obSignedObjects::Top() const {
  for (int i = imp_->capacity - 1; i >= 0; --i) {
    if (imp_->slots[i]) return i;
  }
  return -1;
}

void obSignedObjects::Del(int i) {
  if (i < 0 || i >= imp_->capacity) return;
  obFreeSigned(imp_->slots[i]);
  imp_->slots[i] = nullptr;
}

void obSignedObjects::ClearAll() {
  for (int i = 0; i < imp_->capacity; ++i) Del(i);
}

// Appends after the highest occupied slot, growing by ten slots when full;
// holes below the top stay empty so positions are stable across deletions.
void obSignedObjects::AddSigned(obSigned* obj) {
  if (!obj) return;
  int next = Top() + 1;
  if (next >= imp_->capacity) Grow(imp_->capacity + 10);
  imp_->slots[next] = obj;
}

obSigned* obSignedObjects::GetSigned(int i) const {
  return i >= 0 && i < imp_->capacity ? imp_->slots[i] : nullptr;
}

int obSignedObjects::SetSigned(int i, obSigned* obj) {
  if (i < 0 || i >= imp_->capacity) return -1;
  obFreeSigned(imp_->slots[i]);
  imp_->slots[i] = obj;
  return 0;
}
