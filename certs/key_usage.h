// obKeyUsage: the keyUsage extension (2.5.29.15).
//
//   KeyUsage ::= BIT STRING { digitalSignature (0), nonRepudiation (1),
//       keyEncipherment (2), dataEncipherment (3), keyAgreement (4),
//       keyCertSign (5), cRLSign (6), encipherOnly (7), decipherOnly (8) }
#ifndef NYCERT_CERTS_KEY_USAGE_H_
#define NYCERT_CERTS_KEY_USAGE_H_

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/extension.h"
#include "nycert/platform/export.h"

// The key usages, by their bit numbers.
enum obKeyUsageType {
  obKU_digitalSignature = 0,
  obKU_nonRepudiation = 1,
  obKU_keyEncipherment = 2,
  obKU_dataEncipherment = 3,
  obKU_keyAgreement = 4,
  obKU_keyCertSign = 5,
  obKU_cRLSign = 6,
  obKU_encipherOnly = 7,
  obKU_decipherOnly = 8,
};

class NYCERT_EXPORT obKeyUsage_imp : public obExtension_imp {
 public:
  explicit obKeyUsage_imp(unsigned bits) : bits_(bits & kAllBits) {}

  const char* ExtName() const override;
  void Sprint(ObStream* s, int indent) const override;
  int EncodeValue(obAsnWriteBuf& b) const override;

  unsigned KeyUsageBits() const { return bits_; }
  int HasUsage(obKeyUsageType type) const;

  static constexpr unsigned kAllBits = 0x1FF;

 private:
  unsigned bits_;
};

class NYCERT_EXPORT obKeyUsage : public obExtension {
 public:
  // bits: 1 << type for every usage held (see KeyUsageBits).
  explicit obKeyUsage(unsigned bits);
  obKeyUsage(const obKeyUsage& other);
  obKeyUsage* Clone() const override;

  // The usages held, as a mask: bit (1 << type) for each obKeyUsageType.
  unsigned KeyUsageBits() const;
  // 1 when the usage is held, else 0 (also for types outside 0..8).
  int HasUsage(obKeyUsageType type) const;
  // The name of a usage ("digitalSignature", ...), or null outside 0..8.
  static const char* KeyusageStr(obKeyUsageType type);

  // The handler of the extension's value; a malformed value gives a key
  // usage that allows nothing, not accepted.
  static obExtension* Handle(obDerSpan value, int critical, int& accepted);

 private:
  obKeyUsage_imp data_;
};

#endif  // NYCERT_CERTS_KEY_USAGE_H_
