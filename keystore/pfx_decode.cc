#include "nycert/keystore/pfx_decode.h"

#include <functional>
#include <vector>

#include "nycert/asn1/modules/cms_content.h"
#include "nycert/asn1/modules/pkcs12.h"
#include "nycert/asn1/modules/pkcs5.h"
#include "nycert/asn1/modules/pkcs8.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/asn1/runtime/asn_unicode.h"
#include "nycert/keystore/p12_mac.h"
#include "nycert/keystore/p12_password.h"
#include "nycert/keystore/pbe.h"

obP12Bag::~obP12Bag() {
  if (kind == kKey) obP12Wipe(der);
}

namespace {

// Decodes the undecoded value an ANY holds: false when absent or malformed.
template <class T>
bool DecodeAny(const obAsnAny& any, T& out) {
  return !any.Raw().empty() && obAsnDecode(out, any.Raw().data(), any.Raw().size()) == 0;
}

int Fail(obString& why, int rc, const char* text) {
  why = text;
  return rc;
}

class PfxReader {
 public:
  PfxReader(const char* password, obP12Contents& out, obString& why)
      : forms_(obP12PasswordForms(password)), out_(out), why_(why) {}

  // Decodes the PFX and opens its AuthenticatedSafe octets into data_.
  int Open(const unsigned char* pfx, size_t len) {
    if (len > kP12MaxFileSize) return Fail(why_, kP12TooLarge, "PKCS#12 file larger than 16 MiB");
    if (obAsnDecode(pfx_, pfx, len) < 0) return Fail(why_, kP12Malformed, "not a PKCS#12 file (PFX does not decode)");
    if (pfx_.version.Value() != 3 || pfx_.version.IsBlock())
      return Fail(why_, kP12Unsupported, "unsupported PFX version");
    if (pfx_.authSafe.contentType == obASN_id_signedData)
      return Fail(why_, kP12Unsupported, "PKCS#12 files with public-key integrity are not supported");
    if (pfx_.authSafe.contentType != obASN_id_data || !pfx_.authSafe.content ||
        !DecodeAny(*pfx_.authSafe.content, data_))
      return Fail(why_, kP12Malformed, "malformed PFX content");
    return 0;
  }

  // Picks the password form the MAC accepts: 0, or negative.
  int CheckMac() {
    if (!pfx_.macData) return Fail(why_, kP12Unsupported, "the PKCS#12 file has no MAC");
    for (size_t i = 0; i < forms_.size(); ++i) {
      int rc = obP12Mac_Verify(*pfx_.macData, forms_[i].bmp, data_.data(), data_.size(), why_);
      if (rc < 0) return kP12Unsupported;
      if (rc == 1) {
        chosen_ = static_cast<int>(i);
        out_.mac = obP12Mac_Describe(*pfx_.macData);
        return 0;
      }
    }
    return Fail(why_, kP12WrongPassword, "MAC verification failed: wrong password or corrupted file");
  }

  int ReadBags(bool skipMac) {
    if (pfx_.macData && !skipMac) {
      int rc = CheckMac();
      if (rc < 0) return rc;
    }
    obASN_AuthenticatedSafe safes;
    if (obAsnDecode(safes, data_.data(), data_.size()) < 0)
      return Fail(why_, kP12Malformed, "malformed AuthenticatedSafe");
    for (const obASN_ContentInfo& safe : safes) {
      int rc = ReadSafe(safe);
      if (rc < 0) return rc;
    }
    return 0;
  }

 private:
  int ReadSafe(const obASN_ContentInfo& safe) {
    if (safe.contentType == obASN_id_data) {
      obAsnOcts octets;
      if (!safe.content || !DecodeAny(*safe.content, octets)) return Fail(why_, kP12Malformed, "malformed data safe");
      return ReadSafeContents(octets.data(), octets.size(), obString(), 0);
    }
    if (safe.contentType != obASN_id_encryptedData)
      return Fail(why_, kP12Unsupported, "safes encrypted with public keys are not supported");
    obASN_EncryptedData encrypted;
    if (!safe.content || !DecodeAny(*safe.content, encrypted) ||
        !encrypted.encryptedContentInfo.encryptedContent)
      return Fail(why_, kP12Malformed, "malformed encrypted safe");
    const obASN_EncryptedContentInfo& info = encrypted.encryptedContentInfo;
    nyBinBuf plain;
    obASN_SafeContents probe;
    int rc = Decrypt(info.contentEncryptionAlgorithm, info.encryptedContent->data(),
                     info.encryptedContent->size(), plain,
                     [&probe](const nyBinBuf& p) { return obAsnDecode(probe, p.Data(), p.Len()) == 0; });
    if (rc < 0) return rc;
    return ReadSafeContents(plain.Data(), plain.Len(), obPbe_Describe(info.contentEncryptionAlgorithm), 0);
  }

  int ReadSafeContents(const unsigned char* p, size_t n, const obString& protection, int depth) {
    if (depth > kP12MaxNesting) return Fail(why_, kP12TooLarge, "safe contents nested too deeply");
    obASN_SafeContents bags;
    if (obAsnDecode(bags, p, n) < 0) return Fail(why_, kP12Malformed, "malformed SafeContents");
    for (const obASN_SafeBag& bag : bags) {
      int rc = ReadBag(bag, protection, depth);
      if (rc < 0) return rc;
    }
    return 0;
  }

