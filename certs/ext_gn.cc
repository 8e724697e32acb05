#include "nycert/certs/ext_gn.h"

#include <cstring>
#include <memory>

#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/ext_names_internal.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr obAsnTag kDpName = 0xA0;      // distributionPoint [0], and fullName [0] inside it
constexpr obAsnTag kDpRelative = 0xA1;  // nameRelativeToCRLIssuer [1]
constexpr obAsnTag kDpReasons = 0x81;   // reasons [1]
constexpr obAsnTag kDpIssuer = 0xA2;    // cRLIssuer [2]

// One pass over the distribution points: with report the unsupported parts
// are reported, with out the usable names are collected.
struct DpWalk {
  bool report;
  obGeneralNames* out;
  bool supported;
};

bool HasPrefix(obDerSpan text, const char* prefix) {
  size_t n = std::strlen(prefix);
  return text.size >= n && std::memcmp(text.data, prefix, n) == 0;
}

// Only URIs that a CRL can be fetched from are kept.
void UseDpName(const obDerElement& name, DpWalk& walk) {
  obDerSpan text = name.content;
  bool isUri = name.tag == kGNuri;
  if (isUri && (HasPrefix(text, "http:") || HasPrefix(text, "ldap:"))) {
    if (walk.out) walk.out->Add(obExtMakeGeneralName(name));
    return;
  }
  if (!walk.report) return;
  if (isUri)
    OB_HERROR("handleCRLDistributionPoints: unsupported uri format %.*s", static_cast<int>(text.size),
              reinterpret_cast<const char*>(text.data));
  else
    OB_HERROR("handleCRLDistributionPoints: unsupported name format %d", static_cast<int>(obAsnTagNumber(name.tag)));
}

// The full name of a distribution point: false when the point is
// malformed; usable false when it has options.
bool obParseCRLdp(obDerSpan point, obDerSpan& fullName, bool& usable, DpWalk& walk) {
  obDerSpan name, reasons, issuer, relative;
  obExtFields fields(point);
  bool hasName = fields.Take(kDpName, name);
  bool hasReasons = fields.Take(kDpReasons, reasons);
  bool hasIssuer = fields.Take(kDpIssuer, issuer);
  if (!fields.Done()) return false;
  bool isFullName = hasName && obExtReadWhole(name, kDpName, fullName);
  if (hasName && !isFullName && !obExtReadWhole(name, kDpRelative, relative)) return false;
  usable = isFullName && !hasReasons && !hasIssuer;
  if (!usable) {
    if (walk.report) OB_HERROR("obParseCRLdp: unsuported options");
    walk.supported = false;
  }
  return true;
}

// A usable point's full name holds one or more general names.
bool WalkCRLDistributionPoints(obDerSpan value, DpWalk& walk) {
  obDerSpan content, point, fullName;
  obDerElement name;
  bool usable = false;
  if (!obExtReadWhole(value, kDerSequence, content) || content.empty()) return false;
  obDerReader points(content);
  while (!points.AtEnd()) {
    if (!points.Read(kDerSequence, point) || !obParseCRLdp(point, fullName, usable, walk)) return false;
    if (!usable) continue;
    obDerReader names(fullName);
    do {
      if (!names.Next(name) || !obExtIsGeneralName(name)) return false;
      UseDpName(name, walk);
    } while (!names.AtEnd());
  }
  return true;
}

// The content of a GeneralNames value.
bool GeneralNamesContent(obDerSpan value, obDerSpan& content) {
  return obExtReadWhole(value, kDerSequence, content) && obExtCheckGeneralNames(content);
}

// A distribution point list of one point whose full name is the content of names.
int PutDistributionPoint(obAsnWriteBuf& b, obDerSpan names) {
  int fullName = obExtWrap(b, kDpName, obExtPutRaw(b, names.data, names.size));
  return obExtWrap(b, kDerSequence, obExtWrap(b, kDerSequence, obExtWrap(b, kDpName, fullName)));
}

}  // namespace

obExtGN_imp::obExtGN_imp(obExtGNKind kind, const obGeneralNames& names) : kind_(kind) {
  names_.Set(new obGeneralNames(names));
  unsigned char* der = nullptr;
  int len = 0;
  if (names.DerEncode(&der, &len) < 0) return;
  std::unique_ptr<unsigned char[]> owned(der);
  obDerSpan generalNames{der, static_cast<size_t>(len)}, content;
  obAsnBytes points;
  if (kind_ == obExtGN_SubjectAltName)
    der_.Assign(der, generalNames.size);
  else if (obExtReadWhole(generalNames, kDerSequence, content) &&
           obExtEncode([&](obAsnWriteBuf& b) { return PutDistributionPoint(b, content); }, points) == 0)
    der_.Assign(points.data(), points.size());
}

obExtGN_imp::obExtGN_imp(const obExtGN_imp& other) : obExtension_imp(other), kind_(other.kind_), der_(other.der_) {
  if (const obGeneralNames* names = other.names_.Peek()) names_.Set(new obGeneralNames(*names));
}

const char* obExtGN_imp::ExtName() const {
  return kind_ == obExtGN_SubjectAltName ? "Subject Alternate names" : "CRL distribution Points";
}

void obExtGN_imp::Sprint(ObStream* s, int indent) const {
  const obGeneralNames* names = Names();
  for (int i = 0; i < names->Count(); ++i) {
    if (const obGeneralName* name = names->Get(i)) name->Sprint(s, nullptr, indent);
  }
}

int obExtGN_imp::EncodeValue(obAsnWriteBuf& b) const { return obExtPutRaw(b, der_.data(), der_.size()); }

obGeneralNames* obExtGN_imp::Names() const {
  return names_.Get([this](obGeneralNames& out) {
    obDerSpan value{der_.data(), der_.size()}, content;
    if (kind_ == obExtGN_CRLDistributionPoints) {
      DpWalk walk{false, &out, true};
      WalkCRLDistributionPoints(value, walk);
    } else if (GeneralNamesContent(value, content)) {
      obExtAddGeneralNames(content, out);
    }
  });
}

obASN_GeneralNames obExtGN_imp::AsnNames() const { return obExtAsnNames(Names(), "obExtGN_imp::AsnNames"); }

obExtGN::obExtGN(const obGeneralNames& names, obExtGNKind kind) : obExtension(data_), data_(kind, names) {}
obExtGN::obExtGN(const obExtGN& other) : obExtension(data_), data_(other.data_) {}
obExtGN* obExtGN::Clone() const { return new obExtGN(*this); }

obExtGNKind obExtGN::Kind() const { return data_.Kind(); }
obGeneralNames* obExtGN::Names() const { return data_.Names(); }
obASN_GeneralNames obExtGN::AsnNames() const { return data_.AsnNames(); }

obExtension* obExtGN::HandleSubjectAltName(obDerSpan value, int, int& accepted) {
  obDerSpan content;
  if (!GeneralNamesContent(value, content)) {
    OB_HERROR("obExtGN::HandleSubjectAltName: malformed subjectAltName");
    return nullptr;
  }
  accepted = 1;
  return new obExtGN(obExtGN_SubjectAltName, value);
}

obExtension* obExtGN::HandleCRLDistributionPoints(obDerSpan value, int, int& accepted) {
  DpWalk walk{true, nullptr, true};
  if (!WalkCRLDistributionPoints(value, walk)) {
    OB_HERROR("handleCRLDistributionPoints: malformed cRLDistributionPoints");
    return nullptr;
  }
  accepted = walk.supported ? 1 : 0;
  return new obExtGN(obExtGN_CRLDistributionPoints, value);
}
