#include "nycert/crl/pkcs7_bundle.h"

#include <memory>
#include <vector>

#include "nycert/asn1/modules/cms_content.h"
#include "nycert/asn1/runtime/asn_any.h"
#include "nycert/asn1/runtime/asn_buf.h"
#include "nycert/buffers/diag.h"

namespace {

constexpr unsigned char kSequenceTag = 0x30;

struct SignedFree {
  void operator()(obSigned* obj) const { obFreeSigned(obj); }
};
using SignedPtr = std::unique_ptr<obSigned, SignedFree>;

// Decodes all of the n octets at p into value: true on success.
bool DecodeWhole(const unsigned char* p, unsigned long n, obAsnType& value) {
  obAsnReadBuf b(p, n);
  unsigned long consumed = 0;
  return p && value.BDec(b, consumed) >= 0 && b.Remaining() == 0;
}

// The objects of one kind read from a bundle, kept until all of them decoded.
template <class T>
class Pending {
 public:
  // Decodes each plain SEQUENCE element (other choices, such as attribute
  // certificates, are skipped): false when one of them does not decode.
  template <class List>
  bool DecodeAll(const List& elements) {
    for (const obAsnAny& element : elements) {
      const obAsnRawAny& raw = element.Raw();
      if (raw.empty() || raw.data()[0] != kSequenceTag) continue;
      SignedPtr object(new T(raw.data(), static_cast<unsigned>(raw.size())));
      if (!object->OK()) return false;
      objects_.push_back(std::move(object));
    }
    return true;
  }
  // Hands every object to list (null: drops them): how many were handed over.
  template <class List>
  int AppendTo(List* list) {
    if (!list) return 0;
    for (SignedPtr& object : objects_) list->Add(static_cast<T*>(object.release()));
    return static_cast<int>(objects_.size());
  }

 private:
  std::vector<SignedPtr> objects_;
};

// The DER of each occupied slot of list as an element of set.
template <class Set, class List>
void AddSlots(Set& set, const List* list) {
  for (int i = 0; i < list->Size(); ++i) {
    const obSigned* object = list->Get(i);
    if (!object) continue;
    set.Append().SetValue(new obAsnRawAny(object->GetBuf(), object->BufLen()));
  }
}

}  // namespace

// ContentInfo ::= SEQUENCE { contentType OBJECT IDENTIFIER,
//                            content [0] EXPLICIT ANY DEFINED BY contentType OPTIONAL }
// SignedData ::= SEQUENCE { version, digestAlgorithms, encapContentInfo,
//     certificates [0] IMPLICIT CertificateSet OPTIONAL,
//     crls [1] IMPLICIT RevocationInfoChoices OPTIONAL, signerInfos }
// CertificateSequence ::= SEQUENCE OF Certificate
int obPKCS72CertCRL(const char* buf, unsigned int len, obCerts* certs, obCRLs* crls) {
  static const char kFn[] = "obPKCS72CertCRL";
  const unsigned char* der = reinterpret_cast<const unsigned char*>(buf);
  obASN_ContentInfo info;
  if (!DecodeWhole(der, len, info)) {
    OB_HERROR("%s: Error decoding", kFn);
    return -1;
  }
  const obAsnRawAny* content = info.content ? &info.content->Raw() : nullptr;
  Pending<obCert> newCerts;
  Pending<obCRL> newCrls;
  bool decoded = false;
  if (content && info.contentType == obASN_id_netscape_cert_sequence) {
    obASN_CertificateSequence sequence;
    if (DecodeWhole(content->data(), content->size(), sequence)) {
      if (!newCerts.DecodeAll(sequence)) return -3;
      decoded = true;
    }
  } else if (content && info.contentType == obASN_id_signedData) {
    obASN_SignedData signedData;
    if (DecodeWhole(content->data(), content->size(), signedData)) {
      OB_HERROR("%d certificates", signedData.certificates ? static_cast<int>(signedData.certificates->size()) : 0);
      OB_HERROR("%d CRLs", signedData.crls ? static_cast<int>(signedData.crls->size()) : 0);
      if (signedData.certificates && !newCerts.DecodeAll(*signedData.certificates)) return -3;
      if (signedData.crls && !newCrls.DecodeAll(*signedData.crls)) return -3;
      decoded = true;
    }
  }
  if (!decoded) {
    OB_HERROR("%s: Not a signed data", kFn);
    return -2;
  }
  return newCerts.AppendTo(certs) + newCrls.AppendTo(crls);
}

int obCertCRL2PKCS7(obCerts* certs, obCRLs* crls, const char* buf, unsigned int size, int& len) {
  static const char kFn[] = "obCertCRL2PKCS7";
  len = 0;
  auto* signedData = new obASN_SignedData;
  obASN_ContentInfo info;
  info.contentType = obASN_id_signedData;
  info.content.emplace().SetValue(signedData);
  signedData->version = obASN_CMSVersion(1);
  signedData->encapContentInfo.eContentType = obASN_id_data;
  if (certs && certs->Count() > 0) AddSlots(signedData->certificates.emplace(), certs);
  if (crls && crls->Count() > 0) AddSlots(signedData->crls.emplace(), crls);

  obAsnWriteBuf measure(nullptr, 0);
  int needed = info.BEnc(measure);
  if (needed <= 0) {
    OB_HERROR("%s: encoding failed", kFn);
    return -1;
  }
  len = needed;
  if (!buf) return 0;
  if (static_cast<unsigned>(needed) > size) {
    OB_HERROR("%s: buffer too short %u < %d", kFn, size, needed);
    return -1;
  }
  obAsnWriteBuf writer(reinterpret_cast<unsigned char*>(const_cast<char*>(buf)), static_cast<unsigned long>(needed));
  if (info.BEnc(writer) != needed) {
    OB_HERROR("%s: encoding failed", kFn);
    return -1;
  }
  return 0;
}
