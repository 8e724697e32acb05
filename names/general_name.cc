#include "nycert/names/general_name.h"

#include <cstring>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/names/dn_keywords_internal.h"
#include "nycert/names/dn_value_internal.h"
#include "nycert/names/ip_text_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

namespace {

const char* const kKindNames[] = {"otherName",    "rfc822Name",   "dNSName",
                                  "x400Address",  "directoryName", "ediPartyName",
                                  "uniformResourceIdentifier",    "iPAddress",     "registeredID"};

bool IsTextKind(int kind) {
  return kind == obGN_rfc822Name || kind == obGN_dNSName || kind == obGN_uniformResourceIdentifier;
}

// The IA5String alternative of a text kind, or null.
const obAsnIA5String* TextOf(const obASN_GeneralName& asn) {
  switch (asn.choiceId) {
    case obASN_GeneralName::rfc822NameCid:
      return asn.rfc822Name.get();
    case obASN_GeneralName::dNSNameCid:
      return asn.dNSName.get();
    case obASN_GeneralName::uniformResourceIdentifierCid:
      return asn.uniformResourceIdentifier.get();
    default:
      return nullptr;
  }
}

obAsnIA5String& SelectText(obASN_GeneralName& out, obGNtype kind) {
  if (kind == obGN_rfc822Name) return out.Select_rfc822Name();
  if (kind == obGN_dNSName) return out.Select_dNSName();
  return out.Select_uniformResourceIdentifier();
}

// Whether a kind is kept only as its encoding, and the generated value holds it.
bool HasKeptValue(const obASN_GeneralName& asn) {
  switch (asn.choiceId) {
    case obASN_GeneralName::x400AddressCid:
      return asn.x400Address.get() != nullptr;
    case obASN_GeneralName::ediPartyNameCid:
      return asn.ediPartyName.get() != nullptr;
    case obASN_GeneralName::registeredIDCid:
      return asn.registeredID.get() != nullptr;
    default:
      return false;
  }
}

int Encode(const obAsnType& value, obAsnBytes& out) {
  nyBinBuf der;
  if (obAsnEncode(value, der) < 0) return -1;
  out.Assign(der.Data(), der.Len());
  return 0;
}

// Universal string types whose content octets are their characters:
// UTF8String, NumericString, PrintableString, TeletexString, IA5String, VisibleString.
bool IsCharacterString(obAsnTag tag) {
  return tag == 0x0C || tag == 0x12 || tag == 0x13 || tag == 0x14 || tag == 0x16 || tag == 0x1A;
}

// The text of an other name's value: the characters of a string type, else
// "#" and the hex octets of the whole encoding.
std::string ValueText(const obAsnBytes& encoding) {
  obAsnReadBuf b(encoding.data(), encoding.size());
  unsigned long used = 0;
  obAsnTag tag = BDecTag(b, used);
  obAsnLen len = tag == kAsnBadTag ? kAsnLenError : BDecLen(b, used);
  if (IsCharacterString(tag) && len >= 0 && static_cast<unsigned long>(len) == b.Remaining())
    return std::string(reinterpret_cast<const char*>(b.Cur()), static_cast<size_t>(len));
  obDNValue hex;
  hex.data = encoding.data();
  hex.size = encoding.size();
  hex.binary = true;
  std::string text;
  obDNValueAppend(text, hex, false);
  return text;
}

// "<type keyword or OID. form>: <value>"; an absent type prints as an empty keyword.
std::string OtherNameText(const obAsnOid* type, const std::string& value) {
  const char* keyword = type ? obDNTypeText(*type) : nullptr;
  return std::string(keyword ? keyword : "") + ": " + value;
}

}  // namespace

obGeneralName_imp::obGeneralName_imp() = default;

obGeneralName_imp::obGeneralName_imp(obGNtype kind, const char* text, int len) {
  if (!IsTextKind(kind)) {
    OB_HERROR("obGeneralName_imp: kind %d is not a text name", static_cast<int>(kind));
    return;
  }
  kind_ = kind;
  if (text && len > 0) text_.assign(text, static_cast<size_t>(len));
}

obGeneralName_imp::obGeneralName_imp(const obAsnOid& type, const char* text, int len) {
  SetOtherType(type);
  if (text && len > 0) text_.assign(text, static_cast<size_t>(len));
}

obGeneralName_imp::obGeneralName_imp(const obDN& dn) : kind_(obGN_directoryName), dn_(new obDN(dn)) {}

obGeneralName_imp::obGeneralName_imp(unsigned int ipv4) : kind_(obGN_iPAddress), ipLen_(4) {
  std::memcpy(ip_, &ipv4, 4);
}

obGeneralName_imp::obGeneralName_imp(const unsigned char* address, int len) {
  if (!address || len < 0 || FromIP(address, static_cast<unsigned long>(len)) < 0) Clear();
}

obGeneralName_imp::obGeneralName_imp(const obASN_GeneralName& asn) { FromAsn(asn); }

obGeneralName_imp::obGeneralName_imp(const obGeneralName_imp& other) { *this = other; }

