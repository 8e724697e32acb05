#include "chain_command.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "nycert/buffers/obstring.h"
#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/oserr.h"
#include "nycert/validate/chain_fix.h"
#include "nycert/validate/chain_sort.h"
#include "password_input.h"
#include "tool_input.h"

namespace {

const char kUsage[] =
    "usage: nycert chain [--root FILE]... [--key-holder-from FILE]... [--pass SRC]\n"
    "                    [--pem] BAG...\n"
    "\n"
    "Reads the certificates of every BAG file (DER or PEM, any number, in any\n"
    "order), sorts them into chain order from the end entity up, completes or\n"
    "trims the chain against a key holder of trusted roots and prints it:\n"
    "one subject a line, or PEM with --pem. The last line names the root CA\n"
    "that anchors the chain, or says why none does.\n"
    "\n"
    "  --root FILE             trust the certificates in FILE as root CAs\n"
    "  --key-holder-from FILE  trust the root CAs and certified keys of a\n"
    "                          PKCS#12 key file\n"
    "  --pass SRC              its password: env:VAR, fd:N, file:PATH or prompt\n"
    "                          (the default: asked on the terminal)\n"
    "  --pem                   print the chain as PEM blocks\n"
    "\n"
    "Exits with 0 when the chain is anchored, 1 when it is not, and 2 on a\n"
    "usage error or a file that cannot be read.\n";

struct ChainOptions {
  std::vector<std::string> roots;
  std::vector<std::string> keyFiles;
  std::vector<std::string> bags;
  std::string pass;
  bool pem = false;
};

// false on a usage error (reported).
bool ParseOptions(int argc, char** argv, ChainOptions& options) {
  for (int i = 0; i < argc; ++i) {
    std::string arg = argv[i];
    bool takesValue = arg == "--root" || arg == "--key-holder-from" || arg == "--pass";
    if (takesValue && i + 1 == argc) {
      std::fprintf(stderr, "nycert chain: %s needs a value\n", arg.c_str());
      return false;
    }
    if (arg == "--root") {
      options.roots.push_back(argv[++i]);
    } else if (arg == "--key-holder-from") {
      options.keyFiles.push_back(argv[++i]);
    } else if (arg == "--pass") {
      options.pass = argv[++i];
    } else if (arg == "--pem") {
      options.pem = true;
    } else if (arg.size() > 1 && arg[0] == '-') {
      std::fprintf(stderr, "nycert chain: unknown option '%s'\n", arg.c_str());
      return false;
    } else {
      options.bags.push_back(arg);
    }
  }
  if (options.bags.empty()) std::fputs("nycert chain: no certificates given\n", stderr);
  return !options.bags.empty();
}

// Appends the certificates of the file at path to certs: false (reported)
// when the file cannot be read or holds an object that is not a certificate.
bool ReadCertificates(const std::string& path, obCerts& certs) {
  std::vector<ToolObject> objects;
  std::string error;
  if (!ReadToolObjects(path, objects, error)) {
    std::fprintf(stderr, "nycert chain: %s: %s\n", path.c_str(), error.c_str());
    return false;
  }
  for (size_t i = 0; i < objects.size(); ++i) {
    const ToolObject& object = objects[i];
    obCert* cert = object.error.empty() ? obCert_Decode(object.der.data(), static_cast<int>(object.der.size()))
                                        : nullptr;
    if (!cert) {
      std::fprintf(stderr, "nycert chain: %s: object %zu is not a certificate\n", path.c_str(), i + 1);
      return false;
    }
    certs.Add(cert);
  }
  return true;
}

// A holder trusting every certificate of the root files, each named after
// its file and place in it, and the root CAs and certified keys of the
// PKCS#12 files, all read under the one password.
std::unique_ptr<obKeyHolder> TrustedRoots(const ChainOptions& options) {
  std::unique_ptr<obKeyHolder> holder(obKeyHolder_New());
  for (const std::string& path : options.roots) {
    obCerts certs;
    if (!ReadCertificates(path, certs)) return nullptr;
    for (int i = 0; i < certs.Size(); ++i) {
      std::string name = path + "#" + std::to_string(i + 1);
      obRootCA* root = new obRootCA(name.c_str(), certs.Get(i), 0, obCaType_Unknown, 0, nullptr, 0, nullptr, 0);
      holder->AddCA(root);
      obFreePKobj(root);
    }
  }
  std::string error;
  if (AddPkcs12FilesToHolder(options.keyFiles, options.pass, *holder, error)) return holder;
  std::fprintf(stderr, "nycert chain: %s\n", error.c_str());
  return nullptr;
}

// The last diagnostic line of an operation, kept while it runs with the gate open.
std::string g_lastReason;

void KeepReason(const char* line) { g_lastReason = line; }

// Runs the repair with diagnostics captured: the root, and the last line
// reported, which says why no root was found.
obRootCA* FixWithReason(obCerts& chain, obKeyHolder& holder, std::string& reason) {
  int savedDebug = dodebugprt;
  dodebugprt = 1;
  g_lastReason.clear();
  herror_set_sink(KeepReason);
  obRootCA* root = obCert_FixChain(&chain, &holder);
  herror_set_sink(nullptr);
  dodebugprt = savedDebug;
  reason = g_lastReason;
  return root;
}

void PrintChain(const obCerts& chain, bool pem) {
  for (int i = 0; i <= chain.Top(); ++i) {
    const obCert* cert = chain.Get(i);
    if (!cert) continue;
    if (!pem) {
      const obDN* subject = cert->Subject();
      std::printf("%d: %s\n", i, subject && subject->GetStr() ? subject->GetStr() : "<no subject>");
      continue;
    }
    obString text;
    if (Base64Encode_PEM("CERTIFICATE", cert->GetBuf(), cert->BufLen(), text) == 0) std::fputs(text, stdout);
  }
}

}  // namespace

int ChainCommand(int argc, char** argv) {
  if (argc == 1 && (!std::strcmp(argv[0], "-h") || !std::strcmp(argv[0], "--help"))) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  ChainOptions options;
  if (!ParseOptions(argc, argv, options)) {
    std::fputs(kUsage, stderr);
    return 2;
  }
  std::unique_ptr<obKeyHolder> holder = TrustedRoots(options);
  if (!holder) return 2;
  obCerts chain;
  for (const std::string& bag : options.bags) {
    if (!ReadCertificates(bag, chain)) return 2;
  }
  if (obCerts_Sort(&chain, &chain) != 0) {
    std::puts("not anchored: the certificates form no chain (each issues another)");
    return 1;
  }
  std::string reason;
  obRootCA* root = FixWithReason(chain, *holder, reason);
  PrintChain(chain, options.pem);
  if (!root) {
    std::printf("not anchored: %s\n", reason.empty() ? "no trusted root" : reason.c_str());
    return 1;
  }
  const obDN* rootName = root->DN();
  std::printf("anchored at %s (%s)\n", root->Name() ? root->Name() : "<no name>",
              rootName && rootName->GetStr() ? rootName->GetStr() : "<no subject>");
  return 0;
}
