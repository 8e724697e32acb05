#include "nycert/keystore/pk_objects.h"

#include "nycert/certs/print_text_internal.h"
#include "nycert/platform/obstream.h"

namespace {

constexpr int kGrowth = 5;

}  // namespace

obPKObjects_imp::~obPKObjects_imp() {
  for (int i = 0; i < capacity; ++i) obFreePKobj(entries[i]);
  delete[] entries;
}

obPKObjects::obPKObjects() : obPKObjects(new obPKObjects_imp) {}

obPKObjects::obPKObjects(obPKObjects_imp* imp) : obPKobj(imp), imp_(imp) {}

obPKObjects::~obPKObjects() = default;

int obPKObjects::Add(obPKobj* obj) {
  if (!obj) return -1;
  int index = 0;
  while (index < imp_->capacity && imp_->entries[index]) ++index;
  if (index == imp_->capacity) {
    obPKobj** grown = new obPKobj*[imp_->capacity + kGrowth]();
    for (int i = 0; i < imp_->capacity; ++i) grown[i] = imp_->entries[i];
    delete[] imp_->entries;
    imp_->entries = grown;
    imp_->capacity += kGrowth;
  }
  obSavePKobj(obj);
  imp_->entries[index] = obj;
  return 0;
}

int obPKObjects::Delete(obPKobj* obj) {
  if (!obj) return -1;
  int hole = 0;
  while (hole < imp_->capacity && imp_->entries[hole] != obj) ++hole;
  if (hole == imp_->capacity) return -1;
  obFreePKobj(obj);
  imp_->entries[hole] = nullptr;
  for (int last = imp_->capacity - 1; last > hole; --last) {
    if (!imp_->entries[last]) continue;
    imp_->entries[hole] = imp_->entries[last];
    imp_->entries[last] = nullptr;
    break;
  }
  return 0;
}

obPKobj* obPKObjects::Get(int index) const { return IsInRange(index) ? imp_->entries[index] : nullptr; }

int obPKObjects::IsInRange(int index) const { return index >= 0 && index < imp_->capacity ? 1 : 0; }

int obPKObjects::Count() const {
  int count = 0;
  for (int i = 0; i < imp_->capacity; ++i) count += imp_->entries[i] ? 1 : 0;
  return count;
}

void obPKObjects::Sprint(ObStream* s, const char* title, int indent) const {
  s->Printf("%s%s: %d objects in %d entries\n", obNameTabs(indent).c_str(),
            title ? title : "obPKObjects", Count(), Size());
}

void obPKObjects::Herror(const char* title) const {
  obHerrorText([&](ObStream* s) { Sprint(s, title, 0); });
}
