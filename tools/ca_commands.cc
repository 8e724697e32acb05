// `nycert sign` and `nycert crl-sign`: certificates and CRLs issued by a CA
// whose certificate and key are files.
#include <cstdio>
#include <memory>
#include <string>

#include "ca_commands.h"
#include "ca_input.h"
#include "tool_input.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/ext_key_id.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/issuer_key_id.h"
#include "nycert/certs/key_usage.h"
#include "nycert/crl/crl_encoder.h"
#include "nycert/crl/issuing_dp.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/pkcs10.h"
#include "nycert/keys/pubkey.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/platform/obclock.h"
#include "nycert/platform/obrand.h"

namespace {

const char kSignUsage[] =
    "usage: nycert sign [--ca-cert FILE] --ca-key FILE --csr CSR --days N [--start TIME]\n"
    "                   [--serial N] [--ca [--path-len N]] [--crl-url URL] [--digest sha256]\n"
    "                   -o CERT\n"
    "\n"
    "Issues a certificate for the PKCS#10 request CSR (DER or PEM; its signature\n"
    "must verify), valid for N days from now or TIME, signed with the CA's key. Without\n"
    "--ca-cert the certificate is self-signed: CSR must be signed by the CA key.\n"
    "\n"
    "The certificate carries the requested subject alternative names and extended\n"
    "key usages (other requested extensions are dropped), basic constraints and key\n"
    "usage (both critical), subject and authority key identifiers, and with\n"
    "--crl-url a CRL distribution point.\n"
    "\n"
    "  --start TIME   seconds since 1970, or YYYY-MM-DD[THH:MM:SS] in UTC\n"
    "  --serial N     decimal or 0x-hex; a random 64-bit serial when left out\n"
    "  --ca           a CA certificate (certificate and CRL signing), else an end\n"
    "                 entity (digital signature, key encipherment)\n"
    "  --path-len N   the CA's path length constraint\n";

const char kCrlSignUsage[] =
    "usage: nycert crl-sign --ca-cert FILE --ca-key FILE [--revoke SERIAL[:REASON]]...\n"
    "                       --days N [--start TIME] [--number N] [--dp URL] [--digest sha256]\n"
    "                       -o CRL\n"
    "\n"
    "Writes a version-2 CRL of the CA, issued now (or at TIME: seconds since 1970,\n"
    "or YYYY-MM-DD[THH:MM:SS] in UTC) and due again N days later, listing each\n"
    "revoked serial (decimal or 0x-hex) as revoked then, with a reason when\n"
    "given one: unspecified, keyCompromise, cACompromise, affiliationChanged,\n"
    "superseded, cessationOfOperation, certificateHold, removeFromCRL,\n"
    "privilegeWithdrawn or aACompromise. The CRL number is N, or the time in\n"
    "seconds when left out, so later CRLs get larger numbers. With --dp the CRL\n"
    "names URL, where it is published, as its (critical) issuing distribution\n"
    "point: certificates that give URL as their distribution point find it there.\n";

using KeyPtr = std::unique_ptr<obPubKey, void (*)(obPubKey*)>;
struct CertFree {
  void operator()(obCert* cert) const { obFreeSigned(cert); }
};
using CertPtr = std::unique_ptr<obCert, CertFree>;

int Usage(const char* command, const char* usage, const std::string& what) {
  std::fprintf(stderr, "nycert %s: %s\n%s", command, what.c_str(), usage);
  return 2;
}

int Failed(const char* command, const std::string& what) {
  std::fprintf(stderr, "nycert %s: %s\n", command, what.c_str());
  return 1;
}

// A random positive 64-bit serial.
obAsnInt RandomSerial() {
  unsigned char octets[8];
  obrand_gen(octets, sizeof octets);
  octets[0] = static_cast<unsigned char>((octets[0] & 0x7F) | 0x01);
  obAsnInt serial;
  serial.SetBytes(octets, sizeof octets);
  return serial;
}

obGeneralName* UriName(const std::string& uri) {
  return new obGeneralName(obGN_uniformResourceIdentifier, uri.c_str(), static_cast<int>(uri.size()));
}

// What the CA writes beside the subject and key it takes from the request.
struct IssueOptions {
  bool ca = false;
  long pathLen = -1;
  std::string crlUrl;
};

int AddIssuedExtensions(obCertTemplate& t, const obCertTemplate& request, const IssueOptions& options,
                        const obExtension& authorityKeyId) {
  for (int i = 0; i < request.Extensions().Count(); ++i) {
    const obAsnOid& oid = *request.Extensions().OidAt(i);
    if (oid == obASN_id_ce_subjectAltName || oid == obASN_id_ce_extKeyUsage)
      t.AddExtension(oid, request.Extensions().CriticalAt(i), *request.Extensions().At(i));
  }
  unsigned usages = options.ca ? (1u << obKU_keyCertSign) | (1u << obKU_cRLSign)
                               : (1u << obKU_digitalSignature) | (1u << obKU_keyEncipherment);
  t.AddExtension(obASN_id_ce_basicConstraints, 1, obBasicConstraint(options.ca, static_cast<int>(options.pathLen)));
  t.AddExtension(obASN_id_ce_keyUsage, 1, obKeyUsage(usages));
  t.AddExtension(obASN_id_ce_subjectKeyIdentifier, 0, obExtKeyID(obKeyId_Subject, *request.PubKey()));
  t.AddExtension(obASN_id_ce_authorityKeyIdentifier, 0, authorityKeyId);
  if (!options.crlUrl.empty()) {
    obGeneralNames names;
    names.Add(UriName(options.crlUrl));
    t.AddExtension(obASN_id_ce_cRLDistributionPoints, 0, obExtGN(names, obExtGN_CRLDistributionPoints));
  }
  return 0;
}

// REASON of a --revoke value, by name or number.
bool ParseReason(const std::string& text, obCRLReason& out) {
  static const char* const kNames[] = {"unspecified", "keyCompromise", "cACompromise", "affiliationChanged",
                                       "superseded", "cessationOfOperation", "certificateHold", nullptr,
                                       "removeFromCRL", "privilegeWithdrawn", "aACompromise"};
  for (int i = 0; i < 11; ++i) {
    if (kNames[i] && text == kNames[i]) {
      out = static_cast<obCRLReason>(i);
      return true;
    }
  }
  long number;
  if (!ParseNumber(text, 0, 10, number) || number == 7) return false;
  out = static_cast<obCRLReason>(number);
  return true;
}

}  // namespace