  int ReadBag(const obASN_SafeBag& bag, const obString& protection, int depth) {
    if (bag.bagId == obASN_safeContentsBag) {
      const obAsnRawAny& raw = bag.bagValue.Raw();
      return ReadSafeContents(raw.data(), raw.size(), protection, depth + 1);
    }
    if (out_.bags.size() >= kP12MaxBags) return Fail(why_, kP12TooLarge, "too many bags in the PKCS#12 file");
    out_.bags.emplace_back();
    obP12Bag& out = out_.bags.back();
    out.protection = protection;
    int rc = 0;
    if (bag.bagId == obASN_keyBag)
      rc = ReadKey(bag.bagValue, out);
    else if (bag.bagId == obASN_pkcs8ShroudedKeyBag)
      rc = ReadShroudedKey(bag.bagValue, out);
    else if (bag.bagId == obASN_certBag)
      rc = ReadCert(bag.bagValue, out);
    if (rc < 0) return rc;
    return bag.bagAttributes ? ReadAttributes(*bag.bagAttributes, out) : 0;
  }

  int ReadKey(const obAsnAny& value, obP12Bag& out) {
    obASN_PrivateKeyInfo key;
    if (!DecodeAny(value, key)) return Fail(why_, kP12Malformed, "malformed key bag");
    out.kind = obP12Bag::kKey;
    out.der.Set(value.Raw().data(), static_cast<unsigned>(value.Raw().size()));
    return 0;
  }

  int ReadShroudedKey(const obAsnAny& value, obP12Bag& out) {
    obASN_EncryptedPrivateKeyInfo shrouded;
    if (!DecodeAny(value, shrouded)) return Fail(why_, kP12Malformed, "malformed shrouded key bag");
    out.kind = obP12Bag::kKey;
    obASN_PrivateKeyInfo key;
    int rc = Decrypt(shrouded.encryptionAlgorithm, shrouded.encryptedData.data(), shrouded.encryptedData.size(),
                     out.der, [&key](const nyBinBuf& p) { return obAsnDecode(key, p.Data(), p.Len()) == 0; });
    out.protection = obPbe_Describe(shrouded.encryptionAlgorithm);
    return rc;
  }

  int ReadCert(const obAsnAny& value, obP12Bag& out) {
    obASN_CertBag cert;
    if (!DecodeAny(value, cert)) return Fail(why_, kP12Malformed, "malformed certificate bag");
    if (cert.certId != obASN_x509Certificate) return 0;
    obAsnOcts der;
    if (!DecodeAny(cert.certValue, der)) return Fail(why_, kP12Malformed, "malformed certificate bag");
    out.kind = obP12Bag::kCert;
    out.der.Set(der.data(), static_cast<unsigned>(der.size()));
    return 0;
  }

  int ReadAttributes(const obASN_SafeBag_bagAttributes& attributes, obP12Bag& out) {
    for (const obASN_PKCS12Attribute& attribute : attributes) {
      if (attribute.attrValues.empty()) continue;
      const obAsnAny& value = attribute.attrValues[0];
      if (attribute.attrId == obASN_pkcs_9_at_friendlyName) {
        obAsnBMPString name;
        if (!DecodeAny(value, name) || obAsnBmpToUtf8(name.data(), name.size(), out.friendlyName) < 0)
          return Fail(why_, kP12Malformed, "malformed friendlyName");
      } else if (attribute.attrId == obASN_pkcs_9_at_localKeyId) {
        obAsnOcts id;
        if (!DecodeAny(value, id)) return Fail(why_, kP12Malformed, "malformed localKeyId");
        out.localKeyId.Set(id.data(), static_cast<unsigned>(id.size()));
      }
    }
    return 0;
  }

  // Decrypts under the chosen password form, or finds the first form whose
  // result valid accepts.
  int Decrypt(const obASN_AlgorithmIdentifier& alg, const unsigned char* in, size_t n, nyBinBuf& out,
              const std::function<bool(const nyBinBuf&)>& valid) {
    if (alg.algorithm == obASN_id_PBES2) out_.sawPbes2 = true;
    size_t first = chosen_ >= 0 ? static_cast<size_t>(chosen_) : 0;
    size_t last = chosen_ >= 0 ? first + 1 : forms_.size();
    for (size_t i = first; i < last; ++i) {
      int rc = obPbe_Decrypt(alg, forms_[i], in, n, out, why_);
      if (rc == 0 && valid(out)) {
        chosen_ = static_cast<int>(i);
        return 0;
      }
      obP12Wipe(out);
      if (rc < kPbeWrongPassword) return rc == kPbeTooCostly ? kP12TooLarge
                                         : rc == kPbeUnsupported ? kP12Unsupported
                                                                 : kP12Malformed;
    }
    return Fail(why_, kP12WrongPassword, "decryption failed: wrong password or corrupted file");
  }

  std::vector<obP12Password> forms_;
  int chosen_ = -1;
  obASN_PFX pfx_;
  obAsnOcts data_;
  obP12Contents& out_;
  obString& why_;
};

}  // namespace

int obP12_Decode(const unsigned char* pfx, size_t len, const char* password, obP12Contents& out, obString& why,
                 bool skipMac) {
  out = obP12Contents();
  PfxReader reader(password, out, why);
  int rc = reader.Open(pfx, len);
  if (rc == 0) rc = reader.ReadBags(skipMac);
  if (rc < 0) out.bags.clear();
  return rc;
}

int obP12_CheckMac(const unsigned char* pfx, size_t len, const char* password, obString& why) {
  obP12Contents unused;
  PfxReader reader(password, unused, why);
  int rc = reader.Open(pfx, len);
  return rc < 0 ? rc : reader.CheckMac();
}
