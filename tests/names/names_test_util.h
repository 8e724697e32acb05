// Helpers for the tests of distinguished and general names: names as DER,
// and certificates made by the openssl command-line tool.
#ifndef NYCERT_TESTS_NAMES_TEST_UTIL_H_
#define NYCERT_TESTS_NAMES_TEST_UTIL_H_

#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "support/test_support.h"

using NameDer = std::vector<unsigned char>;

// The DER a names class hands out (delete[] block), as a vector; empty on failure.
template <class T>
NameDer DerOf(const T& value) {
  unsigned char* block = nullptr;
  int len = 0;
  if (value.DerEncode(&block, &len) != 0) return {};
  std::unique_ptr<unsigned char[]> owned(block);
  return NameDer(block, block + len);
}

inline NameDer EncodeAsn(const obAsnType& value) {
  nyBinBuf out;
  if (obAsnEncode(value, out) != 0) return {};
  return NameDer(out.Data(), out.Data() + out.Len());
}

// Makes self-signed certificates with the openssl tool in a private
// directory; available() is false when the tool is missing.
class OpensslCerts {
 public:
  static constexpr const char* kBaseConfig =
      "[ req ]\ndistinguished_name = dn\nprompt = no\nstring_mask = utf8only\n[ dn ]\nCN = unused\n";

  OpensslCerts() : key_(CachedKey(0)) { Write("req.cnf", ""); }
  bool available() const { return !ReadBytes(key_).empty(); }

  // A certificate for subject (openssl's "/type=value" form) with the given
  // extra req options, made under config (the base one, or one written by
  // Write); empty when the tool fails.
  NameDer Cert(const std::string& subject, const std::string& options = "", const std::string& config = "req.cnf") {
    std::ofstream(dir_.File("subject.txt")) << subject;
    if (!Openssl(dir_.path(), "req -x509 -new -utf8 -key '" + key_ + "' -config " + config +
                                  " -days 1 -outform DER -out cert.der -subj \"$(cat subject.txt)\" " + options))
      return {};
    return ReadBytes(dir_.File("cert.der"));
  }

  // Writes a configuration file: the base one followed by text.
  void Write(const std::string& name, const std::string& text) {
    std::ofstream(dir_.File(name)) << kBaseConfig << text;
  }

 private:
  TempDir dir_;
  std::string key_;
};

// The decoded certificate, or null.
inline std::unique_ptr<obASN_Certificate> DecodeCert(const NameDer& der) {
  std::unique_ptr<obASN_Certificate> cert(new obASN_Certificate);
  if (der.empty() || obAsnDecode(*cert, der.data(), der.size()) != 0) return nullptr;
  return cert;
}

#endif  // NYCERT_TESTS_NAMES_TEST_UTIL_H_
