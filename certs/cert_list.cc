// obCerts and the C interface of certificates.
#include <cstring>
#include <string>

#include "nycert/asn1/runtime/asn_len.h"
#include "nycert/asn1/runtime/asn_tag.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

obCerts::obCerts(int n) : obSignedObjects(n) {}

obCerts::obCerts(const obCerts& other) : obSignedObjects(other) {}

obCerts::~obCerts() = default;

obCert* obCerts::GetBySubjectDN(const obDN& dn) const {
  for (int i = 0; i < Size(); ++i) {
    obCert* cert = Get(i);
    if (cert && cert->Subject() && cert->Subject()->Equal(dn)) return cert;
  }
  return nullptr;
}

obCert* obCert_Decode(const unsigned char* buf, int len) {
  if (!buf || len <= 0) return nullptr;
  obCert* cert = new obCert(buf, static_cast<unsigned>(len));
  if (cert->OK()) return cert;
  obFreeSigned(cert);
  return nullptr;
}

void obCert_Save(obCert* cert) { obSaveSigned(cert); }

void obCert_Free(obCert* cert) { obFreeSigned(cert); }

obDN* obCert_GetSubject(obCert* cert) { return cert ? cert->Subject() : nullptr; }

void obCerts_ClearAll(obCerts* certs) {
  if (certs) certs->ClearAll();
}

void obCerts_Free(obCerts* certs) { delete certs; }

namespace {

// The header of a SEQUENCE whose content is contentLen octets long.
int SequenceHeader(unsigned long contentLen, unsigned char* out, int size) {
  obAsnWriteBuf header(out, static_cast<unsigned long>(size));
  int lenOctets = BEncDefLen(header, contentLen);
  int tagOctets = BEncTag(header, kAsnUniversal, kAsnConstructed, 16);
  return lenOctets < 0 || tagOctets < 0 ? -1 : lenOctets + tagOctets;
}

}  // namespace

// SEQUENCE OF Certificate, each certificate as the DER it was decoded from.
int obCerts_2buf(obCerts* certs, unsigned char* buf, int size) {
  if (!certs) return -1;
  unsigned long contentLen = 0;
  int count = 0;
  for (; count < certs->Size() && certs->Get(count); ++count) {
    obCert* cert = certs->Get(count);
    if (!cert->OK()) return -1;
    contentLen += cert->BufLen();
  }
  unsigned char header[8];
  int headerLen = SequenceHeader(contentLen, header, sizeof header);
  if (headerLen < 0) return -1;
  // The write buffer fills from its end: the header sits in the last octets.
  const unsigned char* headerStart = header + sizeof header - headerLen;
  unsigned long total = contentLen + static_cast<unsigned long>(headerLen);
  if (!buf) return static_cast<int>(total);
  if (total > static_cast<unsigned long>(size)) {
    OB_HERROR("obCerts_2buf: buffer too small (%lu > %d)", total, size);
    return -1;
  }
  std::memcpy(buf, headerStart, static_cast<size_t>(headerLen));
  unsigned char* out = buf + headerLen;
  for (int i = 0; i < count; ++i) {
    std::memcpy(out, certs->Get(i)->GetBuf(), certs->Get(i)->BufLen());
    out += certs->Get(i)->BufLen();
  }
  return static_cast<int>(total);
}

obCerts* obCerts_buf2Certs(const unsigned char* buf, int len) {
  obDerReader outer(buf, buf && len > 0 ? static_cast<size_t>(len) : 0);
  obDerSpan content;
  if (!outer.Read(kDerSequence, content) || !outer.AtEnd()) {
    OB_HERROR("obCerts_buf2Certs: not a SEQUENCE OF Certificate");
    return nullptr;
  }
  obCerts* certs = new obCerts;
  obDerReader elements(content);
  obDerElement element;
  while (!elements.AtEnd()) {
    obCert* cert =
        elements.Next(element) ? obCert_Decode(element.tlv.data, static_cast<int>(element.tlv.size)) : nullptr;
    if (!cert) {
      OB_HERROR("obCerts_buf2Certs: certificate %d does not decode", certs->Count());
      delete certs;
      return nullptr;
    }
    certs->Add(cert);
  }
  return certs;
}

void obCert_Herror_buf(const unsigned char* buf, int len) {
  if (!dodebugprt) return;
  if (!buf || len <= 0) {
    herror_func(0, 0, "obCert_Herror_buf: empty buf");
    return;
  }
  obWithDecoded<obCert>(buf, len, [](const obCert& cert) { cert.Herror(obCertHerror_All); });
}

void obCert_Sprint_certbuf(ObStream* s, const unsigned char* buf, int len, obCertHerrorDetails details, int indent) {
  obWithDecoded<obCert>(buf, len, [&](const obCert& cert) { cert.Sprint(s, details, indent); });
}

void obCert_Fprint_certbuf(FILE* f, const unsigned char* buf, int len, obCertHerrorDetails details, int indent) {
  obWithDecoded<obCert>(buf, len, [&](const obCert& cert) { cert.Fprint(f, details, indent); });
}

char* obCert_CertNamesToStr(const obCert* cert) {
  if (!cert) return nullptr;
  auto text = [](const obDN* dn) { return dn && dn->GetStr() ? dn->GetStr() : ""; };
  std::string names = std::string("Subject: ") + text(cert->Subject()) + ", Issuer: " + text(cert->Issuer());
  char* out = new char[names.size() + 1];
  std::memcpy(out, names.c_str(), names.size() + 1);
  return out;
}
