#include "nycert/asn1/runtime/asn_printer.h"

#include <cstring>

#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/asn1/runtime/asn_type.h"
#include "nycert/platform/obstream.h"

int obAsnSprintNamed(ObStream* s, int indent, const char* name, const obAsnType& value) {
  ObStream text;
  int rc = value.Sprint(&text, indent + 1);
  if (!s) return rc;
  const char* body = text.c_str();
  const char* eol = std::strchr(body, '\n');
  if (rc < 0) {
    s->Printf("%s%s: (cannot print)\n", obAsnIndent(indent), name);
  } else if (eol && eol[1] == '\0') {
    s->Printf("%s%s: %s", obAsnIndent(indent), name, body + std::strspn(body, " "));
  } else {
    s->Printf("%s%s:\n", obAsnIndent(indent), name);
    s->Puts(body);
  }
  return rc;
}

int obAsnSprintChoice(ObStream* s, int indent, const char* name, const obAsnType* value) {
  if (value) return obAsnSprintNamed(s, indent, name, *value);
  if (s) s->Printf("%s(no alternative)\n", obAsnIndent(indent));
  return 0;
}

obAsnFieldPrinter::obAsnFieldPrinter(ObStream* s, int indent, const char* typeName) : s_(s), indent_(indent) {
  if (s_) s_->Printf("%s%s\n", obAsnIndent(indent), typeName);
}

void obAsnFieldPrinter::Field(const char* name, const obAsnType& value) {
  if (obAsnSprintNamed(s_, indent_ + 1, name, value) < 0) rc_ = -1;
}

void obAsnFieldPrinter::Element(const obAsnType& value) {
  if (value.Sprint(s_, indent_ + 1) < 0) rc_ = -1;
}
