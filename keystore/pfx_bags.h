// The contents of a PFX as plain values: its bags, with what protected them.
#ifndef NYCERT_KEYSTORE_PFX_BAGS_H_
#define NYCERT_KEYSTORE_PFX_BAGS_H_

#include <string>
#include <vector>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"

// One bag. A key is its PrivateKeyInfo in the clear, wiped when the bag goes.
struct obP12Bag {
  enum Kind { kKey, kCert, kOther };
  Kind kind = kOther;
  nyBinBuf der;              // the PrivateKeyInfo or the certificate
  std::string friendlyName;  // UTF-8; empty when absent
  nyBinBuf localKeyId;
  obString protection;       // how the bag (or its safe) was encrypted; empty when in the clear

  obP12Bag() = default;
  obP12Bag(const obP12Bag& other) = default;
  obP12Bag& operator=(const obP12Bag& other) = default;
  ~obP12Bag();
};

struct obP12Contents {
  std::vector<obP12Bag> bags;
  obString mac;             // the MAC's description; empty when the file has none
  bool sawPbes2 = false;    // some part was encrypted with PBES2
};

#endif  // NYCERT_KEYSTORE_PFX_BAGS_H_
