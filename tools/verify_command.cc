#include "verify_command.h"

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/keystore/key_holder.h"
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
#include "tool_input.h"

namespace {

const char kUsage[] =
    "usage: nycert verify [--root FILE]... [--crl FILE]... [--crl-db DIR] [--fetch]\n"
    "                     [--checks path,sig,names,crl] [--at TIME] CHAIN...\n"
    "\n"
    "Validates the certificate chain held by the CHAIN files (DER or PEM, in any\n"
    "order, with or without its root): sorts it from the end entity up, anchors\n"
    "it at one of the trusted roots, and checks the stages asked for (all four\n"
    "by default).\n"
    "\n"
    "  --root FILE     trusted root CA certificates\n"
    "  --crl FILE      CRLs to check revocation against\n"
    "  --crl-db DIR    the CRL database to look CRLs up in and store them to\n"
    "  --fetch         download missing CRLs from http and https distribution points\n"
    "  --checks LIST   the stages: path, sig, names, crl, comma separated\n"
    "  --at TIME       validate at TIME instead of now: seconds since 1970, or\n"
    "                  YYYY-MM-DD[THH:MM:SS] in UTC\n"
    "\n"
    "Prints the verdict, its explanation and the certificate at fault.\n"
    "Exits with 0 when the chain is valid, 1 when it is not, 2 on a usage\n"
    "error or input that cannot be read.\n";

constexpr int kUsageError = 2;

struct VerifyOptions {
  std::vector<std::string> roots;
  std::vector<std::string> crls;
  std::vector<std::string> chain;
  std::string crlDb;
  int checks = obCheck_All;
  long at = 0;
  bool fetch = false;
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
    if (arg == "--fetch") {
      options.fetch = true;
      continue;
    }
    bool takesValue = arg == "--root" || arg == "--crl" || arg == "--crl-db" || arg == "--checks" || arg == "--at";
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
    if (arg == "--crl") options.crls.push_back(value);
    if (arg == "--crl-db") options.crlDb = value;
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

// A key holder trusting the root certificates of the files; their CRLs go
// to crlTo.
bool LoadRoots(const std::vector<std::string>& paths, int crlTo, obKeyHolder& holder) {
  return ReadObjects<obCert>(paths, "certificate", [&](obCert* cert) {
    const char* name = cert->Subject() ? cert->Subject()->GetStr() : "";
    obRootCA* root = new obRootCA(name, cert, 0, obCaType_Internal, 0, nullptr, 0, nullptr, crlTo);
    holder.AddCA(root);
    obFreePKobj(root);
    obFreeSigned(cert);
  });
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

// Validates, fetching missing CRLs when asked: the library's environment
// then runs until the outcome arrives (its revocation time-out bounds that).
Verdict Validate(obRootCA* root, obCerts& chain, obCRLs& crls, const VerifyOptions& options) {
  Verdict verdict;
  char message[1024];
  long expiration = 0;
  CrlHttpFetcher fetcher;
  if (options.fetch) fetcher.Register();
  verdict.rc = obCert_ValCerts(root, chain, &crls, &expiration, nullptr, ValidateParams(), message, sizeof message,
                               &verdict.index, options.fetch ? Verdict::Record : nullptr, &verdict, options.checks);
  if (verdict.rc == obValidationRC_Async && options.fetch) {
    while (!verdict.done) obd_env_run_once(g_env_get(), 100);
  } else {
    verdict.message = message;
  }
  obCRLCache_free_fetchers();
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
  int crlTo = obCRLCacheDest_Memory | (options.crlDb.empty() ? 0 : obCRLCacheDest_Database);
  obKeyHolder* holder = obKeyHolder_New();
  obCerts chain;
  obCRLs crls;
  bool read = LoadRoots(options.roots, crlTo, *holder) &&
              ReadObjects<obCert>(options.chain, "certificate", [&](obCert* c) { chain.Add(c); }) &&
              ReadObjects<obCRL>(options.crls, "CRL", [&](obCRL* c) { crls.Add(c); });
  int status = kUsageError;
  if (read) {
    obRootCA* root = obCerts_Sort(&chain, &chain) == 0 ? obCert_FixChain(&chain, holder) : nullptr;
    if (!root) {
      std::puts("verdict: no trusted root CA anchors the chain");
      status = 1;
    } else {
      Verdict verdict = Validate(root, chain, crls, options);
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
