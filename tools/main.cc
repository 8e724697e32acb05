// nycert: certificates and PKI objects from the command line.
#include <cstdio>
#include <cstring>

#include "ca_commands.h"
#include "chain_command.h"
#include "crl_db_command.h"
#include "p12_command.h"
#include "show_command.h"
#include "verify_command.h"

namespace {

const char kUsage[] =
    "usage: nycert COMMAND [ARGS...]\n"
    "\n"
    "Commands:\n"
    "  show      print certificates and CRLs from DER or PEM files\n"
    "  chain     sort a bag of certificates into a chain anchored at a trusted root\n"
    "  crl-db    list, print and clean the CRL cache's database\n"
    "  genkey    make an RSA, ECDSA or Ed25519 key pair\n"
    "  req       make a PKCS#10 certification request\n"
    "  sign      issue a certificate for a request\n"
    "  crl-sign  issue a CRL\n"
    "  p12       list, write, unpack and re-protect PKCS#12 key files\n"
    "  verify    validate a certificate chain against trusted roots and CRLs\n"
    "\n"
    "Run 'nycert COMMAND --help' for a command's options.\n";

struct Command {
  const char* name;
  int (*run)(int argc, char** argv);
};

const Command kCommands[] = {
    {"show", ShowCommand},
    {"chain", ChainCommand},
    {"crl-db", CrlDbCommand},
    {"p12", P12Command},
    {"genkey", GenkeyCommand},
    {"req", ReqCommand},
    {"sign", SignCommand},
    {"crl-sign", CrlSignCommand},
    {"verify", VerifyCommand},
};

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2 || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "--help")) {
    std::fputs(kUsage, argc < 2 ? stderr : stdout);
    return argc < 2 ? 2 : 0;
  }
  for (const Command& command : kCommands) {
    if (!std::strcmp(argv[1], command.name)) return command.run(argc - 2, argv + 2);
  }
  std::fprintf(stderr, "nycert: unknown command '%s'\n%s", argv[1], kUsage);
  return 2;
}
