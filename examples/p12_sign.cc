// Opens a PKCS#12 key file into a key holder, signs a message with the key
// it holds, and checks the signature with the key's certificate.
//
//   p12_sign FILE.p12 MESSAGE
//
// The password comes from the environment variable P12_PASSWORD: command
// lines are visible to every user of the machine.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/certs/cert.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/pkcs12.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"

int main(int argc, char** argv) {
  const char* password = std::getenv("P12_PASSWORD");
  if (argc != 3 || !password) {
    std::fprintf(stderr, "usage: P12_PASSWORD=... %s FILE.p12 MESSAGE\n", argv[0]);
    return 2;
  }
  nyBinBuf pfx;
  if (obpkcs12_fromfile(argv[1], pfx) != 0) {
    std::fprintf(stderr, "%s: cannot read the file\n", argv[1]);
    return 1;
  }
  // The holder receives the file's key with its certificate chain, and the
  // roots; it keeps them until it is deleted.
  std::unique_ptr<obKeyHolder> holder(obKeyHolder_New());
  obString why;
  if (obPKCS12_2KeyHolder(pfx, password, *holder, why) != 0) {
    std::fprintf(stderr, "%s: %s\n", argv[1], why.getstr());
    return 1;
  }
  // Searches lend what they find: the holder keeps its reference.
  obCertifiedKey* certified = holder->CertKeyByDefault();
  if (!certified) {
    std::fprintf(stderr, "%s: no key with a certificate chain up to a root\n", argv[1]);
    return 1;
  }
  obCert* cert = certified->Chain().Get(0);
  std::printf("key:         %s\n", certified->Name() ? certified->Name() : "(no name)");
  std::printf("certificate: %s\n", cert->Subject()->GetStr());
  std::printf("chain:       %d certificates, root %s\n", certified->Chain().Count(),
              certified->Root()->Cert()->Subject()->GetStr());

  // PKCS#1 v1.5 over the SHA-256 DigestInfo of the message.
  obPubKey* key = certified->PubKey();
  const unsigned char* message = reinterpret_cast<const unsigned char*>(argv[2]);
  int messageLen = static_cast<int>(std::strlen(argv[2]));
  std::vector<unsigned char> signature(static_cast<size_t>(key->GetLen(obPK_Len_Bytes)));
  int signatureLen = key->Sign(obPKop_DigestInfo, ob_md_sha256, message, messageLen, signature.data(),
                               static_cast<int>(signature.size()));
  if (signatureLen <= 0) {
    std::fprintf(stderr, "signing failed\n");
    return 1;
  }
  std::printf("signature:   %d octets, ", signatureLen);
  for (int i = 0; i < 8; ++i) std::printf("%02X", signature[static_cast<size_t>(i)]);
  std::printf("...\n");

  // Anyone with the certificate can check it: its public key verifies.
  int verified =
      cert->PubKey()->Verify(obPKop_DigestInfo, ob_md_sha256, message, messageLen, signature.data(), signatureLen);
  std::printf("verified with the certificate's key: %s\n", verified == 0 ? "yes" : "no");
  return verified == 0 ? 0 : 1;
}
