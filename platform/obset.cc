#include "nycert/platform/obset.h"

#include <openssl/crypto.h>

#include <utility>

namespace {

bool ValidName(const char* name) { return name && *name; }

void WipeBytes(ObBytes& bytes) {
  if (!bytes.empty()) OPENSSL_cleanse(bytes.data(), bytes.size());
}

}  // namespace

obset::~obset() { Wipe(); }

ObAtom* obset::Find(const char* name) {
  for (ObAtom& atom : atoms_) {
    if (atom.name == name) return &atom;
  }
  return nullptr;
}

const ObAtom* obset::Get(const char* name) const {
  if (!name) return nullptr;
  return const_cast<obset*>(this)->Find(name);
}

const ObBytes* obset::GetValue(const char* name) const {
  const ObAtom* atom = Get(name);
  return atom && !atom->nested ? &atom->value : nullptr;
}

const obset* obset::GetSet(const char* name) const {
  const ObAtom* atom = Get(name);
  return atom ? atom->nested.get() : nullptr;
}

ObAtom* obset::Slot(const char* name) {
  ObAtom* atom = Find(name);
  if (!atom) {
    atoms_.emplace_back();
    atom = &atoms_.back();
    atom->name = name;
    return atom;
  }
  WipeBytes(atom->value);
  atom->value.clear();
  atom->nested.reset();
  return atom;
}

int obset::Put(const char* name, const unsigned char* p, unsigned n) {
  if (!ValidName(name) || (!p && n > 0)) return -1;
  ObBytes value(p, p + n);  // copied first: p may lie in the value being replaced
  Slot(name)->value = std::move(value);
  return 0;
}

int obset::PutSet(const char* name, obset* nested) {
  if (nested == this) return -1;
  std::unique_ptr<obset> owned(nested);
  if (!ValidName(name) || !owned) return -1;
  Slot(name)->nested = std::move(owned);
  return 0;
}

void obset::Wipe() {
  for (ObAtom& atom : atoms_) {
    WipeBytes(atom.value);
    if (atom.nested) atom.nested->Wipe();
  }
}

obset* obset_new() { return new obset; }

void obset_free(obset* set) { delete set; }
