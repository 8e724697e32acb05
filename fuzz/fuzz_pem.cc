// Walks arbitrary text as PEM blocks. Each step must move forward; every
// block read must armour again under its label and read back to the same
// octets, and a malformed one must leave nothing behind; decoding the first
// block of any label must agree with the walk's first step; and text that
// holds a block must be told from DER.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "nycert/buffers/pem.h"

namespace {

void RoundTrip(const obPemBlock& block) {
  obString armour;
  nyBinBuf again;
  if (Base64Encode_PEM(block.label.c_str(), block.der.Data(), block.der.Len(), armour) != 0) abort();
  if (Base64Decode_PEM(armour.getstr(), armour.length(), block.label.c_str(), again) != 0) abort();
  if (!(again == block.der)) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* text = reinterpret_cast<const char*>(data);
  unsigned len = static_cast<unsigned>(size);
  obPemBlock block;
  unsigned offset = 0;
  int first = obPem_Next(text, len, offset, block);

  nyBinBuf any;
  int decoded = Base64Decode_PEM(text, len, nullptr, any);
  if ((first == 1) != (decoded == 0) || (first == 1 && !(any == block.der))) abort();
  int isPem = obPem_IsPem(data, len);
  if (isPem == 1 && first == 0) abort();

  unsigned last = 0;
  for (int rc = first; rc != 0; last = offset, rc = obPem_Next(text, len, offset, block)) {
    if (offset <= last || offset > len) abort();
    if (rc == 1) {
      if (isPem != 1) abort();
      RoundTrip(block);
    } else if (!block.der.IsEmpty()) {
      abort();
    }
  }
  return 0;
}
