#include "nycert/certs/x509_sign.h"

#include <vector>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/signature_alg.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/nybcrypt.h"

namespace {

// The key's signature over in (a digest, or for Ed25519 the message), asking
// first for its length.
int SignInput(obPubKey& key, ob_md_type md, const unsigned char* in, int inLen,
              std::vector<unsigned char>& signature) {
  int size = key.Sign(obPKop_DigestInfoCompat, md, in, inLen, nullptr, 0);
  if (size <= 0) return -1;
  signature.resize(static_cast<size_t>(size));
  int written = key.Sign(obPKop_DigestInfoCompat, md, in, inLen, signature.data(), size);
  if (written <= 0) return -1;
  signature.resize(static_cast<size_t>(written));
  return 0;
}

int WriteSigned(obAsnWriteBuf& b, const nyBinBuf& tbs, const obAsnOid& alg,
                const std::vector<unsigned char>& signature) {
  int bits = obExtPutRaw(b, signature.data(), signature.size());
  bits = obExtWrap(b, 0x03, obExtSum(bits, b.PutByte(0)));
  int algId = obExtWrap(b, 0x30, obExtPutPrim(b, 0x06, alg.data(), alg.size()));
  int total = obExtSum(obExtSum(bits, algId), obExtPutRaw(b, tbs.Data(), tbs.Len()));
  return obExtWrap(b, 0x30, total);
}

}  // namespace

int obX509Sign(const obAsnType& tbs, obPubKey& key, ob_md_type md, nyBinBuf& out) {
  obAlgType kind = key.algorithm();
  if (kind != obAlg_RSA && kind != obAlg_EC && kind != obAlg_Ed25519) {
    // The message predates the EC kinds and is kept as callers know it.
    OB_HERROR("obX509Sign: curretnly work only for RSA (%d)", static_cast<int>(kind));
    return -1;
  }
  if (!(key.Flags() & obPK_Flag_Sign)) {
    OB_HERROR("obX509Sign: Key cannot sign (flags = %x)", key.Flags());
    return -1;
  }
  const obAsnOid* alg = obSignatureOid(md, kind);
  if (!alg) {
    OB_HERROR("obX509Sign: Cannot find sign OID (%d)", static_cast<int>(md));
    return -1;
  }
  nyBinBuf encoded;
  if (obAsnEncode(tbs, encoded) != 0) {
    OB_HERROR("obX509Sign: error encoding the to-be-signed part");
    return -1;
  }
  unsigned char digest[kObMaxDigestLen];
  const unsigned char* in = encoded.Data();
  int inLen = static_cast<int>(encoded.Len());
  if (kind != obAlg_Ed25519) {
    inLen = ny_md_hashbuf(md, encoded.Data(), encoded.Len(), digest);
    in = digest;
  }
  if (inLen <= 0) {
    OB_HERROR("obX509Sign: error digesting");
    return -1;
  }
  std::vector<unsigned char> signature;
  if (SignInput(key, md, in, inLen, signature) != 0) {
    OB_HERROR("obX509Sign: error signing");
    return -1;
  }
  obAsnBytes signedDer;
  if (obExtEncode([&](obAsnWriteBuf& b) { return WriteSigned(b, encoded, *alg, signature); }, signedDer) != 0) {
    OB_HERROR("obX509Sign: error encoding the signed structure");
    return -1;
  }
  out.Set(signedDer.data(), static_cast<unsigned>(signedDer.size()));
  return 0;
}
