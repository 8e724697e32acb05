// obKeyHolder_Sort: a key holder in normal form.
//
// Holders filled from files often keep a certified key's own certificate and
// its intermediates as CA entries. The normal form keeps only the CAs that
// anchor chains, and gives each certified key its chain up to such a CA.
#include <memory>

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"

namespace {

bool HasUsableCert(const obRootCA& ca) {
  const obCert* cert = ca.Cert();
  return cert && cert->Issuer() && cert->Subject();
}

// Whether ca stays a root CA of the normal form.
bool KeepsAsRoot(obKeyHolder& source, obRootCA& ca) {
  if (ca.Purpose() & obPKPurpose_Transient) return false;
  if (!HasUsableCert(ca)) {
    OB_HERROR("obKeyHolder_Sort: Bad certificate (%s)", ca.Name() ? ca.Name() : "no name");
    return false;
  }
  const obCert& cert = *ca.Cert();
  bool selfIssued = cert.Issuer()->Equal(*cert.Subject()) != 0;
  if (!selfIssued && source.CAByDN(cert.Issuer())) return false;
  return ca.IdLen() == 0 || !source.CertKeyByID(ca.Id(), ca.IdLen());
}

// The key's own CA entry in source: by identifier when it has one, else by name.
obRootCA* OwnEntry(obKeyHolder& source, const obCertifiedKey& key) {
  obRootCA* entry = key.IdLen() > 0 ? source.CAByID(key.Id(), key.IdLen()) : nullptr;
  return entry ? entry : source.CAByName(key.Name());
}

// Collects the certificates from the key's own entry up to the first one
// whose subject is a root of sorted, and answers that root (null when the
// walk ends first). An entry met twice ends the walk.
obRootCA* ChainToRoot(obKeyHolder& source, obKeyHolder& sorted, obRootCA* entry, obCerts& chain) {
  while (entry) {
    obCert* cert = entry->Cert();
    if (!cert || !cert->OK() || !cert->Subject()) return nullptr;
    if (obRootCA* root = sorted.CAByDN(cert->Subject())) return root;
    for (int i = 0; i < chain.Size(); ++i) {
      if (chain.Get(i) == cert) return nullptr;
    }
    obSaveSigned(cert);
    chain.Add(cert);
    entry = source.CAByDN(cert->Issuer());
  }
  return nullptr;
}

}  // namespace

obKeyHolder* obKeyHolder_Sort(obKeyHolder* holder) {
  if (!holder) return nullptr;
  obKeyHolder* sorted = obKeyHolder_New();
  std::unique_ptr<obRootCA_iterator> cas(holder->RootCAs());
  for (; cas->Curr(); cas->Next()) {
    if (KeepsAsRoot(*holder, *cas->Curr())) sorted->AddCA(cas->Curr());
  }
  std::unique_ptr<obCertKey_iterator> keys(holder->CertKeys());
  for (; keys->Curr(); keys->Next()) {
    obCertifiedKey* key = keys->Curr();
    obCerts chain;
    obRootCA* root = ChainToRoot(*holder, *sorted, OwnEntry(*holder, *key), chain);
    obCertifiedKey* normal =
        new obCertifiedKey(key->Name(), &chain, root, key->PubKey(), key->Purpose(), key->Id(), key->IdLen());
    sorted->AddCertKey(normal);
    obFreePKobj(normal);
  }
  return sorted;
}
