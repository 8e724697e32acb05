#include "nycert/validate/chain_sort.h"

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/validate/chain_search.h"

namespace {

// The first certificate that issues none of the list's certificates; with a
// single certificate, that one (a lone root is its own subordinate).
int EndEntityIndex(const obCerts& list) {
  bool single = list.Count() == 1;
  for (int i = 0; i < list.Size(); ++i) {
    const obCert* cert = list.Get(i);
    if (cert && (single || obCerts_FindSubordinate(&list, cert) < 0)) return i;
  }
  return -1;
}

}  // namespace

int obCerts_Sort(const obCerts* src, obCerts* dst) {
  if (!src || !dst || src->Count() == 0) return -1;
  int first = EndEntityIndex(*src);
  if (first < 0) {
    OB_HERROR("obCerts_Sort: Circualr? ");
    return -1;
  }
  return obCerts_SortWithFirst(src, first, dst);
}

int obCerts_SortWithFirst(const obCerts* src, int first, obCerts* dst) {
  if (!src || !dst || !src->Get(first)) return -1;
  // A copy slot for slot, so first keeps its meaning and src may be dst.
  obCerts work(src->Size());
  for (int i = 0; i < src->Size(); ++i) {
    obCert* cert = src->Get(i);
    if (!cert) continue;
    obSaveSigned(cert);
    work.Set(i, cert);
  }
  dst->ClearAll();
  for (int at = first; at >= 0;) {
    obCert* cert = work.Get(at);
    obSaveSigned(cert);
    dst->Add(cert);
    work.Del(at);
    at = obCerts_FindIssuer(&work, cert);
  }
  return 0;
}
