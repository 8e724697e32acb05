// A key holder to and from a PKCS #12 file: each certified key becomes a
// shrouded key bag with certificate bags for its chain, linked by
// localKeyId (the key's identifier) and friendlyName (its name); each root
// CA becomes a certificate bag of its own. Reading puts every certificate
// in as a CA entry (a key's own under the key's identifier) and lets
// obKeyHolder_Sort rebuild the chains and roots.
#include <cstring>
#include <memory>
#include <string>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/pubkey.h"
#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/key_holder.h"
#include "nycert/keystore/pfx_decode.h"
#include "nycert/keystore/pfx_encode.h"
#include "nycert/keystore/pkcs12.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/platform/nybcrypt.h"

namespace {

const char kNoMemory[] = "Failed to allocate memory - obRootCA / obKeyHolder.";

void AddCertBag(const obCert* cert, const char* name, const unsigned char* id, int idLen, obP12Contents& out) {
  if (!cert) return;
  out.bags.emplace_back();
  obP12Bag& bag = out.bags.back();
  bag.kind = obP12Bag::kCert;
  bag.der.Set(cert->GetBuf(), cert->BufLen());
  if (name) bag.friendlyName = name;
  if (id && idLen > 0) bag.localKeyId.Set(id, static_cast<unsigned>(idLen));
}

// The key's private half as a PrivateKeyInfo: 0, or -1.
int PrivateKeyInfo(obPubKey* key, nyBinBuf& out) { return key ? obPrivateKeyInfoOf(*key, out) : -1; }

int AddCertifiedKey(obCertifiedKey* key, obP12Contents& out, obString& message) {
  const obCerts& chain = key->Chain();
  obCert* own = chain.Get(0);
  nyBinBuf id;
  if (key->Id())
    id.Set(key->Id(), static_cast<unsigned>(key->IdLen()));
  else if (own) {
    unsigned char sha1[20];
    ny_md_hashbuf(ob_md_sha1, own->GetBuf(), own->BufLen(), sha1);
    id.Set(sha1, sizeof sha1);
  }
  out.bags.emplace_back();
  obP12Bag& bag = out.bags.back();
  bag.kind = obP12Bag::kKey;
  if (key->Name()) bag.friendlyName = key->Name();
  bag.localKeyId = id;
  if (PrivateKeyInfo(key->PubKey(), bag.der) < 0) {
    message = "Error Encoding PKCS#12  password";
    OB_HERROR("obKeyHolder_2PKCS12: cannot export the private key of %s", key->Name() ? key->Name() : "no name");
    return -1;
  }
  AddCertBag(own, key->Name(), id.Data(), static_cast<int>(id.Len()), out);
  for (int i = 1; chain.Get(i); ++i) AddCertBag(chain.Get(i), nullptr, nullptr, 0, out);
  return 0;
}

int HolderContents(obKeyHolder& holder, obP12Contents& out, obString& message) {
  std::unique_ptr<obCertKey_iterator> keys(holder.CertKeys());
  for (; keys && keys->Curr(); keys->Next()) {
    if (AddCertifiedKey(keys->Curr(), out, message) < 0) return -1;
  }
  std::unique_ptr<obRootCA_iterator> cas(holder.RootCAs());
  for (; cas && cas->Curr(); cas->Next()) {
    obRootCA* ca = cas->Curr();
    AddCertBag(ca->Cert(), ca->Name(), ca->Id(), ca->IdLen(), out);
  }
  return 0;
}

// The bag's identifier, or null.
const unsigned char* IdOf(const obP12Bag& bag) { return bag.localKeyId.IsEmpty() ? nullptr : bag.localKeyId.Data(); }
const char* NameOf(const obP12Bag& bag) { return bag.friendlyName.empty() ? nullptr : bag.friendlyName.c_str(); }

// Links a key bag that has no localKeyId to its certificate (the one of
// the same friendlyName, or the only candidate when the file holds one key)
// by giving both the certificate's SHA-1 as identifier.
void LinkUnidentifiedKeys(obP12Contents& contents) {
  int keys = 0;
  for (const obP12Bag& bag : contents.bags) keys += bag.kind == obP12Bag::kKey;
  for (obP12Bag& key : contents.bags) {
    if (key.kind != obP12Bag::kKey || !key.localKeyId.IsEmpty()) continue;
    for (obP12Bag& cert : contents.bags) {
      if (cert.kind != obP12Bag::kCert || !cert.localKeyId.IsEmpty()) continue;
      if (keys != 1 && (key.friendlyName.empty() || key.friendlyName != cert.friendlyName)) continue;
      unsigned char sha1[20];
      ny_md_hashbuf(ob_md_sha1, cert.der.Data(), cert.der.Len(), sha1);
      key.localKeyId.Set(sha1, sizeof sha1);
      cert.localKeyId = key.localKeyId;
      break;
    }
  }
}

// Fills raw with the file's objects: keys without chains, and every
// certificate as a CA entry. 0, or -1.
int RawHolder(const obP12Contents& contents, obKeyHolder& raw, obString& message) {
  for (const obP12Bag& bag : contents.bags) {
    if (bag.kind != obP12Bag::kKey) continue;
    obPubKey* key = obImportPrivateKey(bag.der.Data(), static_cast<int>(bag.der.Len()));
    if (!key) {
      message = "The PKCS#12 file holds a private key of a kind that cannot be read";
      return -1;
    }
    auto* certified = new obCertifiedKey(NameOf(bag), nullptr, nullptr, key, 0, IdOf(bag),
                                         static_cast<int>(bag.localKeyId.Len()));
    obFreePubKey(key);
    raw.AddCertKey(certified);
    obFreePKobj(certified);
  }
  for (const obP12Bag& bag : contents.bags) {
    if (bag.kind != obP12Bag::kCert) continue;
    obCert* cert = obCert_Decode(bag.der.Data(), static_cast<int>(bag.der.Len()));
    if (!cert) continue;
    auto* ca = new obRootCA(NameOf(bag), cert, 0, obCaType_Unknown, 0, IdOf(bag),
                            static_cast<int>(bag.localKeyId.Len()), nullptr, 0);
    obCert_Free(cert);
    raw.AddCA(ca);
    obFreePKobj(ca);
  }
  return 0;
}

}  // namespace

