// CertificationRequestInfo ::= SEQUENCE {
//     version        INTEGER { v1(0) },
//     subject        Name,
//     subjectPKInfo  SubjectPublicKeyInfo,
//     attributes     [0] IMPLICIT SET OF Attribute }
// CertificationRequest ::= SEQUENCE {
//     certificationRequestInfo  CertificationRequestInfo,
//     signatureAlgorithm        AlgorithmIdentifier,
//     signature                 BIT STRING }
#include "nycert/enroll/pkcs10.h"

#include <cstring>

#include "nycert/asn1/modules/pkcs10.h"
#include "nycert/asn1/modules/pkix1_explicit.h"
#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_gn.h"
#include "nycert/certs/extensions_list.h"
#include "nycert/certs/signature_alg.h"
#include "nycert/certs/signed.h"
#include "nycert/certs/signed_fields_internal.h"
#include "nycert/certs/x509_sign.h"
#include "nycert/enroll/cert_template.h"
#include "nycert/enroll/cert_template_internal.h"
#include "nycert/keys/any_key.h"
#include "nycert/keys/pubkey.h"

namespace {

const char kEncodeName[] = "obEncode_pkcs10_with_extensions";
const char kDecodeName[] = "obDecode_full_pkcs10_with_password";

// An attribute of type with one value, which it takes over.
void AddAttribute(obASN_Attributes& attributes, const obAsnOid& type, obAsnType* value) {
  obASN_Attribute& attribute = attributes.Append();
  static_cast<obAsnOid&>(attribute.type) = type;
  attribute.values.Append().SetValue(value);
}

// The requested extensions as an attribute, unless the list is empty: 0, or -1.
int AddExtensionRequest(obASN_Attributes& attributes, const obExtensionsList& extensions) {
  auto* composed = new obASN_Extensions;
  if (extensions.Compose(*composed) != 0) {
    delete composed;
    OB_HERROR("%s: Failed to encode certificate extensions.", kEncodeName);
    return -1;
  }
  if (composed->items.empty()) {
    delete composed;
    OB_HERROR("%s: Got empty extension list. Will not request extensions in the PKCS#10. ", kEncodeName);
    return 0;
  }
  AddAttribute(attributes, obASN_extensionReq, composed);
  return 0;
}

void AddChallengePassword(obASN_Attributes& attributes, const char* password) {
  auto* value = new obASN_DirectoryString;
  value->Select_printableString().Set(reinterpret_cast<const unsigned char*>(password), std::strlen(password));
  AddAttribute(attributes, obASN_challengePassword, value);
}

// The string a DirectoryString carries, whatever its alternative.
const obAsnString* ChosenString(const obASN_DirectoryString& s) {
  switch (s.choiceId) {
    case obASN_DirectoryString::teletexStringCid: return s.teletexString.get();
    case obASN_DirectoryString::printableStringCid: return s.printableString.get();
    case obASN_DirectoryString::universalStringCid: return s.universalString.get();
    case obASN_DirectoryString::utf8StringCid: return s.utf8String.get();
    case obASN_DirectoryString::bmpStringCid: return s.bmpString.get();
    case obASN_DirectoryString::ia5StringCid: return s.ia5String.get();
    default: return nullptr;
  }
}

// The requested extensions go into out; a value that cannot be read, or
// extensions without a class, are reported and passed over.
void TakeExtensionRequest(obASN_Attribute& attribute, obCertTemplate& out) {
  for (obASN_AttributeValue& value : attribute.values.items) {
    if (value.Resolve(new obASN_Extensions) < 0 ||
        out.AddExtensions(*static_cast<obASN_Extensions*>(value.Value())) != 0)
      OB_HERROR("%s: Not all extensions were parsed.", kDecodeName);
  }
}

void TakeChallengePassword(obASN_Attribute& attribute, nyBinBuf* password) {
  if (!password || attribute.values.items.empty()) return;
  obASN_AttributeValue& value = attribute.values.items.front();
  const obAsnString* text =
      value.Resolve(new obASN_DirectoryString) < 0 ? nullptr
                                                   : ChosenString(*static_cast<obASN_DirectoryString*>(value.Value()));
  if (text) password->Set(text->data(), static_cast<unsigned>(text->size()));
}

void SetKeyFromInfo(const obASN_SubjectPublicKeyInfo& info, obCertTemplate& out) {
  nyBinBuf der;
  if (obAsnEncode(info, der) != 0) return;
  obPubKey* key = obImportPublicKeyInfo(der.Data(), static_cast<int>(der.Len()));
  out.SetKey(key);
  obFreePubKey(key);
}

}  // namespace

