#include "verify_command.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/ocsp_server.h"
#include "nycert/keystore/pk_objects.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obclock.h"
#include "nycert/platform/obd_env.h"
#include "nycert/validate/cert_val.h"
#include "nycert/validate/chain_fix.h"
#include "nycert/validate/chain_sort.h"
#include "nycert/validate/validation_text.h"
#include "crl_http_fetcher.h"
#include "ocsp_http_fetcher.h"
#include "password_input.h"
#include "tool_input.h"

namespace {

const char kUsage[] =
    "usage: nycert verify [--root FILE]... [--key-holder-from FILE]... [--pass SRC]\n"
    "                     [--crl FILE]... [--crl-db DIR] [--fetch]\n"
    "                     [--ocsp URL]... [--ocsp-from-aia] [-t SECONDS]\n"
    "                     [--checks path,sig,names,crl] [--at TIME] CHAIN...\n"
    "\n"
    "Validates the certificate chain held by the CHAIN files (DER or PEM, in any\n"
    "order, with or without its root): sorts it from the end entity up, anchors\n"
    "it at one of the trusted roots, and checks the stages asked for (all four\n"
    "by default).\n"
    "\n"
    "  --root FILE     trusted root CA certificates\n"
    "  --key-holder-from FILE\n"
    "                  trust the root CAs and certified keys of a PKCS#12 key file\n"
    "  --pass SRC      its password: env:VAR, fd:N, file:PATH or prompt (the default)\n"
    "  --crl FILE      CRLs to check revocation against\n"
    "  --crl-db DIR    the CRL database to look CRLs up in and store them to\n"
    "  --fetch         download missing CRLs from http and https distribution points\n"
    "  --ocsp URL      ask the OCSP responder at URL about each certificate; repeat\n"
    "                  for more, the next asked only when one cannot be reached\n"
    "  --ocsp-from-aia ask the OCSP responder that each certificate's authority\n"
    "                  information access names\n"
    "  -t SECONDS      the longest one download may take (default 20)\n"
    "  --checks LIST   the stages: path, sig, names, crl, comma separated\n"
    "  --at TIME       validate at TIME instead of now: seconds since 1970, or\n"
    "                  YYYY-MM-DD[THH:MM:SS] in UTC\n"
    "\n"
    "Revocation is checked with OCSP when an OCSP option is given, else with CRLs;\n"
    "with both an OCSP option and CRLs (--crl, --crl-db or --fetch) the chain must\n"
    "pass both checks, OCSP first.\n"
    "\n"
    "Prints the verdict, its explanation and the certificate at fault.\n"
    "Exits with 0 when the chain is valid, 1 when it is not, 2 on a usage\n"
    "error or input that cannot be read.\n";

constexpr int kUsageError = 2;

struct VerifyOptions {
  std::vector<std::string> roots;
  std::vector<std::string> keyFiles;
  std::string pass;
  std::vector<std::string> crls;
  std::vector<std::string> chain;
  std::string crlDb;
  std::vector<std::string> ocspUrls;
  int checks = obCheck_All;
  long at = 0;
  long timeoutSeconds = 20;
  bool fetch = false;
  bool ocspFromAia = false;