obGeneralName_imp& obGeneralName_imp::operator=(const obGeneralName_imp& other) {
  if (this == &other) return *this;
  kind_ = other.kind_;
  dn_.reset(other.dn_ ? new obDN(*other.dn_) : nullptr);
  std::memcpy(ip_, other.ip_, sizeof ip_);
  ipLen_ = other.ipLen_;
  text_ = other.text_;
  ownedType_.reset(other.ownedType_ ? new obAsnOid(*other.ownedType_) : nullptr);
  otherType_ = other.ownedType_ ? ownedType_.get() : other.otherType_;
  raw_ = other.raw_;
  strMade_ = false;
  return *this;
}

obGeneralName_imp::~obGeneralName_imp() = default;

void obGeneralName_imp::Clear() {
  kind_ = obGN_otherName;
  dn_.reset();
  ipLen_ = 0;
  text_.clear();
  otherType_ = nullptr;
  ownedType_.reset();
  raw_.Clear();
  strMade_ = false;
}

void obGeneralName_imp::SetOtherType(const obAsnOid& type) {
  const obDNKeyword* known = obDNKeywordByType(type);
  ownedType_.reset(known ? nullptr : new obAsnOid(type));
  otherType_ = known ? known->type : ownedType_.get();
}

int obGeneralName_imp::FromIP(const unsigned char* octets, unsigned long len) {
  if (len > sizeof ip_ || !obIPLengthOk(static_cast<int>(len))) {
    OB_HERROR("obGeneralName_imp: unsupported iPAddress length %lu", len);
    return -1;
  }
  kind_ = obGN_iPAddress;
  std::memcpy(ip_, octets, len);
  ipLen_ = static_cast<int>(len);
  return 0;
}

//   AnotherName ::= SEQUENCE { type-id OBJECT IDENTIFIER, value [0] EXPLICIT ANY DEFINED BY type-id }
int obGeneralName_imp::FromAnotherName(const obASN_AnotherName& other) {
  if (other.value.Value()) {
    if (Encode(*other.value.Value(), raw_) < 0) return -1;
  } else {
    raw_.Assign(other.value.Raw().data(), other.value.Raw().size());
  }
  SetOtherType(other.type_id);
  text_ = ValueText(raw_);
  return 0;
}

int obGeneralName_imp::FromAsn(const obASN_GeneralName& asn) {
  Clear();
  int rc = -1;
  if (asn.choiceId == obASN_GeneralName::otherNameCid && asn.otherName) {
    rc = FromAnotherName(*asn.otherName);
  } else if (const obAsnIA5String* text = TextOf(asn)) {
    text_ = text->str();
    rc = 0;
  } else if (asn.choiceId == obASN_GeneralName::directoryNameCid && asn.directoryName &&
             asn.directoryName->rdnSequence) {
    dn_.reset(new obDN(*asn.directoryName->rdnSequence));
    rc = 0;
  } else if (asn.choiceId == obASN_GeneralName::iPAddressCid && asn.iPAddress) {
    rc = FromIP(asn.iPAddress->data(), asn.iPAddress->size());
  } else if (HasKeptValue(asn)) {
    rc = Encode(asn, raw_);
  }
  if (rc < 0) {
    OB_HERROR("obGeneralName_imp::FromAsn: cannot convert GeneralName choice %d", static_cast<int>(asn.choiceId));
    Clear();
    return -1;
  }
  kind_ = static_cast<obGNtype>(asn.choiceId);
  return 0;
}

int obGeneralName_imp::ToAnotherName(obASN_AnotherName& out) const {
  if (!otherType_) {
    OB_HERROR("obGeneralName_imp::ToAsn: other name without a type");
    return -1;
  }
  out.type_id = *otherType_;
  if (!raw_.empty()) {
    out.value.SetValue(new obAsnRawAny(raw_.data(), raw_.size()));
  } else {
    out.value.SetValue(new obAsnUTF8String(reinterpret_cast<const unsigned char*>(text_.data()), text_.size()));
  }
  return 0;
}

int obGeneralName_imp::ToAsn(obASN_GeneralName& out) const {
  switch (kind_) {
    case obGN_otherName:
      return ToAnotherName(out.Select_otherName());
    case obGN_rfc822Name:
    case obGN_dNSName:
    case obGN_uniformResourceIdentifier:
      SelectText(out, kind_) = obAsnIA5String(reinterpret_cast<const unsigned char*>(text_.data()), text_.size());
      return 0;
    case obGN_directoryName:
      if (!dn_->GetName()) break;
      out.Select_directoryName().Select_rdnSequence() = *dn_->GetName();
      return 0;
    case obGN_iPAddress:
      out.Select_iPAddress().Set(ip_, static_cast<unsigned long>(ipLen_));
      return 0;
    default:
      if (obAsnDecode(out, raw_.data(), raw_.size()) == 0) return 0;
  }
  OB_HERROR("obGeneralName_imp::ToAsn: cannot convert a name of kind %d", static_cast<int>(kind_));
  return -1;
}

