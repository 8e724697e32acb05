#include "nycert/certs/authority_info_access.h"

#include <cstring>
#include <memory>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/certs/ext_names_internal.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

namespace {

bool IsHttpUrl(const obDerElement& location) {
  static const char kHttp[] = "http://";
  return location.tag == kGNuri && location.content.size >= sizeof kHttp - 1 &&
         std::memcmp(location.content.data, kHttp, sizeof kHttp - 1) == 0;
}

//   AccessDescription ::= SEQUENCE { accessMethod OBJECT IDENTIFIER, accessLocation GeneralName }
bool ReadDescription(obDerReader& r, obDerSpan& method, obDerElement& location) {
  obDerSpan description;
  if (!r.Read(kDerSequence, description)) return false;
  obDerReader fields(description);
  return fields.Read(kDerOid, method) && !method.empty() && fields.Next(location) && fields.AtEnd() &&
         obExtIsGeneralName(location);
}

// Calls visit(method, location) for each access description of a value;
// false when one is malformed.
template <class Visit>
bool WalkAccess(obDerSpan value, const Visit& visit) {
  obDerSpan content, method;
  obDerElement location;
  if (!obExtReadWhole(value, kDerSequence, content) || content.empty()) return false;
  obDerReader r(content);
  while (!r.AtEnd()) {
    if (!ReadDescription(r, method, location)) return false;
    visit(method, location);
  }
  return true;
}

// The name of a known access method, else its dotted form.
std::string MethodText(obDerSpan method) {
  if (obExtIsOid(method, obASN_id_ad_ocsp)) return "OCSP";
  if (obExtIsOid(method, obASN_id_ad_caIssuers)) return "CA Issuers";
  obAsnOid oid;
  obString dotted;
  if (oid.SetContent(method.data, method.size) == 0) dotted = oid.Dotted();
  return dotted.getstr() ? dotted.getstr() : "?";
}

}  // namespace

const char* obAuthorityInfoAccess_imp::ExtName() const { return "Authority Info Access"; }

void obAuthorityInfoAccess_imp::Sprint(ObStream* s, int indent) const {
  std::string tabs = obNameTabs(indent);
  WalkAccess(Der(), [&](obDerSpan method, const obDerElement& location) {
    std::unique_ptr<obGeneralName> where(obExtMakeGeneralName(location));
    const char* text = where ? where->GetStr() : nullptr;
    s->Printf("%s%s: %s\n", tabs.c_str(), MethodText(method).c_str(), text ? text : "");
  });
}

int obAuthorityInfoAccess_imp::EncodeValue(obAsnWriteBuf& b) const { return obExtPutRaw(b, store_.data(), derLen_); }

// One pass: the texts of the locations never take more room than their
// encodings, so twice the value's size holds everything.
bool obAuthorityInfoAccess_imp::Set(obDerSpan value) {
  unsigned char* start = store_.Reset(2 * value.size);
  unsigned char* out = start + value.size;
  auto copyUrl = [&](obDerSpan, const obDerElement& location) {
    if (!IsHttpUrl(location)) return;
    std::memcpy(out, location.content.data, location.content.size);
    out += location.content.size;
    *out++ = '\0';
  };
  if (!WalkAccess(value, copyUrl)) {
    store_.Reset(0);
    derLen_ = 0;
    OB_HERROR("obAuthorityInfoAccess_imp: %s", "malformed AuthorityInfoAccessSyntax");
    return false;
  }
  std::memcpy(start, value.data, value.size);
  store_.Truncate(static_cast<size_t>(out - start));
  derLen_ = value.size;
  return true;
}

obASN_AuthorityInfoAccessSyntax obAuthorityInfoAccess_imp::AuthorityInfoAccess() const {
  obASN_AuthorityInfoAccessSyntax out;
  if (derLen_ && obAsnDecode(out, store_.data(), derLen_) < 0) out.items.clear();
  return out;
}

// The texts after the DER follow the http:// locations in order, so the
// walk counts its way to the matching one.
const char* obAuthorityInfoAccess_imp::GetAccessByID(const obAsnOid& method) const {
  const char* url = reinterpret_cast<const char*>(store_.data()) + derLen_;
  const char* found = nullptr;
  WalkAccess(Der(), [&](obDerSpan m, const obDerElement& location) {
    if (found || !IsHttpUrl(location)) return;
    if (obExtIsOid(m, method)) found = url;
    url += location.content.size + 1;
  });
  return found;
}

obAuthorityInfoAccess::obAuthorityInfoAccess(const obASN_AuthorityInfoAccessSyntax& access) : obExtension(data_) {
  nyBinBuf der;
  if (obAsnEncode(access, der) < 0) OB_HERROR("obAuthorityInfoAccess_imp: %s", "cannot encode the access descriptions");
  data_.Set({der.Data(), der.Len()});
}
obAuthorityInfoAccess::obAuthorityInfoAccess(const obAuthorityInfoAccess& other)
    : obExtension(data_), data_(other.data_) {}
obAuthorityInfoAccess* obAuthorityInfoAccess::Clone() const { return new obAuthorityInfoAccess(*this); }

obASN_AuthorityInfoAccessSyntax obAuthorityInfoAccess::AuthorityInfoAccess() const {
  return data_.AuthorityInfoAccess();
}
const char* obAuthorityInfoAccess::GetAccessByID(const obAsnOid& method) const { return data_.GetAccessByID(method); }

obExtension* obAuthorityInfoAccess::Handle(obDerSpan value, int, int& accepted) {
  std::unique_ptr<obAuthorityInfoAccess> ext(new obAuthorityInfoAccess);
  if (!ext->data_.Set(value)) return nullptr;
  accepted = 1;
  return ext.release();
}
