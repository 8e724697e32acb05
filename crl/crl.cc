#include "nycert/crl/crl.h"

#include <ctime>
#include <mutex>
#include <string>
#include <vector>

#include "nycert/asn1/modules/pkix1_implicit.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/cert_fields_internal.h"
#include "nycert/certs/ext_der_internal.h"
#include "nycert/crl/crl_imp_internal.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/hash_table.h"
#include "nycert/platform/obclock.h"

obCRL_imp::~obCRL_imp() {
  hash_destroy(table);
  delete issuer;
}

int obCRLEntry::RevocationDate(long* when) const {
  obDerReader r(serial_ + serialLen_, dateLen_);
  obDerElement time;
  long seconds = 0;
  if (!r.Next(time) || !obParseTimeElement(time, seconds)) {
    OB_HERROR("obCRLEntry::RevocationDate: invalid revocation date");
    return -1;
  }
  if (when) *when = seconds;
  return 0;
}

namespace {

// Slots are prefetched this many entries ahead of their inserts, so that
// the cache misses of a large table overlap.
constexpr size_t kPrefetchAhead = 8;

// An entry whose date is not a valid time fails the CRL: read later, it
// would leave a listed serial without a revocation date.
bool ReadEntries(obDerSpan revoked, std::vector<obCRLEntry>& entries) {
  obDerReader r(revoked);
  obDerSpan serial;
  obDerElement date;
  while (!r.AtEnd()) {
    if (!obReadRevokedEntry(r, serial, date)) return false;
    if (!obIsValidTimeElement(date)) {
      OB_HERROR("obCRL::obCRL: invalid revocation date");
      return false;
    }
    entries.emplace_back(serial, date.tlv);
  }
  return true;
}

// Each serial is hashed once, kPrefetchAhead entries before its insert,
// and its code kept in a ring until then.
bool InsertEntries(HashTable* table, std::vector<obCRLEntry>& entries) {
  uint32_t codes[kPrefetchAhead];
  size_t n = entries.size();
  auto start = [&](size_t i) {
    obDerSpan key = obSerialKey(entries[i].Serial());
    codes[i % kPrefetchAhead] = hash_code(table, key.data, key.size);
    hash_prefetch_code(table, codes[i % kPrefetchAhead]);
  };
  for (size_t i = 0; i < n && i < kPrefetchAhead; ++i) start(i);
  for (size_t i = 0; i < n; ++i) {
    uint32_t code = codes[i % kPrefetchAhead];
    if (i + kPrefetchAhead < n) start(i + kPrefetchAhead);
    obDerSpan key = obSerialKey(entries[i].Serial());
    if (hash_insert_code(table, key.data, key.size, code, &entries[i]) < 0) return false;
  }
  return true;
}

// One entry per revoked certificate, each keyed by its serial; the table is
// sized from the count taken while the fields were located.
bool BuildTable(obCRL_imp& c) {
  const obCrlFields& f = c.fields;
  if (f.revokedCount == 0) {
    OB_HERROR("obCRL::obCRL no revoked certificates");
    return true;
  }
  OB_HERROR("obCRL::obCRL - %d revoked", static_cast<int>(f.revokedCount));
  c.table = hash_create_with_destr(f.revokedCount, nullptr, HASH_BORROW_KEYS);
  if (!c.table) return false;
  c.entries.reserve(f.revokedCount);
  if (!ReadEntries(f.revoked, c.entries) || !InsertEntries(c.table, c.entries)) return false;
  c.size = static_cast<int>(c.entries.size());
  return true;
}

bool BuildValues(obCRL_imp& c) {
  const obCrlFields& f = c.fields;
  c.issuer = new obDN;
  if (c.issuer->Decode(f.issuer.data, static_cast<int>(f.issuer.size)) < 0) return false;
  return obParseTimeElement(f.thisUpdate, c.thisUpdate) &&
         (!f.hasNextUpdate || obParseTimeElement(f.nextUpdate, c.nextUpdate));
}

}  // namespace

obCRL::obCRL(const unsigned char* buf, unsigned int len) : obCRL(new obCRL_imp(buf, len)) {}

obCRL::obCRL(obCRL_imp* imp) : obSigned(imp), imp_(imp) {
  if (OK()) Decode();
}

obCRL::~obCRL() = default;

void obCRL::Decode() {
  obDerSpan der{imp_->buf, imp_->bufLen};
  obCrlFields& f = imp_->fields;
  if (!obParseCrlFields(der, f) || !BuildTable(*imp_) || !BuildValues(*imp_)) return SetDecodeError();
  // The whole structure is read before what it says is judged.
  obAsnOid unhandled;
  int rc = f.hasExtensions
               ? imp_->extensions.Process(f.extensions, obCRLExtHandlers(), unhandled, obExtMaking::kOnFirstUse)
               : 0;
  if (rc < 0) return SetError("Error Decoding");
  if (f.version < 0) return SetError("Unsupported version");
  if (rc == 1) SetUnhandledExt(&unhandled);
}

obDN* obCRL::Issuer() const { return imp_->issuer; }
long obCRL::thisUpdate() const { return imp_->thisUpdate; }
long obCRL::nextUpdate() const { return imp_->nextUpdate; }
int obCRL::GetSize() const { return imp_->size; }
HashTable* obCRL::GetTable() const { return imp_->table; }
obDerSpan obCRL::TbsCertList() const { return imp_->fields.tbs; }

