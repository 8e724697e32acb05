#include "nycert/keystore/pfx_encode.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "nycert/asn1/modules/cms_content.h"
#include "nycert/asn1/modules/pkcs12.h"
#include "nycert/asn1/modules/pkcs8.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/keystore/p12_mac.h"
#include "nycert/keystore/p12_password.h"

namespace {

obASN_PKCS12Attribute MakeAttribute(const obAsnOid& id, obAsnType* value) {
  obASN_PKCS12Attribute attribute;
  attribute.attrId = id;
  attribute.attrValues.Append().SetValue(value);
  return attribute;
}

// DER orders the members of a SET OF by their encodings.
bool EncodesBefore(const obASN_PKCS12Attribute& a, const obASN_PKCS12Attribute& b) {
  nyBinBuf ea, eb;
  obAsnEncode(a, ea);
  obAsnEncode(b, eb);
  int c = std::memcmp(ea.Data(), eb.Data(), std::min(ea.Len(), eb.Len()));
  return c < 0 || (c == 0 && ea.Len() < eb.Len());
}

int SetAttributes(const obP12Bag& bag, obASN_SafeBag& out, obString& why) {
  std::vector<obASN_PKCS12Attribute> attributes;
  if (!bag.friendlyName.empty()) {
    nyBinBuf bmp;
    if (obPKCS12_pass2bmp(bag.friendlyName.data(), bag.friendlyName.size(), bmp, false) < 0) {
      why = "obName_2Bag name to bmpname using obPKCS12_pass2bmp";
      return -1;
    }
    auto* name = new obAsnBMPString;
    name->Set(bmp.Data(), bmp.Len());
    attributes.push_back(MakeAttribute(obASN_pkcs_9_at_friendlyName, name));
  }
  if (!bag.localKeyId.IsEmpty())
    attributes.push_back(
        MakeAttribute(obASN_pkcs_9_at_localKeyId, new obAsnOcts(bag.localKeyId.Data(), bag.localKeyId.Len())));
  if (attributes.empty()) return 0;
  std::sort(attributes.begin(), attributes.end(), EncodesBefore);
  out.bagAttributes.emplace().items = attributes;
  return 0;
}

int AddCertBag(const obP12Bag& bag, obASN_SafeContents& safe, obString& why) {
  obASN_SafeBag& out = safe.Append();
  out.bagId = obASN_certBag;
  auto* cert = new obASN_CertBag;
  cert->certId = obASN_x509Certificate;
  cert->certValue.SetValue(new obAsnOcts(bag.der.Data(), bag.der.Len()));
  out.bagValue.SetValue(cert);
  return SetAttributes(bag, out, why);
}

int AddKeyBag(const obP12Bag& bag, const obP12WriteOptions& options, const obP12Password& password,
              obASN_SafeContents& safe, obString& why) {
  obASN_SafeBag& out = safe.Append();
  out.bagId = obASN_pkcs8ShroudedKeyBag;
  auto* shrouded = new obASN_EncryptedPrivateKeyInfo;
  out.bagValue.SetValue(shrouded);
  nyBinBuf encrypted;
  if (obPbe_Encrypt(options.keyScheme, options.iterations, password, bag.der.Data(), bag.der.Len(),
                    shrouded->encryptionAlgorithm, encrypted) < 0) {
    why = "Error Encoding PKCS#12  password";
    return -1;
  }
  shrouded->encryptedData.Set(encrypted.Data(), encrypted.Len());
  return SetAttributes(bag, out, why);
}

void SetData(obASN_ContentInfo& info, const nyBinBuf& octets) {
  info.contentType = obASN_id_data;
  info.content.emplace().SetValue(new obAsnOcts(octets.Data(), octets.Len()));
}

int AddEncryptedSafe(const obASN_SafeContents& safe, const obP12WriteOptions& options,
                     const obP12Password& password, obASN_AuthenticatedSafe& out) {
  nyBinBuf plain, encrypted;
  auto* data = new obASN_EncryptedData;
  obASN_ContentInfo& info = out.Append();
  info.contentType = obASN_id_encryptedData;
  info.content.emplace().SetValue(data);
  data->version.Set(0);
  obASN_EncryptedContentInfo& content = data->encryptedContentInfo;
  content.contentType = obASN_id_data;
  if (obAsnEncode(safe, plain) < 0 ||
      obPbe_Encrypt(options.certScheme, options.iterations, password, plain.Data(), plain.Len(),
                    content.contentEncryptionAlgorithm, encrypted) < 0)
    return -1;
  content.encryptedContent.reset(new obAsnOcts(encrypted.Data(), encrypted.Len()));
  return 0;
}

}  // namespace

int obP12_Encode(const obP12Contents& contents, const char* password, const obP12WriteOptions& options,
                 nyBinBuf& out, obString& why) {
  const obP12Password form = obP12PasswordForms(password).front();
  obASN_SafeContents certs, keys;
  for (const obP12Bag& bag : contents.bags) {
    int rc = bag.kind == obP12Bag::kCert  ? AddCertBag(bag, certs, why)
             : bag.kind == obP12Bag::kKey ? AddKeyBag(bag, options, form, keys, why)
                                          : 0;
    if (rc < 0) return -1;
  }
  obASN_AuthenticatedSafe safes;
  nyBinBuf keyOctets, authSafe;
  if (!certs.empty() && AddEncryptedSafe(certs, options, form, safes) < 0) {
    why = "Error Encoding PKCS#12  password";
    return -1;
  }
  if (!keys.empty()) {
    obAsnEncode(keys, keyOctets);
    SetData(safes.Append(), keyOctets);
  }
  obASN_PFX pfx;
  pfx.version.Set(3);
  if (obAsnEncode(safes, authSafe) < 0 ||
      obP12Mac_Make(options.macDigest, options.macIterations, form.bmp, authSafe.Data(), authSafe.Len(),
                    pfx.macData.emplace()) < 0) {
    why = "Error Encoding PKCS#12 password";
    return -1;
  }
  SetData(pfx.authSafe, authSafe);
  if (obAsnEncode(pfx, out) < 0) {
    why = "Error Encoding PKCS#12 password";
    return -1;
  }
  return 0;
}
