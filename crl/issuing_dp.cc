#include "nycert/crl/issuing_dp.h"

#include <memory>

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/ext_names_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr obAsnTag kIdpName = 0xA0;        // distributionPoint [0]
constexpr obAsnTag kIdpFullName = 0xA0;    // fullName [0] inside it
constexpr obAsnTag kIdpRelative = 0xA1;    // nameRelativeToCRLIssuer [1] inside it
constexpr obAsnTag kIdpUsers = 0x81;       // onlyContainsUserCerts [1]
constexpr obAsnTag kIdpCAs = 0x82;         // onlyContainsCACerts [2]
constexpr obAsnTag kIdpReasons = 0x83;     // onlySomeReasons [3]
constexpr obAsnTag kIdpIndirect = 0x84;    // indirectCRL [4]
constexpr obAsnTag kIdpAttributes = 0x85;  // onlyContainsAttributeCerts [5]

struct IssuingDP {
  obCRL_contents kind = obCRL_AllCerts;
  obDerSpan fullName;  // the GeneralName run of the full name; empty when there is none
  bool supported = true;
};

// A BOOLEAN DEFAULT FALSE field; one written out as FALSE reads as absent.
bool TakeFlag(obExtFields& fields, obAsnTag tag, bool& value) {
  obDerSpan content;
  value = false;
  return !fields.Take(tag, content) || obDerParseBool(content, value);
}

// False when the value is malformed; out.supported false when it asks for
// more than a full name and one "only contains" kind.
bool obParseIssuingDP(obDerSpan value, IssuingDP& out) {
  obDerSpan content, name, reasons, relative;
  bool users = false, cas = false, indirect = false, attributes = false;
  if (!obExtReadWhole(value, kDerSequence, content)) return false;
  obExtFields fields(content);
  bool hasName = fields.Take(kIdpName, name);
  if (!TakeFlag(fields, kIdpUsers, users) || !TakeFlag(fields, kIdpCAs, cas)) return false;
  bool hasReasons = fields.Take(kIdpReasons, reasons);
  if (!TakeFlag(fields, kIdpIndirect, indirect) || !TakeFlag(fields, kIdpAttributes, attributes) || !fields.Done())
    return false;
  bool isFullName = hasName && obExtReadWhole(name, kIdpFullName, out.fullName);
  if (isFullName && !obExtCheckGeneralNames(out.fullName)) return false;
  if (hasName && !isFullName && !obExtReadWhole(name, kIdpRelative, relative)) return false;
  out.kind = cas ? obCRL_ARL : users ? obCRL_UserCerts : obCRL_AllCerts;
  out.supported = (!hasName || isFullName) && !hasReasons && !indirect && !attributes && !(users && cas);
  return true;
}

// The value for kind with a full name of the GeneralName run names (none
// when empty), written back to front.
int PutIssuingDP(obAsnWriteBuf& b, obCRL_contents kind, obDerSpan names) {
  static const unsigned char kTrue = 0xFF;
  int total = 0;
  if (kind == obCRL_ARL) total = obExtPutPrim(b, kIdpCAs, &kTrue, 1);
  if (kind == obCRL_UserCerts) total = obExtPutPrim(b, kIdpUsers, &kTrue, 1);
  if (!names.empty())
    total = obExtSum(total, obExtWrap(b, kIdpName, obExtWrap(b, kIdpFullName, obExtPutRaw(b, names.data, names.size))));
  return obExtWrap(b, kDerSequence, total);
}

}  // namespace

obIssuingDP_imp::obIssuingDP_imp(obCRL_contents kind, const obGeneralNames* names) : kind_(kind) {
  unsigned char* der = nullptr;
  int len = 0;
  obDerSpan content;
  if (names && names->Count() > 0 && names->DerEncode(&der, &len) == 0)
    obExtReadWhole({der, static_cast<size_t>(len)}, kDerSequence, content);
  std::unique_ptr<unsigned char[]> owned(der);
  obAsnBytes value;
  if (obExtEncode([&](obAsnWriteBuf& b) { return PutIssuingDP(b, kind_, content); }, value) == 0)
    der_.Assign(value.data(), value.size());
}