int obEncode_full_pkcs10_with_password(obPubKey& key, const obDN& subject, nyBinBuf& out,
                                       const obExtensionsList* extensions, const char* password, ob_md_type md) {
  OB_HERROR("%s: entering.", kEncodeName);
  obASN_CertificationRequestInfo info;
  if (obTemplateNameOf(subject, info.subject) != 0) {
    OB_HERROR("%s: Invalid dn.", kEncodeName);
    return -1;
  }
  info.version.Set(0);
  if (obTemplateKeyInfo(key, info.subjectPKInfo) != 0) {
    OB_HERROR("%s: key is not valid", kEncodeName);
    return -1;
  }
  if (extensions && AddExtensionRequest(info.attributes, *extensions) != 0) return -1;
  if (password) AddChallengePassword(info.attributes, password);
  return obX509Sign(info, key, md, out);
}

int obEncode_full_pkcs10(obPubKey& key, const obDN& subject, nyBinBuf& out, const obExtensionsList* extensions) {
  return obEncode_full_pkcs10_with_password(key, subject, out, extensions, nullptr, ob_md_sha1);
}

int obEncode_pkcs10_with_extensions(obPubKey& key, const obDN& subject, nyBinBuf& out, const obExtGN* extension) {
  obExtensionsList extensions;
  if (extension) {
    const obAsnOid& oid = extension->Kind() == obExtGN_SubjectAltName ? obASN_id_ce_subjectAltName
                                                                      : obASN_id_ce_cRLDistributionPoints;
    extensions.Add(oid, 0, extension->Clone());
  }
  return obEncode_full_pkcs10_with_password(key, subject, out, extension ? &extensions : nullptr, nullptr,
                                            ob_md_sha1);
}

int obEncode_pkcs10(obPubKey& key, const obDN& subject, nyBinBuf& out) {
  return obEncode_pkcs10_with_extensions(key, subject, out, nullptr);
}

int obDecode_full_pkcs10_with_password(const nyBinBuf& request, obCertTemplate& out, nyBinBuf* password) {
  OB_HERROR("%s: entering.", kDecodeName);
  obSignedFields parts;
  if (!obParseSignedFields({request.Data(), request.Len()}, parts)) {
    OB_HERROR("%s: Error decoding signed buffer", kDecodeName);
    return -1;
  }
  obASN_CertificationRequestInfo info;
  if (obAsnDecode(info, parts.toBeSigned.tlv.data, parts.toBeSigned.tlv.size) != 0) {
    OB_HERROR("%s: Error decoding unsigned buffer", kDecodeName);
    return -1;
  }
  out.Clear();
  if (info.subject.rdnSequence) out.SetSubject(obDN(*info.subject.rdnSequence));
  if (info.subjectPKInfo.subjectPublicKey.BitLen()) SetKeyFromInfo(info.subjectPKInfo, out);
  for (obASN_Attribute& attribute : info.attributes.items) {
    if (attribute.type == obASN_extensionReq)
      TakeExtensionRequest(attribute, out);
    else if (attribute.type == obASN_challengePassword)
      TakeChallengePassword(attribute, password);
  }
  if (!obFindSignatureAlg(parts.algorithm)) {
    OB_HERROR("%s: unsupported signature algorithm", kDecodeName);
    return -1;
  }
  obSigned signedRequest(request.Data(), request.Len());
  return signedRequest.VerifySig(out.PubKey()) == obVfy_OK ? 0 : -1;
}
