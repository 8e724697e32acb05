// obAsnEnum: an ENUMERATED value (universal 10), held as a 32-bit value with
// the content rules of a small INTEGER.
#ifndef NYCERT_ASN1_RUNTIME_ASN_ENUM_H_
#define NYCERT_ASN1_RUNTIME_ASN_ENUM_H_

#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obAsnEnum : public obAsnType {
 public:
  obAsnEnum() = default;
  explicit obAsnEnum(int value) : value_(value) {}

  const char* TypeName() const override;
  obAsnEnum* Clone() const override;
  obAsnEnum* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  // Content of one to four octets; anything longer fails.
  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  int BEncContent(obAsnWriteBuf& b) const;

  int Value() const { return value_; }
  void Set(int value) { value_ = value; }

  int Equal(const obAsnEnum& other) const { return value_ == other.value_; }
  bool operator==(const obAsnEnum& other) const { return Equal(other) != 0; }
  bool operator!=(const obAsnEnum& other) const { return !Equal(other); }

 private:
  int value_ = 0;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_ENUM_H_
