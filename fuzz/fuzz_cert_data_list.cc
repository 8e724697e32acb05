// Certificate data lists on arbitrary input: nothing may crash or leak. A
// list that decodes and encodes again decodes to the same serials and
// types, and the cursor walks exactly Count() elements.
#include <cstdint>
#include <cstdlib>

#include "nycert/enroll/cert_data_list.h"
#include "nycert/platform/obstream.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CertDataList list(nyBinBuf(data, static_cast<unsigned>(size)));
  if (!list.OK()) return 0;
  int walked = 0;
  list.InitCurr();
  for (CertDataElm* e = list.GetCurrAndGoNext(); e; e = list.GetCurrAndGoNext()) {
    ObStream text;
    e->Sprint(&text, 1);
    ++walked;
  }
  if (walked != list.Count()) abort();
  nyBinBuf der;
  if (list.Encode(der) != 0) return 0;
  CertDataList back(der);
  if (!back.OK() || back.Count() != list.Count()) abort();
  for (int i = 0; i < list.Count(); ++i) {
    if (back.GetElm(i)->SerialNumber() != list.GetElm(i)->SerialNumber() ||
        back.GetElm(i)->CertType() != list.GetElm(i)->CertType())
      abort();
  }
  return 0;
}
