// Decodes arbitrary input as the DER of an X.509 Name. The check made at
// construction and the tree decoder must agree; a name that decodes keeps
// its octets, copies and compares equal to itself, prints, and when the input
// is DER in the forms the library writes, encoding its tree again gives the
// input back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "canonical_der.h"
#include "nycert/names/obdn.h"

namespace {

std::string Der(const obDN& dn) {
  unsigned char* block = nullptr;
  int len = 0;
  if (dn.DerEncode(&block, &len) != 0) abort();
  std::unique_ptr<unsigned char[]> owned(block);
  return std::string(reinterpret_cast<char*>(block), static_cast<size_t>(len));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  obDN dn(data, static_cast<int>(size));
  const int count = dn.Count();
  const obASN_RDNSequence* tree = dn.GetName();
  if (!tree) {
    if (count != 0) abort();
    return 0;
  }
  if (static_cast<int>(tree->size()) != count) abort();

  const std::string input(reinterpret_cast<const char*>(data), size);
  if (Der(dn) != input) abort();
  obDN copy(dn);
  if (!(copy == dn) || Der(copy) != input) abort();
  dn.GetStr();

  obDN rebuilt(*tree);
  if (!(rebuilt == dn)) abort();
  if (canonical_der::Canonical(data, size, 0) && Der(rebuilt) != input) abort();
  return 0;
}