int SignCommand(int argc, char** argv) {
  ToolArgs args;
  std::string error;
  if (!args.Parse(argc, argv, {"--ca-cert", "--ca-key", "--csr", "--days", "--start", "--serial", "--path-len",
                               "--crl-url", "--digest", "-o"},
                  {"--ca"}, error))
    return Usage("sign", kSignUsage, error);
  if (args.Help()) return std::fputs(kSignUsage, stdout) < 0 ? 1 : 0;
  if (!args.Has("--ca-key") || !args.Has("--csr") || !args.Has("--days") || !args.Has("-o"))
    return Usage("sign", kSignUsage, "--ca-key, --csr, --days and -o are required");
  long days;
  IssueOptions options;
  options.ca = args.Has("--ca");
  options.crlUrl = args.Get("--crl-url");
  ob_md_type md = ob_md_sha256;
  obAsnInt serial = RandomSerial();
  if (!ParseNumber(args.Get("--days"), 1, 36500, days)) return Usage("sign", kSignUsage, "--days takes 1 to 36500");
  long start = ob_time_now();
  bool fixedStart = args.Has("--start");
  if (fixedStart && !ParseTimeOption(args.Get("--start"), start))
    return Usage("sign", kSignUsage, "not a time: " + args.Get("--start"));
  if (args.Has("--serial") && !ParseSerial(args.Get("--serial"), serial))
    return Usage("sign", kSignUsage, "not a serial number: " + args.Get("--serial"));
  if (args.Has("--path-len") && (!options.ca || !ParseNumber(args.Get("--path-len"), 0, 100, options.pathLen)))
    return Usage("sign", kSignUsage, "--path-len takes 0 to 100, with --ca");
  if (args.Has("--digest") && !ParseDigest(args.Get("--digest"), md))
    return Usage("sign", kSignUsage, "unknown digest '" + args.Get("--digest") + "'");

  KeyPtr caKey(ReadPrivateKey(args.Get("--ca-key"), error), obFreePubKey);
  if (!caKey) return Failed("sign", error);
  nyBinBuf csr;
  obCertTemplate request;
  if (!ReadFirstObject(args.Get("--csr"), csr, error)) return Failed("sign", args.Get("--csr") + ": " + error);
  if (obDecode_full_pkcs10_with_password(csr, request, nullptr) != 0)
    return Failed("sign", args.Get("--csr") + ": not a request whose signature verifies");

  CertPtr caCert;
  std::unique_ptr<obExtension> authorityKeyId;
  if (args.Has("--ca-cert")) {
    caCert.reset(ReadCertificate(args.Get("--ca-cert"), error));
    if (!caCert) return Failed("sign", args.Get("--ca-cert") + ": " + error);
    authorityKeyId.reset(obAuthorityKeyIdOf(*caCert));
  } else {
    if (!obPubKey_Equal(request.PubKey(), caKey.get()))
      return Failed("sign", "a self-signed certificate needs a request signed by the CA key");
    authorityKeyId.reset(new obExtKeyID(obKeyId_Authority, *caKey));
  }
  if (!authorityKeyId) return Failed("sign", "no key identifier for the CA");

  obCertTemplate t;
  t.SetSerialNum(serial);
  t.SetIssuer(caCert ? *caCert->Subject() : *request.Subject());
  t.SetSubject(*request.Subject());
  t.SetNotBefore(fixedStart ? start : start - 300);  // from now: a little slack for clocks behind ours
  t.SetNotAfter(start + days * 86400);
  t.SetKey(request.PubKey());
  AddIssuedExtensions(t, request, options, *authorityKeyId);
  nyBinBuf der;
  if (obSignCertificate(t, *caKey, md, der) != 0) return Failed("sign", "cannot sign the certificate");
  return WritePem(args.Get("-o"), "CERTIFICATE", der, 0644, error) ? 0 : Failed("sign", error);
}

