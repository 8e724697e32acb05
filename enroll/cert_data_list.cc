#include "nycert/enroll/cert_data_list.h"

#include <string>

#include "nycert/asn1/modules/cert_data_list.h"
#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/buffers/diag.h"
#include "nycert/certs/print_text_internal.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obstream.h"

class CertDataElm_imp {
 public:
  int serial;
  obString dn;
  certType type;
  CertDataElm* next = nullptr;
};

namespace {

// An INTEGER as a 32-bit value; -1 when its value is longer than four octets.
int SmallValue(const obAsnInt& v) { return v.IsBlock() ? -1 : v.Value(); }

obString NameText(const obASN_Name& name) {
  if (!name.rdnSequence) return obString("");
  obDN dn(*name.rdnSequence);
  return obString(dn.GetStr() ? dn.GetStr() : "");
}

}  // namespace

CertDataElm::CertDataElm(int serial, const char* dn, certType type)
    : imp_(new CertDataElm_imp{serial, dn ? dn : "", type}) {}

CertDataElm::CertDataElm(const obASN_CertDataElm& asn)
    : imp_(new CertDataElm_imp{SmallValue(asn.serialNumber), NameText(asn.dn),
                               static_cast<certType>(SmallValue(asn.certType))}) {}

CertDataElm::CertDataElm(const CertDataElm& other)
    : imp_(new CertDataElm_imp{other.imp_->serial, other.imp_->dn, other.imp_->type}) {}

CertDataElm::~CertDataElm() { delete imp_; }

int CertDataElm::SerialNumber() const { return imp_->serial; }
const obString& CertDataElm::DN() const { return imp_->dn; }
certType CertDataElm::CertType() const { return imp_->type; }
CertDataElm* CertDataElm::Next() const { return imp_->next; }
void CertDataElm::SetNext(CertDataElm* next) { imp_->next = next; }

void CertDataElm::Sprint(ObStream* s, int indent) const {
  if (!s) return;
  std::string tabs = obNameTabs(indent);
  s->Printf("%sSerial number: %d\n%sDN: %s\n%sCert type: %d\n", tabs.c_str(), imp_->serial, tabs.c_str(),
            imp_->dn.getstr(), tabs.c_str(), static_cast<int>(imp_->type));
}

void CertDataElm::Fprint(FILE* f, int indent) const {
  obFprintText(f, [&](ObStream* s) { Sprint(s, indent); });
}

void CertDataElm::Herror() const {
  obHerrorText([&](ObStream* s) { Sprint(s, 0); });
}

class CertDataList_imp {
 public:
  CertDataList_imp() = default;
  CertDataList_imp(const CertDataList_imp&) = delete;
  CertDataList_imp& operator=(const CertDataList_imp&) = delete;
  ~CertDataList_imp() { Clear(); }

  void Clear() {
    for (CertDataElm* e = head; e;) {
      CertDataElm* next = e->Next();
      delete e;
      e = next;
    }
    head = tail = curr = nullptr;
    count = 0;
  }
  void Append(CertDataElm* elm) {
    if (tail)
      tail->SetNext(elm);
    else
      head = elm;
    tail = elm;
    ++count;
  }
  void CopyFrom(const CertDataList_imp& other) {
    if (this == &other) return;
    Clear();
    ok = other.ok;
    for (CertDataElm* e = other.head; e; e = e->Next()) Append(new CertDataElm(*e));
  }
  int Decode(const nyBinBuf& der);

  int ok = 1;
  int count = 0;
  CertDataElm* head = nullptr;
  CertDataElm* tail = nullptr;
  CertDataElm* curr = nullptr;
};

int CertDataList_imp::Decode(const nyBinBuf& der) {
  obASN_CertDataList list;
  if (obAsnDecode(list, der.Data(), der.Len()) != 0) {
    OB_HERROR("%s: Failed to decode the buffer into obASN_CertDataList.", "CertDataList_imp::Decode");
    return -1;
  }
  Clear();
  ok = 1;
  for (const obASN_CertDataElm& item : list.items) Append(new CertDataElm(item));
  return 0;
}

CertDataList::CertDataList() : imp_(new CertDataList_imp) {}

CertDataList::CertDataList(const nyBinBuf& der) : imp_(new CertDataList_imp) {
  if (imp_->Decode(der) == 0) return;
  imp_->ok = 0;
  OB_HERROR("%s:Failed to initiate CertDataList_imp.", "CertDataList_imp::CertDataList_imp");
}

CertDataList::CertDataList(const CertDataList& other) : imp_(new CertDataList_imp) { imp_->CopyFrom(*other.imp_); }

CertDataList& CertDataList::operator=(const CertDataList& other) {
  imp_->CopyFrom(*other.imp_);
  return *this;
}

CertDataList::~CertDataList() { delete imp_; }

int CertDataList::AddCertData(const CertDataElm& elm) {
  imp_->Append(new CertDataElm(elm));
  return 0;
}

int CertDataList::Count() const { return imp_->count; }
int CertDataList::OK() const { return imp_->ok; }

CertDataElm* CertDataList::GetElm(int i) const {
  if (!imp_->ok || i >= imp_->count) return nullptr;
  CertDataElm* e = imp_->head;
  for (int k = 0; k < i && e; ++k) e = e->Next();
  return e;
}

void CertDataList::InitCurr() { imp_->curr = imp_->head; }

CertDataElm* CertDataList::GetCurrAndGoNext() {
  if (!imp_->ok || !imp_->curr) return nullptr;
  CertDataElm* e = imp_->curr;
  imp_->curr = e->Next();
  return e;
}

int CertDataList::Encode(nyBinBuf& out) const {
  if (!imp_->ok) return -1;
  obASN_CertDataList list;
  for (CertDataElm* e = imp_->head; e; e = e->Next()) {
    obDN dn(e->DN().getstr());
    obASN_CertDataElm& item = list.Append();
    if (dn.Count() == 0 || !dn.GetName()) return -1;
    item.serialNumber.Set(e->SerialNumber());
    item.dn.Select_rdnSequence() = *dn.GetName();
    item.certType.Set(static_cast<int>(e->CertType()));
  }
  if (obAsnEncode(list, out) != 0) {
    OB_HERROR("%s: Internal error while encoding obASN_CertDataList.", "CertDataList_imp::Encode");
    return -1;
  }
  return 0;
}

int CertDataList::Decode(const nyBinBuf& der) { return imp_->Decode(der); }
