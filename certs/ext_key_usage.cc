#include "nycert/certs/ext_key_usage.h"

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

namespace {

struct Purpose {
  const char* name;
  const obAsnOid* oid;
};

// Indexed by obExtKeyUsageType; the empty name ends the table.
const Purpose kPurposes[] = {
    {"bad value", nullptr},
    {"serverAuth", &obASN_id_kp_serverAuth},
    {"clientAuth", &obASN_id_kp_clientAuth},
    {"codeSigning", &obASN_id_kp_codeSigning},
    {"emailProtection", &obASN_id_kp_emailProtection},
    {"ipsecEndSystem", &obASN_id_kp_ipsecEndSystem},
    {"ipsecTunnel", &obASN_id_kp_ipsecTunnel},
    {"ipsecUser", &obASN_id_kp_ipsecUser},
    {"timeStamping", &obASN_id_kp_timeStamping},
    {"SmartCard Logon", &obASN_id_ms_kp_smartcardLogon},
    {"", nullptr},
};
constexpr int kLastType = obEKU_smartCardLogon;

bool IsPurpose(int type) { return type >= 1 && type <= kLastType; }

void ReportUnsupported(const char* fn, int type) {
  OB_HERROR("%s: Unsupported type of extended key usage. type = %d.", fn, type);
}

// The type of a purpose identifier's content octets, or 0.
int TypeOf(obDerSpan oid) {
  for (int type = 1; type <= kLastType; ++type) {
    if (obExtIsOid(oid, *kPurposes[type].oid)) return type;
  }
  return 0;
}

// A checked ExtKeyUsageSyntax: one or more identifiers, nothing after.
// mask gets the known ones.
bool ParsePurposes(obDerSpan value, unsigned& mask) {
  obDerSpan content, oid;
  if (!obExtReadWhole(value, kDerSequence, content) || content.empty()) return false;
  obDerReader r(content);
  while (!r.AtEnd()) {
    if (!r.Read(kDerOid, oid) || oid.empty()) return false;
    mask |= 1u << TypeOf(oid);
  }
  mask &= ~1u;
  return true;
}

}  // namespace

obExtKeyUsage_imp::obExtKeyUsage_imp(const obExtKeyUsageType* types, int count) : mask_(0) {
  for (int i = 0; i < count; ++i) {
    if (IsPurpose(types[i]))
      mask_ |= 1u << types[i];
    else
      ReportUnsupported("obExtKeyUsage_imp::obExtKeyUsage_imp", types[i]);
  }
  auto write = [&](obAsnWriteBuf& b) {
    int total = 0;
    for (int i = count - 1; i >= 0; --i) {
      if (!IsPurpose(types[i])) continue;
      const obAsnOid& oid = *kPurposes[types[i]].oid;
      total = obExtSum(total, obExtPutPrim(b, kDerOid, oid.data(), oid.size()));
    }
    return obExtWrap(b, kDerSequence, total);
  };
  obAsnBytes der;
  if (obExtEncode(write, der) == 0) der_.Assign(der.data(), der.size());
}

const char* obExtKeyUsage_imp::ExtName() const { return "Extended Key Usage"; }

void obExtKeyUsage_imp::Sprint(ObStream* s, int indent) const {
  std::string tabs = obNameTabs(indent);
  for (int type = 1; kPurposes[type].name[0]; ++type) {
    if ((mask_ >> type) & 1u) s->Printf("%s%s\n", tabs.c_str(), kPurposes[type].name);
  }
}

int obExtKeyUsage_imp::EncodeValue(obAsnWriteBuf& b) const { return obExtPutRaw(b, der_.data(), der_.size()); }

obASN_ExtKeyUsageSyntax obExtKeyUsage_imp::ExtKeyUsage_2_ASN() const {
  obASN_ExtKeyUsageSyntax out;
  if (obAsnDecode(out, der_.data(), der_.size()) < 0) out.items.clear();
  return out;
}

int obExtKeyUsage_imp::HasUsage(obExtKeyUsageType type) const {
  if (!IsPurpose(type)) {
    ReportUnsupported("obExtKeyUsage_imp::HasUsage", type);
    return 0;
  }
  return (mask_ >> type) & 1u;
}

obExtKeyUsage::obExtKeyUsage(const obExtKeyUsageType* types, int count) : obExtension(data_), data_(types, count) {}
obExtKeyUsage::obExtKeyUsage(const obExtKeyUsage& other) : obExtension(data_), data_(other.data_) {}
obExtKeyUsage* obExtKeyUsage::Clone() const { return new obExtKeyUsage(*this); }

obASN_ExtKeyUsageSyntax obExtKeyUsage::ExtKeyUsage_2_ASN() const { return data_.ExtKeyUsage_2_ASN(); }
int obExtKeyUsage::HasUsage(obExtKeyUsageType type) const { return data_.HasUsage(type); }

const char* obExtKeyUsage::ExtKeyusageStr(obExtKeyUsageType type) {
  if (type == obEKU_badValue || IsPurpose(type)) return kPurposes[type].name;
  ReportUnsupported("obExtKeyUsage::ExtKeyusageStr", type);
  return nullptr;
}

const obAsnOid* obExtKeyUsage::ExtKeyusageOid(obExtKeyUsageType type) {
  return IsPurpose(type) ? kPurposes[type].oid : nullptr;
}

// An extKeyUsage that cannot be read still restricts the key: it is kept, as
// received, as one that lists no purpose (and, when critical, is reported as
// not handled).
obExtension* obExtKeyUsage::Handle(obDerSpan value, int, int& accepted) {
  unsigned mask = 0;
  if (!ParsePurposes(value, mask)) {
    OB_HERROR("obExtKeyUsage::Handle: malformed extKeyUsage");
    return new obExtKeyUsage(value, 0);
  }
  accepted = 1;
  return new obExtKeyUsage(value, mask);
}
