// obBasicConstraint: the basicConstraints extension (2.5.29.19).
//
//   BasicConstraints ::= SEQUENCE { cA BOOLEAN DEFAULT FALSE,
//                                   pathLenConstraint INTEGER (0..MAX) OPTIONAL }
#ifndef NYCERT_CERTS_BASIC_CONSTRAINT_H_
#define NYCERT_CERTS_BASIC_CONSTRAINT_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/extension.h"
#include "nycert/platform/export.h"

class NYCERT_EXPORT obBasicConstraint_imp : public obExtension_imp {
 public:
  // pathLen -1: no path length constraint.
  obBasicConstraint_imp(int isCA, int pathLen) : isCA_(isCA != 0), pathLen_(pathLen < 0 ? -1 : pathLen) {}

  const char* ExtName() const override;
  void Sprint(ObStream* s, int indent) const override;
  int EncodeValue(obAsnWriteBuf& b) const override;

  int IsCA() const { return isCA_ ? 1 : 0; }
  int PathLen() const { return pathLen_; }

 private:
  bool isCA_;
  int pathLen_;
};

class NYCERT_EXPORT obBasicConstraint : public obExtension {
 public:
  // pathLen -1 (or any negative value): no path length constraint.
  obBasicConstraint(int isCA, int pathLen);
  obBasicConstraint(const obBasicConstraint& other);
  obBasicConstraint* Clone() const override;

  int IsCA() const;
  // The path length constraint, or -1 when absent.
  int PathLen() const;

  // The handler of the extension's value; a malformed value gives the
  // constraints of an end entity, not accepted.
  static obExtension* Handle(obDerSpan value, int critical, int& accepted);

 private:
  obBasicConstraint_imp data_;
};

#endif  // NYCERT_CERTS_BASIC_CONSTRAINT_H_
