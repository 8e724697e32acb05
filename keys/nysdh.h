// nySDH: a software Diffie-Hellman key in one of the library's groups, held
// in one OpenSSL key object behind the obPubKey handle.
//
// Derive computes the shared secret with a peer's public value, left-padded
// to the modulus length. Export writes format 1 as the DER INTEGER of the
// public value, format 2 as the DER INTEGER of the private value, and format
// 0 as an attribute set with "modulus", "generator", "public" and, for a key
// pair, "private". DH keys neither sign nor encrypt (-1001).
#ifndef NYCERT_KEYS_NYSDH_H_
#define NYCERT_KEYS_NYSDH_H_

#include <openssl/types.h>

#include "nycert/keys/dh_params.h"
#include "nycert/keys/pubkey.h"
#include "nycert/platform/export.h"

// Bits of nySDH_imp::Flags.
enum nySDH_Flag {
  nySDH_Flag_Public = 0x1,   // the public value is known
  nySDH_Flag_Private = 0x2,  // the private value is known: Derive works
};

class NYCERT_EXPORT nySDH_imp : public obPubKey_imp_vc {
 public:
  // Takes over key (a DH key); null gives a key that is not OK.
  explicit nySDH_imp(EVP_PKEY* key);
  ~nySDH_imp() override;
  nySDH_imp(const nySDH_imp&) = delete;
  nySDH_imp& operator=(const nySDH_imp&) = delete;

  obAlgType algorithm() const override { return obAlg_DH; }
  int OK() const override { return key_ != nullptr; }
  unsigned Flags() const override;
  // peer: the other side's public value, big-endian, 1 to ModLen() octets,
  // from 2 to p-2. Returns the secret's length (ModLen()); with a null out,
  // only the length.
  int Derive(obPKop_type op, const unsigned char* peer, int peerLen, unsigned char* out, int outLen) override;
  int Export(obPK_Format fmt, void* out, int outLen) override;
  int GetLen(obPK_Len_Type which) override;
  const char* ClassName() const override { return "nySDH_imp"; }
  void Herror() const override;
  // New copies for the caller to free with BN_clear_free; null when absent.
  virtual BIGNUM* Private() const;
  virtual BIGNUM* Public() const;
  // The modulus length in octets.
  virtual int ModLen() const { return modLen_; }

  // 1 when a peer value of len octets may be derived with, else 0.
  int PeerLenOK(int len) const { return len >= 1 && len <= modLen_; }
  // The OpenSSL key, still owned by this object.
  const EVP_PKEY* Key() const { return key_; }

 private:
  int ExportSet(void* out, int outLen) const;
  int ExportInteger(const char* param, void* out, int outLen) const;
  bool PeerInRange(const BIGNUM* peer) const;

  EVP_PKEY* key_;
  BIGNUM* p_ = nullptr;
  BIGNUM* g_ = nullptr;
  int modLen_ = 0;
  int hasPrivate_ = 0;
};

class NYCERT_EXPORT nySDH : public obPubKey {
 public:
  // Takes over imp, which holds the handle's one reference.
  explicit nySDH(nySDH_imp* imp) : obPubKey(imp), dh_(imp) {}
  nySDH_imp* DHImp() const { return dh_; }

 private:
  nySDH_imp* dh_;
};

// A new key pair in group, with a private value of the group's length: null
// when the group is not OK or generation fails.
NYCERT_EXPORT nySDH* obPubKey_NewDH(const obDhParams& group);
// The same for a group given by its modulus, generator and private length.
NYCERT_EXPORT nySDH* obPubKey_NewDH(const unsigned char* mod, int modLen, const unsigned char* gen, int genLen,
                                    int privBits);

#endif  // NYCERT_KEYS_NYSDH_H_
