// `nycert genkey` and `nycert req`: a key pair and a certification request.
#include <arpa/inet.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "ca_commands.h"
#include "ca_input.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/enroll/pkcs10.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/nysec.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keys/rsa_gen.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"

namespace {

const char kGenkeyUsage[] =
    "usage: nycert genkey [--bits N | --ec P-256|P-384|P-521|ed25519] -o KEY\n"
    "\n"
    "Makes an RSA key pair of N bits (2048 unless given; 1024 to 16384), or\n"
    "with --ec an ECDSA key pair on the named curve or an Ed25519 key pair, and\n"
    "writes it to KEY as an unencrypted PKCS#8 PEM file readable by its owner only.\n";

const char kReqUsage[] =
    "usage: nycert req --key KEY --subject DN [--san dns:NAME|ip:ADDR|email:ADDR]...\n"
    "                  [--challenge-from-env VAR] [--digest sha256] -o CSR\n"
    "\n"
    "Writes a PKCS#10 certification request for the subject DN (\"CN=...,O=...\",\n"
    "most specific first) and the key in KEY, signed with that key, as PEM.\n"
    "\n"
    "  --san dns:NAME|ip:ADDR|email:ADDR   a subject alternative name to ask for\n"
    "  --challenge-from-env VAR            the challenge password, taken from the\n"
    "                                      environment variable VAR\n"
    "  --digest md5|sha1|sha256|sha384|sha512   the signature's digest (sha256)\n";

using KeyPtr = std::unique_ptr<obPubKey, void (*)(obPubKey*)>;

int Usage(const char* command, const char* usage, const std::string& what) {
  std::fprintf(stderr, "nycert %s: %s\n%s", command, what.c_str(), usage);
  return 2;
}

int Failed(const char* command, const std::string& what) {
  std::fprintf(stderr, "nycert %s: %s\n", command, what.c_str());
  return 1;
}

// A name of "kind:value" for the subject alternative names, or null.
obGeneralName* AltName(const std::string& text) {
  size_t colon = text.find(':');
  if (colon == std::string::npos || colon + 1 == text.size()) return nullptr;
  std::string kind = text.substr(0, colon), value = text.substr(colon + 1);
  int len = static_cast<int>(value.size());
  if (kind == "dns") return new obGeneralName(obGN_dNSName, value.c_str(), len);
  if (kind == "email") return new obGeneralName(obGN_rfc822Name, value.c_str(), len);
  if (kind != "ip") return nullptr;
  unsigned char address[16];
  if (inet_pton(AF_INET, value.c_str(), address) == 1) return new obGeneralName(address, 4);
  if (inet_pton(AF_INET6, value.c_str(), address) == 1) return new obGeneralName(address, 16);
  return nullptr;
}

}  // namespace

int GenkeyCommand(int argc, char** argv) {
  ToolArgs args;
  std::string error;
  if (!args.Parse(argc, argv, {"--bits", "--ec", "-o"}, {}, error)) return Usage("genkey", kGenkeyUsage, error);
  if (args.Help()) return std::fputs(kGenkeyUsage, stdout) < 0 ? 1 : 0;
  long bits = 2048;
  if (args.Has("--bits") && !ParseNumber(args.Get("--bits"), 1024, 16384, bits))
    return Usage("genkey", kGenkeyUsage, "--bits takes a number from 1024 to 16384");
  nyECCurve curve = args.Has("--ec") ? nyEC_CurveByName(args.Get("--ec").c_str()) : nyEC_None;
  if (args.Has("--ec") && (curve == nyEC_None || args.Has("--bits")))
    return Usage("genkey", kGenkeyUsage, "--ec takes P-256, P-384, P-521 or ed25519, without --bits");
  if (!args.Has("-o")) return Usage("genkey", kGenkeyUsage, "-o KEY is required");
  KeyPtr key(curve != nyEC_None ? nySEC_Generate(curve) : obGenerateRSA(static_cast<int>(bits)), obFreePubKey);
  if (!key) return Failed("genkey", "cannot make the key");
  nyBinBuf pkcs8;
  if (obPrivateKeyInfoOf(*key, pkcs8) != 0) return Failed("genkey", "cannot export the key");
  bool written = WritePem(args.Get("-o"), "PRIVATE KEY", pkcs8, 0600, error);
  pkcs8.Zero();
  return written ? 0 : Failed("genkey", error);
}

int ReqCommand(int argc, char** argv) {
  ToolArgs args;
  std::string error;
  if (!args.Parse(argc, argv, {"--key", "--subject", "--san", "--challenge-from-env", "--digest", "-o"}, {}, error))
    return Usage("req", kReqUsage, error);
  if (args.Help()) return std::fputs(kReqUsage, stdout) < 0 ? 1 : 0;
  if (!args.Has("--key") || !args.Has("--subject") || !args.Has("-o"))
    return Usage("req", kReqUsage, "--key, --subject and -o are required");
  ob_md_type md = ob_md_sha256;
  if (args.Has("--digest") && !ParseDigest(args.Get("--digest"), md))
    return Usage("req", kReqUsage, "unknown digest '" + args.Get("--digest") + "'");
  obDN subject(args.Get("--subject").c_str());
  if (subject.Count() == 0) return Usage("req", kReqUsage, "not a distinguished name: " + args.Get("--subject"));
  obGeneralNames names;
  for (const std::string& san : args.All("--san")) {
    obGeneralName* name = AltName(san);
    if (!name) return Usage("req", kReqUsage, "not a subject alternative name: " + san);
    names.Add(name);
  }
  const char* password = nullptr;
  if (args.Has("--challenge-from-env")) {
    password = std::getenv(args.Get("--challenge-from-env").c_str());
    if (!password) return Failed("req", "the environment has no " + args.Get("--challenge-from-env"));
  }
  KeyPtr key(ReadPrivateKey(args.Get("--key"), error), obFreePubKey);
  if (!key) return Failed("req", error);
  obExtensionsList extensions;
  if (names.Count()) extensions.Add(obASN_id_ce_subjectAltName, 0, new obExtGN(names));
  nyBinBuf der;
  if (obEncode_full_pkcs10_with_password(*key, subject, der, names.Count() ? &extensions : nullptr, password, md) != 0)
    return Failed("req", "cannot make the request");
  return WritePem(args.Get("-o"), "CERTIFICATE REQUEST", der, 0644, error) ? 0 : Failed("req", error);
}