int obKeyHolder_2PKCS12(nyBinBuf& out, const char* password, PKCS12_ENC_ALG encryption, int option,
                        obKeyHolder& holder, obString& message) {
  obP12Contents contents;
  if (HolderContents(holder, contents, message) < 0) return -1;
  obP12WriteOptions options = encryption == PKCS12_ENC_LEGACY ? obP12WriteOptions::Legacy() : obP12WriteOptions();
  if (option > 0) options.iterations = options.macIterations = option;
  obString why;
  if (obP12_Encode(contents, password, options, out, why) < 0) {
    message = why;
    OB_HERROR("obKeyHolder_2PKCS12: %s", why.getstr() ? why.getstr() : "");
    return -1;
  }
  return 0;
}

int obPKCS12_2KeyHolder(nyBinBuf& pfx, const char* password, obKeyHolder& holder, obString& message) {
  obP12Contents contents;
  obString why;
  int rc = obP12_Decode(pfx.Data(), pfx.Len(), password, contents, why);
  if (rc < 0) {
    message = rc == kP12WrongPassword ? obString("Error Encoding PKCS#12 password") : why;
    OB_HERROR("obPKCS12_2KeyHolder: %s", why.getstr() ? why.getstr() : "");
    return -1;
  }
  LinkUnidentifiedKeys(contents);
  std::unique_ptr<obKeyHolder> raw(obKeyHolder_New());
  if (!raw || RawHolder(contents, *raw, message) < 0) {
    if (!raw) message = kNoMemory;
    return -1;
  }
  std::unique_ptr<obKeyHolder> sorted(obKeyHolder_Sort(raw.get()));
  if (!sorted) {
    message = kNoMemory;
    OB_HERROR("obPKCS12_2KeyHolder: %s", kNoMemory);
    return -1;
  }
  holder += *sorted;
  return 0;
}

int obPKCS12_2KeyHolder_C(unsigned char* pfx, int pfxLen, const char* password, obKeyHolder& holder, char* message,
                          int messageSize) {
  nyBinBuf buf;
  if (pfx && pfxLen > 0) buf.Set(pfx, static_cast<unsigned>(pfxLen));
  obString text;
  int rc = obPKCS12_2KeyHolder(buf, password, holder, text);
  if (message && messageSize > 0) {
    std::strncpy(message, text.getstr() ? text.getstr() : "", static_cast<size_t>(messageSize) - 1);
    message[messageSize - 1] = 0;
  }
  return rc;
}
