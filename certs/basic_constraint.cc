#include "nycert/certs/basic_constraint.h"

#include <climits>

#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

namespace {

bool ParseBasicConstraints(obDerSpan value, bool& isCA, long& pathLen) {
  obDerSpan content, ca, len;
  if (!obExtReadWhole(value, kDerSequence, content)) return false;
  obExtFields fields(content);
  if (fields.Take(kDerBoolean, ca) && !obDerParseBool(ca, isCA)) return false;
  if (fields.Take(kDerInteger, len) && !(obDerParseSmallUint(len, pathLen) && pathLen <= INT_MAX)) return false;
  return fields.Done();
}

// An INTEGER of a non-negative value: big-endian and shortest, with a
// leading 00 when the top bit is set.
int PutUint(obAsnWriteBuf& b, unsigned long v) {
  unsigned char octets[sizeof v + 1];
  size_t start = sizeof octets;
  do {
    octets[--start] = static_cast<unsigned char>(v & 0xFF);
    v >>= 8;
  } while (v);
  if (octets[start] & 0x80) octets[--start] = 0;
  return obExtPutPrim(b, kDerInteger, octets + start, sizeof octets - start);
}

}  // namespace

const char* obBasicConstraint_imp::ExtName() const { return "Basic Constraint"; }

void obBasicConstraint_imp::Sprint(ObStream* s, int indent) const {
  std::string tabs = obNameTabs(indent);
  s->Printf("%s%s CA\n", tabs.c_str(), isCA_ ? "is" : "not");
  if (pathLen_ >= 0) s->Printf("%s%d levels\n", tabs.c_str(), pathLen_);
}

// DER leaves out a FALSE cA.
int obBasicConstraint_imp::EncodeValue(obAsnWriteBuf& b) const {
  static const unsigned char kTrue = 0xFF;
  int total = pathLen_ >= 0 ? PutUint(b, static_cast<unsigned long>(pathLen_)) : 0;
  if (isCA_) total = obExtSum(total, obExtPutPrim(b, kDerBoolean, &kTrue, 1));
  return obExtWrap(b, kDerSequence, total);
}

obBasicConstraint::obBasicConstraint(int isCA, int pathLen) : obExtension(data_), data_(isCA, pathLen) {}
obBasicConstraint::obBasicConstraint(const obBasicConstraint& other) : obExtension(data_), data_(other.data_) {}
obBasicConstraint* obBasicConstraint::Clone() const { return new obBasicConstraint(*this); }

int obBasicConstraint::IsCA() const { return data_.IsCA(); }
int obBasicConstraint::PathLen() const { return data_.PathLen(); }

// Basic constraints that cannot be read make no CA: they are kept as those
// of an end entity (and, when critical, reported as not handled).
obExtension* obBasicConstraint::Handle(obDerSpan value, int, int& accepted) {
  bool isCA = false;
  long pathLen = -1;
  if (!ParseBasicConstraints(value, isCA, pathLen)) {
    OB_HERROR("obBasicConstraint::Handle: malformed basicConstraints");
    return new obBasicConstraint(0, -1);
  }
  accepted = 1;
  return new obBasicConstraint(isCA, static_cast<int>(pathLen));
}
