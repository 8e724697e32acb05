// The implementation behind obCRL, shared by its decoding and printing, and
// the form serial numbers take as keys of its table.
#ifndef NYCERT_CRL_CRL_IMP_INTERNAL_H_
#define NYCERT_CRL_CRL_IMP_INTERNAL_H_

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "nycert/certs/extensions_list.h"
#include "nycert/certs/signed.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_fields_internal.h"

struct HashTable;
class obDN;

class obCRL_imp : public obSigned_imp {
 public:
  using obSigned_imp::obSigned_imp;
  ~obCRL_imp() override;

  obDN* issuer = nullptr;
  long thisUpdate = 0;
  long nextUpdate = 0;
  // Serial keys (spans into buf) to obCRLEntry* in entries; null without entries.
  HashTable* table = nullptr;
  std::vector<obCRLEntry> entries;
  int size = 0;
  obExtensionsList extensions;
  std::atomic<int> used{0};
  std::atomic<long> lastUsed{0};
  // The last signature check: the issuer's SubjectPublicKeyInfo and the answer.
  std::mutex verifiedMutex;
  std::string verifiedSpki;
  int verifiedStatus = 0;
  // Spans into buf.
  obCrlFields fields;
};

// A serial's key: its INTEGER content octets without redundant leading
// octets (00 before a clear top bit, FF before a set one), so that every
// encoding of one value finds the same entry. The key stays inside content.
inline obDerSpan obSerialKey(obDerSpan content) {
  const unsigned char* p = content.data;
  size_t n = content.size;
  while (n > 1 && ((p[0] == 0x00 && !(p[1] & 0x80)) || (p[0] == 0xFF && (p[1] & 0x80)))) {
    ++p;
    --n;
  }
  return {p, n};
}

// The key of an integer serial: its shortest two's-complement octets, in out.
inline obDerSpan obSerialKey(int serial, unsigned char (&out)[4]) {
  uint32_t v = static_cast<uint32_t>(serial);
  for (int i = 0; i < 4; ++i) out[i] = static_cast<unsigned char>(v >> (24 - 8 * i));
  return obSerialKey(obDerSpan{out, sizeof out});
}

#endif  // NYCERT_CRL_CRL_IMP_INTERNAL_H_
