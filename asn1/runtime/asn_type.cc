#include "nycert/asn1/runtime/asn_type.h"

#include <cstring>

#include "nycert/asn1/runtime/asn_print.h"
#include "nycert/buffers/diag.h"
#include "nycert/platform/obstream.h"

obAsnType::~obAsnType() = default;

const char* obAsnType::TypeName() const { return "obAsnType"; }

obAsnType* obAsnType::IsType(const char* name) {
  return name && std::strcmp(name, TypeName()) == 0 ? this : nullptr;
}

obAsnType* obAsnType::Clone() const { return nullptr; }

obAsnType* obAsnType::Copy() const { return nullptr; }

// The base codecs and printers are what an open type falls back on when it
// was never resolved to a concrete type.
int obAsnType::BDec(obAsnReadBuf&, unsigned long&) {
  OB_HERROR("obAsnType::BDec attempt tp decode improperly formed of Any");
  return -1;
}

int obAsnType::BEnc(obAsnWriteBuf&) const {
  OB_HERROR("obAsnType::BEec attempt tp encode improperly formed of Any");
  return -1;
}

void obAsnType::Herror(int indent) const {
  if (!obDiagOn()) return;
  ObStream s;
  if (Sprint(&s, indent) < 0) {
    herror_func(0, 0, "%sobAsnType::Herror attempt tp print improperly formed of Any", obAsnIndent(indent));
    return;
  }
  obAsnHerrorLines(s.c_str());
}

void obAsnType::Print(FILE* f, int indent) const {
  if (!f) f = stdout;
  ObStream s;
  if (Sprint(&s, indent) < 0) {
    std::fprintf(f, "obAsnType::Print attempt tp print improperly formed of Any\n ");
    return;
  }
  std::fputs(s.c_str(), f);
}

int obAsnType::Sprint(ObStream*, int) const { return -1; }
