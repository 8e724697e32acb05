// PKCS#10 decoding on arbitrary input: nothing may crash or leak. A request
// whose signature verifies has a subject and a key; whatever decoded goes
// into a CRMF template and comes back with the same subject, key and
// number of extensions.
#include <cstdint>
#include <cstdlib>

#include "nycert/asn1/modules/crmf.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/pkcs10.h"
#include "nycert/keys/pubkey.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  nyBinBuf request(data, static_cast<unsigned>(size));
  obCertTemplate t;
  nyBinBuf password;
  int rc = obDecode_full_pkcs10_with_password(request, t, &password);
  if (rc == 0 && (!t.Subject() || !t.PubKey())) abort();
  ObStream text;
  t.Sprint(&text, 0);
  obASN_CertTemplate crmf;
  if (t.Prepare_obASN_CertTemplate(crmf, nullptr) != 0) return 0;
  obCertTemplate back;
  if (back.Set(crmf) != 0) return 0;
  if ((t.Subject() != nullptr) != (back.Subject() != nullptr)) abort();
  if (t.PubKey() && !obPubKey_Equal(t.PubKey(), back.PubKey())) abort();
  if (t.Extensions().Count() != back.Extensions().Count()) abort();
  return 0;
}
