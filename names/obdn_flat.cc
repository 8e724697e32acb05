#include "nycert/names/obdn_flat.h"

#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/names/dn_value_internal.h"
#include "nycert/names/name_output_internal.h"

namespace {

// The string form of a parsed name copied to dst: 0, or -1 (reported).
int CopyStr(const char* owner, const obDN& name, char* dst, int size) {
  const char* str = name.GetStr();
  if (!str) {
    OB_HERROR("%s: the name cannot be printed", owner);
    return -1;
  }
  return obNameCopyOut(owner, str, dst, size);
}

int FailNoDN(const char* owner, char* dst, int size) {
  OB_HERROR("%s: no valid name", owner);
  if (dst && size > 0) dst[0] = '\0';
  return -1;
}

}  // namespace

int obDN_cmp_strings(const char* a, const char* b) {
  if (!a || !b) return 0;
  return obDN(a) == obDN(b) ? 1 : 0;
}

int obDN_contains_suffix(const char* dn, const char* suffix) {
  if (!dn || !suffix) return -1;
  return obDN(dn).IsSub(obDN(suffix));
}

int obDN_IsLegalDN(const char* str) {
  if (!str) return 0;
  obDN name(str);
  const char* printed = name.GetStr();
  return printed && *printed ? 1 : 0;
}

const char* obDN_GetStr(const obDN* dn) { return dn ? dn->GetStr() : nullptr; }

obDN* obDN_DER_Decode(const unsigned char* der, int len) {
  obDN* name = new obDN(der, len);
  if (name->GetName()) return name;
  delete name;
  return nullptr;
}

void obDN_Free(obDN* dn) { delete dn; }

int obDN_CN_from_string(const char* dn, char* dst, int size) {
  return obDN(dn).GetCN(dst, size);
}

int obDN_OU_from_string(const char* dn, char* dst, int size) {
  return obDN(dn).GetOU(dst, size);
}

int obDN_add_CN(const char* dn, const char* cn, char* dst, int size) {
  static const char kOwner[] = "obDN_add_CN";
  obDN name(dn);
  if (!name.GetName() || !cn) return FailNoDN(kOwner, dst, size);
  name.RemoveCN();
  obASN_RDNSequence edited(*name.GetName());
  obASN_AttributeTypeAndValue& assertion = edited.Append().Append();
  static_cast<obAsnOid&>(assertion.type) = obASN_id_at_commonName;
  obDNValueFromText(assertion.type, cn, assertion.value);
  name.Set(edited);
  return CopyStr(kOwner, name, dst, size);
}

int obDN_remove_CN(const char* dn, char* dst, int size) {
  static const char kOwner[] = "obDN_remove_CN";
  obDN name(dn);
  if (!name.GetName()) return FailNoDN(kOwner, dst, size);
  name.RemoveCN();
  return CopyStr(kOwner, name, dst, size);
}