int CrlSignCommand(int argc, char** argv) {
  ToolArgs args;
  std::string error;
  if (!args.Parse(argc, argv, {"--ca-cert", "--ca-key", "--revoke", "--days", "--start", "--number", "--dp", "--digest",
                               "-o"},
                  {}, error))
    return Usage("crl-sign", kCrlSignUsage, error);
  if (args.Help()) return std::fputs(kCrlSignUsage, stdout) < 0 ? 1 : 0;
  if (!args.Has("--ca-cert") || !args.Has("--ca-key") || !args.Has("--days") || !args.Has("-o"))
    return Usage("crl-sign", kCrlSignUsage, "--ca-cert, --ca-key, --days and -o are required");
  long days, issued = ob_time_now(), number = 0;
  ob_md_type md = ob_md_sha256;
  if (!ParseNumber(args.Get("--days"), 1, 36500, days))
    return Usage("crl-sign", kCrlSignUsage, "--days takes 1 to 36500");
  if (args.Has("--start") && !ParseTimeOption(args.Get("--start"), issued))
    return Usage("crl-sign", kCrlSignUsage, "not a time: " + args.Get("--start"));
  number = issued;
  if (args.Has("--number") && !ParseNumber(args.Get("--number"), 0, 0x7FFFFFFF, number))
    return Usage("crl-sign", kCrlSignUsage, "--number takes a non-negative number");
  if (args.Has("--digest") && !ParseDigest(args.Get("--digest"), md))
    return Usage("crl-sign", kCrlSignUsage, "unknown digest '" + args.Get("--digest") + "'");

  KeyPtr caKey(ReadPrivateKey(args.Get("--ca-key"), error), obFreePubKey);
  if (!caKey) return Failed("crl-sign", error);
  CertPtr caCert(ReadCertificate(args.Get("--ca-cert"), error));
  if (!caCert) return Failed("crl-sign", args.Get("--ca-cert") + ": " + error);
  obCRL_Encoder encoder(*caCert, *caKey);
  encoder.SetThisUpdate(issued);
  encoder.SetNextUpdate(issued + days * 86400);
  encoder.SetCRLNumber(number);
  if (args.Has("--dp")) {
    obGeneralNames names;
    names.Add(UriName(args.Get("--dp")));
    obIssuingDP idp(obCRL_AllCerts, &names);
    encoder.SetIssuingDP(&idp);
  }
  for (const std::string& revoke : args.All("--revoke")) {
    size_t colon = revoke.find(':');
    obAsnInt serial;
    obCRLReason reason = obCRLReason_None;
    if (!ParseSerial(revoke.substr(0, colon), serial) ||
        (colon != std::string::npos && !ParseReason(revoke.substr(colon + 1), reason)))
      return Usage("crl-sign", kCrlSignUsage, "not SERIAL[:REASON]: " + revoke);
    encoder.AddRevoked(serial, issued, reason);
  }
  nyBinBuf der;
  if (encoder.Encode(md, der) != 0) return Failed("crl-sign", "cannot sign the CRL");
  return WritePem(args.Get("-o"), "X509 CRL", der, 0644, error) ? 0 : Failed("crl-sign", error);
}
