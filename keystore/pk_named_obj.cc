#include "nycert/keystore/pk_named_obj.h"

#include "nycert/certs/print_text_internal.h"
#include "nycert/platform/obstream.h"

obPKNamedObj_imp::obPKNamedObj_imp(const char* name, int purpose, const unsigned char* id, int idLen)
    : purpose_(purpose) {
  if (name) name_.emplace(name);
  if (id && idLen > 0) id_.assign(id, id + idLen);
}

obPKNamedObj_imp::~obPKNamedObj_imp() = default;

obDN* obPKNamedObj_imp::DN() const { return nullptr; }

void obPKNamedObj_imp::SprintHeader(ObStream* s, const char* kind, int indent) const {
  std::string tabs = obNameTabs(indent);
  s->Printf("%s%s \"%s\": purpose 0x%x", tabs.c_str(), kind, Name() ? Name() : "<no name>",
            static_cast<unsigned>(purpose_));
  if (!id_.empty()) {
    s->Puts(", id ");
    for (unsigned char octet : id_) s->Printf("%02X", octet);
  }
  s->Puts("\n");
  obSprintNameLine(s, tabs + "\t", "DN: ", DN());
}

void obPKNamedObj_imp::Sprint(ObStream* s, int indent) const { SprintHeader(s, "named object", indent); }

obPKNamedObj::obPKNamedObj(const char* name, int purpose, const unsigned char* id, int idLen)
    : obPKNamedObj(new obPKNamedObj_imp(name, purpose, id, idLen)) {}

obPKNamedObj::~obPKNamedObj() = default;

void obPKNamedObj::Herror() const {
  obHerrorText([&](ObStream* s) { Sprint(s, 0); });
}
