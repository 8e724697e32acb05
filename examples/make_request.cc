// Makes a PKCS#10 certification request for a subject and an existing RSA
// key, asking for DNS names as subject alternative names, and reads it back
// the way a CA would: decoded, with its signature checked.
//
//   make_request KEY.pem "CN=...,O=..." OUT.csr [DNS_NAME]...
#include <cstdio>
#include <cstring>
#include <memory>

#include "example_files.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/pkcs10.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"

int main(int argc, char** argv) {
  if (argc < 4) {
    std::fprintf(stderr, "usage: %s KEY.pem SUBJECT OUT.csr [DNS_NAME]...\n", argv[0]);
    return 2;
  }
  std::unique_ptr<obPubKey, void (*)(obPubKey*)> key(ReadPrivateKey(argv[1]), obFreePubKey);
  if (!key) {
    std::fprintf(stderr, "%s: not an RSA private key in PEM\n", argv[1]);
    return 1;
  }
  // Names are written most specific first, as in "CN=host,O=Org,C=US".
  obDN subject(argv[2]);
  if (subject.Count() == 0) {
    std::fprintf(stderr, "not a distinguished name: %s\n", argv[2]);
    return 2;
  }
  // The list takes over the names added to it, the extension list the extension.
  obGeneralNames names;
  for (int i = 4; i < argc; ++i)
    names.Add(new obGeneralName(obGN_dNSName, argv[i], static_cast<int>(std::strlen(argv[i]))));
  obExtensionsList extensions;
  if (names.Count()) extensions.Add(obASN_id_ce_subjectAltName, 0, new obExtGN(names));

  // Signed with the subject's key over SHA-256; no challenge password.
  nyBinBuf der;
  if (obEncode_full_pkcs10_with_password(*key, subject, der, &extensions, nullptr, ob_md_sha256) != 0) {
    std::fprintf(stderr, "cannot make the request\n");
    return 1;
  }
  if (!WritePem(argv[3], "CERTIFICATE REQUEST", der)) {
    std::fprintf(stderr, "%s: cannot write\n", argv[3]);
    return 1;
  }
  std::printf("wrote %s: %u octets of DER\n", argv[3], der.Len());

  // What a CA sees: the subject, the key and the requested extensions.
  obCertTemplate request;
  if (obDecode_full_pkcs10_with_password(der, request, nullptr) != 0) {
    std::fprintf(stderr, "the request does not verify\n");
    return 1;
  }
  std::printf("subject:    %s\n", request.Subject()->GetStr());
  std::printf("key:        RSA %d bits\n", request.PubKey()->GetLen(obPK_Len_Bits));
  std::printf("extensions: %d requested\n", request.Extensions().Count());
  std::printf("signature:  verifies with the request's own key\n");
  return 0;
}
