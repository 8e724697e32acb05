// Hash tables of the data-structures layer: byte-string keys to void* values.
//
// Open addressing with linear probing over a power-of-two slot array kept at
// most half full, so a look-up walks one short run of 8-byte slots. Each slot
// holds the key's 32-bit hash and the index of its entry; the entries (key
// span and value) sit densely in insertion order, which is also the order of
// hash_entry_at.
//
// The hash is a fast multiply-fold hash seeded per process. Should an insert
// ever meet a run longer than a fixed bound (keys made to collide), the table
// re-hashes itself with keyed SipHash-1-3 under a fresh random key; HASH_KEYED
// asks for that from the start.
//
// A table is not synchronised: concurrent look-ups are safe, anything else
// needs the caller's lock.
#ifndef NYCERT_PLATFORM_HASH_TABLE_H_
#define NYCERT_PLATFORM_HASH_TABLE_H_

#include <cstddef>
#include <cstdint>

#include "nycert/platform/export.h"

struct HashTable;

// Frees a value; called on hash_destroy and on a value replaced by hash_insert.
typedef void (*hash_destr_fn)(void* value);

enum HashFlags {
  HASH_COPY_KEYS = 0,    // the table keeps its own copy of each key
  HASH_BORROW_KEYS = 1,  // the table keeps the caller's pointer: the key bytes
                         // must stay alive and unchanged until hash_destroy
  HASH_KEYED = 2,        // keyed SipHash from the start, for hostile keys
};

// A table sized for expected entries (it grows past that), with destr (may
// be null) for its values. Null only when allocation fails.
NYCERT_EXPORT HashTable* hash_create_with_destr(size_t expected, hash_destr_fn destr, int flags = HASH_COPY_KEYS);

// Maps len bytes at key (key may be null when len is 0) to value: 0 for a new
// key, 1 when the key was present (its value is replaced and the old one,
// when it differs, handed to destr; the table keeps the first key's bytes),
// -1 for a null table, a null key with len above 0 or allocation failure (the
// value then stays the caller's).
NYCERT_EXPORT int hash_insert(HashTable* table, const void* key, size_t len, void* value);

// The value mapped to the key, or null when the key is absent (a stored null
// value looks the same).
NYCERT_EXPORT void* hash_lookup(const HashTable* table, const void* key, size_t len);

// Bulk loading, each key hashed once: hash_code gives the code a key is
// filed under (0 for a null table or key), hash_prefetch_code starts loading
// the slot its search begins at, and hash_insert_code inserts like
// hash_insert. Loaders prefetch a few keys ahead so that the cache misses of
// consecutive inserts overlap. A code stays good for later inserts: should
// the table change how it hashes in between, the insert hashes the key again.
NYCERT_EXPORT uint32_t hash_code(const HashTable* table, const void* key, size_t len);
NYCERT_EXPORT void hash_prefetch_code(const HashTable* table, uint32_t code);
NYCERT_EXPORT int hash_insert_code(HashTable* table, const void* key, size_t len, uint32_t code, void* value);

// Hands every non-null value to destr, then frees the table. Null is ignored.
NYCERT_EXPORT void hash_destroy(HashTable* table);

// Number of keys; 0 for null.
NYCERT_EXPORT size_t hash_count(const HashTable* table);

// The i-th key and its value in insertion order: 0, or -1 when i is out of
// range. Any of the out pointers may be null.
NYCERT_EXPORT int hash_entry_at(const HashTable* table, size_t i, const void** key, size_t* len, void** value);

// Number of slots a look-up of the key examines (hit or miss); 0 for null.
NYCERT_EXPORT unsigned hash_probes(const HashTable* table, const void* key, size_t len);

struct NYCERT_EXPORT HashStats {
  size_t count;           // keys
  size_t capacity;        // slots
  unsigned max_probes;    // longest look-up of a stored key, in slots
  double mean_probes;     // mean look-up of a stored key, in slots
  int keyed;              // 1 when the table runs on keyed SipHash
};
// Fills stats (all zero for a null table).
NYCERT_EXPORT void hash_stats(const HashTable* table, HashStats* stats);

#endif  // NYCERT_PLATFORM_HASH_TABLE_H_
