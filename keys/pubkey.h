// obPubKey: the handle through which every asymmetric key is used, over an
// implementation of the abstract interface obPubKey_imp_vc.
//
// The virtual operations of obPubKey_imp_vc keep a fixed order (kinds of key
// append their own after Herror). Operations a kind does not implement report
// "<op> not implemeted for <class>" and return obPK_RC_NotImplemented.
#ifndef NYCERT_KEYS_PUBKEY_H_
#define NYCERT_KEYS_PUBKEY_H_

#include "nycert/keys/pk_types.h"
#include "nycert/keys/pkobj.h"
#include "nycert/platform/export.h"

struct obd_env;

class NYCERT_EXPORT obPubKey_imp_vc : public obPKobj_imp {
 public:
  ~obPubKey_imp_vc() override;
  virtual obAlgType algorithm() const = 0;
  virtual int OK() const = 0;
  virtual unsigned Flags() const = 0;
  virtual int Encrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen);
  virtual int Decrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen);
  virtual int Sign(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, unsigned char* out, int outLen);
  virtual int Verify(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen, const unsigned char* sig,
                     int sigLen);
  // By default EncryptA, DecryptA and VerifyA run the synchronous operation,
  // return 0 and later call back on env with rc -1 and no data (this kind of
  // key has no asynchronous form); SignA and DeriveA return -1.
  virtual int EncryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
                       obPubKeyCB callback, void* cbContext, obd_env* env);
  virtual int DecryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
                       obPubKeyCB callback, void* cbContext, obd_env* env);
  virtual int SignA(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, obPubKeyCB callback,
                    void* cbContext, obd_env* env);
  virtual int VerifyA(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen, const unsigned char* sig,
                      int sigLen, obPubKeyCB callback, void* cbContext, obd_env* env);
  virtual int DeriveA(obPKop_type op, const unsigned char* peer, int peerLen, obPubKeyCB callback, void* cbContext,
                      obd_env* env);
  virtual int Derive(obPKop_type op, const unsigned char* peer, int peerLen, unsigned char* out, int outLen);
  virtual int Export(obPK_Format fmt, void* out, int outLen);
  virtual int GetLen(obPK_Len_Type which);
  virtual const unsigned char* ID() const;
  virtual int IdLen() const;
  virtual int Remove();
  virtual const char* ClassName() const = 0;
  virtual void Herror() const;

 protected:
  // The checks every kind runs before signing: 0 to go on, else what Sign
  // returns (sigLen when out is null, to measure; a negative code, reported
  // under fn, when there is no private key, no input or too little room).
  static int SignPrecheck(const char* fn, bool hasPrivate, const unsigned char* in, int inLen,
                          const unsigned char* out, int outLen, int sigLen);
};

class NYCERT_EXPORT obPubKey : public obPKobj {
 public:
  obPubKey(const obPubKey&) = default;
  obPubKey& operator=(const obPubKey&) = default;
  ~obPubKey() override;

  int Encrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen);
  int Decrypt(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen);
  int Sign(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, unsigned char* out, int outLen);
  int Verify(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen, const unsigned char* sig,
             int sigLen);
  int Derive(obPKop_type op, const unsigned char* peer, int peerLen, unsigned char* out, int outLen);
  int Export(obPK_Format fmt, void* out, int outLen);
  int GetLen(obPK_Len_Type which);
  void Herror() const;
  int Remove();
  int EncryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
               obPubKeyCB callback, void* cbContext, obd_env* env);
  int DecryptA(obPKop_type op, const unsigned char* in, int inLen, unsigned char* out, int outLen,
               obPubKeyCB callback, void* cbContext, obd_env* env);
  // SignA and DeriveA queue key tasks on the worker pool (synchronous when
  // no pool runs) and call back on env: the task's identifier, or a negative
  // result when nothing was queued.
  int SignA(obPKop_type op, ob_md_type md, const unsigned char* in, int inLen, obPubKeyCB callback, void* cbContext,
            obd_env* env);
  int VerifyA(obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen, const unsigned char* sig,
              int sigLen, obPubKeyCB callback, void* cbContext, obd_env* env);
  int DeriveA(obPKop_type op, const unsigned char* peer, int peerLen, obPubKeyCB callback, void* cbContext,
              obd_env* env);
  const unsigned char* ID() const;
  int IdLen() const;
  obAlgType algorithm() const;
  int OK() const;
  unsigned Flags() const;
  const char* ClassName() const;

  obPubKey_imp_vc* KeyImp() const { return imp_; }

 protected:
  // Takes over imp, which holds the handle's one reference.
  explicit obPubKey(obPubKey_imp_vc* imp) : obPKobj(imp), imp_(imp) {}

 private:
  obPubKey_imp_vc* imp_;
};

// A pending asynchronous callback: deleted by whoever finally calls it.
struct NYCERT_EXPORT obPubKeyCBInfo {
  obPubKeyCB callback;
  void* cbContext;
};

// The event handler of the generic asynchronous operations: calls the pending
// callback with rc -1 and no data, then deletes cbInfo (an obPubKeyCBInfo*).
NYCERT_EXPORT void obPubKeyCallCB_tmp(void* cbInfo);

NYCERT_EXPORT void obSavePubKey(obPubKey* key);
NYCERT_EXPORT void obFreePubKey(obPubKey* key);
NYCERT_EXPORT int obPubKey_Sign(obPubKey* key, obPKop_type op, ob_md_type md, const unsigned char* in, int inLen,
                  unsigned char* out, int outLen);
NYCERT_EXPORT int obPubKey_Verify(obPubKey* key, obPKop_type op, ob_md_type md, const unsigned char* data, int dataLen,
                    const unsigned char* sig, int sigLen);
NYCERT_EXPORT int obPubKey_Derive(obPubKey* key, obPKop_type op, const unsigned char* peer, int peerLen, unsigned char* out,
                    int outLen);
NYCERT_EXPORT int obPubKey_Export(obPubKey* key, obPK_Format fmt, void* out, int outLen);
// 1 when both keys export the same public form, else 0.
NYCERT_EXPORT int obPubKey_Equal(obPubKey* a, obPubKey* b);

#endif  // NYCERT_KEYS_PUBKEY_H_
