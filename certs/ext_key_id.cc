#include "nycert/certs/ext_key_id.h"

#include <vector>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/ext_names_internal.h"
#include "nycert/keys/pubkey.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/nybcrypt.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr obAsnTag kAkiKeyId = 0x80;   // keyIdentifier [0]
constexpr obAsnTag kAkiIssuer = 0xA1;  // authorityCertIssuer [1]
constexpr obAsnTag kAkiSerial = 0x82;  // authorityCertSerialNumber [2]
constexpr int kSha1Len = 20;

// The SHA-1 digest of the key's public DER into out: 0, or -1.
int HashPublicKey(obPubKey& key, unsigned char (&out)[kSha1Len]) {
  int len = key.Export(obPK_Format_PublicDER, nullptr, 0);
  if (len <= 0) return -1;
  std::vector<unsigned char> der(static_cast<size_t>(len));
  if (key.Export(obPK_Format_PublicDER, der.data(), len) != len) return -1;
  return ny_md_hashbuf(ob_md_sha1, der.data(), static_cast<unsigned>(len), out) == kSha1Len ? 0 : -1;
}

// The serial number of INTEGER content, or null when it is malformed.
obAsnInt* DecodeSerial(obDerSpan content) {
  if (!obDerIsValidInteger(content)) return nullptr;
  std::unique_ptr<obAsnInt> serial(new obAsnInt);
  obAsnReadBuf b(content.data, content.size);
  unsigned long used = 0;
  if (serial->BDecContent(b, kDerInteger, static_cast<obAsnLen>(content.size), used) < 0) return nullptr;
  return serial.release();
}

}  // namespace

obExtKeyID_imp::obExtKeyID_imp(KeyIdType type, obPubKey& key) : type_(type) {
  unsigned char digest[kSha1Len];
  if (HashPublicKey(key, digest) == 0)
    keyId_.Assign(digest, kSha1Len);
  else
    OB_HERROR("%s: Failed to hash the key for key ID extention.", "obExtKeyID_imp::obExtKeyID_imp");
}

obExtKeyID_imp::obExtKeyID_imp(const obExtKeyID_imp& other)
    : obExtension_imp(other),
      type_(other.type_),
      keyId_(other.keyId_),
      issuer_(other.issuer_),
      serial_(other.serial_ ? other.serial_->Copy() : nullptr) {}

const char* obExtKeyID_imp::ExtName() const {
  return type_ == obKeyId_Subject ? "Subject Key Identifier" : "Authority Key Identifier";
}

void obExtKeyID_imp::Sprint(ObStream* s, int indent) const {
  std::string tabs = obNameTabs(indent);
  if (!keyId_.empty()) {
    s->Printf("%s\tKey Id: ", tabs.c_str());
    obExtSprintHex(s, keyId_.data(), keyId_.size());
    s->Puts("\n");
  }
  if (const obGeneralNames* names = KIdGNs()) {
    s->Printf("%s\tAuthority issuer name:\n", tabs.c_str());
    for (int i = 0; i < names->Count(); ++i) {
      if (const obGeneralName* name = names->Get(i)) name->Sprint(s, nullptr, indent + 2);
    }
  }
  if (serial_) {
    s->Printf("%s\tAuthority Serial Number: ", tabs.c_str());
    if (serial_->IsBlock())
      obExtSprintHex(s, serial_->Bytes(), serial_->BytesLen());
    else
      s->Printf("%d", serial_->Value());
    s->Puts("\n");
  }
}

int obExtKeyID_imp::EncodeValue(obAsnWriteBuf& b) const {
  if (type_ == obKeyId_Subject) return obExtPutPrim(b, kDerOctetString, keyId_.data(), keyId_.size());
  int total = serial_ ? obExtWrap(b, kAkiSerial, serial_->BEncContent(b)) : 0;
  if (!issuer_.empty())
    total = obExtSum(total, obExtWrap(b, kAkiIssuer, obExtPutRaw(b, issuer_.data(), issuer_.size())));
  if (!keyId_.empty()) total = obExtSum(total, obExtPutPrim(b, kAkiKeyId, keyId_.data(), keyId_.size()));
  return obExtWrap(b, kDerSequence, total);
}

bool obExtKeyID_imp::SetAuthority(obDerSpan value) {
  obDerSpan content, keyId, issuer, serial;
  if (!obExtReadWhole(value, kDerSequence, content)) return false;
  obExtFields fields(content);
  fields.Take(kAkiKeyId, keyId);
  bool hasIssuer = fields.Take(kAkiIssuer, issuer);
  bool hasSerial = fields.Take(kAkiSerial, serial);
  if (!fields.Done()) return false;
  if (hasIssuer && !obExtCheckGeneralNames(issuer)) return false;
  std::unique_ptr<obAsnInt> number(hasSerial ? DecodeSerial(serial) : nullptr);
  if (hasSerial && !number) return false;
  type_ = obKeyId_Authority;
  keyId_.Assign(keyId.data, keyId.size);
  issuer_.Assign(issuer.data, issuer.size);
  serial_ = std::move(number);
  return true;
}

obGeneralNames* obExtKeyID_imp::KIdGNs() const {
  if (issuer_.empty()) return nullptr;
  return names_.Get([this](obGeneralNames& out) { obExtAddGeneralNames({issuer_.data(), issuer_.size()}, out); });
}

obExtKeyID::obExtKeyID(const obAsnOcts& keyId)
    : obExtension(data_), data_(obKeyId_Subject, keyId.data(), keyId.size()) {}

obExtKeyID::obExtKeyID(const obASN_AuthorityKeyIdentifier& aki)
    : obExtension(data_), data_(obKeyId_Authority, nullptr, 0) {
  nyBinBuf der;
  if (obAsnEncode(aki, der) < 0 || !data_.SetAuthority({der.Data(), der.Len()}))
    OB_HERROR("obExtKeyID::obExtKeyID: cannot take the authority key identifier");
}

obExtKeyID::obExtKeyID(KeyIdType type, obPubKey& key) : obExtension(data_), data_(type, key) {}

obExtKeyID::obExtKeyID(const obExtKeyID& other) : obExtension(data_), data_(other.data_) {}
obExtKeyID* obExtKeyID::Clone() const { return new obExtKeyID(*this); }

KeyIdType obExtKeyID::KIdType() const { return data_.KIdType(); }
obDerSpan obExtKeyID::KIdBuf() const { return data_.KIdBuf(); }
obGeneralNames* obExtKeyID::KIdGNs() const { return data_.KIdGNs(); }
const obAsnInt* obExtKeyID::KIdSN() const { return data_.KIdSN(); }

obExtension* obExtKeyID::HandleSubjectKeyId(obDerSpan value, int, int& accepted) {
  obDerSpan keyId;
  if (!obExtReadWhole(value, kDerOctetString, keyId)) {
    OB_HERROR("obExtKeyID::HandleSubjectKeyId: malformed subjectKeyIdentifier");
    return nullptr;
  }
  accepted = 1;
  return new obExtKeyID(obKeyId_Subject, keyId.data, keyId.size);
}

obExtension* obExtKeyID::HandleAuthorityKeyId(obDerSpan value, int, int& accepted) {
  std::unique_ptr<obExtKeyID> ext(new obExtKeyID(obKeyId_Authority, nullptr, 0));
  if (!ext->data_.SetAuthority(value)) {
    OB_HERROR("obExtKeyID::HandleAuthorityKeyId: malformed authorityKeyIdentifier");
    return nullptr;
  }
  accepted = 1;
  return ext.release();
}