  bool UsesOcsp() const { return ocspFromAia || !ocspUrls.empty(); }
  bool UsesCrls() const { return !crls.empty() || !crlDb.empty() || fetch; }
};

bool ParseChecks(const std::string& text, int& checks) {
  static const struct {
    const char* name;
    int bit;
  } kStages[] = {{"path", obCheck_Path}, {"sig", obCheck_Signatures}, {"names", obCheck_NameConstraints},
                 {"crl", obCheck_Revocation}};
  checks = 0;
  size_t start = 0;
  while (start <= text.size()) {
    size_t end = text.find(',', start);
    std::string word = text.substr(start, end == std::string::npos ? std::string::npos : end - start);
    int bit = 0;
    for (const auto& stage : kStages) {
      if (word == stage.name) bit = stage.bit;
    }
    if (!bit) return false;
    checks |= bit;
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return checks != 0;
}

// "bad" on a usage error with its message written, "help", or "run".
enum class Parsed { kRun, kHelp, kBad };

Parsed ParseOptions(int argc, char** argv, VerifyOptions& options) {
  for (int i = 0; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg == "-h" || arg == "--help") return Parsed::kHelp;
    if (arg == "--fetch" || arg == "--ocsp-from-aia") {
      (arg == "--fetch" ? options.fetch : options.ocspFromAia) = true;
      continue;
    }
    bool takesValue = arg == "--root" || arg == "--key-holder-from" || arg == "--pass" || arg == "--crl" ||
                      arg == "--crl-db" || arg == "--checks" || arg == "--at" || arg == "--ocsp" || arg == "-t";
    if (!takesValue) {
      if (arg.size() > 1 && arg[0] == '-') {
        std::fprintf(stderr, "nycert verify: unknown option '%s'\n", arg.c_str());
        return Parsed::kBad;
      }
      options.chain.push_back(arg);
      continue;
    }
    if (++i == argc) {
      std::fprintf(stderr, "nycert verify: %s needs a value\n", arg.c_str());
      return Parsed::kBad;
    }
    std::string value = argv[i];
    if (arg == "--root") options.roots.push_back(value);
    if (arg == "--key-holder-from") options.keyFiles.push_back(value);
    if (arg == "--pass") options.pass = value;
    if (arg == "--crl") options.crls.push_back(value);
    if (arg == "--crl-db") options.crlDb = value;
    if (arg == "--ocsp") options.ocspUrls.push_back(value);
    if (arg == "-t" && !ParseSecondsOption(value, options.timeoutSeconds)) {
      std::fprintf(stderr, "nycert verify: -t takes 1 to 3600 seconds\n");
      return Parsed::kBad;
    }
    if (arg == "--checks" && !ParseChecks(value, options.checks)) {
      std::fprintf(stderr, "nycert verify: bad --checks '%s'\n", value.c_str());
      return Parsed::kBad;
    }
    if (arg == "--at" && !ParseTimeOption(value, options.at)) {
      std::fprintf(stderr, "nycert verify: bad --at '%s'\n", value.c_str());
      return Parsed::kBad;
    }
  }
  if (options.chain.empty()) {
    std::fputs("nycert verify: no chain given\n", stderr);
    return Parsed::kBad;
  }
  if (options.ocspFromAia && !options.ocspUrls.empty()) {
    std::fputs("nycert verify: give --ocsp or --ocsp-from-aia, not both\n", stderr);
    return Parsed::kBad;
  }
  return Parsed::kRun;
}

// Calls add with every object of the files, decoded as T; false (reported)
// when a file cannot be read or an object does not decode.
template <class T, class Add>
bool ReadObjects(const std::vector<std::string>& paths, const char* kind, Add add) {
  for (const std::string& path : paths) {
    std::vector<ToolObject> objects;
    std::string error;
    if (!ReadToolObjects(path, objects, error)) {
      std::fprintf(stderr, "nycert verify: %s: %s\n", path.c_str(), error.c_str());
      return false;
    }
    for (const ToolObject& object : objects) {
      T* decoded = object.error.empty() ? new T(object.der.data(), static_cast<unsigned>(object.der.size())) : nullptr;
      if (!decoded || !decoded->OK()) {
        std::fprintf(stderr, "nycert verify: %s: not a %s: %s\n", path.c_str(), kind,
                     decoded ? decoded->Error().getstr() : object.error.c_str());
        obFreeSigned(decoded);
        return false;
      }
      add(decoded);
    }
  }
  return true;
}

// A key holder trusting the root certificates of the files and the root
// CAs and certified keys of the PKCS#12 files.
bool LoadRoots(const VerifyOptions& options, obKeyHolder& holder) {
  bool read = ReadObjects<obCert>(options.roots, "certificate", [&](obCert* cert) {
    const char* name = cert->Subject() ? cert->Subject()->GetStr() : "";
    obRootCA* root = new obRootCA(name, cert, 0, obCaType_Internal, 0, nullptr, 0, nullptr, 0);
    holder.AddCA(root);
    obFreePKobj(root);
    obFreeSigned(cert);
  });
  std::string error;
  if (!read || AddPkcs12FilesToHolder(options.keyFiles, options.pass, holder, error)) return read;
  std::fprintf(stderr, "nycert verify: %s\n", error.c_str());
  return false;
}

// A validation's outcome, from its return or its callback.
struct Verdict {
  bool done = false;
  int rc = obValidationRC_Async;
  std::string message;
  int index = -1;

