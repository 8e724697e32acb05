#include "nycert/certs/extension.h"

#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/platform/obstream.h"

void obExtension_imp::Herror() const {
  if (!obDiagOn()) return;
  ObStream text;
  Sprint(&text, 0);
  herror_func(0, 0, "%s", text.c_str());
}

void obExtension_imp::Fprint(FILE* f, int indent) const {
  ObStream text;
  Sprint(&text, indent);
  std::fprintf(f ? f : stderr, "%s", text.c_str());
}

const char* obExtension::ExtName() const { return imp_->ExtName(); }
void obExtension::Herror() const { imp_->Herror(); }
void obExtension::Fprint(FILE* f, int indent) const { imp_->Fprint(f, indent); }
void obExtension::Sprint(ObStream* s, int indent) const {
  if (s) imp_->Sprint(s, indent);
}

int obExtension::EncodeValue(obAsnBytes& out) const {
  if (obExtEncode([this](obAsnWriteBuf& b) { return imp_->EncodeValue(b); }, out) == 0) return 0;
  OB_HERROR("obExtension::EncodeValue: cannot encode the %s extension", ExtName());
  return -1;
}
