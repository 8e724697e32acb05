#include "nycert/keystore/key_holder.h"

#include <cstring>
#include <memory>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/keystore/certified_key.h"
#include "nycert/keystore/root_ca.h"
#include "nycert/keystore/sw_key_holder.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

namespace {

bool SameName(const char* a, const char* b) { return a && b ? std::strcmp(a, b) == 0 : a == b; }

bool SameDN(const obDN* a, const obDN* b) { return a && b ? a->Equal(*b) != 0 : a == b; }

bool SameId(const unsigned char* a, int aLen, const unsigned char* b, int bLen) {
  bool aAbsent = !a || aLen <= 0;
  bool bAbsent = !b || bLen <= 0;
  if (aAbsent || bAbsent) return aAbsent == bAbsent;
  return aLen == bLen && std::memcmp(a, b, static_cast<size_t>(aLen)) == 0;
}

// The first object the iterator (deleted here) yields that matches.
template <class Iterator, class Match>
auto FindFirst(Iterator* iterator, Match match) -> decltype(iterator->Curr()) {
  std::unique_ptr<Iterator> walk(iterator);
  for (; walk->Curr(); walk->Next()) {
    if (match(*walk->Curr())) return walk->Curr();
  }
  return nullptr;
}

// Every object the iterator (deleted here) yields, so that the collection
// may change while they are used.
template <class Iterator>
auto Snapshot(Iterator* iterator) -> std::vector<decltype(iterator->Curr())> {
  std::unique_ptr<Iterator> walk(iterator);
  std::vector<decltype(iterator->Curr())> objects;
  for (; walk->Curr(); walk->Next()) objects.push_back(walk->Curr());
  return objects;
}

bool ChainHasSubject(const obCerts& chain, const obDN& dn) { return chain.GetBySubjectDN(dn) != nullptr; }

}  // namespace

obKeyHolder_imp::~obKeyHolder_imp() = default;

obRootCA* obKeyHolder_imp::CAByName(const char* name) {
  return FindFirst(RootCAs(), [&](const obRootCA& ca) { return SameName(ca.Name(), name); });
}

obRootCA* obKeyHolder_imp::CAByDN(const obDN* dn) {
  return FindFirst(RootCAs(), [&](const obRootCA& ca) { return SameDN(ca.DN(), dn); });
}

obRootCA* obKeyHolder_imp::CAByID(const unsigned char* id, int idLen) {
  return FindFirst(RootCAs(), [&](const obRootCA& ca) { return SameId(ca.Id(), ca.IdLen(), id, idLen); });
}

obCertifiedKey* obKeyHolder_imp::CertKeyByName(const char* name) {
  return FindFirst(CertKeys(), [&](const obCertifiedKey& key) { return SameName(key.Name(), name); });
}

obCertifiedKey* obKeyHolder_imp::CertKeyByDN(const obDN* dn) {
  return FindFirst(CertKeys(), [&](const obCertifiedKey& key) { return SameDN(key.DN(), dn); });
}

obCertifiedKey* obKeyHolder_imp::CertKeyBySubCA(const obDN& dn) {
  return FindFirst(CertKeys(), [&](const obCertifiedKey& key) { return ChainHasSubject(key.Chain(), dn); });
}

obCertifiedKey* obKeyHolder_imp::CertKeyByCADN(const obDN* dn) {
  return FindFirst(CertKeys(), [&](const obCertifiedKey& key) {
    return SameDN(key.Root() ? key.Root()->DN() : nullptr, dn);
  });
}

obCertifiedKey* obKeyHolder_imp::CertKeyByID(const unsigned char* id, int idLen) {
  return FindFirst(CertKeys(),
                   [&](const obCertifiedKey& key) { return SameId(key.Id(), key.IdLen(), id, idLen); });
}

// The first key of a preferred CA wins at once; among the others the last
// one seen of each kind is remembered. The mixed order is deliberate:
// which key is the default must not change under existing callers.
obCertifiedKey* obKeyHolder_imp::CertKeyByDefault() {
  obCertifiedKey* otherType = nullptr;
  obCertifiedKey* externalType = nullptr;
  std::unique_ptr<obCertKey_iterator> walk(CertKeys());
  for (; walk->Curr(); walk->Next()) {
    obCertifiedKey* key = walk->Curr();
    if (!key->Root()) continue;
    ObCaType type = key->Root()->CAType();
    if (type == obCaType_Internal || type == obCaType_Enrollment) return key;
    (type == obCaType_External ? externalType : otherType) = key;
  }
  return otherType ? otherType : externalType;
}

obKeyHolder_imp& obKeyHolder_imp::operator+=(obKeyHolder_imp& other) {
  for (obRootCA* ca : Snapshot(other.RootCAs())) AddCA(ca);
  for (obCertifiedKey* key : Snapshot(other.CertKeys())) AddCertKey(key);
  return *this;
}

int obKeyHolder_imp::HasKeys() {
  std::unique_ptr<obCertKey_iterator> walk(CertKeys());
  return walk->Curr() ? 1 : 0;
}

int obKeyHolder_imp::HasRootCAs() {
  std::unique_ptr<obRootCA_iterator> walk(RootCAs());
  return walk->Curr() ? 1 : 0;
}

void obKeyHolder_imp::Herror_Short() {
  auto text = [](const char* s) { return s ? s : "<none>"; };
  obHerrorText([&](ObStream* s) {
    std::vector<obRootCA*> cas = Snapshot(RootCAs());
    std::vector<obCertifiedKey*> keys = Snapshot(CertKeys());
    s->Printf("Key holder: %zu root CAs, %zu certified keys\n", cas.size(), keys.size());
    for (const obRootCA* ca : cas) {
      s->Printf("\tCA \"%s\" type %d: %s\n", text(ca->Name()), static_cast<int>(ca->CAType()),
                text(ca->DN() ? ca->DN()->GetStr() : nullptr));
    }
    for (const obCertifiedKey* key : keys) {
      s->Printf("\tkey \"%s\": %s, chain of %d, root \"%s\"\n", text(key->Name()),
                text(key->DN() ? key->DN()->GetStr() : nullptr), key->Chain().Count(),
                text(key->Root() ? key->Root()->Name() : nullptr));
    }
  });
}

obKeyHolder::~obKeyHolder() { delete imp_; }

obKeyHolder& obKeyHolder::operator=(const obKeyHolder& other) {
  if (&other == this) return *this;
  for (obRootCA* ca : Snapshot(imp_->RootCAs())) imp_->RemoveCA(ca);
  for (obCertifiedKey* key : Snapshot(imp_->CertKeys())) imp_->RemoveCertKey(key);
  *imp_ += *other.imp_;
  return *this;
}

obKeyHolder& obKeyHolder::operator+=(const obKeyHolder& other) {
  *imp_ += *other.imp_;
  return *this;
}

obKeyHolder* obKeyHolder_New() { return new obKeyHolder(new obSWKeyHolder_imp); }

obCertifiedKey* obKeyHolder_CertKeyByName(obKeyHolder* holder, const char* name) {
  return holder ? holder->CertKeyByName(name) : nullptr;
}
