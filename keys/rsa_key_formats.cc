#include "nycert/keys/rsa_key_formats.h"

#include <cstring>

#include "nycert/asn1/modules/pkcs1.h"
#include "nycert/asn1/modules/pkcs8.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_null.h"
#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/buffers/diag.h"

namespace {

void SetRsaAlgorithm(obASN_AlgorithmIdentifier& alg) {
  alg.algorithm = obASN_rsaEncryption;
  alg.parameters.emplace().SetValue(new obAsnNull);
}

// A decoded positive integer's big-endian magnitude without leading zeros: 0,
// or -1 for zero or a negative value (a block keeps its sign octet as decoded).
int IntMagnitude(const obAsnInt& value, nyBinBuf& out) {
  if (!value.IsBlock()) {
    unsigned long v = value.Value() > 0 ? static_cast<unsigned long>(value.Value()) : 0;
    if (v == 0) return -1;
    unsigned char octets[sizeof v];
    unsigned n = 0;
    for (; v; v >>= 8) octets[sizeof v - 1 - n++] = static_cast<unsigned char>(v);
    out.Set(octets + sizeof v - n, n);
    return 0;
  }
  const unsigned char* p = value.Bytes();
  unsigned long n = value.BytesLen();
  if (p[0] & 0x80) return -1;
  while (n > 0 && p[0] == 0) {
    ++p;
    --n;
  }
  if (n == 0) return -1;
  out.Set(p, static_cast<unsigned>(n));
  return 0;
}

// An encoded RSAPublicKey to its modulus and exponent: 0, or -1 (reported).
int RsaPkParts(const unsigned char* der, unsigned long len, nyBinBuf& modulus, nyBinBuf& exponent) {
  obASN_RSAPublicKey key;
  if (obAsnDecode(key, der, len) < 0) {
    OB_HERROR("obPKCS1toRsaPk decoding rsa failed");
    return -1;
  }
  if (IntMagnitude(key.modulus, modulus) < 0 || IntMagnitude(key.publicExponent, exponent) < 0) {
    OB_HERROR("obPKCS1toRsaPk failed to convert rsa to buffer");
    return -1;
  }
  return 0;
}

// An encoded RSA SubjectPublicKeyInfo to its modulus and exponent: 0, or -1 (reported).
int PkInfoParts(const unsigned char* der, unsigned long len, nyBinBuf& modulus, nyBinBuf& exponent) {
  obASN_SubjectPublicKeyInfo info;
  if (len == 0 || obAsnDecode(info, der, len) < 0 || info.subjectPublicKey.BitLen() % 8 != 0) {
    OB_HERROR("obPkInfo2RsaPk decofing PublicKeyInfo failed");
    return -1;
  }
  if (info.algorithm.algorithm != obASN_rsaEncryption) {
    OB_HERROR("obPkInfo2RsaPk wrong algorithm");
    return -1;
  }
  return RsaPkParts(info.subjectPublicKey.Octets(), info.subjectPublicKey.OctetLen(), modulus, exponent);
}

}  // namespace

int obRsaPk2PKCS1(const unsigned char* modulus, int modulusLen, const unsigned char* exponent, int exponentLen,
                  unsigned char** out, int& outLen) {
  if (!modulus || modulusLen < 1 || !exponent || exponentLen < 1 || !out) {
    OB_HERROR("obRsaPk2PKCS1 func argument is null");
    return -1;
  }
  obASN_RSAPublicKey key;
  nyBinBuf der;
  key.modulus.SetBytes(modulus, static_cast<unsigned long>(modulusLen));
  key.publicExponent.SetBytes(exponent, static_cast<unsigned long>(exponentLen));
  if (obAsnEncode(key, der) < 0) {
    OB_HERROR("obRsaPk2PKCS1 encoding Rsa failed");
    return -1;
  }
  *out = new unsigned char[der.Len()];
  std::memcpy(*out, der.Data(), der.Len());
  outLen = static_cast<int>(der.Len());
  return 0;
}

