#include "nycert/certs/extensions_list.h"

#include <memory>

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_octs.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/authority_info_access.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/ext_key_id.h"
#include "nycert/certs/ext_key_usage.h"
#include "nycert/certs/key_usage.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

namespace {

const obExtHandler* FindHandler(const obExtHandlerTable& table, obDerSpan oid) {
  for (size_t i = 0; i < table.count; ++i) {
    if (obExtIsOid(oid, *table.rows[i].oid)) return &table.rows[i];
  }
  return nullptr;
}

constexpr obAsnTag kDerOctetStringCons = obAsnMakeTag(kAsnUniversal, kAsnConstructed, kAsnOctetStringTag);

// An extnValue sent in the constructed BER form: its segments joined into
// joined, which value then spans.
bool TakeSegmentedValue(obExtFields& fields, obDerSpan& value, obAsnBytes& joined) {
  obDerSpan content;
  if (!fields.Take(kDerOctetStringCons, content)) return false;
  obAsnReadBuf b(content.data, content.size);
  unsigned long used = 0;
  if (obAsnDecodeOctsContent(b, kDerOctetStringCons, static_cast<obAsnLen>(content.size), used, joined) < 0)
    return false;
  value = {joined.data(), joined.size()};
  return true;
}

// One Extension:
//   Extension ::= SEQUENCE { extnID OBJECT IDENTIFIER, critical BOOLEAN DEFAULT FALSE,
//                            extnValue OCTET STRING }
// A critical field written out as FALSE is accepted too. The identifier is
// checked by the caller, which can skip that for the ones it knows.
bool ReadExtension(obDerReader& r, obDerSpan& oid, bool& critical, obDerSpan& value, obAsnBytes& joined) {
  obDerSpan extension, flag;
  if (!r.Read(kDerSequence, extension)) return false;
  obExtFields fields(extension);
  critical = false;
  if (!fields.Take(kDerOid, oid)) return false;
  if (fields.Take(kDerBoolean, flag) && !obDerParseBool(flag, critical)) return false;
  bool taken = fields.Take(kDerOctetString, value) || TakeSegmentedValue(fields, value, joined);
  return taken && fields.Done();
}

}  // namespace

const obExtHandlerTable& obCertExtHandlers() {
  static const obExtHandler kRows[] = {
      {&obASN_id_ce_basicConstraints, obBasicConstraint::Handle},
      {&obASN_id_ce_keyUsage, obKeyUsage::Handle},
      {&obASN_id_ce_cRLDistributionPoints, obExtGN::HandleCRLDistributionPoints},
      {&obASN_id_ce_subjectAltName, obExtGN::HandleSubjectAltName},
      {&obASN_id_ce_extKeyUsage, obExtKeyUsage::Handle},
      {&obASN_id_ce_subjectKeyIdentifier, obExtKeyID::HandleSubjectKeyId},
      {&obASN_id_ce_authorityKeyIdentifier, obExtKeyID::HandleAuthorityKeyId},
      {&obASN_id_pe_authorityInfoAccess, obAuthorityInfoAccess::Handle},
  };
  static const obExtHandlerTable kTable{kRows, sizeof kRows / sizeof kRows[0]};
  return kTable;
}

obExtensionsList::~obExtensionsList() { Clear(); }

int obExtensionsList::Add(const obAsnOid& oid, int critical, obExtension* ext) {
  if (!ext) {
    OB_HERROR("obExtensionsList::Add: no extension");
    return -1;
  }
  entries_.emplace_back();
  Entry& entry = entries_.back();
  entry.own = std::make_unique<obAsnOid>(oid);
  entry.critical = critical ? 1 : 0;
  entry.ext.Reset(ext);
  return 0;
}

obExtension* obExtensionsList::Made(const Entry& entry) {
  if (!entry.make) return entry.ext.Peek();
  return entry.ext.Get([&entry] {
    int accepted = 0;
    return std::unique_ptr<obExtension>(entry.make(entry.value, entry.critical, accepted));
  });
}

obExtension* obExtensionsList::Get(const obAsnOid& oid) const {
  for (const Entry& e : entries_) {
    if (e.Oid() != oid) continue;
    if (obExtension* ext = Made(e)) return ext;
  }
  return nullptr;
}

int obExtensionsList::IsCritical(const obAsnOid& oid) const {
  for (const Entry& e : entries_) {
    if (e.Oid() == oid) return e.critical;
  }
  return 0;
}

obExtension* obExtensionsList::At(int i) const { return i >= 0 && i < Count() ? Made(entries_[i]) : nullptr; }
const obAsnOid* obExtensionsList::OidAt(int i) const { return i >= 0 && i < Count() ? &entries_[i].Oid() : nullptr; }
int obExtensionsList::CriticalAt(int i) const { return i >= 0 && i < Count() ? entries_[i].critical : 0; }

