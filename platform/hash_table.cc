#include "nycert/platform/hash_table.h"

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include <sys/mman.h>

#include "nycert/platform/obrand.h"

#ifndef __SIZEOF_INT128__
#error "hash_table.cc needs a 64x64->128-bit multiply"
#endif

namespace {

// An insert that walks more slots than this re-hashes the table with the keyed hash.
const unsigned kProbeLimit = 64;
const size_t kMinSlots = 16;
const size_t kKeyBlockSize = 64 * 1024;

// Slots stay small (8 octets) so that the slot array of a large table keeps
// to the nearer caches; a miss then costs one slot read.
struct Slot {
  uint32_t hash;
  uint32_t index;  // entry index + 1; 0 marks an empty slot
};

struct Entry {
  const unsigned char* key;
  size_t len;
  void* value;
};

// Copies of the keys, bump-allocated from a chain of blocks (newest first).
struct KeyBlock {
  KeyBlock* next;
  size_t used, size;
  unsigned char* Bytes() { return reinterpret_cast<unsigned char*>(this + 1); }
};

uint64_t Load64(const unsigned char* p) {
  uint64_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

uint32_t Load32(const unsigned char* p) {
  uint32_t v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

uint64_t Rotl(uint64_t v, int n) { return (v << n) | (v >> (64 - n)); }

// The 128-bit product of a and b folded to 64 bits.
uint64_t Fold(uint64_t a, uint64_t b) {
  unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

// Random words from the system generator; should that fail, a mix of clock
// and addresses, which still spreads keys but is not secret.
void RandomWords(uint64_t* out, int n) {
  if (obrand_gen(reinterpret_cast<unsigned char*>(out), n * static_cast<int>(sizeof *out)) == 0) return;
  uint64_t x = static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count());
  x ^= reinterpret_cast<uintptr_t>(out);
  for (int i = 0; i < n; ++i) out[i] = x = Fold(x ^ 0x9e3779b97f4a7c15ULL, 0xd6e8feb86659fd93ULL + i);
}

struct FastSeed {
  uint64_t k[4];
  FastSeed() { RandomWords(k, 4); }
};

const FastSeed& ProcessSeed() {
  static const FastSeed seed;
  return seed;
}

// Multiply-fold hash: 16 octets per step, the tail read as two overlapping words.
uint64_t FastHash(const unsigned char* p, size_t n) {
  const uint64_t* k = ProcessSeed().k;
  uint64_t h = k[0] ^ Fold(n ^ k[1], 0x9e3779b97f4a7c15ULL);
  size_t left = n;
  for (; left > 16; p += 16, left -= 16) h = Fold(Load64(p) ^ k[1], Load64(p + 8) ^ h);
  uint64_t a = 0, b = 0;
  if (left >= 8) {
    a = Load64(p);
    b = Load64(p + left - 8);
  } else if (left >= 4) {
    a = Load32(p);
    b = Load32(p + left - 4);
  } else if (left > 0) {
    a = uint64_t{p[0]} << 16 | uint64_t{p[left >> 1]} << 8 | p[left - 1];
  }
  h = Fold(a ^ k[2], b ^ h ^ k[3]);
  return Fold(h ^ k[1], 0xd6e8feb86659fd93ULL);
}

void SipRound(uint64_t v[4]) {
  v[0] += v[1], v[1] = Rotl(v[1], 13) ^ v[0], v[0] = Rotl(v[0], 32);
  v[2] += v[3], v[3] = Rotl(v[3], 16) ^ v[2];
  v[0] += v[3], v[3] = Rotl(v[3], 21) ^ v[0];
  v[2] += v[1], v[1] = Rotl(v[1], 17) ^ v[2], v[2] = Rotl(v[2], 32);
}

// SipHash-1-3 (one round per word, three to finish) under the 128-bit key.
uint64_t SipHash13(const uint64_t key[2], const unsigned char* p, size_t n) {
  uint64_t v[4] = {key[0] ^ 0x736f6d6570736575ULL, key[1] ^ 0x646f72616e646f6dULL,
                   key[0] ^ 0x6c7967656e657261ULL, key[1] ^ 0x7465646279746573ULL};
  auto absorb = [&v](uint64_t m) {
    v[3] ^= m;
    SipRound(v);
    v[0] ^= m;
  };
  size_t left = n;
  for (; left >= 8; p += 8, left -= 8) absorb(Load64(p));
  uint64_t last = static_cast<uint64_t>(n) << 56;
  for (size_t i = 0; i < left; ++i) last |= uint64_t{p[i]} << (8 * i);
  absorb(last);
  v[2] ^= 0xff;
  for (int i = 0; i < 3; ++i) SipRound(v);
  return v[0] ^ v[1] ^ v[2] ^ v[3];
}

// Zeroed memory for n slots. Where the system offers huge pages, arrays of
// one or more are aligned to them and marked for them, which saves page
// faults while a large table fills and TLB misses while it is probed.
Slot* NewSlots(size_t n) {
#ifdef MADV_HUGEPAGE
  const size_t kHugePage = size_t{2} << 20;
  size_t bytes = n * sizeof(Slot);
  void* p = nullptr;
  if (bytes >= kHugePage && posix_memalign(&p, kHugePage, bytes) == 0) {
    madvise(p, bytes, MADV_HUGEPAGE);
    return static_cast<Slot*>(std::memset(p, 0, bytes));
  }
#endif
  return static_cast<Slot*>(std::calloc(n, sizeof(Slot)));
}

}  // namespace

struct HashTable {
  Slot* slots;
  size_t mask;  // slot count - 1
  Entry* entries;
  size_t count, room;
  hash_destr_fn destr;
  bool borrow_keys;
  bool keyed;
  uint64_t sip_key[2];
  KeyBlock* key_blocks;
};

namespace {

uint32_t HashOf(const HashTable* t, const void* key, size_t len) {
  const unsigned char* p = static_cast<const unsigned char*>(key);
  uint64_t h = t->keyed ? SipHash13(t->sip_key, p, len) : FastHash(p, len);
  return static_cast<uint32_t>(h ^ (h >> 32));
}

bool SameKey(const Entry& e, const void* key, size_t len) {
  return e.len == len && (len == 0 || std::memcmp(e.key, key, len) == 0);
}

// The slot holding the key, or the empty slot that ends its run; probes
// (when asked) gets the number of slots examined.
size_t FindSlot(const HashTable* t, uint32_t hash, const void* key, size_t len, unsigned* probes) {
  size_t pos = hash & t->mask;
  unsigned n = 1;
  for (;; pos = (pos + 1) & t->mask, ++n) {
    const Slot& s = t->slots[pos];
    if (s.index == 0 || (s.hash == hash && SameKey(t->entries[s.index - 1], key, len))) break;
  }
  if (probes) *probes = n;
  return pos;
}

void PlaceSlot(Slot* slots, size_t mask, Slot s) {
  size_t pos = s.hash & mask;
  while (slots[pos].index != 0) pos = (pos + 1) & mask;
  slots[pos] = s;
}

int Grow(HashTable* t) {
  size_t old_slots = t->mask + 1, new_mask = 2 * old_slots - 1;
  Slot* slots = NewSlots(new_mask + 1);
  if (!slots) return -1;
  for (size_t i = 0; i < old_slots; ++i) {
    if (t->slots[i].index != 0) PlaceSlot(slots, new_mask, t->slots[i]);
  }
  std::free(t->slots);
  t->slots = slots;
  t->mask = new_mask;
  return 0;
}

// Makes room for one more entry: slots kept at most half full, entries array grown by doubling.
int Reserve(HashTable* t) {
  if (t->count >= UINT32_MAX - 1) return -1;
  if ((t->count + 1) * 2 > t->mask + 1 && Grow(t) != 0) return -1;
  if (t->count < t->room) return 0;
  size_t room = t->room * 2;
  Entry* entries = static_cast<Entry*>(std::realloc(t->entries, room * sizeof(Entry)));
  if (!entries) return -1;
  t->entries = entries;
  t->room = room;
  return 0;
}

// Re-hashes every key with SipHash under a fresh key; the slot array keeps its size.
void SwitchToKeyed(HashTable* t) {
  t->keyed = true;
  RandomWords(t->sip_key, 2);
  std::memset(t->slots, 0, (t->mask + 1) * sizeof(Slot));
  for (size_t i = 0; i < t->count; ++i) {
    const Entry& e = t->entries[i];
    PlaceSlot(t->slots, t->mask, Slot{HashOf(t, e.key, e.len), static_cast<uint32_t>(i + 1)});
  }
}

// The table's own copy of a key (null for an empty one), or null with ok false.
const unsigned char* CopyKey(HashTable* t, const void* key, size_t len, bool* ok) {
  *ok = true;
  if (len == 0) return nullptr;
  KeyBlock* block = t->key_blocks;
  if (!block || block->size - block->used < len) {
    size_t size = len > kKeyBlockSize ? len : kKeyBlockSize;
    block = static_cast<KeyBlock*>(std::malloc(sizeof(KeyBlock) + size));
    if (!block) {
      *ok = false;
      return nullptr;
    }
    *block = KeyBlock{t->key_blocks, 0, size};
    t->key_blocks = block;
  }
  unsigned char* copy = block->Bytes() + block->used;
  std::memcpy(copy, key, len);
  block->used += len;
  return copy;
}

}  // namespace

HashTable* hash_create_with_destr(size_t expected, hash_destr_fn destr, int flags) {
  size_t slots = kMinSlots;
  while (slots < 2 * expected && slots < (size_t{1} << 31)) slots *= 2;
  HashTable* t = static_cast<HashTable*>(std::calloc(1, sizeof(HashTable)));
  if (!t) return nullptr;
  t->room = expected > 0 ? expected : kMinSlots / 2;
  t->slots = NewSlots(slots);
  t->entries = static_cast<Entry*>(std::malloc(t->room * sizeof(Entry)));
  t->mask = slots - 1;
  t->destr = destr;
  t->borrow_keys = (flags & HASH_BORROW_KEYS) != 0;
  if (!t->slots || !t->entries) {
    hash_destroy(t);
    return nullptr;
  }
  if (flags & HASH_KEYED) SwitchToKeyed(t);
  return t;
}

int hash_insert(HashTable* table, const void* key, size_t len, void* value) {
  return hash_insert_code(table, key, len, hash_code(table, key, len), value);
}

int hash_insert_code(HashTable* table, const void* key, size_t len, uint32_t code, void* value) {
  if (!table || (!key && len > 0) || Reserve(table) != 0) return -1;
  // A keyed table hashes again: the code may predate its switch to the keyed hash.
  uint32_t hash = table->keyed ? HashOf(table, key, len) : code;
  unsigned probes;
  Slot& slot = table->slots[FindSlot(table, hash, key, len, &probes)];
  if (slot.index != 0) {
    Entry& e = table->entries[slot.index - 1];
    void* old = e.value;
    e.value = value;
    if (old && old != value && table->destr) table->destr(old);
    return 1;
  }
  bool ok = true;
  const unsigned char* bytes =
      table->borrow_keys ? static_cast<const unsigned char*>(key) : CopyKey(table, key, len, &ok);
  if (!ok) return -1;
  table->entries[table->count] = Entry{bytes, len, value};
  slot = Slot{hash, static_cast<uint32_t>(++table->count)};
  if (probes > kProbeLimit && !table->keyed) SwitchToKeyed(table);
  return 0;
}

void* hash_lookup(const HashTable* table, const void* key, size_t len) {
  if (!table || table->count == 0 || (!key && len > 0)) return nullptr;
  const Slot& slot = table->slots[FindSlot(table, HashOf(table, key, len), key, len, nullptr)];
  return slot.index != 0 ? table->entries[slot.index - 1].value : nullptr;
}

uint32_t hash_code(const HashTable* table, const void* key, size_t len) {
  return table && (key || len == 0) ? HashOf(table, key, len) : 0;
}

void hash_prefetch_code(const HashTable* table, uint32_t code) {
  if (table) __builtin_prefetch(&table->slots[code & table->mask], 1);
}

void hash_destroy(HashTable* table) {
  if (!table) return;
  for (size_t i = 0; i < table->count; ++i) {
    if (table->entries[i].value && table->destr) table->destr(table->entries[i].value);
  }
  for (KeyBlock* b = table->key_blocks; b;) {
    KeyBlock* next = b->next;
    std::free(b);
    b = next;
  }
  std::free(table->entries);
  std::free(table->slots);
  std::free(table);
}

size_t hash_count(const HashTable* table) { return table ? table->count : 0; }

int hash_entry_at(const HashTable* table, size_t i, const void** key, size_t* len, void** value) {
  if (!table || i >= table->count) return -1;
  const Entry& e = table->entries[i];
  if (key) *key = e.key;
  if (len) *len = e.len;
  if (value) *value = e.value;
  return 0;
}

unsigned hash_probes(const HashTable* table, const void* key, size_t len) {
  if (!table || (!key && len > 0)) return 0;
  unsigned probes;
  FindSlot(table, HashOf(table, key, len), key, len, &probes);
  return probes;
}

void hash_stats(const HashTable* table, HashStats* stats) {
  if (!stats) return;
  *stats = HashStats{};
  if (!table) return;
  stats->count = table->count;
  stats->capacity = table->mask + 1;
  stats->keyed = table->keyed ? 1 : 0;
  double total = 0;
  for (size_t i = 0; i < table->count; ++i) {
    const Entry& e = table->entries[i];
    unsigned probes = hash_probes(table, e.key, e.len);
    total += probes;
    if (probes > stats->max_probes) stats->max_probes = probes;
  }
  if (table->count > 0) stats->mean_probes = total / static_cast<double>(table->count);
}
