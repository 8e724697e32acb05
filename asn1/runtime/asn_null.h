// obAsnNull: NULL (universal 5), a value with no content.
#ifndef NYCERT_ASN1_RUNTIME_ASN_NULL_H_
#define NYCERT_ASN1_RUNTIME_ASN_NULL_H_

#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obAsnNull : public obAsnType {
 public:
  const char* TypeName() const override;
  obAsnNull* Clone() const override;
  obAsnNull* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;

  // The content must be empty.
  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  // Writes nothing: 0.
  int BEncContent(obAsnWriteBuf& b) const;

  int Equal(const obAsnNull&) const { return 1; }
  bool operator==(const obAsnNull&) const { return true; }
  bool operator!=(const obAsnNull&) const { return false; }
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_NULL_H_
