// obAsnEXTERNAL: the EXTERNAL type, a value of some other abstract syntax.
//
//   EXTERNAL ::= [UNIVERSAL 8] IMPLICIT SEQUENCE {
//     direct-reference      OBJECT IDENTIFIER OPTIONAL,
//     indirect-reference    INTEGER OPTIONAL,
//     data-value-descriptor ObjectDescriptor OPTIONAL,
//     encoding CHOICE {
//       single-ASN1-type [0] ANY,
//       octet-aligned    [1] IMPLICIT OCTET STRING,
//       arbitrary        [2] IMPLICIT BIT STRING } }
#ifndef NYCERT_ASN1_RUNTIME_ASN_EXTERNAL_H_
#define NYCERT_ASN1_RUNTIME_ASN_EXTERNAL_H_

#include "nycert/asn1/runtime/asn_any.h"
#include "nycert/asn1/runtime/asn_bits.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/asn1/runtime/asn_octs.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/asn_opt.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obAsnEXTERNALChoice : public obAsnType {
 public:
  enum ChoiceId { kNone = -1, kSingleAsn1Type = 0, kOctetAligned = 1, kArbitrary = 2 };

  const char* TypeName() const override;
  obAsnEXTERNALChoice* Clone() const override;
  obAsnEXTERNALChoice* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;
  // The alternative is chosen by the tag already read.
  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);

  // Selecting an alternative drops the others; each returns the fresh value to fill.
  obAsnAny& SetSingleAsn1Type();
  obAsnOcts& SetOctetAligned();
  obAsnBits& SetArbitrary();

  ChoiceId choiceId = kNone;
  obAsnOpt<obAsnAny> singleAsn1Type;
  obAsnOpt<obAsnOcts> octetAligned;
  obAsnOpt<obAsnBits> arbitrary;

 private:
  void Reset(ChoiceId chosen);
};

class NYCERT_EXPORT obAsnEXTERNAL : public obAsnType {
 public:
  const char* TypeName() const override;
  obAsnEXTERNAL* Clone() const override;
  obAsnEXTERNAL* Copy() const override;
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override;
  int BEnc(obAsnWriteBuf& b) const override;
  int Sprint(ObStream* s, int indent) const override;
  int BDecContent(obAsnReadBuf& b, obAsnTag tag, obAsnLen len, unsigned long& bytesDecoded);
  int BEncContent(obAsnWriteBuf& b) const;

  obAsnOpt<obAsnOid> directReference;
  obAsnOpt<obAsnInt> indirectReference;
  obAsnOpt<obAsnObjectDescriptor> dataValueDescriptor;
  obAsnEXTERNALChoice encoding;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_EXTERNAL_H_