int obPKCS1toPkInfo(const nyBinBuf& pkcs1, nyBinBuf& out) {
  if (pkcs1.IsEmpty()) {
    OB_HERROR("PKCS1toPkInfo func argument is null");
    return -1;
  }
  obASN_SubjectPublicKeyInfo info;
  SetRsaAlgorithm(info.algorithm);
  info.subjectPublicKey.Set(pkcs1.Data(), static_cast<unsigned long>(pkcs1.Len()) * 8);
  if (obAsnEncode(info, out) < 0) {
    OB_HERROR("obRsaPk2PKCS1 encoding PublicKeyInfo  failed");
    return -1;
  }
  return 0;
}

int obRsaPk2PkInfo(const unsigned char* modulus, int modulusLen, const unsigned char* exponent, int exponentLen,
                   nyBinBuf& out) {
  unsigned char* der = nullptr;
  int derLen = 0;
  if (obRsaPk2PKCS1(modulus, modulusLen, exponent, exponentLen, &der, derLen) < 0) {
    OB_HERROR("obRsaPk2PkInfo obRsaPk2PKCS1() failed");
    return -1;
  }
  nyBinBuf pkcs1(der, static_cast<unsigned>(derLen));
  delete[] der;
  if (obPKCS1toPkInfo(pkcs1, out) < 0) {
    OB_HERROR("obRsaPk2PkInfo obPKCS1toPkInfo() failed");
    return -1;
  }
  return 0;
}

int obPKCS1toRsaPk(const nyBinBuf& pkcs1, nyBinBuf& modulus, nyBinBuf& exponent) {
  if (pkcs1.IsEmpty()) {
    OB_HERROR("obPKCS1toRsaPk decoding rsa failed");
    return -1;
  }
  return RsaPkParts(pkcs1.Data(), pkcs1.Len(), modulus, exponent);
}

int obPkInfo2RsaPk(const nyBinBuf& pkInfo, nyBinBuf& modulus, nyBinBuf& exponent) {
  return PkInfoParts(pkInfo.Data(), pkInfo.Len(), modulus, exponent);
}

// RSAPublicKey ::= SEQUENCE { modulus INTEGER, ... }
// SubjectPublicKeyInfo ::= SEQUENCE { algorithm AlgorithmIdentifier, ... }
int obPublicDer2RsaPk(const unsigned char* der, size_t len, nyBinBuf& modulus, nyBinBuf& exponent) {
  obDerReader outer(der, len);
  obDerSpan fields;
  if (!der || !outer.Read(kDerSequence, fields)) {
    OB_HERROR("obPublicDer2RsaPk: not a public key");
    return -1;
  }
  if (obDerReader(fields).PeekTag() == kDerInteger) return RsaPkParts(der, len, modulus, exponent);
  return PkInfoParts(der, len, modulus, exponent);
}

int obPKCS8fromPKCS1(const nyBinBuf& pkcs1, nyBinBuf& out) {
  if (pkcs1.IsEmpty()) {
    OB_HERROR("obPKCS8fromPKCS1 func argument is null");
    return -1;
  }
  obASN_PrivateKeyInfo info;
  info.version.Set(obASN_PrivateKeyInfo_version::v1);
  SetRsaAlgorithm(info.privateKeyAlgorithm);
  info.privateKey.Set(pkcs1.Data(), pkcs1.Len());
  if (obAsnEncode(info, out) < 0) {
    OB_HERROR("obPKCS8fromPKCS1 encoding PrivateKeyInfo failed");
    return -1;
  }
  return 0;
}

int obPKCS1fromPKCS8(unsigned char* buffer, int* length) {
  obASN_PrivateKeyInfo info;
  if (!buffer || !length || *length < 1 || obAsnDecode(info, buffer, static_cast<unsigned long>(*length)) < 0) {
    OB_HERROR("obPKCS1fromPKCS8: Error parsing pkcs8");
    return -1;
  }
  obASN_RSAPrivateKey key;
  if (obAsnDecode(key, info.privateKey.data(), info.privateKey.size()) < 0) {
    OB_HERROR("obPKCS1fromPKCS8: Error parsing pkcs8 data");
    return -1;
  }
  if (info.privateKeyAlgorithm.algorithm != obASN_rsaEncryption) {
    OB_HERROR("obPKCS1fromPKCS8: Error wrong algorithm: %s", info.privateKeyAlgorithm.algorithm.Dotted().getstr());
    return -1;
  }
  std::memcpy(buffer, info.privateKey.data(), info.privateKey.size());
  *length = static_cast<int>(info.privateKey.size());
  return 0;
}
