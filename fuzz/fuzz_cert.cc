// Certificate construction and printing at every detail level on arbitrary
// input: nothing may crash or leak, and a certificate that decodes must have
// names whose trees build, since the names are validated without building
// them.
#include <cstdint>
#include <cstdlib>

#include "nycert/certs/cert.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  obCert* cert = new obCert(data, static_cast<unsigned>(size));
  if (cert->OK() && (!cert->Issuer()->GetName() || !cert->Subject()->GetName())) abort();
  ObStream text;
  for (int details = obCertHerror_Names; details <= obCertHerror_All; ++details)
    cert->Sprint(&text, static_cast<obCertHerrorDetails>(details), 1);
  if (cert->OK()) cert->PubKey();
  obFreeSigned(cert);
  return 0;
}
