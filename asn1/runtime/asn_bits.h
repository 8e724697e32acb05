// obAsnBits: BIT STRING (universal 3), a count of bits and the octets holding them.
//
// Bit 0 is the most significant bit of the first octet. Decoding accepts the
// primitive form and the constructed BER form (segments joined in order);
// encoding is primitive with the unused bits of the last octet set to zero.
#ifndef NYCERT_ASN1_RUNTIME_ASN_BITS_H_
#define NYCERT_ASN1_RUNTIME_ASN_BITS_H_

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

constexpr unsigned kAsnBitStringTag = 3;

class NYCERT_EXPORT obAsnBits : public obAsnType {
 public:
  obAsnBits() = default;
  // bitLen bits from the first (bitLen + 7) / 8 octets of p.
  obAsnBits(const unsigned char* p, unsigned long bitLen) { Set(p, bitLen); }
  ~obAsnBits() override;

  const char* TypeName() const override;
  obAsnBits* Clone() const override;
  obAsnBits* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  int BEncContent(obAsnWriteBuf& b) const;

  unsigned long BitLen() const { return bitLen_; }
  const unsigned char* Octets() const { return octs_.data(); }
  unsigned long OctetLen() const { return octs_.size(); }
  void Set(const unsigned char* p, unsigned long bitLen);

  // Bit i: 1 or 0 (0 beyond the length).
  int GetBit(unsigned long i) const;
  // Sets bit i, extending the string with zero bits when i is beyond its length.
  void SetBit(unsigned long i);
  // Clears bit i; the length is left as it is.
  void ClrBit(unsigned long i);
  // Shortens the string to end at its last 1 bit: the DER form of a named bit list.
  void DropTrailingZeros();

  int Equal(const obAsnBits& other) const;
  bool operator==(const obAsnBits& other) const { return Equal(other) == 1; }
  bool operator!=(const obAsnBits& other) const { return Equal(other) == 0; }

 private:
  unsigned UnusedBits() const { return static_cast<unsigned>(octs_.size() * 8 - bitLen_); }

  unsigned long bitLen_ = 0;
  obAsnBytes octs_;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_BITS_H_
