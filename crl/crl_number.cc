#include "nycert/crl/crl_number.h"

#include <cstdint>
#include <cstring>
#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/names/obdn.h"
#include "nycert/names/rdn_sequence_internal.h"

#define CRLNUM_TRACE(...) OB_TDERROR("CrlDB", 4, __VA_ARGS__)

namespace {

const char kPrefix[] = "ICA_CRL";
const size_t kPrefixLen = sizeof kPrefix - 1;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The number of a CRL file name "ICA_CRL<decimal>": 0, or -1 (reported for me).
int FileNameToNumber(const char* me, const std::string& name, int* number) {
  if (name.size() <= kPrefixLen || name.compare(0, kPrefixLen, kPrefix) != 0) {
    CRLNUM_TRACE("%s: \"%s\" lacks \"%s\" or number", me, name.c_str(), kPrefix);
    return -1;
  }
  const char* p = name.c_str() + kPrefixLen;
  if (*p == '+' || *p == '-') {
    CRLNUM_TRACE("%s: illegal crl_number in \"%s\"", me, name.c_str());
    return -1;
  }
  if (!IsDigit(*p)) {
    CRLNUM_TRACE("%s: CRL filename lacks number", me);
    return -1;
  }
  int64_t value = 0;
  for (; IsDigit(*p); ++p) {
    value = value * 10 + (*p - '0');
    if (value > INT32_MAX) {
      CRLNUM_TRACE("%s: number space is too large in \"%s\"", me, name.c_str());
      return -1;
    }
  }
  if (*p) {
    CRLNUM_TRACE("%s: illegal string \"%s\"", me, name.c_str());
    return -1;
  }
  if (value == 0) {
    CRLNUM_TRACE("%s: illegal crl_number in \"%s\"", me, name.c_str());
    return -1;
  }
  *number = static_cast<int>(value);
  return 0;
}

// The printed common name of name or, without one, the first value of its
// most specific RDN: true, or false when there is none.
bool CrlFileName(const obASN_RDNSequence& name, std::string* out) {
  const obASN_AttributeTypeAndValue* value = obRdnSequenceFind(name, obASN_id_at_commonName);
  if (!value && !name.empty() && !name[name.size() - 1].empty()) value = &name[name.size() - 1][0];
  return value && obAttributeValuePrint(*value, *out) == 0;
}

}  // namespace

int obca_URI_to_crl_number(const char* uri, int* number) {
  static const char me[] = "obca_URI_to_crl_number";
  if (!uri || !number) {
    CRLNUM_TRACE("%s: bad args", me);
    return -1;
  }
  const char* dot = std::strrchr(uri, '.');
  if (!dot) {
    CRLNUM_TRACE("%s: no dot at \"%s\"", me, uri);
    return -1;
  }
  const char* slash = std::strrchr(uri, '/');
  if (!slash) {
    CRLNUM_TRACE("%s: no slash in \"%s\"", me, uri);
    return -1;
  }
  if (slash > dot) {
    CRLNUM_TRACE("%s: slash must be before dot in \"%s\"", me, uri);
    return -1;
  }
  return FileNameToNumber(me, std::string(slash + 1, dot), number);
}

int obca_DN_to_crl_number(const obDN* dn, int* number) {
  static const char me[] = "obca_DN_to_crl_number";
  if (!dn) {
    CRLNUM_TRACE("%s: No DN provided", me);
    return -1;
  }
  if (!number) {
    CRLNUM_TRACE("%s: bad args", me);
    return -1;
  }
  const obASN_RDNSequence* tree = dn->GetName();
  std::string name;
  if (!tree || !CrlFileName(*tree, &name)) {
    const char* text = dn->GetStr();
    CRLNUM_TRACE("%s: Couldn't get CRL file name from %s", me, text ? text : "<none>");
    return -1;
  }
  return FileNameToNumber(me, name, number);
}
