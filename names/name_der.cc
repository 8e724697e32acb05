#include "nycert/names/name_der_internal.h"

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"

#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/asn1/runtime/der_reader.h"

namespace {

// The DirectoryString alternatives an attribute value decodes into, each
// with its own content check.
const obAsnStringKind* const kValueKinds[] = {
    &obAsnTeletexString::kKind, &obAsnPrintableString::kKind, &obAsnUniversalString::kKind,
    &obAsnUTF8String::kKind,    &obAsnBMPString::kKind,       &obAsnIA5String::kKind,
};

// The kind of a value's tag, or null. Universal primitive tags with numbers
// below 31 are packed as the number alone.
const obAsnStringKind* ValueKind(obAsnTag tag) {
  if (tag >= 0x1F) return nullptr;
  for (const obAsnStringKind* kind : kValueKinds) {
    if (tag == kind->tag) return kind;
  }
  return nullptr;
}

// AttributeTypeAndValue ::= SEQUENCE { type OBJECT IDENTIFIER, value DirectoryString }
// The value is a primitive string of one of those kinds, its content kept as
// received whether or not it passes the kind's check.
bool ValidAssertion(obDerSpan content) {
  obDerReader r(content);
  obDerSpan type, value;
  if (!r.Read(kDerOid, type) || !obAsnOid::IsValidContent(type.data, type.size)) return false;
  obAsnTag tag = r.PeekTag();
  return ValueKind(tag) && r.Read(tag, value) && r.AtEnd();
}

// RelativeDistinguishedName ::= SET SIZE (1..MAX) OF AttributeTypeAndValue
bool ValidRdn(obDerSpan content) {
  obDerReader r(content);
  if (r.AtEnd()) return false;
  while (!r.AtEnd()) {
    obDerSpan assertion;
    if (!r.Read(kDerSequence, assertion) || !ValidAssertion(assertion)) return false;
  }
  return true;
}

// RDNSequence ::= SEQUENCE OF RelativeDistinguishedName
int CountInPlace(const unsigned char* der, size_t len) {
  obDerReader outer(der, len);
  obDerSpan rdns;
  if (!outer.Read(kDerSequence, rdns) || !outer.AtEnd()) return -1;
  obDerReader r(rdns);
  int count = 0;
  while (!r.AtEnd()) {
    obDerSpan rdn;
    if (!r.Read(kDerSet, rdn) || !ValidRdn(rdn)) return -1;
    ++count;
  }
  return count;
}

// The forms left to the tree decoder, such as strings in constructed segments.
int CountDecoded(const unsigned char* der, size_t len) {
  obASN_RDNSequence tree;
  if (obAsnDecode(tree, der, len) < 0) return -1;
  for (const obASN_RelativeDistinguishedName& rdn : tree.items)
    if (rdn.empty()) return -1;
  return static_cast<int>(tree.size());
}

}  // namespace

int obNameDerCount(const unsigned char* der, size_t len) {
  if (!der) return -1;
  int count = CountInPlace(der, len);
  return count >= 0 ? count : CountDecoded(der, len);
}
