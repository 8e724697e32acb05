// Imports arbitrary input as an RSA key in DER, public (RSAPublicKey or
// SubjectPublicKeyInfo) and private (RSAPrivateKey or PrivateKeyInfo). A key
// that imports must export, and its export must import again to a key that
// exports the same octets.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_import.h"

namespace {

std::vector<unsigned char> Export(obPubKey* key, obPK_Format format) {
  int len = key->Export(format, nullptr, 0);
  if (len <= 0) abort();
  std::vector<unsigned char> der(static_cast<size_t>(len));
  if (key->Export(format, der.data(), len) != len) abort();
  return der;
}

void ImportAndRoundTrip(obPK_Format format, const uint8_t* data, size_t size) {
  obPubKey* key = obImportRSAKey(format, data, static_cast<int>(size));
  if (!key) return;
  if (key->GetLen(obPK_Len_Bits) <= 0) abort();
  std::vector<unsigned char> der = Export(key, format);
  obPubKey* again = obImportRSAKey(format, der.data(), static_cast<int>(der.size()));
  if (!again || Export(again, format) != der || !obPubKey_Equal(key, again)) abort();
  obFreePubKey(again);
  obFreePubKey(key);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ImportAndRoundTrip(obPK_Format_PublicDER, data, size);
  ImportAndRoundTrip(obPK_Format_PrivateDER, data, size);
  return 0;
}
