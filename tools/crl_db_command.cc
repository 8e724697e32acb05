#include "crl_db_command.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <ctime>
#include <string>
#include <vector>

#include "nycert/certs/print_text_internal.h"
#include "nycert/crl/crl.h"
#include "nycert/crl/crl_cache.h"
#include "nycert/crl/crl_db.h"
#include "nycert/crl/crl_db_key.h"
#include "nycert/crl/file_db.h"
#include "nycert/platform/obstream.h"
#include "crl_http_fetcher.h"
#include "nycert/names/general_name.h"
#include "nycert/platform/g_env.h"
#include "nycert/platform/obd_env.h"
#include "tool_input.h"

namespace {

const char kUsage[] =
    "usage: nycert crl-db DIR COMMAND [ARGS...]\n"
    "\n"
    "Looks into the CRL database that the CRL cache keeps under DIR (the\n"
    "directory the cache is given; the records are in DIR/CrlCache_1).\n"
    "\n"
    "Commands:\n"
    "  list             one line per record: its key, expiry, size, and\n"
    "                   \"expired\" when it is old\n"
    "  show KEY [-d N]  print the CRL stored under KEY\n"
    "  gc               remove old records and what interrupted writes left\n"
    "  fetch URL ISSUER download the CRL at URL, check it with the issuer's\n"
    "                   certificate and store it\n"
    "\n"
    "Run 'nycert crl-db DIR COMMAND --help' for a command's options.\n";

const char kListUsage[] =
    "usage: nycert crl-db DIR list\n"
    "\n"
    "Prints one line per record, sorted by key:\n"
    "  KEY<TAB>expires YYYY-MM-DD HH:MM:SS<TAB>N bytes[<TAB>expired]\n"
    "KEY is the distribution point and suffix the record is stored under, with\n"
    "control characters, non-ASCII octets and \"\\\" written as \\xHH. The expiry\n"
    "is local time; \"expired\" marks a record the cache no longer uses.\n"
    "\n"
    "Exits with 1 when the database or a record cannot be read.\n";

const char kShowUsage[] =
    "usage: nycert crl-db DIR show KEY [-d 1|2|3]\n"
    "\n"
    "Prints the CRL stored under KEY, written as 'list' prints it, expired or not.\n"
    "\n"
    "  -d 1   the issuer only\n"
    "  -d 2   the issuer, update times and extensions (default)\n"
    "  -d 3   everything, with the revoked entries\n"
    "\n"
    "Exits with 1 when there is no such record, it cannot be read, or it does\n"
    "not hold a CRL.\n";

const char kGcUsage[] =
    "usage: nycert crl-db DIR gc\n"
    "\n"
    "Removes the old records (expired, or too short to hold an expiry time) and\n"
    "temporary files that interrupted writes left a minute or more ago, then\n"
    "prints how many records went.\n"
    "\n"
    "Exits with 1 when the database cannot be read.\n";

const char kFetchUsage[] =
    "usage: nycert crl-db DIR fetch URL ISSUER [-t SECONDS]\n"
    "       nycert crl-db fetch DIR URL ISSUER [-t SECONDS]\n"
    "\n"
    "Downloads the CRL at URL (http or https; DER or PEM) through the CRL cache\n"
    "and stores it in the database under DIR, made when missing. The CRL is\n"
    "stored only when the key of ISSUER (a certificate file, DER or PEM) verifies\n"
    "it, it was issued by ISSUER's subject, it names URL when it names its\n"
    "distribution point, and it is valid now.\n"
    "\n"
    "  -t SECONDS   give up after this long (default 20)\n"
    "\n"
    "Exits with 1 when no good CRL could be fetched, saying why.\n";

using Args = std::vector<std::string>;

int UsageError(const char* usage, const std::string& what) {
  std::fprintf(stderr, "nycert crl-db: %s\n%s", what.c_str(), usage);
  return 2;
}

bool Fail(const std::string& what) {
  std::fprintf(stderr, "nycert crl-db: %s\n", what.c_str());
  return false;
}

bool IsHelp(const std::string& arg) { return arg == "-h" || arg == "--help"; }

// Opens the database under dir without making one where there is none.
bool OpenDatabase(const std::string& dir) {
  struct stat st;
  if (stat(dir.c_str(), &st) != 0) return Fail(dir + ": " + std::strerror(errno));
  if (!S_ISDIR(st.st_mode)) return Fail(dir + ": not a directory");
  CrlDB::InitPath(dir.c_str());
  std::string store = CrlDB::Directory();
  if (stat(store.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return Fail(dir + ": no CRL database (no " + store + ")");
  if (access(store.c_str(), R_OK | X_OK) != 0) return Fail(store + ": " + std::strerror(errno));
  if (CrlDB::Init() != 0) return Fail(dir + ": cannot open the CRL database");
  return true;
}

// The record file keys, sorted.
std::vector<std::string> FileKeys() {
  std::vector<std::string> keys;
  FileDB_Iter iter(CrlDB::FDB());
  for (const char* key = iter.Next(); key; key = iter.Next()) keys.push_back(key);
  std::sort(keys.begin(), keys.end());
  return keys;
}

bool IsPrintable(unsigned char c) { return c >= 0x20 && c < 0x7F && c != '\\'; }

// key with unprintable octets and "\" written as \xHH.
std::string Printable(const std::string& key) {
  std::string out;
  for (unsigned char c : key) {
    char escape[5];
    std::snprintf(escape, sizeof escape, "\\x%02X", c);
    out += IsPrintable(c) ? std::string(1, static_cast<char>(c)) : std::string(escape);
  }
  return out;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Reverses Printable; a "\" not starting \xHH stands for itself.
std::string FromPrintable(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    int high = i + 3 < text.size() && text.compare(i, 2, "\\x") == 0 ? HexDigit(text[i + 2]) : -1;
    int low = high >= 0 ? HexDigit(text[i + 3]) : -1;
    if (low < 0) {
      out += text[i];
      continue;
    }
    out += static_cast<char>(high << 4 | low);
    i += 3;
  }
  return out;
}

std::string ExpiryText(const CrlDBRecord& record) {
  return record.Size() < CrlDBRecord::kExpiryLen ? "?" : obLocalTimeText(record.Expiry());
}

// The list line of the record under fileKey: true, or false (reported) when
// it cannot be read.
bool ListLine(const std::string& fileKey, long now, std::string* line) {
  CrlDBRecord record;
  if (record.Load(CrlDB::FDB(), fileKey.c_str()) != 0) return Fail("cannot read the record " + fileKey);
  std::string key;
  *line = record.Key(fileKey, &key) == 0 ? Printable(key) : fileKey + " (not a key this database makes)";
  *line += "\texpires " + ExpiryText(record) + "\t" + std::to_string(record.Size()) + " bytes";
  if (record.IsOld(now)) *line += "\texpired";
  *line += "\n";
  return true;
}

int List(const std::string& dir, const Args& args) {
  if (!args.empty()) return UsageError(kListUsage, "unexpected argument " + args[0]);
  if (!OpenDatabase(dir)) return 1;
  long now = static_cast<long>(std::time(nullptr));
  bool ok = true;
  std::vector<std::string> lines;
  for (const std::string& fileKey : FileKeys()) {
    std::string line;
    if (ListLine(fileKey, now, &line)) {
      lines.push_back(line);
    } else {
      ok = false;
    }
  }
  std::sort(lines.begin(), lines.end());
  for (const std::string& line : lines) std::fputs(line.c_str(), stdout);
  return ok ? 0 : 1;
}

bool ShowRecord(const std::string& key, obCertHerrorDetails details) {
  std::string fileKey = CrlDB_EncodeKey(FromPrintable(key));
  std::vector<std::string> keys = FileKeys();
  if (!std::binary_search(keys.begin(), keys.end(), fileKey)) return Fail("no record for " + key);
  CrlDBRecord record;
  if (record.Load(CrlDB::FDB(), fileKey.c_str()) != 0) return Fail("cannot read the record for " + key);
  obDerSpan der = record.Crl();
  obCRL* crl = new obCRL(der.data, static_cast<unsigned>(der.size));
  bool ok = true;
  if (!crl->OK()) {
    ok = Fail("the record for " + key + " does not hold a CRL: " + crl->Error().getstr());
  } else {
    ObStream text;
    text.Printf("%s\n\texpires %s Local Time%s\n", key.c_str(), ExpiryText(record).c_str(),
                record.IsOld(static_cast<long>(std::time(nullptr))) ? " (expired)" : "");
    crl->Sprint(&text, details, 1);
    std::fputs(text.c_str(), stdout);
  }
  obFreeSigned(crl);
  return ok;
}

int Show(const std::string& dir, const Args& args) {
  obCertHerrorDetails details = obCertHerror_Details;
  Args keys;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-d") {
      if (i + 1 >= args.size() || !ParseDetailOption(args[++i], details)) return UsageError(kShowUsage, "-d takes 1, 2 or 3");
    } else {
      keys.push_back(args[i]);
    }
  }
  if (keys.size() != 1) return UsageError(kShowUsage, keys.empty() ? "no key given" : "one key at a time");
  if (!OpenDatabase(dir)) return 1;
  return ShowRecord(keys[0], details) ? 0 : 1;
}

int Collect(const std::string& dir, const Args& args) {
  if (!args.empty()) return UsageError(kGcUsage, "unexpected argument " + args[0]);
  if (!OpenDatabase(dir)) return 1;
  int removed = CrlDB::GarbageCollector();
  if (removed < 0) {
    Fail("garbage collection failed");
    return 1;
  }
  std::printf("removed %d record%s\n", removed, removed == 1 ? "" : "s");
  return 0;
}

// The first certificate in the file at path, or null (reported).
obCert* ReadIssuer(const std::string& path) {
  std::vector<ToolObject> objects;
  std::string error;
  if (!ReadToolObjects(path, objects, error)) {
    Fail(path + ": " + error);
    return nullptr;
  }
  for (const ToolObject& object : objects) {
    if (!object.error.empty() || (!object.label.empty() && object.label != "CERTIFICATE")) continue;
    obCert* cert = new obCert(object.der.data(), static_cast<unsigned>(object.der.size()));
    if (cert->OK()) return cert;
    obFreeSigned(cert);
  }
  Fail(path + ": no certificate");
  return nullptr;
}

const char* ReasonText(int reason) {
  switch (reason) {
    case obValidationRC_CRLNotRetrieved:
      return "no CRL could be retrieved";
    case obValidationRC_NoValidCRL:
      return "the CRL does not verify with the issuer's key or has an unhandled critical extension";
    case obValidationRC_CRLExpired:
      return "the CRL has expired";
    case obValidationRC_CRLNotYetValid:
      return "the CRL is not yet valid";
    default:
      return "the fetch failed";
  }
}

struct FetchOutcome {
  bool done = false;
  int result = 0;
  static void Report(int result, obCert*, long, void* arg) {
    FetchOutcome* outcome = static_cast<FetchOutcome*>(arg);
    outcome->result = result;
    outcome->done = true;
  }
};

// Runs the library's environment until the fetch reports or seconds pass.
int AwaitFetch(FetchOutcome& outcome, long seconds) {
  long deadline = static_cast<long>(std::time(nullptr)) + seconds;
  while (!outcome.done && static_cast<long>(std::time(nullptr)) <= deadline) obd_env_run_once(g_env_get(), 100);
  return outcome.done ? outcome.result : obValidationRC_Timeout;
}

int FetchInto(const std::string& url, obCert* issuer, long seconds) {
  HttpRequest limits;
  limits.totalTimeoutMs = seconds * 1000;
  CrlHttpFetcher fetcher(limits);
  fetcher.Register();
  obGeneralName dp(obGN_uniformResourceIdentifier, url.c_str(), static_cast<int>(url.size()));
  FetchOutcome outcome;
  obValidationRC reason = obValidationRC_OK;
  int result = obCRLCache_FetchDP(g_env_get(), &dp, issuer, nullptr, FetchOutcome::Report, &outcome, &reason) ==
                       obFetch_Pending
                   ? AwaitFetch(outcome, seconds + 2)
                   : reason;
  obCRLCache_free_fetchers();
  return result;
}

int Fetch(const std::string& dir, const Args& args) {
  long seconds = 20;
  Args words;
  for (size_t i = 0; i < args.size(); ++i) {
    if (args[i] == "-t") {
      if (i + 1 >= args.size() || !ParseSecondsOption(args[++i], seconds))
        return UsageError(kFetchUsage, "-t takes 1 to 3600 seconds");
    } else {
      words.push_back(args[i]);
    }
  }
  if (words.size() != 2) return UsageError(kFetchUsage, "give the URL and the issuer's certificate");
  struct stat st;
  bool usable = stat(dir.c_str(), &st) == 0 && S_ISDIR(st.st_mode) ? true : Fail(dir + ": not a directory");
  if (usable && !HttpClient::Accepts(words[0])) usable = Fail(words[0] + ": only http and https URLs are fetched");
  obCert* issuer = usable ? ReadIssuer(words[1]) : nullptr;
  if (!issuer) return 1;
  obCRLCache_set_dbpath(dir.c_str());
  int result = FetchInto(words[0], issuer, seconds);
  obFreeSigned(issuer);
  if (result != 1) {
    Fail(words[0] + ": " + (result == obValidationRC_Timeout ? "timed out" : ReasonText(result)));
    return 1;
  }
  std::printf("stored the CRL of %s\n", words[0].c_str());
  return 0;
}

struct Subcommand {
  const char* name;
  const char* usage;
  int (*run)(const std::string& dir, const Args& args);
};

const Subcommand kSubcommands[] = {
    {"list", kListUsage, List},
    {"show", kShowUsage, Show},
    {"gc", kGcUsage, Collect},
    {"fetch", kFetchUsage, Fetch},
};

bool IsSubcommand(const std::string& word) {
  return std::any_of(std::begin(kSubcommands), std::end(kSubcommands),
                     [&word](const Subcommand& sub) { return word == sub.name; });
}

}  // namespace

int CrlDbCommand(int argc, char** argv) {
  if (argc > 0 && IsHelp(argv[0])) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  if (argc < 2) return UsageError(kUsage, argc == 0 ? "no directory given" : "no command given");
  // "fetch DIR URL ISSUER" is read as "DIR fetch URL ISSUER".
  if (argc > 2 && std::string(argv[0]) == "fetch" && !IsSubcommand(argv[1])) std::swap(argv[0], argv[1]);
  std::string command = argv[1];
  if (IsHelp(command)) {
    std::fputs(kUsage, stdout);
    return 0;
  }
  Args args(argv + 2, argv + argc);
  for (const Subcommand& sub : kSubcommands) {
    if (command != sub.name) continue;
    if (std::any_of(args.begin(), args.end(), IsHelp)) {
      std::fputs(sub.usage, stdout);
      return 0;
    }
    return sub.run(argv[0], args);
  }
  return UsageError(kUsage, "unknown command '" + command + "'");
}
