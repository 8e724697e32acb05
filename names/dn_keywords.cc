#include "nycert/names/dn_keywords_internal.h"

#include <climits>
#include <cstring>
#include <strings.h>

#include "nycert/asn1/modules/name_attributes.h"
#include "nycert/asn1/modules/pkcs9.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/buffers/diag.h"
#include "nycert/names/dn_chars_internal.h"

namespace {

// Addresses of the constants only: the table needs no run-time initialisation.
const obDNKeyword kKeywords[] = {
    {"CN", &obASN_id_at_commonName},
    {"C", &obASN_id_at_countryName},
    {"ST", &obASN_id_at_stateOrProvinceName},
    {"O", &obASN_id_at_organizationName},
    {"OU", &obASN_id_at_organizationalUnitName},
    {"L", &obASN_id_at_localityName},
    {"T", &obASN_id_at_title},
    {"serialNumber", &obASN_id_at_serialNumber},
    {"STREET", &obASN_id_at_streetAddress},
    {"DC", &obASN_id_dc},
    {"Email", &obASN_emailAddress},
    {"UID", &obASN_id_uid},
    {"principalName", &obASN_id_principalName},
};

constexpr char kOidPrefix[] = "OID.";
constexpr size_t kOidPrefixLen = sizeof kOidPrefix - 1;
constexpr unsigned kMaxArcs = 11;

// The shared buffer of the "OID." form.
char g_oidText[256];

// One decimal arc at p: the position after its digits, or null when it
// overflows an unsigned long.
const char* ReadArc(const char* p, unsigned long& arc) {
  arc = 0;
  for (; obDNIsDigit(*p); ++p) {
    unsigned long digit = static_cast<unsigned long>(*p - '0');
    if (arc > (ULONG_MAX - digit) / 10) return nullptr;
    arc = arc * 10 + digit;
  }
  return p;
}

}  // namespace

const obDNKeyword* obDNKeywordByName(const char* name) {
  for (const obDNKeyword& row : kKeywords)
    if (strcasecmp(row.keyword, name) == 0) return &row;
  return nullptr;
}

const obDNKeyword* obDNKeywordByType(const obAsnOid& type) {
  for (const obDNKeyword& row : kKeywords)
    if (row.type->Equal(type)) return &row;
  return nullptr;
}

const char* obDNTypeText(const obAsnOid& type) {
  if (const obDNKeyword* row = obDNKeywordByType(type)) return row->keyword;
  std::memcpy(g_oidText, kOidPrefix, kOidPrefixLen);
  if (type.GetDotted(g_oidText + kOidPrefixLen, sizeof g_oidText - kOidPrefixLen) < 0) {
    OB_HERROR("obDNTypeText: attribute type too long to print");
    return nullptr;
  }
  return g_oidText;
}

int obNUM2OID(const char* text, obAsnOid& out) {
  unsigned long arcs[kMaxArcs];
  unsigned count = 0;
  const char* p = text;
  while (count < kMaxArcs && obDNIsDigit(*p)) {
    const char* end = ReadArc(p, arcs[count]);
    if (!end) break;
    ++count;
    p = end;
    if (*p != '.' || !obDNIsDigit(p[1])) break;
    ++p;
  }
  if (*p != '\0' || out.SetArcs(arcs, count) < 0) {
    OB_HERROR("obNUM2OID: parse error at %s", *p ? p : text);
    return -1;
  }
  return 0;
}

int obDNTypeOfKeyword(const char* keyword, obAsnOid& out) {
  if (const obDNKeyword* row = obDNKeywordByName(keyword)) {
    out = *row->type;
    return 0;
  }
  if (strncasecmp(keyword, kOidPrefix, kOidPrefixLen) == 0) return obNUM2OID(keyword + kOidPrefixLen, out);
  OB_HERROR("obDNTypeOfKeyword: unknown attribute keyword %s", keyword);
  return -1;
}
