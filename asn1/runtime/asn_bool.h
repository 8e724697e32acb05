// obAsnBool: a BOOLEAN (universal 1).
#ifndef NYCERT_ASN1_RUNTIME_ASN_BOOL_H_
#define NYCERT_ASN1_RUNTIME_ASN_BOOL_H_

#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obAsnBool : public obAsnType {
 public:
  obAsnBool() = default;
  explicit obAsnBool(bool value) : value_(value) {}

  const char* TypeName() const override;
  obAsnBool* Clone() const override;
  obAsnBool* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  // Exactly one content octet; any non-zero octet reads as true.
  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  // TRUE is written FF, FALSE 00.
  int BEncContent(obAsnWriteBuf& b) const;

  bool Value() const { return value_; }
  void Set(bool value) { value_ = value; }

  int Equal(const obAsnBool& other) const { return value_ == other.value_; }
  bool operator==(const obAsnBool& other) const { return Equal(other) != 0; }
  bool operator!=(const obAsnBool& other) const { return !Equal(other); }

 private:
  bool value_ = false;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_BOOL_H_
