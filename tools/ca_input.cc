#include "ca_input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/buffers/filebuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/pubkey.h"
#include "tool_input.h"

bool ToolArgs::Parse(int argc, char** argv, const std::set<std::string>& valued, const std::set<std::string>& flags,
                     std::string& error) {
  for (int i = 0; i < argc; ++i) {
    std::string arg = argv[i];
    if (valued.count(arg)) {
      if (i + 1 >= argc) {
        error = arg + " needs a value";
        return false;
      }
      values_[arg].push_back(argv[++i]);
    } else if (flags.count(arg) || arg == "-h" || arg == "--help") {
      values_[arg].push_back("");
    } else {
      error = "unknown option '" + arg + "'";
      return false;
    }
  }
  return true;
}

std::string ToolArgs::Get(const std::string& name, const std::string& fallback) const {
  auto it = values_.find(name);
  return it == values_.end() ? fallback : it->second.back();
}

std::vector<std::string> ToolArgs::All(const std::string& name) const {
  auto it = values_.find(name);
  return it == values_.end() ? std::vector<std::string>() : it->second;
}

obPubKey* ReadPrivateKey(const std::string& path, std::string& error) {
  nyBinBuf text;
  if (File2Buf(obString(path.c_str()), text) != 0) {
    error = path + ": cannot read";
    return nullptr;
  }
  obPubKey* key = obImportKeyPEM(reinterpret_cast<const char*>(text.Data()), text.Len());
  if (key && (key->Flags() & obPK_Flag_Sign)) return key;
  obFreePubKey(key);
  error = path + ": not a private key in PEM";
  return nullptr;
}

bool ReadFirstObject(const std::string& path, nyBinBuf& der, std::string& error) {
  std::vector<ToolObject> objects;
  if (!ReadToolObjects(path, objects, error)) return false;
  if (!objects[0].error.empty()) {
    error = objects[0].error;
    return false;
  }
  der.Set(objects[0].der.data(), static_cast<unsigned>(objects[0].der.size()));
  return true;
}

obCert* ReadCertificate(const std::string& path, std::string& error) {
  nyBinBuf der;
  if (!ReadFirstObject(path, der, error)) return nullptr;
  auto* cert = new obCert(der.Data(), der.Len());
  if (cert->OK()) return cert;
  error = std::string("not a certificate: ") + cert->Error().getstr();
  obFreeSigned(cert);
  return nullptr;
}

bool WritePem(const std::string& path, const char* label, const nyBinBuf& der, unsigned mode, std::string& error) {
  obString pem;
  if (Base64Encode_PEM(label, der.Data(), der.Len(), pem) != 0) {
    error = "cannot write PEM";
    return false;
  }
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, mode);
  if (fd < 0) {
    error = path + ": " + std::strerror(errno);
    return false;
  }
  bool ok = write(fd, pem.getstr(), pem.length()) == static_cast<ssize_t>(pem.length());
  ok = close(fd) == 0 && ok;
  if (!ok) error = path + ": write error";
  return ok;
}

bool ParseSerial(const std::string& text, obAsnInt& out) {
  bool hex = text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  std::string digits = hex ? text.substr(2) : text;
  if (digits.empty() || digits.size() > 40) return false;
  // The magnitude, big-endian, built digit by digit.
  std::vector<unsigned char> magnitude(20, 0);
  for (char c : digits) {
    if (!(hex ? std::isxdigit(static_cast<unsigned char>(c)) : std::isdigit(static_cast<unsigned char>(c))))
      return false;
    unsigned carry = static_cast<unsigned>(std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                                                                                         : std::tolower(c) - 'a' + 10);
    for (size_t i = magnitude.size(); i-- > 0;) {
      unsigned v = magnitude[i] * (hex ? 16u : 10u) + carry;
      magnitude[i] = static_cast<unsigned char>(v);
      carry = v >> 8;
    }
    if (carry) return false;
  }
  return out.SetBytes(magnitude.data(), magnitude.size()) == 0;
}

bool ParseNumber(const std::string& text, long min, long max, long& out) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  long v = std::strtol(text.c_str(), &end, 10);
  if (errno || *end || v < min || v > max) return false;
  out = v;
  return true;
}

bool ParseDigest(const std::string& text, ob_md_type& out) {
  static const struct {
    const char* name;
    ob_md_type md;
  } kDigests[] = {{"md5", ob_md_md5},       {"sha1", ob_md_sha1},     {"sha256", ob_md_sha256},
                  {"sha384", ob_md_sha384}, {"sha512", ob_md_sha512}};
  for (const auto& d : kDigests) {
    if (text == d.name) {
      out = d.md;
      return true;
    }
  }
  return false;
}
