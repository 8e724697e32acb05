// A small CA: makes its own key and self-signed certificate, issues a
// certificate for a PKCS#10 request, then revokes it in a signed CRL.
//
//   small_ca REQUEST.csr OUT_DIR
//
// Writes OUT_DIR/ca.pem, OUT_DIR/issued.pem and OUT_DIR/ca.crl.pem.
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "example_files.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/ext_key_id.h"
#include "nycert/certs/issuer_key_id.h"
#include "nycert/crl/crl_encoder.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/pkcs10.h"
#include "nycert/keys/rsa_gen.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obclock.h"

namespace {

constexpr long kDay = 86400;

// Fills in what every certificate here carries; the caller adds the rest.
void Describe(obCertTemplate& t, int serial, const obDN& issuer, long days, bool ca) {
  long now = ob_time_now();
  t.SetSerialNum(serial);
  t.SetIssuer(issuer);
  t.SetNotBefore(now - 300);  // a little slack for clocks behind ours
  t.SetNotAfter(now + days * kDay);
  unsigned usages = ca ? (1u << obKU_keyCertSign) | (1u << obKU_cRLSign)
                       : (1u << obKU_digitalSignature) | (1u << obKU_keyEncipherment);
  t.AddExtension(obASN_id_ce_basicConstraints, 1, obBasicConstraint(ca, ca ? 0 : -1));
  t.AddExtension(obASN_id_ce_keyUsage, 1, obKeyUsage(usages));
  t.AddExtension(obASN_id_ce_subjectKeyIdentifier, 0, obExtKeyID(obKeyId_Subject, *t.PubKey()));
}

// Signs the template with the CA key and decodes the result; null on failure.
obCert* Issue(obCertTemplate& t, obPubKey& caKey, nyBinBuf& der) {
  if (obSignCertificate(t, caKey, ob_md_sha256, der) != 0) return nullptr;
  return new obCert(der.Data(), der.Len());
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s REQUEST.csr OUT_DIR\n", argv[0]);
    return 2;
  }
  std::string dir = argv[2];
  std::vector<nyBinBuf> csr = ReadDerObjects(argv[1], "CERTIFICATE REQUEST");
  obCertTemplate request;
  if (csr.empty() || obDecode_full_pkcs10_with_password(csr[0], request, nullptr) != 0) {
    std::fprintf(stderr, "%s: not a request whose signature verifies\n", argv[1]);
    return 1;
  }
  std::unique_ptr<obPubKey, void (*)(obPubKey*)> caKey(obGenerateRSA(2048), obFreePubKey);
  if (!caKey) return 1;

  // The CA certificate: self-signed, so issuer and subject are the same.
  obDN caName("CN=Example CA,O=Nycert Examples");
  obCertTemplate root;
  root.SetSubject(caName);
  root.SetKey(caKey.get());
  Describe(root, 1, caName, 3650, true);
  nyBinBuf caDer, issuedDer, crlDer;
  std::unique_ptr<obCert, void (*)(obSigned*)> ca(Issue(root, *caKey, caDer), obFreeSigned);
  if (!ca || !ca->OK() || !WritePem((dir + "/ca.pem").c_str(), "CERTIFICATE", caDer)) return 1;
  std::printf("CA:      %s\n", ca->Subject()->GetStr());

  // The requested certificate: subject, key and alternative names from the
  // request, the rest from the CA.
  obCertTemplate leaf;
  leaf.SetSubject(*request.Subject());
  leaf.SetKey(request.PubKey());
  Describe(leaf, 2, caName, 365, false);
  std::unique_ptr<obExtKeyID> authorityKeyId(obAuthorityKeyIdOf(*ca));
  leaf.AddExtension(obASN_id_ce_authorityKeyIdentifier, 0, *authorityKeyId);
  if (obExtension* names = request.GetExt(obASN_id_ce_subjectAltName))
    leaf.AddExtension(obASN_id_ce_subjectAltName, 0, *names);
  std::unique_ptr<obCert, void (*)(obSigned*)> issued(Issue(leaf, *caKey, issuedDer), obFreeSigned);
  if (!issued || !issued->OK() || !WritePem((dir + "/issued.pem").c_str(), "CERTIFICATE", issuedDer)) return 1;
  std::printf("issued:  %s, serial 2, for a year\n", issued->Subject()->GetStr());

  // A CRL that revokes it, due again in a week.
  obCRL_Encoder encoder(*ca, *caKey);
  encoder.SetNextUpdate(ob_time_now() + 7 * kDay);
  encoder.SetCRLNumber(1);
  encoder.AddRevoked(*issued->SerialNum(), ob_time_now(), obCRLReason_KeyCompromise);
  if (encoder.Encode(ob_md_sha256, crlDer) != 0 || !WritePem((dir + "/ca.crl.pem").c_str(), "X509 CRL", crlDer))
    return 1;

  // Read back: the CA's key verifies the CRL, and it lists the certificate.
  std::unique_ptr<obCRL, void (*)(obSigned*)> crl(new obCRL(crlDer.Data(), crlDer.Len()), obFreeSigned);
  std::printf("CRL:     %d entry, signature %s, lists the issued certificate: %s\n", crl->GetSize(),
              crl->VerifyWith(*ca) == obVfy_OK ? "verifies" : "FAILS", crl->IsEntryExist(issued.get()) ? "yes" : "no");
  return crl->VerifyWith(*ca) == obVfy_OK && crl->IsEntryExist(issued.get()) ? 0 : 1;
}
