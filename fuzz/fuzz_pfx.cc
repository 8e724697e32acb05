// Reads arbitrary input as a PKCS #12 file under the password "fuzz", with
// the MAC check skipped so that inputs reach the bags, and with low work
// limits. What reads must write again, and the written file must read back
// to the same key and certificate bags.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "nycert/keystore/pfx_decode.h"
#include "nycert/keystore/pfx_encode.h"

namespace {

constexpr char kPassword[] = "fuzz";

// Equal octets; an empty buffer equals a null one either way round.
bool SameOctets(const nyBinBuf& a, const nyBinBuf& b) {
  return a.Len() == b.Len() && (a.Len() == 0 || std::memcmp(a.Data(), b.Data(), a.Len()) == 0);
}

// The bags of one kind in a and b match in order (the writer groups the
// certificates before the keys, so only the order within a kind is kept).
bool SameBagsOfKind(const obP12Contents& a, const obP12Contents& b, obP12Bag::Kind kind) {
  std::vector<const obP12Bag*> x, y;
  for (const obP12Bag& bag : a.bags)
    if (bag.kind == kind) x.push_back(&bag);
  for (const obP12Bag& bag : b.bags)
    if (bag.kind == kind) y.push_back(&bag);
  if (x.size() != y.size()) return false;
  for (size_t i = 0; i < x.size(); ++i) {
    if (!SameOctets(x[i]->der, y[i]->der) || x[i]->friendlyName != y[i]->friendlyName ||
        !SameOctets(x[i]->localKeyId, y[i]->localKeyId))
      return false;
  }
  return true;
}

bool SameBags(const obP12Contents& a, const obP12Contents& b) {
  size_t written = 0;
  for (const obP12Bag& bag : a.bags) written += bag.kind != obP12Bag::kOther;
  return b.bags.size() == written && SameBagsOfKind(a, b, obP12Bag::kCert) && SameBagsOfKind(a, b, obP12Bag::kKey);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  obP12ReadOptions options;
  options.skipMac = true;
  options.limits.maxIterations = 4096;
  options.limits.maxScryptMemory = 16u << 20;
  obP12Contents contents;
  obString why;
  if (obP12_Decode(data, size, kPassword, contents, why, options) < 0) return 0;
  obP12WriteOptions write;
  write.iterations = write.macIterations = 1;
  nyBinBuf out;
  obP12Contents again;
  if (obP12_Encode(contents, kPassword, write, out, why) < 0 ||
      obP12_Decode(out.Data(), out.Len(), kPassword, again, why) < 0 || !SameBags(contents, again))
    abort();
  return 0;
}
