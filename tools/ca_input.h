// What the key, request and CA commands share: their option parsing, the
// keys, certificates and requests they read, and the PEM files they write.
#ifndef NYCERT_TOOLS_CA_INPUT_H_
#define NYCERT_TOOLS_CA_INPUT_H_

#include <map>
#include <set>
#include <string>
#include <vector>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/keys/pk_types.h"

class obAsnInt;
class obCert;
class obPubKey;

// Options given as "--name VALUE" (repeatable) or "--name" alone.
class ToolArgs {
 public:
  // Parses args against the options that take a value and the flags ("-h"
  // and "--help" are flags always): true, or false with error set.
  bool Parse(int argc, char** argv, const std::set<std::string>& valued, const std::set<std::string>& flags,
             std::string& error);
  bool Has(const std::string& name) const { return values_.count(name) != 0; }
  // The last value given for name, or fallback.
  std::string Get(const std::string& name, const std::string& fallback = "") const;
  // Every value given for name, in order.
  std::vector<std::string> All(const std::string& name) const;
  bool Help() const { return Has("-h") || Has("--help"); }

 private:
  std::map<std::string, std::vector<std::string>> values_;
};

// An RSA private key from a PEM file (PKCS#8 or PKCS#1): a new key, or null
// with error set.
obPubKey* ReadPrivateKey(const std::string& path, std::string& error);
// The first object of a DER or PEM file: true, or false with error set.
bool ReadFirstObject(const std::string& path, nyBinBuf& der, std::string& error);
// A certificate from a DER or PEM file: a new certificate, or null with error set.
obCert* ReadCertificate(const std::string& path, std::string& error);
// der as one PEM block labelled label, written to path with the given mode.
bool WritePem(const std::string& path, const char* label, const nyBinBuf& der, unsigned mode, std::string& error);

// A non-negative integer written in decimal or as 0x followed by hex digits.
bool ParseSerial(const std::string& text, obAsnInt& out);
// A whole number in [min, max].
bool ParseNumber(const std::string& text, long min, long max, long& out);
// md5, sha1, sha256, sha384 or sha512.
bool ParseDigest(const std::string& text, ob_md_type& out);

#endif  // NYCERT_TOOLS_CA_INPUT_H_