obCRLEntry* obCRL::GetEntry(obDerSpan serialContent) const {
  if (!imp_->table || serialContent.empty()) return nullptr;
  obDerSpan key = obSerialKey(serialContent);
  return static_cast<obCRLEntry*>(hash_lookup(imp_->table, key.data, key.size));
}

obCRLEntry* obCRL::GetEntry(const obAsnInt* serial) const {
  obAsnBytes content;
  if (!serial || obExtEncode([serial](obAsnWriteBuf& b) { return serial->BEncContent(b); }, content) < 0)
    return nullptr;
  return GetEntry(obDerSpan{content.data(), content.size()});
}

int obCRL::IsEntryExist(const obCert* cert) const { return cert && GetEntry(cert->SerialContent()) ? 1 : 0; }

int obCRL::IsEntryExist(int serial) const {
  unsigned char octets[4];
  return GetEntry(obSerialKey(serial, octets)) ? 1 : 0;
}

int obCRL::revDate(const obCert* cert, long* when) const {
  const obCRLEntry* entry = cert ? GetEntry(cert->SerialContent()) : nullptr;
  return entry ? entry->RevocationDate(when) : -1;
}

int obCRL::revDate(int serial, long* when) const {
  unsigned char octets[4];
  const obCRLEntry* entry = GetEntry(obSerialKey(serial, octets));
  return entry ? entry->RevocationDate(when) : -1;
}

const obExtensionsList& obCRL::Extensions() const { return imp_->extensions; }

obExtension* obCRL::GetExt(const obAsnOid* oid) const { return oid ? imp_->extensions.Get(*oid) : nullptr; }

int obCRL::IsCritical(const obAsnOid* oid) const { return oid ? imp_->extensions.IsCritical(*oid) : 0; }

obIssuingDP* obCRL::IssuingDP() const {
  return dynamic_cast<obIssuingDP*>(imp_->extensions.Get(obASN_id_ce_issuingDistributionPoint));
}

const obGeneralNames* obCRL::DistPoints() const {
  const obIssuingDP* dp = IssuingDP();
  return dp ? dp->Names() : nullptr;
}

obCRL_contents obCRL::Type() const {
  const obIssuingDP* dp = IssuingDP();
  return dp ? dp->Type() : obCRL_AllCerts;
}

namespace {

// Whether a CRL of kind covers a certificate that is (or is not) a CA.
bool KindCovers(obCRL_contents kind, int certIsCA) {
  switch (kind) {
    case obCRL_AllCerts:
      return true;
    case obCRL_ARL:
      if (!certIsCA) OB_HERROR("obCRL::DistPointMatches CRL is ARL but certificate not CA");
      return certIsCA != 0;
    case obCRL_UserCerts:
      if (certIsCA) OB_HERROR("obCRL::DistPointMatches CRL doesnot contains CAs");
      return certIsCA == 0;
  }
  OB_HERROR("Unknown CRL type %d", static_cast<int>(kind));
  return false;
}

}  // namespace

int obCRL::DistPointMatches(obCert& cert, int certIsCA) const {
  if (!KindCovers(Type(), certIsCA)) return 0;
  if (!imp_->issuer || !cert.Issuer() || !imp_->issuer->Equal(*cert.Issuer())) {
    OB_HERROR("obCRL::DistPointMatches: names doesn't match");
    return 0;
  }
  const obGeneralNames* crlNames = DistPoints();
  if (!crlNames || crlNames->Count() == 0) return 1;
  const obGeneralNames* certNames = cert.DistPoints();
  if (!certNames || certNames->Count() == 0) return 0;
  return crlNames->Match(*certNames) ? 1 : 0;
}

int obCRL::GetUsed() const { return imp_->used.load(std::memory_order_relaxed); }

void obCRL::SetUsed() {
  imp_->used.fetch_add(1, std::memory_order_relaxed);
  imp_->lastUsed.store(ob_time_now(), std::memory_order_relaxed);
}

void obCRL::UnSetUsed() {
  imp_->used.store(0, std::memory_order_relaxed);
  imp_->lastUsed.store(0, std::memory_order_relaxed);
}

long obCRL::LastUsed() const { return imp_->lastUsed.load(std::memory_order_relaxed); }

obVfy_status obCRL::VerifyWith(obCert& issuer) const {
  obDerSpan spki = issuer.SubjectPublicKeyInfo();
  const std::string& memo = imp_->verifiedSpki;
  {
    std::lock_guard<std::mutex> hold(imp_->verifiedMutex);
    if (spki.size > 0 && spki.Equal(reinterpret_cast<const unsigned char*>(memo.data()), memo.size()))
      return static_cast<obVfy_status>(imp_->verifiedStatus);
  }
  obVfy_status status = VerifySig(issuer.PubKey());
  std::lock_guard<std::mutex> hold(imp_->verifiedMutex);
  imp_->verifiedSpki.assign(reinterpret_cast<const char*>(spki.data), spki.size);
  imp_->verifiedStatus = status;
  return status;
}
