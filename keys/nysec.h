// nySEC: a software elliptic-curve key held in one OpenSSL key object behind
// the obPubKey handle: ECDSA on P-256, P-384 or P-521, or Ed25519.
//
// ECDSA keys sign and verify a digest the caller computed, with the
// signature as a DER ECDSA-Sig-Value; Ed25519 keys sign and verify the
// whole message, 64 octets of signature. The operation mode and digest
// type are not used. Export writes format 1 as the public key octets (the
// certificate's subjectPublicKey), format 2 as a PrivateKeyInfo and format 3
// as a SubjectPublicKeyInfo. EC keys neither encrypt nor derive (-1001).
#ifndef NYCERT_KEYS_NYSEC_H_
#define NYCERT_KEYS_NYSEC_H_

#include <openssl/types.h>

#include "nycert/keys/ec_evp.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/export.h"

// Bits of nySEC_imp::Flags, beside obPK_Flag_Sign for a private key.
enum nySEC_Flag {
  nySEC_Flag_Public = 0x1,   // Verify and export of the public key
  nySEC_Flag_Private = 0x2,  // Sign and export of the private key
};

class NYCERT_EXPORT nySEC_imp : public obPubKey_imp_vc {
 public:
  // Takes over key, which must be on one of the supported curves.
  explicit nySEC_imp(EVP_PKEY* key);
  ~nySEC_imp() override;
  nySEC_imp(const nySEC_imp&) = delete;
  nySEC_imp& operator=(const nySEC_imp&) = delete;

  obAlgType algorithm() const override { return nyEC_KeyAlgorithm(curve_); }
  int OK() const override { return key_ != nullptr; }
  unsigned Flags() const override;
  // A null out returns the longest signature the key makes.
  int Sign(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, unsigned char* out,
           int outLen) override;
  // 0 when sig is a valid signature over data; an ECDSA signature must be
  // strict DER with r and s between 1 and the group order less one.
  int Verify(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen, const unsigned char* sig,
             int sigLen) override;
  int Export(obPK_Format fmt, void* out, int outLen) override;
  // Bits: the curve size; bytes: the longest signature.
  int GetLen(obPK_Len_Type which) override;
  const char* ClassName() const override { return "nySEC_imp"; }
  void Herror() const override;

  nyECCurve Curve() const { return curve_; }
  int HasPrivate() const { return hasPrivate_; }
  // The OpenSSL key, still owned by this object.
  const EVP_PKEY* Key() const { return key_; }

 private:
  int VerifyDigest(const unsigned char* digest, int digestLen, const unsigned char* sig, int sigLen) const;
  int VerifyMessage(const unsigned char* data, int dataLen, const unsigned char* sig, int sigLen) const;

  EVP_PKEY* key_;
  nyECCurve curve_;
  int hasPrivate_;
  int maxSigLen_;
};

class NYCERT_EXPORT nySEC : public obPubKey {
 public:
  // Takes over imp, which holds the handle's one reference.
  explicit nySEC(nySEC_imp* imp) : obPubKey(imp), ec_(imp) {}
  nySEC_imp* ECImp() const { return ec_; }

 private:
  nySEC_imp* ec_;
};

// A key handle over key, which it takes over (freed on failure): null when
// key is null or not on a supported curve.
NYCERT_EXPORT nySEC* nySEC_New(EVP_PKEY* key);
// A new key pair on curve, or null.
NYCERT_EXPORT nySEC* nySEC_Generate(nyECCurve curve);

#endif  // NYCERT_KEYS_NYSEC_H_
