#include "nycert/names/obdn.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/names/dn_parse_internal.h"
#include "nycert/names/name_der_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/names/rdn_sequence_internal.h"
#include "nycert/platform/obstream.h"

namespace {

std::atomic<unsigned long> g_treesDecoded{0};

}  // namespace

obDN_imp::obDN_imp() = default;

obDN_imp::obDN_imp(const char* text) { Set(text); }

obDN_imp::obDN_imp(const unsigned char* der, int len) { Decode(der, len); }

obDN_imp::obDN_imp(const obASN_RDNSequence& name) { Set(name); }

obDN_imp::obDN_imp(const obDN_imp& other) { *this = other; }

obDN_imp& obDN_imp::operator=(const obDN_imp& other) {
  if (this == &other) return *this;
  const obASN_RDNSequence* tree = other.der_.empty() ? other.Tree() : nullptr;
  Reset(tree ? tree->Copy() : nullptr);
  der_ = other.der_;
  derCount_ = other.derCount_;
  return *this;
}

obDN_imp::~obDN_imp() = default;

unsigned long obDN_imp::TreesDecoded() { return g_treesDecoded.load(std::memory_order_relaxed); }

const obASN_RDNSequence* obDN_imp::Tree() const {
  obASN_RDNSequence* tree = name_.Peek();
  if (tree || der_.empty()) return tree;
  std::unique_ptr<obASN_RDNSequence> decoded(new obASN_RDNSequence);
  // der_ passed obNameDerCount, which accepts only what this decodes.
  if (obAsnDecode(*decoded, der_.data(), der_.size()) < 0) return nullptr;
  g_treesDecoded.fetch_add(1, std::memory_order_relaxed);
  return name_.Publish(std::move(decoded));
}

obASN_RDNSequence* obDN_imp::EditableTree() {
  Tree();
  return name_.Peek();
}

void obDN_imp::Reset(obASN_RDNSequence* tree) {
  name_.Reset(tree);
  Edited();
}

void obDN_imp::Edited() {
  str_.Reset();
  der_.Clear();
  derCount_ = 0;
}

int obDN_imp::Count() const {
  if (!der_.empty()) return derCount_;
  const obASN_RDNSequence* tree = Tree();
  return tree ? static_cast<int>(tree->size()) : 0;
}

int obDN_imp::Set(const char* text) {
  Reset(nullptr);
  if (!text) {
    OB_HERROR("obDN_imp::Set: no string");
    return -1;
  }
  std::unique_ptr<obASN_RDNSequence> parsed(new obASN_RDNSequence);
  if (obDNParse(text, *parsed) < 0) return -1;
  Reset(parsed.release());
  return 0;
}

int obDN_imp::Set(const obASN_RDNSequence& name) {
  Reset(name.Copy());
  return 0;
}

//   Name ::= CHOICE { rdnSequence RDNSequence }
// The only alternative has no tag of its own, so a Name is its RDNSequence.
int obDN_imp::Decode(const unsigned char* der, int len) {
  Reset(nullptr);
  int count = len < 0 ? -1 : obNameDerCount(der, static_cast<size_t>(len));
  if (count < 0) {
    OB_HERROR("obDN_imp::Decode: failed to decode the name");
    return -1;
  }
  der_.Assign(der, static_cast<unsigned long>(len));
  derCount_ = count;
  return 0;
}

const char* obDN_imp::GetStr() const {
  if (const std::string* printed = str_.Peek()) return printed->c_str();
  const obASN_RDNSequence* tree = Tree();
  if (!tree) return nullptr;
  std::unique_ptr<std::string> printed(new std::string);
  if (obRdnSequencePrint(*tree, *printed) < 0) return nullptr;
  return str_.Publish(std::move(printed))->c_str();
}

int obDN_imp::DerEncode(unsigned char** out, int* len) const {
  if (!der_.empty()) return obNameHandOut("obDN_imp::DerEncode", der_.data(), der_.size(), out, len);
  const obASN_RDNSequence* tree = Tree();
  if (!tree) {
    OB_HERROR("obDN_imp::DerEncode: no name");
    return -1;
  }
  return obNameEncode("obDN_imp::DerEncode", *tree, out, len);
}

int obDN_imp::GetRDN(const obAsnOid& type, char* dst, int size) const {
  const obASN_RDNSequence* tree = Tree();
  const obASN_AttributeTypeAndValue* found = tree ? obRdnSequenceFind(*tree, type) : nullptr;
  std::string text;
  if (!found || obAttributeValuePrint(*found, text) < 0) {
    if (dst && size > 0) dst[0] = '\0';
    return -1;
  }
  return obNameCopyOut("obDN_imp::GetRDN", text, dst, size);
}

int obDN_imp::GetCN(char* dst, int size) const { return GetRDN(obASN_id_at_commonName, dst, size); }

int obDN_imp::GetO(char* dst, int size) const { return GetRDN(obASN_id_at_organizationName, dst, size); }

int obDN_imp::GetOU(char* dst, int size) const { return GetRDN(obASN_id_at_organizationalUnitName, dst, size); }

int obDN_imp::IsSub(const obDN_imp& other) const {
  const obASN_RDNSequence* mine = Tree();
  const obASN_RDNSequence* theirs = other.Tree();
  return mine && theirs && obRdnSequenceIsSub(*mine, *theirs) ? 1 : 0;
}

