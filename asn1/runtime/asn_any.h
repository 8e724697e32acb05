// The open types: a value of any tag held undecoded, or resolved to a concrete type.
#ifndef NYCERT_ASN1_RUNTIME_ASN_ANY_H_
#define NYCERT_ASN1_RUNTIME_ASN_ANY_H_

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

// obAsnRawAny keeps the complete encoding (identifier, length, content) of one
// value and writes it back unchanged.
class NYCERT_EXPORT obAsnRawAny : public obAsnType {
 public:
  obAsnRawAny() = default;
  obAsnRawAny(const unsigned char* encoding, unsigned long length) : encoding_(encoding, length) {}

  const char* TypeName() const override;
  obAsnRawAny* Clone() const override;
  obAsnRawAny* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  // Replaces the value with an encoding that must hold exactly one element: 0, or -1.
  int Set(const unsigned char* encoding, unsigned long length);
  const unsigned char* data() const { return encoding_.data(); }
  unsigned long size() const { return encoding_.size(); }
  bool empty() const { return encoding_.empty(); }
  // The packed tag of the kept value, or kAsnBadTag when empty.
  obAsnTag Tag() const;
  int Equal(const obAsnRawAny& other) const { return encoding_ == other.encoding_; }
  bool operator==(const obAsnRawAny& other) const { return Equal(other) != 0; }
  bool operator!=(const obAsnRawAny& other) const { return !Equal(other); }

 private:
  obAsnBytes encoding_;
};

// obAsnAny is the ANY of a generated type. Given a concrete value first
// (SetValue), it decodes and encodes through it; otherwise it keeps the value
// undecoded, to be resolved later once its type is known (ANY DEFINED BY).
// With neither, it falls back on the base type's "improperly formed" failures.
class NYCERT_EXPORT obAsnAny : public obAsnType {
 public:
  obAsnAny() = default;
  obAsnAny(const obAsnAny& other);
  obAsnAny& operator=(const obAsnAny& other);
  ~obAsnAny() override;

  const char* TypeName() const override;
  obAsnAny* Clone() const override;
  obAsnAny* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  // Takes ownership of value (null drops the present one) and forgets any undecoded value.
  void SetValue(obAsnType* value);
  obAsnType* Value() const { return value_; }
  const obAsnRawAny& Raw() const { return raw_; }
  // Decodes the kept value into type, which it takes over whether or not that succeeds: 1, or -1.
  int Resolve(obAsnType* type);

 private:
  obAsnType* value_ = nullptr;
  obAsnRawAny raw_;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_ANY_H_
