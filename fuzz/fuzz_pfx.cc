// Reads arbitrary input as a PKCS #12 file under the password "fuzz", with
// the MAC check skipped so that inputs reach the bags, and with low work
// limits. What reads must write again, and the written file must read back
// to the same key and certificate bags.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "nycert/keystore/pfx_decode.h"
#include "nycert/keystore/pfx_encode.h"

namespace {

constexpr char kPassword[] = "fuzz";

bool SameBags(const obP12Contents& a, const obP12Contents& b) {
  size_t j = 0;
  for (const obP12Bag& bag : a.bags) {
    if (bag.kind == obP12Bag::kOther) continue;
    if (j >= b.bags.size()) return false;
    const obP12Bag& other = b.bags[j++];
    if (bag.kind != other.kind || !(bag.der == other.der) || bag.friendlyName != other.friendlyName ||
        !(bag.localKeyId == other.localKeyId))
      return false;
  }
  return j == b.bags.size();
}

bool NamesWritable(const obP12Contents& contents) {
  nyBinBuf bmp;
  for (const obP12Bag& bag : contents.bags) {
    if (obPKCS12_pass2bmp(bag.friendlyName.data(), bag.friendlyName.size(), bmp, false) < 0) return false;
  }
  return true;
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
  if (obP12_Encode(contents, kPassword, write, out, why) < 0) {
    if (NamesWritable(contents)) abort();
    return 0;
  }
  obP12Contents again;
  if (obP12_Decode(out.Data(), out.Len(), kPassword, again, why) < 0 || !SameBags(contents, again)) abort();
  return 0;
}
