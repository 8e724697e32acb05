// obAsnInt: an INTEGER (universal 2).
//
// Two representations, chosen by the length of the decoded content: up to
// four octets give a 32-bit value; longer contents are kept as an octet block
// (serial numbers, key moduli) and the value is not used. A block is always
// encoded as a non-negative magnitude: leading zero octets are dropped and a
// 00 is put in front when the first remaining octet has its top bit set. So a
// block is read the same way everywhere (equality, GetInt64): an unsigned
// big-endian magnitude.
#ifndef NYCERT_ASN1_RUNTIME_ASN_INT_H_
#define NYCERT_ASN1_RUNTIME_ASN_INT_H_

#include <cstdint>

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obAsnInt : public obAsnType {
 public:
  obAsnInt() = default;
  // See Set(long).
  explicit obAsnInt(long value) { Set(value); }

  const char* TypeName() const override;
  obAsnInt* Clone() const override;
  obAsnInt* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  int BEncContent(obAsnWriteBuf& b) const;

  // Values that fit 32 bits take the value form, larger positive ones a block.
  // Negative values below the 32-bit range cannot be held (a block is a
  // magnitude): -1, and the integer is left unchanged. Else 0.
  int Set(long value);
  // Sets a non-negative integer from big-endian magnitude octets. Leading
  // zeros are dropped; a magnitude up to 2^31 - 1 takes the value form,
  // anything larger is kept as a block. 0, or -1 for a null p with n > 0.
  int SetBytes(const unsigned char* p, unsigned long n);

  bool IsBlock() const { return !block_.empty(); }
  // The 32-bit value; 0 for a block.
  int Value() const { return value_; }
  // The block's octets as decoded or set (null and 0 for the value form).
  const unsigned char* Bytes() const { return IsBlock() ? block_.data() : nullptr; }
  unsigned long BytesLen() const { return block_.size(); }
  // The integer as a signed 64-bit value: 0, or -1 when it does not fit.
  int GetInt64(int64_t& out) const;

  // Numeric equality: a block compares as the magnitude it encodes, so the
  // block 00 00 00 00 05 equals the value 5; a negative value equals no block.
  int Equal(const obAsnInt& other) const;
  bool operator==(const obAsnInt& other) const { return Equal(other) != 0; }
  bool operator!=(const obAsnInt& other) const { return !Equal(other); }

 private:
  int value_ = 0;
  obAsnBytes block_;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_INT_H_
