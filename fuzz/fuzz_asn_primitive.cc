// Decodes the input as one runtime value (the first octet picks the class by
// universal tag number), then checks that what decodes re-encodes, that the
// encoding is stable (DER decodes and re-encodes to itself), that a copy
// encodes the same, and that printing works.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_universal.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr unsigned kUniversalTags = 31;

bool SameOctets(const nyBinBuf& a, const nyBinBuf& b) {
  return a.Len() == b.Len() && (a.Len() == 0 || std::memcmp(a.Data(), b.Data(), a.Len()) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  std::unique_ptr<obAsnType> value(obAsnNewUniversal(data[0] % kUniversalTags));
  if (!value) return 0;
  if (obAsnDecode(*value, data + 1, size - 1) != 0) return 0;

  ObStream text;
  value->Sprint(&text, 1);

  nyBinBuf first;
  if (obAsnEncode(*value, first) != 0) return 0;  // BER content that DER cannot carry, such as a UTCTime past 2049
  std::unique_ptr<obAsnType> again(value->Clone());
  if (obAsnDecode(*again, first.Data(), first.Len()) != 0) abort();
  nyBinBuf second;
  if (obAsnEncode(*again, second) != 0 || !SameOctets(first, second)) abort();

  std::unique_ptr<obAsnType> copy(value->Copy());
  nyBinBuf copied;
  if (obAsnEncode(*copy, copied) != 0 || !SameOctets(first, copied)) abort();
  return 0;
}
