#include "nycert/certs/key_usage.h"

#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

namespace {

const char* const kUsageNames[] = {"digitalSignature", "nonRepudiation", "keyEncipherment",
                                   "dataEncipherment", "keyAgreement",   "keyCertSign",
                                   "cRLSign",          "encipherOnly",   "decipherOnly"};
constexpr int kUsageCount = sizeof kUsageNames / sizeof kUsageNames[0];

bool IsUsage(int type) { return type >= 0 && type < kUsageCount; }

// Bit n of a BIT STRING is the top bit of octet n / 8 counted from the left;
// the unused bits at the end are not read, whatever they hold.
unsigned MaskFromBits(obDerSpan bits, unsigned unused) {
  unsigned mask = 0;
  size_t count = bits.size * 8 - unused;
  for (int n = 0; n < kUsageCount && static_cast<size_t>(n) < count; ++n) {
    if (bits.data[n / 8] & (0x80 >> (n % 8))) mask |= 1u << n;
  }
  return mask;
}

}  // namespace

const char* obKeyUsage_imp::ExtName() const { return "Key Usage"; }

int obKeyUsage_imp::HasUsage(obKeyUsageType type) const { return IsUsage(type) && ((bits_ >> type) & 1u) ? 1 : 0; }

void obKeyUsage_imp::Sprint(ObStream* s, int indent) const {
  std::string tabs = obNameTabs(indent);
  for (int n = 0; n < kUsageCount; ++n) {
    if ((bits_ >> n) & 1u) s->Printf("%s%s\n", tabs.c_str(), kUsageNames[n]);
  }
}

// A named bit list drops its trailing zero bits in DER.
int obKeyUsage_imp::EncodeValue(obAsnWriteBuf& b) const {
  int used = 0;
  while (bits_ >> used) ++used;
  unsigned char content[3] = {static_cast<unsigned char>(used ? (8 - used % 8) % 8 : 0), 0, 0};
  for (int n = 0; n < used; ++n) {
    if ((bits_ >> n) & 1u) content[1 + n / 8] |= static_cast<unsigned char>(0x80 >> (n % 8));
  }
  return obExtPutPrim(b, kDerBitString, content, 1 + static_cast<unsigned long>((used + 7) / 8));
}

obKeyUsage::obKeyUsage(unsigned bits) : obExtension(data_), data_(bits) {}
obKeyUsage::obKeyUsage(const obKeyUsage& other) : obExtension(data_), data_(other.data_) {}
obKeyUsage* obKeyUsage::Clone() const { return new obKeyUsage(*this); }

unsigned obKeyUsage::KeyUsageBits() const { return data_.KeyUsageBits(); }
int obKeyUsage::HasUsage(obKeyUsageType type) const { return data_.HasUsage(type); }
const char* obKeyUsage::KeyusageStr(obKeyUsageType type) { return IsUsage(type) ? kUsageNames[type] : nullptr; }

// A keyUsage that cannot be read still restricts the key: it is kept as one
// that allows nothing (and, when critical, is reported as not handled).
obExtension* obKeyUsage::Handle(obDerSpan value, int, int& accepted) {
  obDerSpan content, bits;
  unsigned unused = 0;
  if (!obExtReadWhole(value, kDerBitString, content) || !obDerParseBitString(content, bits, unused)) {
    OB_HERROR("obKeyUsage::Handle: malformed keyUsage");
    return new obKeyUsage(0);
  }
  accepted = 1;
  return new obKeyUsage(MaskFromBits(bits, unused));
}
