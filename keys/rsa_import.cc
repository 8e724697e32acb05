#include "nycert/keys/rsa_import.h"

#include <openssl/evp.h>

#include <string>

#include "nycert/buffers/diag.h"
#include "nycert/buffers/pem.h"
#include "nycert/keys/nysrsa.h"
#include "nycert/keys/rsa_evp_internal.h"
#include "nycert/platform/obset.h"

namespace {

obPubKey* BuiltinImport(void*, obPK_Format fmt, const void* data, int len) {
  const unsigned char* der = static_cast<const unsigned char*>(data);
  switch (fmt) {
    case obPK_Format_Set:
      // The size of the obset pointer: 4 is accepted too, as callers
      // written for 32-bit pointers pass it.
      if (len != static_cast<int>(sizeof(void*)) && len != 4) {
        OB_HERROR("nySRSA_imp: wrong pointer length %d", len);
        return nullptr;
      }
      return data ? nySRSA_New(nyRSA_from_set(*static_cast<obset* const*>(data))) : nullptr;
    case obPK_Format_PublicDER:
      return der && len > 0 ? nySRSA_New(RsaPublicFromDer(der, static_cast<size_t>(len))) : nullptr;
    case obPK_Format_PrivateDER:
      return der && len > 0 ? nySRSA_New(RsaPrivateFromDer(der, static_cast<size_t>(len))) : nullptr;
    case obPK_Format_PublicKeyInfo:
      break;
  }
  OB_HERROR("nySRSA_imp: unsupported type to import: %d", static_cast<int>(fmt));
  return nullptr;
}

obImportRSAKeyFn g_importFn = BuiltinImport;
void* g_importContext = nullptr;

}  // namespace

void obSetImportRSAKey_func(obImportRSAKeyFn func, void* context) {
  g_importFn = func ? func : BuiltinImport;
  g_importContext = func ? context : nullptr;
}

obPubKey* obImportRSAKey(obPK_Format fmt, const void* data, int len) {
  return g_importFn(g_importContext, fmt, data, len);
}

obPubKey* obImportRSAKeyPEM(const char* pem, unsigned len) {
  obPemBlock block;
  unsigned offset = 0;
  const std::string& label = block.label;
  obPubKey* key = nullptr;
  if (obPem_Next(pem, len, offset, block) != 1) {
    OB_HERROR("obImportRSAKeyPEM: no PEM block");
  } else if (label == "RSA PRIVATE KEY" || label == "PRIVATE KEY") {
    key = obImportRSAKey(obPK_Format_PrivateDER, block.der.Data(), static_cast<int>(block.der.Len()));
  } else if (label == "RSA PUBLIC KEY" || label == "PUBLIC KEY") {
    key = obImportRSAKey(obPK_Format_PublicDER, block.der.Data(), static_cast<int>(block.der.Len()));
  } else {
    OB_HERROR("obImportRSAKeyPEM: unsupported block %s", label.c_str());
  }
  block.der.Zero();
  return key;
}

obPubKey* obImportRSAKey_from_Set(const obset* set) {
  return nySRSA_New(RsaKeyFromSet(set, "obImportRSAKey_from_Set"));
}

obset* obExportRSAKey_to_Set(obPubKey* key) {
  static const char kFn[] = "obExportRSAKey_to_Set";
  if (!key) return nullptr;
  obset* set = nullptr;
  if (key->Export(obPK_Format_Set, &set, static_cast<int>(sizeof set)) == 0 && set) return set;
  int len = key->Export(obPK_Format_PublicDER, nullptr, 0);
  nyBinBuf der;
  if (len > 0) der.Set(static_cast<unsigned>(len));
  if (len < 1 || key->Export(obPK_Format_PublicDER, der.Data(), len) != len) {
    OB_HERROR("%s: error exporting public part!", kFn);
    return nullptr;
  }
  EVP_PKEY* pub = nyRSA_from_buf(der.Data(), len);
  if (!pub) {
    OB_HERROR("%s: nyRSA_from_buf failed", kFn);
    return nullptr;
  }
  set = nyRSA_to_set(pub);
  EVP_PKEY_free(pub);
  return set;
}
