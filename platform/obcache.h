// Cache: a keyed cache of reference-counted values with a life time.
//
// Keys are byte strings; values are opaque pointers that the cache holds one
// reference to, taken and dropped through the hold and release functions
// given at creation. An entry lives for the cache's time-out from the moment
// it is put, by the library's clock (ob_time_now); an expired entry is
// dropped when it is next looked at. A full cache makes room by dropping the
// entry that expires first.
//
// Every operation locks the cache, so one cache may be shared by threads.
// Cache_get hands out a reference of the caller's own, taken under the lock,
// so a value stays alive however other threads change the cache meanwhile.
#ifndef NYCERT_PLATFORM_OBCACHE_H_
#define NYCERT_PLATFORM_OBCACHE_H_

#include <cstddef>

#include "nycert/platform/export.h"

struct Cache;

typedef void (*Cache_ref_fn)(void* value);

extern "C" {
// A cache of at most slots entries (at least 1) living timeoutSec seconds
// each (at least 1); hold and release must not be null. Null when
// allocation fails or an argument is bad.
NYCERT_EXPORT Cache* Cache_create(size_t slots, long timeoutSec, Cache_ref_fn hold, Cache_ref_fn release);
// Releases every value and frees the cache. Null is ignored.
NYCERT_EXPORT void Cache_destroy(Cache* cache);
// Puts value under key, taking a reference of its own; a value already under
// the key is released. 0, or -1 for a null cache, value or key.
NYCERT_EXPORT int Cache_put(Cache* cache, const void* key, size_t len, void* value);
// The value under key with a reference for the caller, or null when there is
// none or it has expired.
NYCERT_EXPORT void* Cache_get(Cache* cache, const void* key, size_t len);
// Drops the entry under key: 0, or -1 when there was none.
NYCERT_EXPORT int Cache_remove(Cache* cache, const void* key, size_t len);
// Drops every entry.
NYCERT_EXPORT void Cache_clear(Cache* cache);
// The number of entries, expired ones included until they are dropped.
NYCERT_EXPORT size_t Cache_count(Cache* cache);
// Changes the life of entries put from now on (at least 1 second).
NYCERT_EXPORT void Cache_set_timeout(Cache* cache, long timeoutSec);
}

#endif  // NYCERT_PLATFORM_OBCACHE_H_
