// Decodes arbitrary input as an X.509 certificate. Whatever decodes must
// encode (a measuring pass counting what a real pass writes), copy, print,
// and decode again from its own encoding to the same octets; an input that
// was consumed whole and is DER in the forms the library writes must come
// back unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "canonical_der.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/platform/obstream.h"

namespace {

std::vector<unsigned char> Encode(const obAsnType& value) {
  obAsnWriteBuf measure(nullptr, 0);
  int size = value.BEnc(measure);
  if (size <= 0) abort();
  std::vector<unsigned char> out(static_cast<size_t>(size));
  obAsnWriteBuf writer(out.data(), out.size());
  if (value.BEnc(writer) != size || writer.Data() != out.data()) abort();
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  obAsnReadBuf in(data, size);
  unsigned long used = 0;
  obASN_Certificate cert;
  if (cert.BDec(in, used) < 0) return 0;
  if (used != static_cast<unsigned long>(in.Offset())) abort();

  std::vector<unsigned char> out = Encode(cert);
  if (used == size && canonical_der::Canonical(data, size, 0) && (out.size() != size || std::memcmp(out.data(), data, size) != 0))
    abort();

  obASN_Certificate again;
  obAsnReadBuf reread(out.data(), out.size());
  unsigned long rereadUsed = 0;
  if (again.BDec(reread, rereadUsed) < 0 || rereadUsed != out.size() || Encode(again) != out) abort();
  if (Encode(obASN_Certificate(cert)) != out) abort();

  ObStream text;
  if (cert.Sprint(&text, 0) < 0) abort();
  return 0;
}