void obExtensionsList::Clear() { entries_.clear(); }

namespace {

// Reads the extensions left in r for their form only.
bool RestIsWellFormed(obDerReader& r) {
  obDerSpan oid, value;
  obAsnBytes joined;
  bool critical = false;
  while (!r.AtEnd()) {
    if (!ReadExtension(r, oid, critical, value, joined) || !obAsnOid::IsValidContent(oid.data, oid.size)) return false;
  }
  return true;
}

}  // namespace

bool obExtListIsWellFormed(obDerSpan extensionsContent) {
  obDerReader r(extensionsContent);
  return RestIsWellFormed(r);
}

int obExtensionsList::Process(obDerSpan extensionsContent, const obExtHandlerTable& table, obAsnOid& unhandled,
                              obExtMaking making) {
  obDerReader r(extensionsContent);
  entries_.reserve(entries_.size() + table.count);
  while (!r.AtEnd()) {
    obDerSpan oid, value;
    obAsnBytes joined;
    bool critical = false;
    const obExtHandler* handler = nullptr;
    if (!ReadExtension(r, oid, critical, value, joined) ||
        (!(handler = FindHandler(table, oid)) && !obAsnOid::IsValidContent(oid.data, oid.size))) {
      OB_HERROR("obExtensionsList::Process: malformed extension after %d handled", Count());
      return -1;
    }
    if (handler && !handler->handle) continue;
    // A critical extension is judged now; a value joined from segments lives only here.
    if (handler && !critical && making == obExtMaking::kOnFirstUse && joined.empty()) {
      entries_.emplace_back();
      Entry& entry = entries_.back();
      entry.known = handler->oid;
      entry.make = handler->handle;
      entry.value = value;
      continue;
    }
    int accepted = 0;
    std::unique_ptr<obExtension> ext(handler ? handler->handle(value, critical, accepted) : nullptr);
    if (critical && (!ext || !accepted)) {
      unhandled.SetContent(oid.data, oid.size);
      // The rest is still read, so a list that is not one fails whatever it holds.
      if (RestIsWellFormed(r)) return 1;
      OB_HERROR("obExtensionsList::Process: malformed extension after an unhandled critical one");
      return -1;
    }
    if (ext) {
      entries_.emplace_back();
      Entry& entry = entries_.back();
      entry.known = handler->oid;
      entry.critical = critical ? 1 : 0;
      entry.ext.Reset(ext.release());
    }
  }
  return 0;
}

int obExtensionsList::Set(const obASN_Extensions& extensions, obAsnOid& unhandled) {
  nyBinBuf der;
  obDerSpan content;
  if (obAsnEncode(extensions, der) < 0 || !obExtReadWhole({der.Data(), der.Len()}, kDerSequence, content)) {
    OB_HERROR("obExtensionsList::Set: cannot encode the extensions");
    return -1;
  }
  return Process(content, obCertExtHandlers(), unhandled);
}

int obExtensionsList::Compose(obASN_Extensions& out) const {
  out.items.clear();
  for (const Entry& e : entries_) {
    const obExtension* ext = Made(e);
    if (!ext) continue;
    obASN_Extension& extension = out.Append();
    obAsnBytes value;
    if (ext->EncodeValue(value) < 0) {
      OB_HERROR("obExtensionsList::Compose: cannot encode the %s extension", ext->ExtName());
      out.items.clear();
      return -1;
    }
    extension.extnID = e.Oid();
    if (e.critical) extension.critical.reset(new obAsnBool(true));
    extension.extnValue.Set(value.data(), value.size());
  }
  return 0;
}

void obExtensionsList::Sprint(ObStream* s, int indent) const {
  if (!s) return;
  std::string tabs = obNameTabs(indent);
  for (const Entry& e : entries_) {
    const obExtension* ext = Made(e);
    if (!ext) continue;
    s->Printf("%s%s%s:\n", tabs.c_str(), ext->ExtName(), e.critical ? " (critical)" : "");
    ext->Sprint(s, indent + 1);
  }
}

void obExtensionsList::Fprint(FILE* f, int indent) const {
  ObStream text;
  Sprint(&text, indent);
  std::fprintf(f ? f : stderr, "%s", text.c_str());
}

void obExtensionsList::Herror() const {
  if (!obDiagOn()) return;
  ObStream text;
  Sprint(&text, 0);
  herror_func(0, 0, "%s", text.c_str());
}

obExtensionsList* obExtensionsList_New() { return new obExtensionsList; }

void obExtensionsList_Delete(obExtensionsList* list) { delete list; }

int obExtensionsList_Add(obExtensionsList* list, obAsnOid* oid, int critical, obExtension* ext) {
  if (!list || !oid) {
    OB_HERROR("obExtensionsList_Add: no list or no identifier");
    delete ext;
    return -1;
  }
  return list->Add(*oid, critical, ext);
}
