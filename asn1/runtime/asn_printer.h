// Printing the parts of constructed values: components with their names,
// list elements, and the chosen alternative of a CHOICE.
#ifndef NYCERT_ASN1_RUNTIME_ASN_PRINTER_H_
#define NYCERT_ASN1_RUNTIME_ASN_PRINTER_H_

#include "nycert/platform/export.h"

class ObStream;
class obAsnType;

// Prints "name: value" when the value prints on one line, else "name:" and
// the value's lines one level deeper. The value's Sprint result (0 or -1).
NYCERT_EXPORT int obAsnSprintNamed(ObStream* s, int indent, const char* name, const obAsnType& value);

// The chosen alternative of a CHOICE as a named value; with no value, the
// line "(no alternative)". 0, or -1 when the value cannot print.
NYCERT_EXPORT int obAsnSprintChoice(ObStream* s, int indent, const char* name, const obAsnType* value);

// Prints a heading line with the type's name, then each component or element
// one level deeper. Done() is -1 when any of them could not print.
class NYCERT_EXPORT obAsnFieldPrinter {
 public:
  obAsnFieldPrinter(ObStream* s, int indent, const char* typeName);

  void Field(const char* name, const obAsnType& value);
  // An absent component (null) prints nothing.
  void Field(const char* name, const obAsnType* value) {
    if (value) Field(name, *value);
  }
  void Element(const obAsnType& value);
  int Done() const { return rc_; }

 private:
  ObStream* s_;
  int indent_;
  int rc_ = 0;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_PRINTER_H_