  static void Record(int rc, const char* message, int index, long, void* context) {
    Verdict* v = static_cast<Verdict*>(context);
    v->rc = rc;
    v->message = message;
    v->index = index;
    v->done = true;
  }
};

// One validation of the stages of checks. With network, downloads may run:
// the library's environment then runs until the outcome arrives (the
// revocation time-out bounds that).
Verdict RunValidation(obRootCA* root, obCerts& chain, int checks, bool network) {
  Verdict verdict;
  char message[1024];
  long expiration = 0;
  verdict.rc = obCert_ValCerts(root, chain, nullptr, &expiration, nullptr, ValidateParams(), message, sizeof message,
                               &verdict.index, network ? Verdict::Record : nullptr, &verdict, checks);
  if (verdict.rc == obValidationRC_Async && network) {
    while (!verdict.done) obd_env_run_once(g_env_get(), 100);
  } else {
    verdict.message = message;
  }
  return verdict;
}

// Has root's chains checked by OCSP: at the responders of urls in order,
// or, with none, at the one each certificate names.
void UseOcsp(obRootCA& root, const std::vector<std::string>& urls) {
  root.SetRevocationMethod(obCaRevocation_OCSP);
  obPKObjects* servers = urls.empty() ? nullptr : new obPKObjects;
  for (const std::string& url : urls) {
    obOcspServer* server = new obOcspServer(url.c_str(), url.c_str(), nullptr);
    servers->Add(server);
    obFreePKobj(server);
  }
  root.SetOcspServers(servers);
  obFreePKobj(servers);
}

// Validates with the revocation checks asked for: OCSP, CRLs, or OCSP and
// then, when the chain passed, CRLs as well.
Verdict Validate(obRootCA* root, obCerts& chain, const VerifyOptions& options) {
  HttpRequest limits;
  limits.totalTimeoutMs = options.timeoutSeconds * 1000;
  limits.connectTimeoutMs = std::min(limits.connectTimeoutMs, limits.totalTimeoutMs);
  CrlHttpFetcher crlFetcher(limits);
  OcspHttpFetcher ocspFetcher(limits);
  if (options.fetch) crlFetcher.Register();
  if (options.UsesOcsp()) {
    ocspFetcher.Register();
    UseOcsp(*root, options.ocspUrls);
  }
  Verdict verdict = RunValidation(root, chain, options.checks, options.fetch || options.UsesOcsp());
  bool crlsToo = options.UsesOcsp() && options.UsesCrls() && (options.checks & obCheck_Revocation);
  if (verdict.rc == obValidationRC_OK && crlsToo) {
    root->SetRevocationMethod(obCaRevocation_CRL);
    verdict = RunValidation(root, chain, obCheck_Revocation, options.fetch);
  }
  obCRLCache_free_fetchers();
  obOCSP_free_fetchers();
  return verdict;
}

void PrintVerdict(obCerts& chain, const Verdict& verdict) {
  std::printf("verdict: %s\n", obValidationRC_GetString(verdict.rc));
  if (verdict.rc == obValidationRC_OK) return;
  std::printf("reason:  %s\n", verdict.message.c_str());
  const obCert* cert = verdict.index >= 0 ? chain.Get(verdict.index) : nullptr;
  const char* subject = cert && cert->Subject() ? cert->Subject()->GetStr() : nullptr;
  if (subject) std::printf("at:      certificate %d, %s\n", verdict.index, subject);
}

int Verify(const VerifyOptions& options) {
  if (options.at) ob_time_set_fixed(options.at);
  if (!options.crlDb.empty() && obCRLCache_set_dbpath(options.crlDb.c_str()) != 0) {
    std::fprintf(stderr, "nycert verify: cannot use the CRL database in %s\n", options.crlDb.c_str());
    return kUsageError;
  }
  obKeyHolder* holder = obKeyHolder_New();
  obCerts chain;
  obCRLs crls;
  bool read = LoadRoots(options, *holder) &&
              ReadObjects<obCert>(options.chain, "certificate", [&](obCert* c) { chain.Add(c); }) &&
              ReadObjects<obCRL>(options.crls, "CRL", [&](obCRL* c) { crls.Add(c); });
  int status = kUsageError;
  if (read) {
    // The CRLs given go to the cache, and to the database when there is one,
    // whichever root anchors the chain.
    int crlTo = obCRLCacheDest_Memory | (options.crlDb.empty() ? 0 : obCRLCacheDest_Database);
    obCert_PushCRLs(crls, ValidateParams(), crlTo);
    obRootCA* root = obCerts_Sort(&chain, &chain) == 0 ? obCert_FixChain(&chain, holder) : nullptr;
    if (!root) {
      std::puts("verdict: no trusted root CA anchors the chain");
      status = 1;
    } else {
      Verdict verdict = Validate(root, chain, options);
      PrintVerdict(chain, verdict);
      status = verdict.rc == obValidationRC_OK ? 0 : 1;
    }
  }
  delete holder;
  return status;
}

}  // namespace

int VerifyCommand(int argc, char** argv) {
  VerifyOptions options;
  switch (ParseOptions(argc, argv, options)) {
    case Parsed::kHelp:
      std::fputs(kUsage, stdout);
      return 0;
    case Parsed::kBad:
      std::fputs(kUsage, stderr);
      return kUsageError;
    case Parsed::kRun:
      break;
  }
  return Verify(options);
}
