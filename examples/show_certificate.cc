// Decodes the certificates of a file (DER, or PEM with any number of blocks)
// and prints the fields most programs look at, then the library's own
// printout of everything but the key.
//
//   show_certificate FILE
#include <cstdio>
#include <ctime>

#include "example_files.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/basic_constraint.h"
#include "nycert/certs/cert.h"
#include "nycert/names/general_name.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"

namespace {

std::string Time(long seconds) {
  char text[32];
  std::time_t t = seconds;
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", std::gmtime(&t));
  return text;
}

// Alternative names and distribution points are mostly text (DNS names,
// URIs); IP addresses and directory names have no string form here.
const char* Text(const obGeneralName* name) { return name->GetStr() ? name->GetStr() : "(not text)"; }

void PrintSummary(obCert& cert) {
  std::printf("subject:  %s\n", cert.Subject()->GetStr());
  std::printf("issuer:   %s\n", cert.Issuer()->GetStr());
  // The serial as written in the certificate, in hexadecimal.
  obDerSpan serial = cert.SerialContent();
  std::printf("serial:   ");
  for (size_t i = 0; i < serial.size; ++i) std::printf("%02X", serial.data[i]);
  std::printf("\nvalid:    %s to %s\n", Time(cert.notBefore()).c_str(), Time(cert.notAfter()).c_str());
  // Typed views of extensions are null when the certificate lacks them.
  obBasicConstraint* constraint = cert.GetBasicConstraint();
  std::printf("CA:       %s\n", constraint && constraint->IsCA() ? "yes" : "no");
  if (obGeneralNames* names = cert.AltNames()) {
    for (int i = 0; i < names->Count(); ++i) std::printf("alt name: %s\n", Text(names->Get(i)));
  }
  if (obGeneralNames* points = cert.DistPoints()) {
    for (int i = 0; i < points->Count(); ++i) std::printf("CRL at:   %s\n", Text(points->Get(i)));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FILE\n", argv[0]);
    return 2;
  }
  obCerts certs;  // owns the certificates read into it
  if (!ReadCertificates(argv[1], certs)) {
    std::fprintf(stderr, "%s: no certificate that decodes\n", argv[1]);
    return 1;
  }
  for (int i = 0; i < certs.Count(); ++i) {
    std::printf("== certificate %d of %s\n", i + 1, argv[1]);
    PrintSummary(*certs.Get(i));
    std::printf("-- in full:\n");
    certs.Get(i)->Fprint(stdout, obCertHerror_Details, 1);
  }
  return 0;
}
