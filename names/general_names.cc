#include "nycert/names/general_names.h"

#include <memory>

#include "nycert/buffers/diag.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

obGeneralNames_imp::obGeneralNames_imp() = default;

obGeneralNames_imp::obGeneralNames_imp(const obASN_GeneralNames& asn) {
  for (const obASN_GeneralName& member : asn.items) {
    std::unique_ptr<obGeneralName> name(new obGeneralName);
    if (name->FromAsn(member) == 0) names_.push_back(name.release());
  }
}

obGeneralNames_imp::obGeneralNames_imp(const obGeneralNames_imp& other) { *this = other; }

obGeneralNames_imp& obGeneralNames_imp::operator=(const obGeneralNames_imp& other) {
  if (this == &other) return *this;
  Release();
  for (const obGeneralName* name : other.names_) names_.push_back(name ? new obGeneralName(*name) : nullptr);
  return *this;
}

obGeneralNames_imp::~obGeneralNames_imp() { Release(); }

void obGeneralNames_imp::Release() {
  for (obGeneralName* name : names_) delete name;
  names_.clear();
}

int obGeneralNames_imp::Add(obGeneralName* name) {
  if (!name) {
    OB_HERROR("obGeneralNames_imp::Add: no name");
    return -1;
  }
  names_.push_back(name);
  return 0;
}

int obGeneralNames_imp::Add_IfNotExist(obGeneralName* name) {
  if (!name) return Add(name);
  if (Match(name)) {
    delete name;
    return 0;
  }
  names_.push_back(name);
  return 1;
}

int obGeneralNames_imp::Add_IfNotExist(const obGeneralName& name) {
  if (Match(&name)) return 0;
  names_.push_back(new obGeneralName(name));
  return 1;
}

obGeneralName* obGeneralNames_imp::Get(int index) const {
  return index >= 0 && index < Count() ? names_[static_cast<size_t>(index)] : nullptr;
}

int obGeneralNames_imp::Set(int index, obGeneralName* name) {
  if (index < 0 || index >= Count()) {
    OB_HERROR("obGeneralNames_imp::Set: index %d out of range (count %d)", index, Count());
    return -1;
  }
  obGeneralName*& slot = names_[static_cast<size_t>(index)];
  if (slot != name) delete slot;
  slot = name;
  return 0;
}

obGeneralName* obGeneralNames_imp::GetFirstOfType(obGNtype kind, const obAsnOid* otherType) const {
  if (kind == obGN_otherName && !otherType) return nullptr;
  for (obGeneralName* name : names_) {
    if (!name || name->GetType() != kind) continue;
    if (kind != obGN_otherName) return name;
    const obAsnOid* type = name->GetOtherOid();
    if (type && type->Equal(*otherType)) return name;
  }
  return nullptr;
}

int obGeneralNames_imp::Match(const obGeneralName* name) const {
  if (!name) return 0;
  for (const obGeneralName* member : names_)
    if (member && member->Equal(*name)) return 1;
  return 0;
}

int obGeneralNames_imp::Match(const obGeneralNames_imp& other) const {
  if (other.names_.empty()) return 0;
  for (const obGeneralName* member : names_)
    if (member && other.Match(member)) return 1;
  return 0;
}

int obGeneralNames_imp::ToAsn(obASN_GeneralNames& out) const {
  out.items.clear();
  for (const obGeneralName* name : names_) {
    if (name && name->ToAsn(out.Append()) < 0) {
      OB_HERROR("obGeneralNames_imp::ToAsn: a member cannot be converted");
      return -1;
    }
  }
  return 0;
}

int obGeneralNames_imp::DerEncode(unsigned char** out, int* len) const {
  obASN_GeneralNames asn;
  if (ToAsn(asn) < 0) return -1;
  return obNameEncode("obGeneralNames_imp::DerEncode", asn, out, len);
}

void obGeneralNames_imp::Herror(const char* title) const {
  if (!obDiagOn()) return;
  ObStream text;
  Sprint(&text, title, 0);
  obNameHerror(text);
}

void obGeneralNames_imp::Fprint(FILE* f, int indent) const {
  ObStream text;
  Sprint(&text, nullptr, indent);
  obNamePut(f, text);
}

void obGeneralNames_imp::Sprint(ObStream* s, const char* title, int indent) const {
  if (!s) return;
  if (title) s->Printf("%s%s:\n", obNameTabs(indent).c_str(), title);
  for (const obGeneralName* name : names_) {
    if (name) name->Sprint(s, nullptr, indent + 1);
  }
}

obGeneralNames::obGeneralNames() : imp_(new obGeneralNames_imp) {}
obGeneralNames::obGeneralNames(const obASN_GeneralNames& asn) : imp_(new obGeneralNames_imp(asn)) {}
obGeneralNames::obGeneralNames(const obGeneralNames& other) : imp_(new obGeneralNames_imp(*other.imp_)) {}
obGeneralNames& obGeneralNames::operator=(const obGeneralNames& other) {
  *imp_ = *other.imp_;
  return *this;
}
obGeneralNames::~obGeneralNames() { delete imp_; }

int obGeneralNames::Add(obGeneralName* name) { return imp_->Add(name); }
int obGeneralNames::Add_IfNotExist(obGeneralName* name) { return imp_->Add_IfNotExist(name); }
int obGeneralNames::Add_IfNotExist(const obGeneralName& name) { return imp_->Add_IfNotExist(name); }
int obGeneralNames::Count() const { return imp_->Count(); }
obGeneralName* obGeneralNames::Get(int index) const { return imp_->Get(index); }
int obGeneralNames::Set(int index, obGeneralName* name) { return imp_->Set(index, name); }
obGeneralName* obGeneralNames::GetFirstOfType(obGNtype kind, const obAsnOid* otherType) const {
  return imp_->GetFirstOfType(kind, otherType);
}
int obGeneralNames::Match(const obGeneralName* name) const { return imp_->Match(name); }
int obGeneralNames::Match(const obGeneralNames& other) const { return imp_->Match(*other.imp_); }
int obGeneralNames::ToAsn(obASN_GeneralNames& out) const { return imp_->ToAsn(out); }
int obGeneralNames::DerEncode(unsigned char** out, int* len) const { return imp_->DerEncode(out, len); }
void obGeneralNames::Herror(const char* title) const { imp_->Herror(title); }
void obGeneralNames::Fprint(FILE* f, int indent) const { imp_->Fprint(f, indent); }
void obGeneralNames::Sprint(ObStream* s, const char* title, int indent) const { imp_->Sprint(s, title, indent); }
