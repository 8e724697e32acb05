// obAsnType: the abstract ASN.1 value that every runtime and generated type derives from.
#ifndef NYCERT_ASN1_RUNTIME_ASN_TYPE_H_
#define NYCERT_ASN1_RUNTIME_ASN_TYPE_H_

#include <cstdio>

#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/platform/export.h"

class ObStream;

class NYCERT_EXPORT obAsnType {
 public:
  obAsnType() = default;
  obAsnType(const obAsnType&) = default;
  obAsnType& operator=(const obAsnType&) = default;

  // The virtual operations, in their fixed order.
  virtual ~obAsnType();
  // The concrete class's own name, such as "obAsnUTCTime".
  virtual const char* TypeName() const;
  // This object when name equals TypeName(), else null: a checked down-cast.
  virtual obAsnType* IsType(const char* name);
  // A new default-constructed object of the same class (null for the base).
  virtual obAsnType* Clone() const;
  // A new object of the same class holding a deep copy of this value (null for the base).
  virtual obAsnType* Copy() const;
  // Decodes a whole tag-length-value, adding the octets consumed to bytesDecoded: 1, or -1.
  virtual int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded);
  // Encodes the whole tag-length-value: the octets written (or counted), or -1.
  virtual int BEnc(obAsnWriteBuf& b) const;
  // Prints the value through the diagnostic channel, one line per call.
  virtual void Herror(int indent) const;
  // Prints the value to f (null: standard output).
  virtual void Print(FILE* f, int indent) const;
  // Appends the printed value to s; Print and Herror are built on it. 0, or -1
  // when the type cannot print (an open type never resolved).
  virtual int Sprint(ObStream* s, int indent) const;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_TYPE_H_
