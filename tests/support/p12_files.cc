#include "support/p12_files.h"

#include "support/test_support.h"

bool P12TestFiles::Export(const std::string& name, const std::string& args) const {
  return Openssl(dir, "pkcs12 -export -in p12_leaf.pem -inkey p12_leaf.key -certfile ca.pem -name \"leaf name\" -out " +
                          name + " " + args);
}

const P12TestFiles& SharedP12Files() {
  static const P12TestFiles files = [] {
    P12TestFiles f;
    const TestPki& pki = SharedPki();
    f.dir = pki.dir();
    f.certDer = pki.Issue("p12_leaf", CertRequest());
    f.caDer = pki.CaDer();
    Openssl(f.dir, "pkcs8 -topk8 -nocrypt -in p12_leaf.key -outform DER -out p12_leaf_key.der");
    f.keyDer = ReadBytes(f.File("p12_leaf_key.der"));
    return f;
  }();
  return files;
}
