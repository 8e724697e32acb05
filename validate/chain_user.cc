#include "nycert/validate/chain_user.h"

#include <cstring>
#include <string>

#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "nycert/validate/chain_fix.h"
#include "nycert/validate/chain_sort.h"

namespace {

// id-ms-san-upn, the user principal name other name.
const obAsnOid kUserPrincipalName("1.3.6.1.4.1.311.20.2.3");

// Longer common names than this are refused rather than cut.
constexpr int kMaxCommonName = 1024;

void CopyCut(const char* text, char* out, int size) {
  size_t len = std::strlen(text);
  if (len > static_cast<size_t>(size - 1)) len = static_cast<size_t>(size - 1);
  std::memcpy(out, text, len);
  out[len] = '\0';
}

// Sorts and anchors chain: the anchoring root, or null (reported under fn).
obRootCA* AnchoringRoot(const char* fn, obCerts* chain, obKeyHolder* holder) {
  if (obCerts_Sort(chain, chain) != 0 || chain->Count() == 0) {
    OB_HERROR("%s: Got inconsistent chain from peer", fn);
    return nullptr;
  }
  obRootCA* root = obCert_FixChain(chain, holder);
  if (!root) OB_HERROR("%s: Failed to get root CA from chain", fn);
  return root;
}

// The value of an other name's text form "<type>: <value>": what follows
// the first colon and the character after it; null without a colon.
const char* OtherNameValue(const char* text) {
  const char* colon = std::strchr(text, ':');
  if (!colon) return nullptr;
  return colon[1] ? colon + 2 : colon + 1;
}

}  // namespace

int obCert_UseCN2FetchUser(obCerts* chain, obKeyHolder* holder, char* cn, int cnSize, char* dn, int dnSize) {
  constexpr char kFn[] = "obCert_UseCN2FetchUser";
  if (!chain || !holder || !cn || cnSize < 1 || !dn || dnSize < 1) {
    OB_HERROR("%s: Bad Input, No Key Holder or Chain or User Name", kFn);
    return -1;
  }
  obRootCA* root = AnchoringRoot(kFn, chain, holder);
  if (!root) return -1;
  if (!root->UseCN2FetchUser()) return 0;
  const obDN* subject = chain->Get(0) ? chain->Get(0)->Subject() : nullptr;
  if (!subject || !subject->GetStr()) {
    OB_HERROR("%s: Failed to retrieve the subject dn from chain", kFn);
    return -1;
  }
  std::string commonName(kMaxCommonName, '\0');
  if (subject->GetCN(&commonName[0], kMaxCommonName) != 0) {
    OB_HERROR("%s: Failed to find common name in the DN", kFn);
    return -1;
  }
  CopyCut(commonName.c_str(), cn, cnSize);
  CopyCut(subject->GetStr(), dn, dnSize);
  return 1;
}

int obCert_IsMsEnterprise(obCerts* chain, obKeyHolder* holder, char* upn, int upnSize) {
  constexpr char kFn[] = "obCert_IsMsEnterprise";
  if (!chain || !holder || !upn || upnSize < 1) {
    OB_HERROR("%s: Bad Input, No Key Holder or Chain or User Name", kFn);
    return -1;
  }
  obRootCA* root = AnchoringRoot(kFn, chain, holder);
  if (!root) return -1;
  if (!root->IsMsEnterprise()) return 0;
  const obGeneralNames* altNames = chain->Get(0) ? chain->Get(0)->AltNames() : nullptr;
  if (!altNames) {
    OB_HERROR("%s: Failed to retrieve alternate names from chain", kFn);
    return -1;
  }
  const obGeneralName* name = altNames->GetFirstOfType(obGN_otherName, &kUserPrincipalName);
  const char* value = name && name->GetStr() ? OtherNameValue(name->GetStr()) : nullptr;
  if (!value) {
    OB_HERROR("%s: Failed to find principal name among alternate names", kFn);
    return -1;
  }
  CopyCut(value, upn, upnSize);
  return 1;
}
