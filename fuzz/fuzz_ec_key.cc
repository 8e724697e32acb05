// Reads arbitrary input as an elliptic-curve key and as a signature.
//
// A key that imports (SubjectPublicKeyInfo or PrivateKeyInfo) must export
// its key info, which imports again to an equal key. As a signature, the
// input is checked by a key on each curve over a fixed digest (the message
// itself for Ed25519): it must never verify.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/nysec.h"

namespace {

void RoundTrip(obPubKey* key) {
  if (!key) return;
  nyBinBuf info;
  if (key->GetLen(obPK_Len_Bits) <= 0 || obPubKeyInfoOf(*key, info) != 0) abort();
  obPubKey* again = obImportPublicKeyInfo(info.Data(), static_cast<int>(info.Len()));
  if (!again || !obPubKey_Equal(key, again)) abort();
  obFreePubKey(again);
  obFreePubKey(key);
}

struct Verifiers {
  obPubKey* keys[4];
  Verifiers()
      : keys{nySEC_Generate(nyEC_P256), nySEC_Generate(nyEC_P384), nySEC_Generate(nyEC_P521),
             nySEC_Generate(nyEC_Ed25519)} {
    for (obPubKey* key : keys)
      if (!key) abort();
  }
};

void CheckAsSignature(const uint8_t* data, size_t size) {
  static const Verifiers verifiers;
  static const unsigned char kDigest[64] = {1, 2, 3};
  for (obPubKey* key : verifiers.keys)
    if (key->Verify(obPKop_Raw, ob_md_sha256, kDigest, sizeof kDigest, data, static_cast<int>(size)) >= 0) abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  RoundTrip(obImportPublicKeyInfo(data, static_cast<int>(size)));
  RoundTrip(obImportPrivateKey(data, static_cast<int>(size)));
  CheckAsSignature(data, size);
  return 0;
}
