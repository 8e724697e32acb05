// CRL construction, printing at every detail level and serial look-ups on
// arbitrary input: nothing may crash or leak. A CRL that decodes must have
// an issuer whose tree builds, and every serial it lists must be found
// again through the table.
#include <cstdint>
#include <cstdlib>

#include "nycert/crl/crl.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/hash_table.h"
#include "nycert/platform/obstream.h"

namespace {

class FuzzCRL : public obCRL {
 public:
  using obCRL::obCRL;

  // Every listed serial leads back to an entry with the same serial.
  bool EntriesFindThemselves() const {
    for (size_t i = 0; i < hash_count(GetTable()); ++i) {
      void* value = nullptr;
      hash_entry_at(GetTable(), i, nullptr, nullptr, &value);
      const obCRLEntry* entry = static_cast<const obCRLEntry*>(value);
      const obCRLEntry* found = GetEntry(entry->Serial());
      if (!found || found->Serial() != entry->Serial()) return false;
      long when = 0;
      entry->RevocationDate(&when);
    }
    return true;
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzCRL* crl = new FuzzCRL(data, static_cast<unsigned>(size));
  if (crl->OK() && (!crl->Issuer()->GetName() || !crl->EntriesFindThemselves())) abort();
  ObStream text;
  for (int details = obCertHerror_Names; details <= obCertHerror_All; ++details)
    crl->Sprint(&text, static_cast<obCertHerrorDetails>(details), 1);
  long when = 0;
  for (int serial : {0, 1, -1, 0x1001, 0x7FFFFFFF}) crl->revDate(serial, &when);
  crl->IsEntryExist(static_cast<const obCert*>(nullptr));
  if (const obGeneralNames* names = crl->DistPoints()) names->Count();
  obFreeSigned(crl);
  return 0;
}
