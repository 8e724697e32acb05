#include "show_command.h"

#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/pkcs7_bundle.h"
#include "nycert/platform/obstream.h"
#include "tool_input.h"

namespace {

const char kUsage[] =
    "usage: nycert show [-d 1|2|3] FILE...\n"
    "\n"
    "Prints every certificate and CRL in each FILE. A file may hold one DER\n"
    "object or PEM text with any number of blocks, with other text around them.\n"
    "DER input that is not a certificate is read as a CRL, except in files\n"
    "named .p7b or .p7c, which hold PKCS#7 bundles (as do PEM \"PKCS7\" blocks).\n"
    "\n"
    "  -d 1   names only (a CRL's issuer)\n"
    "  -d 2   names, version, serial number, validity and extensions; for a CRL\n"
    "         its update times and extensions (default)\n"
    "  -d 3   everything: a certificate's public key, a CRL's revoked entries\n"
    "\n"
    "Exits with 1 when a file cannot be read or an object in it does not decode.\n";

bool IsCertificateLabel(const std::string& label) { return label == "CERTIFICATE" || label == "X509 CERTIFICATE"; }

bool IsCrlLabel(const std::string& label) { return label == "X509 CRL"; }

bool IsBundleFile(const std::string& path) {
  std::string suffix = path.size() >= 4 ? path.substr(path.size() - 4) : "";
  for (char& c : suffix) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return suffix == ".p7b" || suffix == ".p7c";
}

// Prints a decoded object under a heading; false (with the reason on
// standard error) when it did not decode.
template <class T>
bool ShowDecoded(const std::string& path, int index, const char* kind, T* object, obCertHerrorDetails details) {
  bool ok = object->OK() != 0;
  if (ok) {
    ObStream text;
    text.Printf("%s: %s %d\n", path.c_str(), kind, index);
    object->Sprint(&text, details, 1);
    std::fputs(text.c_str(), stdout);
  } else {
    std::fprintf(stderr, "nycert show: %s: object %d is not a %s: %s\n", path.c_str(), index, kind,
                 object->Error().getstr());
  }
  obFreeSigned(object);
  return ok;
}

obCRL* DecodeCrl(const std::vector<unsigned char>& der) {
  return new obCRL(der.data(), static_cast<unsigned>(der.size()));
}

// DER without a label is a certificate unless it only decodes as a CRL;
// when it is neither, both reasons are given.
bool ShowUnlabelled(const std::string& path, int index, const ToolObject& object, obCertHerrorDetails details) {
  obCert* cert = new obCert(object.der.data(), static_cast<unsigned>(object.der.size()));
  if (cert->OK()) return ShowDecoded(path, index, "certificate", cert, details);
  obCRL* crl = DecodeCrl(object.der);
  if (crl->OK()) {
    obFreeSigned(cert);
    return ShowDecoded(path, index, "CRL", crl, details);
  }
  std::fprintf(stderr, "nycert show: %s: object %d is neither a certificate (%s) nor a CRL (%s)\n", path.c_str(),
               index, cert->Error().getstr(), crl->Error().getstr());
  obFreeSigned(cert);
  obFreeSigned(crl);
  return false;
}

// Prints the certificates and then the CRLs of a PKCS#7 bundle, numbered
// "<bundle>.<n>"; false when the bundle does not decode.
bool ShowBundle(const std::string& path, int index, const ToolObject& object, obCertHerrorDetails details) {
  obCerts certs;
  obCRLs crls;
  if (obPKCS72CertCRL(reinterpret_cast<const char*>(object.der.data()), static_cast<unsigned>(object.der.size()),
                      &certs, &crls) < 0) {
    std::fprintf(stderr, "nycert show: %s: object %d is not a PKCS#7 bundle of certificates and CRLs\n",
                 path.c_str(), index);
    return false;
  }
  std::printf("%s: PKCS#7 bundle %d: %d certificates, %d CRLs\n", path.c_str(), index, certs.Count(), crls.Count());
  bool ok = true;
  std::string inner = path + " bundle " + std::to_string(index);
  for (int i = 0; i < certs.Count(); ++i) {
    obSaveSigned(certs.Get(i));
    ok &= ShowDecoded(inner, i + 1, "certificate", certs.Get(i), details);
  }
  for (int i = 0; i < crls.Count(); ++i) {
    obSaveSigned(crls.Get(i));
    ok &= ShowDecoded(inner, i + 1, "CRL", crls.Get(i), details);
  }
  return ok;
}

// Prints one object; false when it does not decode.
bool ShowObject(const std::string& path, int index, const ToolObject& object, obCertHerrorDetails details) {
  if (!object.error.empty()) {
    std::fprintf(stderr, "nycert show: %s: object %d: %s\n", path.c_str(), index, object.error.c_str());
    return false;
  }
  if (object.label == "PKCS7" || (object.label.empty() && IsBundleFile(path)))
    return ShowBundle(path, index, object, details);
  if (object.label.empty()) return ShowUnlabelled(path, index, object, details);
  if (IsCrlLabel(object.label)) return ShowDecoded(path, index, "CRL", DecodeCrl(object.der), details);
  if (IsCertificateLabel(object.label)) {
    obCert* cert = new obCert(object.der.data(), static_cast<unsigned>(object.der.size()));
    return ShowDecoded(path, index, "certificate", cert, details);
  }
  std::fprintf(stderr, "nycert show: %s: object %d: skipped a PEM block \"%s\"\n", path.c_str(), index,
               object.label.c_str());
  return true;
}

bool ShowFile(const std::string& path, obCertHerrorDetails details) {
  std::vector<ToolObject> objects;
  std::string error;
  if (!ReadToolObjects(path, objects, error)) {
    std::fprintf(stderr, "nycert show: %s: %s\n", path.c_str(), error.c_str());
    return false;
  }
  bool ok = true;
  for (size_t i = 0; i < objects.size(); ++i) ok &= ShowObject(path, static_cast<int>(i) + 1, objects[i], details);
  return ok;
}

}  // namespace

int ShowCommand(int argc, char** argv) {
  obCertHerrorDetails details = obCertHerror_Details;
  std::vector<std::string> files;
  for (int i = 0; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") {
      std::fputs(kUsage, stdout);
      return 0;
    }
    if (arg == "-d") {
      if (i + 1 >= argc || !ParseDetailOption(argv[++i], details)) {
        std::fprintf(stderr, "nycert show: -d takes 1, 2 or 3\n%s", kUsage);
        return 2;
      }
    } else if (arg.size() > 1 && arg[0] == '-') {
      std::fprintf(stderr, "nycert show: unknown option %s\n%s", arg.c_str(), kUsage);
      return 2;
    } else {
      files.push_back(arg);
    }
  }
  if (files.empty()) {
    std::fprintf(stderr, "nycert show: no file given\n%s", kUsage);
    return 2;
  }
  bool ok = true;
  for (const std::string& file : files) ok &= ShowFile(file, details);
  return ok ? 0 : 1;
}