int obDN_imp::Equal(const obDN_imp& other) const {
  if (!der_.empty() && der_ == other.der_) return 1;
  return Count() == other.Count() ? IsSub(other) : 0;
}

int obDN_imp::IsContain(const obAsnOid& type) const {
  const obASN_RDNSequence* tree = Tree();
  if (!tree) return -1;
  for (const obASN_RelativeDistinguishedName& rdn : tree->items)
    if (obRdnHolds(rdn, type)) return 0;
  return -1;
}

int obDN_imp::RemoveCN() {
  obASN_RDNSequence* tree = EditableTree();
  if (!tree || tree->empty() || !obRdnHolds(tree->items.back(), obASN_id_at_commonName)) return 0;
  tree->items.pop_back();
  Edited();
  return 1;
}

int obDN_imp::RemoveOid(const obAsnOid& type) {
  obASN_RDNSequence* tree = EditableTree();
  if (!tree) return 0;
  int removed = 0;
  for (obASN_RelativeDistinguishedName& rdn : tree->items) {
    auto gone = std::remove_if(rdn.items.begin(), rdn.items.end(),
                               [&type](const obASN_AttributeTypeAndValue& a) { return a.type.Equal(type) != 0; });
    removed += static_cast<int>(rdn.items.end() - gone);
    rdn.items.erase(gone, rdn.items.end());
  }
  auto& rdns = tree->items;
  rdns.erase(std::remove_if(rdns.begin(), rdns.end(), [](const obASN_RelativeDistinguishedName& r) { return r.empty(); }),
             rdns.end());
  if (removed) Edited();
  return removed;
}

int obDN_imp::RemoveSubDN(const obDN_imp& sub) {
  int count = sub.Count();
  if (!IsSub(sub) || count == 0) return 0;
  auto& rdns = EditableTree()->items;
  rdns.erase(rdns.begin(), rdns.begin() + count);
  Edited();
  return 1;
}

void obDN_imp::Herror(const char* title) const {
  if (!obDiagOn()) return;
  ObStream text;
  Sprint(&text, title, 0);
  obNameHerror(text);
}

void obDN_imp::Fprint(FILE* f, int indent) const {
  ObStream text;
  Sprint(&text, nullptr, indent);
  obNamePut(f, text);
}

void obDN_imp::Sprint(ObStream* s, const char* title, int indent) const {
  if (!s) return;
  const char* str = GetStr();
  s->Printf("%s%s%s%s\n", obNameTabs(indent).c_str(), title ? title : "", title ? ": " : "", str ? str : "<none>");
}

obDN::obDN() : imp_(new obDN_imp) {}
obDN::obDN(const char* text) : imp_(new obDN_imp(text)) {}
obDN::obDN(const unsigned char* der, int len) : imp_(new obDN_imp(der, len)) {}
obDN::obDN(const obASN_RDNSequence& name) : imp_(new obDN_imp(name)) {}
obDN::obDN(const obDN& other) : imp_(new obDN_imp(*other.imp_)) {}
obDN& obDN::operator=(const obDN& other) {
  *imp_ = *other.imp_;
  return *this;
}
obDN::~obDN() { delete imp_; }

int obDN::Count() const { return imp_->Count(); }
int obDN::Set(const char* text) { return imp_->Set(text); }
int obDN::Set(const obASN_RDNSequence& name) { return imp_->Set(name); }
int obDN::Decode(const unsigned char* der, int len) { return imp_->Decode(der, len); }
const char* obDN::GetStr() const { return imp_->GetStr(); }
const obASN_RDNSequence* obDN::GetName() const { return imp_->GetName(); }
int obDN::DerEncode(unsigned char** out, int* len) const { return imp_->DerEncode(out, len); }
int obDN::GetRDN(const obAsnOid& type, char* dst, int size) const { return imp_->GetRDN(type, dst, size); }
int obDN::GetCN(char* dst, int size) const { return imp_->GetCN(dst, size); }
int obDN::GetO(char* dst, int size) const { return imp_->GetO(dst, size); }
int obDN::GetOU(char* dst, int size) const { return imp_->GetOU(dst, size); }
int obDN::IsSub(const obDN& other) const { return imp_->IsSub(*other.imp_); }
int obDN::Equal(const obDN& other) const { return imp_->Equal(*other.imp_); }
bool obDN::operator==(const obDN& other) const { return *imp_ == *other.imp_; }
bool obDN::operator!=(const obDN& other) const { return *imp_ != *other.imp_; }
int obDN::IsContain(const obAsnOid& type) const { return imp_->IsContain(type); }
int obDN::RemoveCN() { return imp_->RemoveCN(); }
int obDN::RemoveOid(const obAsnOid& type) { return imp_->RemoveOid(type); }
int obDN::RemoveSubDN(const obDN& sub) { return imp_->RemoveSubDN(*sub.imp_); }
void obDN::Herror(const char* title) const { imp_->Herror(title); }
void obDN::Fprint(FILE* f, int indent) const { imp_->Fprint(f, indent); }
void obDN::Sprint(ObStream* s, const char* title, int indent) const { imp_->Sprint(s, title, indent); }
