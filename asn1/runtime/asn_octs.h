// obAsnOcts: OCTET STRING (universal 4).
//
// Decoding accepts the primitive form and the constructed BER form (nested
// segments, definite or indefinite length), which is joined into one run of
// octets; encoding is always primitive (DER).
#ifndef NYCERT_ASN1_RUNTIME_ASN_OCTS_H_
#define NYCERT_ASN1_RUNTIME_ASN_OCTS_H_

#include "nycert/asn1/runtime/asn_bytes.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

constexpr unsigned kAsnOctetStringTag = 4;

// Decodes OCTET STRING content in the form tag gives (primitive, or
// constructed of nested OCTET STRING segments) into out, replacing what it
// held. Shared by every type encoded as an OCTET STRING. 1, or -1.
NYCERT_EXPORT int obAsnDecodeOctsContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded, obAsnBytes& out);

class NYCERT_EXPORT obAsnOcts : public obAsnType {
 public:
  obAsnOcts() = default;
  obAsnOcts(const unsigned char* p, unsigned long n) : octs_(p, n) {}
  // The characters of a zero-terminated text, without the terminator (null: empty).
  explicit obAsnOcts(const char* text);
  ~obAsnOcts() override;

  const char* TypeName() const override;
  obAsnOcts* Clone() const override;
  obAsnOcts* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  int BEncContent(obAsnWriteBuf& b) const;

  const unsigned char* data() const { return octs_.data(); }
  unsigned long size() const { return octs_.size(); }
  const obAsnBytes& Bytes() const { return octs_; }
  void Set(const unsigned char* p, unsigned long n) { octs_.Assign(p, n); }

  int Equal(const obAsnOcts& other) const { return octs_ == other.octs_ ? 1 : 0; }
  bool operator==(const obAsnOcts& other) const { return Equal(other) == 1; }
  bool operator!=(const obAsnOcts& other) const { return Equal(other) == 0; }

 private:
  obAsnBytes octs_;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_OCTS_H_
