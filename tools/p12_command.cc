#include "p12_command.h"

#include <fcntl.h>

#include <cstdio>
#include <string>
#include <vector>

#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/keys/rsa_key_formats.h"
#include "nycert/keystore/pfx_decode.h"
#include "nycert/keystore/pfx_encode.h"
#include "nycert/keystore/pkcs12.h"
#include "nycert/platform/nybcrypt.h"
#include "password_input.h"
#include "tool_input.h"

namespace {

const char kUsage[] =
    "usage: nycert p12 COMMAND [ARGS...]\n"
    "\n"
    "Commands:\n"
    "  info FILE                  list the bags, their protection and the MAC (no key material)\n"
    "  export --key FILE --cert FILE [--chain FILE]... [--root FILE]... [--name NAME]\n"
    "         [--legacy] -o OUT    write a PKCS#12 file\n"
    "  import FILE [-o PREFIX]    the key and certificates as PEM on standard output,\n"
    "                             or into PREFIX.key and PREFIX.pem\n"
    "  passwd FILE                replace the file's password\n"
    "\n"
    "Passwords never come from the command line itself:\n"
    "  --pass SRC / --new-pass SRC, where SRC is env:VAR, fd:N, file:PATH or\n"
    "  prompt (the default: asked on the terminal without echo).\n"
    "\n"
    "--legacy writes triple DES keys, 40-bit RC2 certificates and a SHA-1 MAC\n"
    "instead of PBES2 with AES-256 and an HMAC-SHA256 MAC.\n";

int Usage(const std::string& what) {
  std::fprintf(stderr, "nycert p12: %s\n%s", what.c_str(), kUsage);
  return 2;
}

int Fail(const std::string& what) {
  std::fprintf(stderr, "nycert p12: %s\n", what.c_str());
  return 1;
}

// Reports what and answers false, for the steps that answer whether they went well.
bool Complain(const std::string& what) {
  Fail(what);
  return false;
}

std::string Hex(const nyBinBuf& buf) {
  std::string out;
  char two[3];
  for (unsigned i = 0; i < buf.Len(); ++i) {
    std::snprintf(two, sizeof two, "%02X", buf.Data()[i]);
    out += two;
  }
  return out;
}

// Options shared by the sub-commands.
struct P12Args {
  std::vector<std::string> files;
  std::string key, cert, out, name, pass, newPass;
  std::vector<std::string> chain, roots;
  bool legacy = false;
};

bool ParseArgs(int argc, char** argv, P12Args& args, std::string& error) {
  for (int i = 0; i < argc; ++i) {
    std::string arg = argv[i];
    bool hasValue = i + 1 < argc;
    std::string* single = arg == "--key"        ? &args.key
                          : arg == "--cert"     ? &args.cert
                          : arg == "-o"         ? &args.out
                          : arg == "--name"     ? &args.name
                          : arg == "--pass"     ? &args.pass
                          : arg == "--new-pass" ? &args.newPass
                                                : nullptr;
    std::vector<std::string>* many = arg == "--chain" ? &args.chain : arg == "--root" ? &args.roots : nullptr;
    if (arg == "--legacy") {
      args.legacy = true;
    } else if (single || many) {
      if (!hasValue) {
        error = arg + " needs a value";
        return false;
      }
      if (single) *single = argv[++i];
      if (many) many->push_back(argv[++i]);
    } else if (arg.size() > 1 && arg[0] == '-') {
      error = "unknown option " + arg;
      return false;
    } else {
      args.files.push_back(arg);
    }
  }
  return true;
}

bool ReadPfx(const P12Args& args, Secret& password, obP12Contents& contents) {
  nyBinBuf pfx;
  std::string error;
  if (args.files.size() != 1) return Complain("one FILE expected");
  if (obpkcs12_fromfile(args.files[0].c_str(), pfx) < 0) return Complain("cannot read " + args.files[0]);
  if (!ReadSecret(args.pass, "Password: ", password, error)) return Complain(error);
  obString why;
  if (obP12_Decode(pfx.Data(), pfx.Len(), password.c_str(), contents, why) < 0)
    return Complain(args.files[0] + ": " + why.getstr());
  return true;
}

int Info(const P12Args& args) {
  Secret password;
  obP12Contents contents;
  if (!ReadPfx(args, password, contents)) return 1;
  std::printf("MAC: %s\n", contents.mac.length() ? contents.mac.getstr() : "none");
  for (const obP12Bag& bag : contents.bags) {
    const char* kind = bag.kind == obP12Bag::kKey ? "key" : bag.kind == obP12Bag::kCert ? "certificate" : "other";
    std::printf("%s bag\n", kind);
    if (!bag.friendlyName.empty()) std::printf("\tfriendlyName: %s\n", bag.friendlyName.c_str());
    if (!bag.localKeyId.IsEmpty()) std::printf("\tlocalKeyId: %s\n", Hex(bag.localKeyId).c_str());
    std::printf("\tprotection: %s\n", bag.protection.length() ? bag.protection.getstr() : "none");
    if (bag.kind == obP12Bag::kCert) {
      obCert cert(bag.der.Data(), bag.der.Len());
      char* names = obCert_CertNamesToStr(&cert);
      std::printf("\t%s\n", names ? names : "(certificate does not decode)");
      delete[] names;
    }
  }
  return 0;
}

// The objects of path with their labels: false (reported) when unreadable.
bool ReadObjects(const std::string& path, std::vector<ToolObject>& objects) {
  std::string error;
  if (ReadToolObjects(path, objects, error)) return true;
  return Complain(path + ": " + error);
}

bool AddCerts(const std::string& path, const std::string& name, obP12Contents& contents) {
  std::vector<ToolObject> objects;
  if (!ReadObjects(path, objects)) return false;
  for (const ToolObject& object : objects) {
    if (!object.error.empty()) return Complain(path + ": " + object.error);
    contents.bags.emplace_back();
    contents.bags.back().kind = obP12Bag::kCert;
    contents.bags.back().der.Set(object.der.data(), static_cast<unsigned>(object.der.size()));
    contents.bags.back().friendlyName = name;
  }
  return true;
}

bool AddKey(const std::string& path, obP12Bag& bag) {
  std::vector<ToolObject> objects;
  if (!ReadObjects(path, objects)) return false;
  const ToolObject& key = objects.front();
  nyBinBuf der(key.der.data(), static_cast<unsigned>(key.der.size()));
  bag.kind = obP12Bag::kKey;
  if (!key.error.empty()) return Complain(path + ": " + key.error);
  if (key.label == "RSA PRIVATE KEY") return obPKCS8fromPKCS1(der, bag.der) == 0 || Complain(path + ": bad RSA key");
  if (key.label != "PRIVATE KEY" && !key.label.empty()) return Complain(path + ": unencrypted private key expected");
  bag.der = der;
  return true;
}

int Export(const P12Args& args) {
  if (args.key.empty() || args.cert.empty() || args.out.empty() || !args.files.empty())
    return Usage("export needs --key, --cert and -o");
  obP12Contents contents;
  contents.bags.emplace_back();
  if (!AddKey(args.key, contents.bags.back()) || !AddCerts(args.cert, args.name, contents)) return 1;
  obP12Bag& cert = contents.bags[1];
  unsigned char id[20];
  ny_md_hashbuf(ob_md_sha1, cert.der.Data(), cert.der.Len(), id);
  contents.bags[0].localKeyId.Set(id, sizeof id);
  contents.bags[0].friendlyName = args.name;
  cert.localKeyId.Set(id, sizeof id);
  for (const std::string& path : args.chain) {
    if (!AddCerts(path, "", contents)) return 1;
  }
  for (const std::string& path : args.roots) {
    if (!AddCerts(path, "", contents)) return 1;
  }
  Secret password;
  std::string error;
  if (!ReadSecret(args.pass, "Export password: ", password, error)) return Fail(error);
  nyBinBuf out;
  obString why;
  if (obP12_Encode(contents, password.c_str(), args.legacy ? obP12WriteOptions::Legacy() : obP12WriteOptions(), out,
                   why) < 0)
    return Fail(why.getstr());
  FILE* file = std::fopen(args.out.c_str(), "wb");
  bool ok = file && std::fwrite(out.Data(), 1, out.Len(), file) == out.Len();
  ok = file && std::fclose(file) == 0 && ok;
  return ok ? 0 : Fail("cannot write " + args.out);
}

bool WritePem(FILE* out, const char* label, const nyBinBuf& der) {
  obString pem;
  if (Base64Encode_PEM(label, der.Data(), der.Len(), pem) < 0) return false;
  bool ok = std::fputs(pem.getstr(), out) >= 0;
  pem.Zero();
  return ok;
}

int Import(const P12Args& args) {
  Secret password;
  obP12Contents contents;
  if (!ReadPfx(args, password, contents)) return 1;
  FILE* keys = stdout;
  FILE* certs = stdout;
  if (!args.out.empty()) {
    std::string keyFile = args.out + ".key";
    int fd = open(keyFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    keys = fd >= 0 ? fdopen(fd, "w") : nullptr;
    certs = std::fopen((args.out + ".pem").c_str(), "w");
    if (!keys || !certs) return Fail("cannot write " + args.out + ".key / .pem");
  }
  bool ok = true;
  for (const obP12Bag& bag : contents.bags) {
    if (bag.kind == obP12Bag::kKey) ok &= WritePem(keys, "PRIVATE KEY", bag.der);
    if (bag.kind == obP12Bag::kCert) ok &= WritePem(certs, "CERTIFICATE", bag.der);
  }
  if (keys != stdout) ok &= std::fclose(keys) == 0;
  if (certs != stdout) ok &= std::fclose(certs) == 0;
  return ok ? 0 : Fail("write error");
}

int Passwd(const P12Args& args) {
  if (args.files.size() != 1) return Usage("one FILE expected");
  Secret oldPassword, newPassword;
  std::string error;
  if (!ReadSecret(args.pass, "Old password: ", oldPassword, error) ||
      !ReadSecret(args.newPass, "New password: ", newPassword, error))
    return Fail(error);
  obString message;
  int rc = ReplacePassword_2PKCS12_file_with_passwd_check(args.files[0].c_str(), oldPassword.c_str(),
                                                          newPassword.c_str(), message);
  std::fprintf(rc == 0 ? stdout : stderr, "%s\n", message.getstr() ? message.getstr() : "");
  return rc == 0 ? 0 : 1;
}

}  // namespace

int P12Command(int argc, char** argv) {
  if (argc < 1) return Usage("no command given");
  std::string command = argv[0];
  if (command == "-h" || command == "--help") {
    std::fputs(kUsage, stdout);
    return 0;
  }
  P12Args args;
  std::string error;
  if (!ParseArgs(argc - 1, argv + 1, args, error)) return Usage(error);
  if (command == "info") return Info(args);
  if (command == "export") return Export(args);
  if (command == "import") return Import(args);
  if (command == "passwd") return Passwd(args);
  return Usage("unknown command '" + command + "'");
}
