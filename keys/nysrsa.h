// nySRSA: a software RSA key held in one OpenSSL key object, behind the
// obPubKey handle.
//
// All four operations use PKCS#1 v1.5 padding. Sign and Verify in modes 0
// and 2 wrap the input in a DigestInfo for the given digest; modes 1 and 3
// take it as it is (Verify in mode 3 accepts either form).
#ifndef NYCERT_KEYS_NYSRSA_H_
#define NYCERT_KEYS_NYSRSA_H_

#include <openssl/types.h>

#include "nycert/keys/pubkey.h"
#include "nycert/platform/export.h"

// Bits of nySRSA_imp::Flags, beside obPK_Flag_Sign for a private key.
enum nySRSA_Flag {
  nySRSA_Flag_Public = 0x1,   // public operations (Encrypt, Verify, export of the public key)
  nySRSA_Flag_Private = 0x2,  // private operations (Decrypt, Sign, export of the private key)
};

class NYCERT_EXPORT nySRSA_imp : public obPubKey_imp_vc {
 public:
  // Takes over key (an RSA key, public or private); null gives a key that is not OK.
  explicit nySRSA_imp(EVP_PKEY* key);
  ~nySRSA_imp() override;
  nySRSA_imp(const nySRSA_imp&) = delete;
  nySRSA_imp& operator=(const nySRSA_imp&) = delete;

  obAlgType algorithm() const override { return obAlg_RSA; }
  int OK() const override { return key_ != nullptr; }
  unsigned Flags() const override;
  int Encrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen) override;
  int Decrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen) override;
  int Sign(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, unsigned char* out,
           int outLen) override;
  int Verify(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen, const unsigned char* sig,
             int sigLen) override;
  int Export(obPK_Format fmt, void* out, int outLen) override;
  int GetLen(obPK_Len_Type which) override;
  const char* ClassName() const override { return "nySRSA_imp"; }
  void Herror() const override;

  int HasPrivate() const { return hasPrivate_; }
  int Nbits() const { return nbits_; }
  int Nbytes() const { return nbytes_; }
  // The OpenSSL key, still owned by this object.
  const EVP_PKEY* Key() const { return key_; }

 private:
  int SignBlock(const unsigned char* block, int blockLen, unsigned char* out);
  void ReportMismatch(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen,
                      const unsigned char* recovered, int recoveredLen) const;
  int ExportSet(void* out, int outLen) const;
  int ExportDer(int withPrivate, void* out, int outLen) const;

  EVP_PKEY* key_;
  int hasPrivate_ = 0;
  int nbits_ = 0;
  int nbytes_ = 0;
};

class NYCERT_EXPORT nySRSA : public obPubKey {
 public:
  // Takes over imp, which holds the handle's one reference.
  explicit nySRSA(nySRSA_imp* imp) : obPubKey(imp), rsa_(imp) {}
  nySRSA_imp* RSAImp() const { return rsa_; }

 private:
  nySRSA_imp* rsa_;
};

// A key handle over key, which it takes over (freed on failure): null when
// key is null or not an RSA key.
NYCERT_EXPORT nySRSA* nySRSA_New(EVP_PKEY* key);

#endif  // NYCERT_KEYS_NYSRSA_H_