const char* obGeneralName_imp::GetStr() const {
  switch (kind_) {
    case obGN_otherName:
    case obGN_iPAddress:
      if (!strMade_) {
        str_ = kind_ == obGN_iPAddress ? obIPText(ip_, ipLen_) : OtherNameText(otherType_, text_);
        strMade_ = true;
      }
      return str_.c_str();
    case obGN_rfc822Name:
    case obGN_dNSName:
    case obGN_uniformResourceIdentifier:
      return text_.c_str();
    case obGN_directoryName: {
      const char* str = dn_->GetStr();
      return str ? str : "";
    }
    default:
      return "";
  }
}

unsigned int obGeneralName_imp::GetIP() const {
  unsigned int ipv4 = 0;
  if (kind_ == obGN_iPAddress && ipLen_ == 4) std::memcpy(&ipv4, ip_, 4);
  return ipv4;
}

const unsigned char* obGeneralName_imp::GetIPAddress(int* len) const {
  bool ip = kind_ == obGN_iPAddress;
  if (len) *len = ip ? ipLen_ : 0;
  return ip ? ip_ : nullptr;
}

int obGeneralName_imp::Equal(const obGeneralName_imp& other) const {
  if (kind_ != other.kind_) return 0;
  switch (kind_) {
    case obGN_otherName:
      return otherType_ == other.otherType_ && text_ == other.text_;
    case obGN_rfc822Name:
    case obGN_dNSName:
    case obGN_uniformResourceIdentifier:
      return text_ == other.text_;
    case obGN_directoryName:
      return dn_->Equal(*other.dn_);
    case obGN_iPAddress:
      return ipLen_ == other.ipLen_ && std::memcmp(ip_, other.ip_, static_cast<size_t>(ipLen_)) == 0;
    default:
      return 0;
  }
}

void obGeneralName_imp::Herror(const char* title) const {
  if (!obDiagOn()) return;
  ObStream text;
  Sprint(&text, title, 0);
  obNameHerror(text);
}

void obGeneralName_imp::Fprint(FILE* f, int indent) const {
  ObStream text;
  Sprint(&text, nullptr, indent);
  obNamePut(f, text);
}

void obGeneralName_imp::Sprint(ObStream* s, const char* title, int indent) const {
  if (!s) return;
  s->Printf("%s%s%s%s: %s\n", obNameTabs(indent).c_str(), title ? title : "", title ? ": " : "", kKindNames[kind_],
            GetStr());
}

obGeneralName::obGeneralName() : imp_(new obGeneralName_imp) {}
obGeneralName::obGeneralName(obGNtype kind, const char* text, int len)
    : imp_(new obGeneralName_imp(kind, text, len)) {}
obGeneralName::obGeneralName(const obAsnOid& type, const char* text, int len)
    : imp_(new obGeneralName_imp(type, text, len)) {}
obGeneralName::obGeneralName(const obDN& dn) : imp_(new obGeneralName_imp(dn)) {}
obGeneralName::obGeneralName(unsigned int ipv4) : imp_(new obGeneralName_imp(ipv4)) {}
obGeneralName::obGeneralName(const unsigned char* address, int len) : imp_(new obGeneralName_imp(address, len)) {}
obGeneralName::obGeneralName(const obASN_GeneralName& asn) : imp_(new obGeneralName_imp(asn)) {}
obGeneralName::obGeneralName(const obGeneralName& other) : imp_(new obGeneralName_imp(*other.imp_)) {}
obGeneralName& obGeneralName::operator=(const obGeneralName& other) {
  *imp_ = *other.imp_;
  return *this;
}
obGeneralName::~obGeneralName() { delete imp_; }

int obGeneralName::FromAsn(const obASN_GeneralName& asn) { return imp_->FromAsn(asn); }
int obGeneralName::ToAsn(obASN_GeneralName& out) const { return imp_->ToAsn(out); }
obGNtype obGeneralName::GetType() const { return imp_->GetType(); }
const char* obGeneralName::GetStr() const { return imp_->GetStr(); }
const obDN* obGeneralName::GetDN() const { return imp_->GetDN(); }
unsigned int obGeneralName::GetIP() const { return imp_->GetIP(); }
const unsigned char* obGeneralName::GetIPAddress(int* len) const { return imp_->GetIPAddress(len); }
const obAsnOid* obGeneralName::GetOtherOid() const { return imp_->GetOtherOid(); }
int obGeneralName::Equal(const obGeneralName& other) const { return imp_->Equal(*other.imp_); }
bool obGeneralName::operator==(const obGeneralName& other) const { return *imp_ == *other.imp_; }
bool obGeneralName::operator!=(const obGeneralName& other) const { return *imp_ != *other.imp_; }
void obGeneralName::Herror(const char* title) const { imp_->Herror(title); }
void obGeneralName::Fprint(FILE* f, int indent) const { imp_->Fprint(f, indent); }
void obGeneralName::Sprint(ObStream* s, const char* title, int indent) const { imp_->Sprint(s, title, indent); }
