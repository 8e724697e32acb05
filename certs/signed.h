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

#include "nycert/buffers/obstring.h"
#include "nycert/keys/pkobj.h"

class obAsnOid;
class obAsnType;
class obPubKey;

enum obVfy_status : int {
  obVfy_OK = 0,
  obVfy_BadSignature = -1,     // the key rejected the signature
  obVfy_DecodeError = -2,      // the DER is not a signed structure
  obVfy_UnsupportedAlg = -3,   // no supported digest, or hashing failed
};

class obSigned_imp : public obPKobj_imp {
 public:
  obSigned_imp() = default;
  // Copies len octets of buf; an empty buffer gives the error "Empty data".
  obSigned_imp(const unsigned char* buf, unsigned int len);
  obSigned_imp(const obSigned_imp&) = delete;
  obSigned_imp& operator=(const obSigned_imp&) = delete;
  ~obSigned_imp() override;

  int ok = 1;
  obString error;
  obAsnOid* unhandledCritExt = nullptr;
  unsigned char* buf = nullptr;
  unsigned int bufLen = 0;
};

class obSigned : public obPKobj {
 public:
  obSigned(const unsigned char* buf, unsigned int len);
  obSigned(const obSigned&) = default;
  obSigned& operator=(const obSigned&) = default;
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
void obSaveSigned(obSigned* obj);
void obFreeSigned(obSigned* obj);

class obSignedObjects_imp {
 public:
  obSigned** slots = nullptr;
  int capacity = 0;
};

class obSignedObjects {
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
