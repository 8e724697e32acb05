// obSigned: the reference-counted base of certificates and CRLs. It keeps a
// private copy of the object's DER, an OK flag with the last error, and the
// first critical extension decoding could not handle, and it checks the
// outer signature:
//
//   Signed ::= SEQUENCE { toBeSigned ANY, algorithm AlgorithmIdentifier,
//                         signature BIT STRING }
//
// obSignedObjects is the sparse, growable array obCerts and obCRLs build on.
#ifndef NYCERT_CERTS_SIGNED_H_
#define NYCERT_CERTS_SIGNED_H_

#include <atomic>

#include "nycert/buffers/obstring.h"
#include "nycert/keys/pkobj.h"
#include "nycert/platform/export.h"

class obAsnOid;
class obAsnType;
class obPubKey;

enum obVfy_status : int {
  obVfy_OK = 0,
  obVfy_BadSignature = -1,     // the key rejected the signature
  obVfy_DecodeError = -2,      // the DER is not a signed structure
  obVfy_UnsupportedAlg = -3,   // no supported digest, or hashing failed
};

class NYCERT_EXPORT obSigned_imp : public obPKobj_imp {
 public:
  obSigned_imp() = default;
  // Copies len octets of buf; an empty buffer gives the error "Empty data".
  obSigned_imp(const unsigned char* buf, unsigned int len);
  obSigned_imp(const obSigned_imp&) = delete;
  obSigned_imp& operator=(const obSigned_imp&) = delete;
  ~obSigned_imp() override;

  std::atomic<int> ok{1};  // also cleared after decoding, by a failing key import
  obString error;
  obAsnOid* unhandledCritExt = nullptr;
  unsigned char* buf = nullptr;
  unsigned int bufLen = 0;
};

class NYCERT_EXPORT obSigned : public obPKobj {
 public:
  obSigned(const unsigned char* buf, unsigned int len);
  // A copy would share the implementation and free it twice: hold a
  // reference instead (obSaveSigned).
  obSigned(const obSigned&) = delete;
  obSigned& operator=(const obSigned&) = delete;
  ~obSigned() override;

  const unsigned char* GetBuf() const { return imp_->buf; }
  unsigned int BufLen() const { return imp_->bufLen; }
  void SetError(const obString& text);
  int OK() const { return imp_->ok; }
  const obString& Error() const { return imp_->error; }
  const obAsnOid* UnhandledCritExt() const { return imp_->unhandledCritExt; }
  obVfy_status VerifySig(obPubKey* key) const;

 protected:
  obSigned();
  // Takes over imp, made by a derived class.
  explicit obSigned(obSigned_imp* imp) : obPKobj(imp), imp_(imp) {}
  // DER-decodes the kept buffer into t, all of it: 0, or -1 ("Error Decoding").
  int DecodeBuf(obAsnType& t);
  // Records the error "Error Decoding", first reporting octets left after
  // the outer element when there are any.
  void SetDecodeError();
  // Records a copy of oid; null clears the record.
  void SetUnhandledExt(const obAsnOid* oid);

 private:
  obSigned_imp* imp_;
};

// Take and drop a reference; null is ignored.
NYCERT_EXPORT void obSaveSigned(obSigned* obj);
NYCERT_EXPORT void obFreeSigned(obSigned* obj);

class NYCERT_EXPORT obSignedObjects_imp {
 public:
  obSigned** slots = nullptr;
  int capacity = 0;
};

class NYCERT_EXPORT obSignedObjects {
 public:
  obSignedObjects& operator=(const obSignedObjects&) = delete;
  virtual ~obSignedObjects();

  int Count() const;
  int Size() const { return imp_->capacity; }
  int Top() const;
  void Del(int i);
  void ClearAll();

 protected:
  explicit obSignedObjects(int n);
  // A compacting copy: the occupied slots in order, each with a reference of its own.
  obSignedObjects(const obSignedObjects& other);

  // The typed lists' Add, Get and Set. Add and Set take the caller's
  // reference over; Get lends.
  void AddSigned(obSigned* obj);
  obSigned* GetSigned(int i) const;
  int SetSigned(int i, obSigned* obj);

 private:
  void Grow(int capacity);

  obSignedObjects_imp* imp_;
};

#endif  // NYCERT_CERTS_SIGNED_H_
