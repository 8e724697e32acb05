#include "nycert/names/rdn_sequence_internal.h"

#include "nycert/names/dn_keywords_internal.h"
#include "nycert/names/dn_value_internal.h"

namespace {

int PrintAssertion(const obASN_AttributeTypeAndValue& assertion, std::string& out) {
  const char* type = obDNTypeText(assertion.type);
  if (!type) return -1;
  out += type;
  out += '=';
  return obAttributeValuePrint(assertion, out);
}

bool AssertionsMatch(const obASN_AttributeTypeAndValue& a, const obASN_AttributeTypeAndValue& b) {
  obDNValue va, vb;
  return a.type.Equal(b.type) && obDNValueReduce(a.value, va) == 0 && obDNValueReduce(b.value, vb) == 0 &&
         obDNValueEqual(va, vb);
}

}  // namespace

int obRdnSequencePrint(const obASN_RDNSequence& name, std::string& out) {
  for (auto rdn = name.items.rbegin(); rdn != name.items.rend(); ++rdn) {
    if (rdn != name.items.rbegin()) out += ',';
    for (auto assertion = rdn->items.begin(); assertion != rdn->items.end(); ++assertion) {
      if (assertion != rdn->items.begin()) out += '+';
      if (PrintAssertion(*assertion, out) < 0) return -1;
    }
  }
  return 0;
}

int obAttributeValuePrint(const obASN_AttributeTypeAndValue& assertion, std::string& out) {
  obDNValue value;
  if (obDNValueReduce(assertion.value, value) < 0) return -1;
  obDNValueAppend(out, value, true);
  return 0;
}

bool obRdnMatch(const obASN_RelativeDistinguishedName& a, const obASN_RelativeDistinguishedName& b) {
  if (a.size() != b.size()) return false;
  for (const obASN_AttributeTypeAndValue& mine : a.items) {
    bool found = false;
    for (const obASN_AttributeTypeAndValue& theirs : b.items) {
      if ((found = AssertionsMatch(mine, theirs))) break;
    }
    if (!found) return false;
  }
  return true;
}

bool obRdnSequenceIsSub(const obASN_RDNSequence& name, const obASN_RDNSequence& ancestor) {
  size_t i = 0;
  for (; i < name.size() && i < ancestor.size(); ++i) {
    if (!obRdnMatch(name[i], ancestor[i])) return false;
  }
  return i == ancestor.size();
}

const obASN_AttributeTypeAndValue* obRdnSequenceFind(const obASN_RDNSequence& name, const obAsnOid& type) {
  for (auto rdn = name.items.rbegin(); rdn != name.items.rend(); ++rdn) {
    for (const obASN_AttributeTypeAndValue& assertion : rdn->items)
      if (assertion.type.Equal(type)) return &assertion;
  }
  return nullptr;
}

bool obRdnHolds(const obASN_RelativeDistinguishedName& rdn, const obAsnOid& type) {
  for (const obASN_AttributeTypeAndValue& assertion : rdn.items)
    if (assertion.type.Equal(type)) return true;
  return false;
}
