#include "nycert/names/dn_parse_internal.h"

#include <algorithm>
#include <string>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/nybinbuf.h"
#include "nycert/names/dn_keywords_internal.h"
#include "nycert/names/dn_scanner_internal.h"
#include "nycert/names/dn_value_internal.h"

namespace {

//   RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
//   AttributeTypeAndValue ::= SEQUENCE { type AttributeType, value DirectoryString }
// DER writes a SET OF in the order of its elements' encodings, whatever
// order the text gave them in.
bool EncodedBefore(const obASN_AttributeTypeAndValue& a, const obASN_AttributeTypeAndValue& b) {
  nyBinBuf left, right;
  obAsnEncode(a, left);
  obAsnEncode(b, right);
  return std::lexicographical_compare(left.Data(), left.Data() + left.Len(), right.Data(), right.Data() + right.Len());
}

int AddAssertions(const obDNAssertionText* found, int count, obASN_RelativeDistinguishedName& rdn) {
  for (int i = 0; i < count; ++i) {
    obASN_AttributeTypeAndValue& assertion = rdn.Append();
    if (obDNTypeOfKeyword(found[i].keyword, assertion.type) < 0) return -1;
    obDNValueFromText(assertion.type, found[i].value, assertion.value);
  }
  if (count > 1) std::stable_sort(rdn.items.begin(), rdn.items.end(), EncodedBefore);
  return 0;
}

}  // namespace

int obDNParse(const char* text, obASN_RDNSequence& out) {
  std::string work(text);
  obDNScanner scanner(&work[0]);
  obASN_RDNSequence parsed;
  obDNAssertionText found[kDNMaxAssertions];
  int count;
  while ((count = scanner.Next(found)) > 0) {
    if (AddAssertions(found, count, parsed.Append()) < 0) return -1;
  }
  if (count < 0) return -1;
  std::reverse(parsed.items.begin(), parsed.items.end());
  out.items.swap(parsed.items);
  return 0;
}
