#include "nycert/keys/any_key.h"

#include <string>
#include <utility>

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/buffers/diag.h"
#include "nycert/buffers/pem.h"
#include "nycert/keys/ec_evp.h"
#include "nycert/keys/nysec.h"
#include "nycert/keys/rsa_import.h"
#include "nycert/keys/rsa_key_formats.h"

namespace {

// The algorithm OID of a SubjectPublicKeyInfo, or (withVersion) of a
// PrivateKeyInfo; false when der starts neither.
bool KeyAlgorithm(const unsigned char* der, int len, bool withVersion, obDerSpan& oid) {
  if (!der || len < 1) return false;
  obDerReader outer(der, static_cast<size_t>(len));
  obDerSpan body, version, alg;
  if (!outer.Read(kDerSequence, body)) return false;
  obDerReader fields(body);
  if (withVersion && !fields.Read(kDerInteger, version)) return false;
  if (!fields.Read(kDerSequence, alg)) return false;
  obDerReader algorithm(alg);
  return algorithm.Read(kDerOid, oid);
}

bool NamesEcKey(const unsigned char* der, int len, bool withVersion) {
  obDerSpan oid;
  return KeyAlgorithm(der, len, withVersion, oid) && nyEC_IsKeyAlgorithm(oid);
}

}  // namespace

obPubKey* obImportPublicKeyInfo(const unsigned char* der, int len) {
  if (!NamesEcKey(der, len, false)) return obImportRSAKey(obPK_Format_PublicDER, der, len);
  return nySEC_New(nyEC_FromKeyInfo(der, static_cast<size_t>(len)));
}

obPubKey* obImportPrivateKey(const unsigned char* der, int len) {
  if (!NamesEcKey(der, len, true)) return obImportRSAKey(obPK_Format_PrivateDER, der, len);
  return nySEC_New(nyEC_FromPrivate(der, static_cast<size_t>(len), false));
}

obPubKey* obImportKeyPEM(const char* pem, unsigned len) {
  obPemBlock block;
  unsigned offset = 0;
  if (obPem_Next(pem, len, offset, block) != 1) {
    OB_HERROR("obImportKeyPEM: no PEM block");
    return nullptr;
  }
  const std::string& label = block.label;
  const unsigned char* der = block.der.Data();
  int derLen = static_cast<int>(block.der.Len());
  obPubKey* key = nullptr;
  if (label == "PRIVATE KEY") {
    key = obImportPrivateKey(der, derLen);
  } else if (label == "PUBLIC KEY") {
    key = obImportPublicKeyInfo(der, derLen);
  } else if (label == "EC PRIVATE KEY") {
    key = nySEC_New(nyEC_FromPrivate(der, block.der.Len(), true));
  } else {
    key = obImportRSAKeyPEM(pem, len);
  }
  block.der.Zero();
  return key;
}

int obPubKeyInfoOf(obPubKey& key, nyBinBuf& out) {
  obAlgType alg = key.algorithm();
  obPK_Format fmt = alg == obAlg_EC || alg == obAlg_Ed25519 ? obPK_Format_PublicKeyInfo : obPK_Format_PublicDER;
  int len = key.Export(fmt, nullptr, 0);
  if (len <= 0) return -1;
  nyBinBuf der(static_cast<unsigned>(len));
  if (key.Export(fmt, der.Data(), len) != len) return -1;
  if (fmt == obPK_Format_PublicKeyInfo) {
    out = std::move(der);
    return 0;
  }
  return obPKCS1toPkInfo(der, out);
}

int obPrivateKeyInfoOf(obPubKey& key, nyBinBuf& out) {
  int len = key.Export(obPK_Format_PrivateDER, nullptr, 0);
  if (len <= 0) return -1;
  nyBinBuf der(static_cast<unsigned>(len));
  int rc = key.Export(obPK_Format_PrivateDER, der.Data(), len) == len ? 0 : -1;
  // EC keys (and some installed RSA importers' keys) export a
  // PrivateKeyInfo already; RSA keys export an RSAPrivateKey.
  obDerSpan oid;
  if (rc == 0 && KeyAlgorithm(der.Data(), len, true, oid))
    out = der;
  else if (rc == 0)
    rc = obPKCS8fromPKCS1(der, out);
  der.Zero();
  return rc;
}
