// Writing a PFX (RFC 7292) from bags, in the layout common tools write:
// the certificate bags in one encrypted safe, the keys as shrouded key bags
// in one plain safe, friendlyName and localKeyId on each bag, and a MAC
// over the whole.
#ifndef NYCERT_KEYSTORE_PFX_ENCODE_H_
#define NYCERT_KEYSTORE_PFX_ENCODE_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keystore/pbe.h"
#include "nycert/keystore/pfx_bags.h"

constexpr long kP12DefaultIterations = 2048;

struct obP12WriteOptions {
  obPbeScheme keyScheme = obPbeScheme::kPbes2Aes256;
  obPbeScheme certScheme = obPbeScheme::kPbes2Aes256;
  const char* macDigest = "SHA256";
  long iterations = kP12DefaultIterations;
  long macIterations = kP12DefaultIterations;

  // Triple DES for keys, 40-bit RC2 for certificates, a SHA-1 MAC.
  static obP12WriteOptions Legacy() {
    obP12WriteOptions options;
    options.keyScheme = obPbeScheme::kSha1TripleDes;
    options.certScheme = obPbeScheme::kSha1Rc2With40Bits;
    options.macDigest = "SHA1";
    return options;
  }
};

// Encodes the key and certificate bags under password: 0, or -1 with why set.
int obP12_Encode(const obP12Contents& contents, const char* password, const obP12WriteOptions& options,
                 nyBinBuf& out, obString& why);

#endif  // NYCERT_KEYSTORE_PFX_ENCODE_H_
