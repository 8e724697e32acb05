// The printed forms of CRLs and CRL lists.
#include <string>

#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_imp_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/hash_table.h"
#include "nycert/platform/obstream.h"

namespace {

// "Certificate #<serial>" and "\tRevoked at <time>" for each entry of the
// table; a CRL that lists nothing has no table.
void SprintEntries(ObStream* s, const std::string& tabs, const HashTable* table) {
  if (!table) {
    s->Printf("%sNo revoked certificates\n", tabs.c_str());
    return;
  }
  for (size_t i = 0; i < hash_count(table); ++i) {
    void* value = nullptr;
    hash_entry_at(table, i, nullptr, nullptr, &value);
    const obCRLEntry* entry = static_cast<const obCRLEntry*>(value);
    long when = 0;
    std::string date = entry->RevocationDate(&when) == 0 ? obLocalTimeText(when) : "?";
    s->Printf("%sCertificate #%s\n", tabs.c_str(), obIntegerText(entry->Serial()).c_str());
    s->Printf("%s\tRevoked at %s Local Time\n", tabs.c_str(), date.c_str());
  }
}

}  // namespace

void obCRL::Sprint(ObStream* s, obCertHerrorDetails details, int indent) const {
  if (!s) return;
  std::string tabs = obNameTabs(indent);
  const char* t = tabs.c_str();
  if (!OK()) {
    s->Printf("%sError: %s\n", t, Error().getstr() ? Error().getstr() : "");
    return;
  }
  if (details > obCertHerror_Names && UnhandledCritExt())
    s->Printf("%sUnhandled critical extension %s\n", t, UnhandledCritExt()->Dotted().getstr());
  obSprintNameLine(s, tabs, "Issuer: ", Issuer());
  if (details > obCertHerror_Names) {
    s->Printf("%sThis update: %s Local Time\n", t, obLocalTimeText(thisUpdate()).c_str());
    if (imp_->fields.hasNextUpdate)
      s->Printf("%sNext update: %s Local Time\n", t, obLocalTimeText(nextUpdate()).c_str());
    imp_->extensions.Sprint(s, indent);
  }
  if (details == obCertHerror_All) SprintEntries(s, tabs, imp_->table);
}

void obCRL::Fprint(FILE* f, obCertHerrorDetails details, int indent) const {
  obFprintText(f, [&](ObStream* s) { Sprint(s, details, indent); });
}

void obCRL::Herror(obCertHerrorDetails details) const {
  obHerrorText([&](ObStream* s) { Sprint(s, details, 0); });
}

void obCRLs::Sprint(ObStream* s, const char* title, obCertHerrorDetails details, int indent) const {
  obSprintSignedList(s, *this, title, "CRLs", details, indent);
}

void obCRLs::Fprint(FILE* f, const char* title, obCertHerrorDetails details, int indent) const {
  obFprintText(f, [&](ObStream* s) { Sprint(s, title, details, indent); });
}

void obCRLs::Herror(const char* title, obCertHerrorDetails details) const {
  obHerrorText([&](ObStream* s) { Sprint(s, title, details, 0); });
}
