#include "nycert/validate/chain_fix.h"

#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/obdn.h"
#include "nycert/validate/chain_sort.h"

namespace {

constexpr char kFixChain[] = "obCert_FixChain";

obCert_SubCAFunc g_subCAFunc = nullptr;

// The holder's CA whose certificate has subject dn; null for no name.
obRootCA* HeldCA(obKeyHolder& holder, const obDN* dn) { return dn ? holder.CAByDN(dn) : nullptr; }

// Appends a new reference to cert.
void Append(obCerts& chain, obCert* cert) {
  obSaveSigned(cert);
  chain.Add(cert);
}

// The top certificate is a held root, or is issued by one: the chain ends
// with the holder's copy.
obRootCA* EndAtHeldRoot(obCerts& chain, obKeyHolder& holder, int top) {
  const obCert* topCert = chain.Get(top);
  obRootCA* ca = HeldCA(holder, topCert->Subject());
  if (ca) {
    chain.Del(top);
  } else {
    ca = HeldCA(holder, topCert->Issuer());
  }
  if (!ca) return nullptr;
  Append(chain, ca->Cert());
  OB_HERROR("%s: Found the root CA in my token", kFixChain);
  return ca;
}

// A held root further down (never the end entity), identical to the
// holder's copy: everything above it goes.
obRootCA* CutAtHeldRoot(obCerts& chain, obKeyHolder& holder, int top) {
  for (int i = top - 1; i >= 1; --i) {
    const obCert* cert = chain.Get(i);
    obRootCA* ca = cert ? HeldCA(holder, cert->Subject()) : nullptr;
    if (!ca || !ca->Cert() || !(*ca->Cert() == *cert)) continue;
    for (int above = i + 1; above <= top; ++above) chain.Del(above);
    OB_HERROR("%s: Got a long chain. Found the root CA down the chain", kFixChain);
    return ca;
  }
  return nullptr;
}

// The chain stops below the held roots: it is completed from a certified
// key's chain that holds the top certificate's issuer (never the key's own
// certificate), and then that key's root.
obRootCA* ExtendFromCertKey(obCerts& chain, obKeyHolder& holder, int top) {
  const obDN* issuer = chain.Get(top)->Issuer();
  if (!issuer || issuer->Count() == 0) {
    OB_HERROR("%s: top cert doesn't have DN", kFixChain);
    return nullptr;
  }
  obCertifiedKey* key = holder.CertKeyBySubCA(*issuer);
  if (!key) {
    OB_HERROR("%s: Can't find the chains' root CA in my token", kFixChain);
    return nullptr;
  }
  const obCerts& keyChain = key->Chain();
  int from = 1;
  for (; from <= keyChain.Top(); ++from) {
    const obCert* cert = keyChain.Get(from);
    if (cert && cert->Subject() && cert->Subject()->Equal(*issuer)) break;
  }
  if (from > keyChain.Top()) {
    OB_HERROR("%s: Failed to fix chain", kFixChain);
    return nullptr;
  }
  for (int i = from; i <= keyChain.Top(); ++i) {
    if (!keyChain.Get(i)) continue;
    Append(chain, keyChain.Get(i));
    OB_HERROR("%s: adding root ca to chain", kFixChain);
  }
  obRootCA* root = key->Root();
  obCert* rootCert = root ? root->Cert() : nullptr;
  if (rootCert && !(*chain.Get(chain.Top()) == *rootCert)) Append(chain, rootCert);
  OB_HERROR("%s: Got short chain. Extended it to my root CA", kFixChain);
  return root;
}

obRootCA* RepairPass(obCerts* chain, obKeyHolder* holder) {
  if (!chain) {
    OB_HERROR("%s: chain is NULL, returning", kFixChain);
    return nullptr;
  }
  int top = chain->Top();
  if (top < 0) {
    OB_HERROR("%s: top < 0, returning", kFixChain);
    return nullptr;
  }
  if (!holder) {
    OB_HERROR("%s: key holder is NULL, returning", kFixChain);
    return nullptr;
  }
  if (obRootCA* root = EndAtHeldRoot(*chain, *holder, top)) return root;
  if (obRootCA* root = CutAtHeldRoot(*chain, *holder, top)) return root;
  return ExtendFromCertKey(*chain, *holder, top);
}

}  // namespace

obRootCA* obCert_FixChain(obCerts* chain, obKeyHolder* holder) {
  obRootCA* root = RepairPass(chain, holder);
  obCert_SubCAFunc callback = g_subCAFunc;
  if (root || !callback || !chain || !holder) return root;
  if (callback(chain) < 0) return nullptr;
  obCerts_Sort(chain, chain);
  return RepairPass(chain, holder);
}

obRootCA* obCert_FixChainC(obCerts* chain, obKeyHolder* holder) { return obCert_FixChain(chain, holder); }

void obCert_SetSubCAFunc(obCert_SubCAFunc callback) { g_subCAFunc = callback; }