obIssuingDP_imp::obIssuingDP_imp(const obIssuingDP_imp& other)
    : obExtension_imp(other), kind_(other.kind_), der_(other.der_) {}

const char* obIssuingDP_imp::ExtName() const { return "Issuing distribution points"; }

void obIssuingDP_imp::Sprint(ObStream* s, int indent) const {
  std::string tabs = obNameTabs(indent);
  if (kind_ == obCRL_ARL) s->Printf("%sIs ARL\n", tabs.c_str());
  if (kind_ == obCRL_UserCerts) s->Printf("%sOnly contains users\n", tabs.c_str());
  const obGeneralNames* names = Names();
  for (int i = 0; i < names->Count(); ++i) {
    if (const obGeneralName* name = names->Get(i)) name->Sprint(s, nullptr, indent);
  }
}

int obIssuingDP_imp::EncodeValue(obAsnWriteBuf& b) const { return obExtPutRaw(b, der_.data(), der_.size()); }

obGeneralNames* obIssuingDP_imp::Names() const {
  return names_.Get([this](obGeneralNames& out) {
    IssuingDP dp;
    if (obParseIssuingDP({der_.data(), der_.size()}, dp) && !dp.fullName.empty())
      obExtAddGeneralNames(dp.fullName, out);
  });
}

obASN_GeneralNames obIssuingDP_imp::AsnNames() const { return obExtAsnNames(Names(), "obIssuingDP_imp::AsnNames"); }

obIssuingDP::obIssuingDP(obCRL_contents kind, const obGeneralNames* names) : obExtension(data_), data_(kind, names) {}
obIssuingDP::obIssuingDP(const obIssuingDP& other) : obExtension(data_), data_(other.data_) {}
obIssuingDP* obIssuingDP::Clone() const { return new obIssuingDP(*this); }

obCRL_contents obIssuingDP::Type() const { return data_.Type(); }
obGeneralNames* obIssuingDP::Names() const { return data_.Names(); }
obASN_GeneralNames obIssuingDP::AsnNames() const { return data_.AsnNames(); }

obExtension* obIssuingDP::Handle(obDerSpan value, int, int& accepted) {
  IssuingDP dp;
  if (!obParseIssuingDP(value, dp)) {
    OB_HERROR("obIssuingDP::Handle: malformed issuingDistributionPoint");
    return nullptr;
  }
  if (!dp.supported) OB_HERROR("obParseIssuingDP: unsupported options");
  accepted = dp.supported ? 1 : 0;
  return new obIssuingDP(dp.kind, value);
}

const obExtHandlerTable& obCRLExtHandlers() {
  static const obAsnOid kSupersededIssuingDP(2, 5, 29, 26);
  static const obExtHandler kRows[] = {
      {&obASN_id_ce_issuingDistributionPoint, obIssuingDP::Handle},
      {&kSupersededIssuingDP, nullptr},
  };
  static const obExtHandlerTable kTable{kRows, sizeof kRows / sizeof kRows[0]};
  return kTable;
}

obIssuingDP* obIssuingDP_new(obCRL_contents kind, const obGeneralNames* names) { return new obIssuingDP(kind, names); }

void obIssuingDP_delete(obIssuingDP* dp) { delete dp; }

int obComposeIssuingDP(const obIssuingDP* dp, obASN_IssuingDistributionPoint& out) {
  if (!dp) {
    OB_HERROR("obComposeIssuingDP: no issuing distribution point");
    return -1;
  }
  out = obASN_IssuingDistributionPoint();
  obASN_GeneralNames names = dp->AsnNames();
  if (!names.empty()) out.distributionPoint.emplace().Select_fullName() = names;
  if (dp->Type() == obCRL_ARL) out.onlyContainsCACerts.reset(new obAsnBool(true));
  if (dp->Type() == obCRL_UserCerts) out.onlyContainsUserCerts.reset(new obAsnBool(true));
  return 0;
}
