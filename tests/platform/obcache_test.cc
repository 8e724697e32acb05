// The keyed cache: references held and released, life by the library's
// clock, eviction when full, and sharing between threads.
#include <gtest/gtest.h>

#include <atomic>
#include <string>

#include "nycert/platform/obcache.h"
#include "nycert/platform/obclock.h"
#include "support/test_support.h"

namespace {

// A value that counts the references the cache holds on it.
struct Counted {
  std::atomic<int> refs{0};
};
void Hold(void* v) { static_cast<Counted*>(v)->refs++; }
void Release(void* v) { static_cast<Counted*>(v)->refs--; }

struct FixedClock {
  explicit FixedClock(long t) { ob_time_set_fixed(t); }
  ~FixedClock() { ob_time_set_fixed(0); }
};

int Put(Cache* c, const std::string& key, Counted* v) { return Cache_put(c, key.data(), key.size(), v); }
Counted* Get(Cache* c, const std::string& key) { return static_cast<Counted*>(Cache_get(c, key.data(), key.size())); }

TEST(Cache, ReferencesFollowPutsReplacementsAndRemovals) {
  Cache* c = Cache_create(4, 100, Hold, Release);
  ASSERT_TRUE(c);
  Counted a, b;
  ASSERT_EQ(Put(c, "k", &a), 0);
  EXPECT_EQ(a.refs, 1);
  Counted* got = Get(c, "k");
  EXPECT_EQ(got, &a);
  EXPECT_EQ(a.refs, 2) << "a look-up hands out a reference of the caller's own";
  Release(got);
  ASSERT_EQ(Put(c, "k", &b), 0);
  EXPECT_EQ(a.refs, 0);
  EXPECT_EQ(b.refs, 1);
  // Keys are byte strings: an embedded NUL tells keys apart.
  ASSERT_EQ(Cache_put(c, "k\0x", 3, &a), 0);
  EXPECT_EQ(Cache_count(c), 2u);
  EXPECT_EQ(Cache_remove(c, "k", 1), 0);
  EXPECT_EQ(Cache_remove(c, "k", 1), -1);
  EXPECT_EQ(b.refs, 0);
  EXPECT_EQ(Put(c, "n", nullptr), -1);
  EXPECT_EQ(Cache_create(4, 100, nullptr, Release), nullptr);
  Cache_destroy(c);
  EXPECT_EQ(a.refs, 0);
}

TEST(Cache, EntriesLiveTheirTimeoutByTheLibraryClock) {
  FixedClock clock(1000);
  Cache* c = Cache_create(4, 60, Hold, Release);
  Counted a;
  Put(c, "k", &a);
  ob_time_set_fixed(1059);
  Counted* got = Get(c, "k");
  ASSERT_EQ(got, &a);
  Release(got);
  ob_time_set_fixed(1060);
  EXPECT_EQ(Get(c, "k"), nullptr);
  EXPECT_EQ(a.refs, 0) << "the expired entry was released";
  Cache_set_timeout(c, 0);  // raised to one second
  Put(c, "k", &a);
  ob_time_set_fixed(1061);
  EXPECT_EQ(Get(c, "k"), nullptr);
  Cache_destroy(c);
}

TEST(Cache, AFullCacheDropsTheEntryThatExpiresFirst) {
  FixedClock clock(1000);
  Cache* c = Cache_create(2, 100, Hold, Release);
  Counted first, second, third;
  Put(c, "1", &first);
  ob_time_set_fixed(1001);
  Put(c, "2", &second);
  Put(c, "3", &third);
  EXPECT_EQ(Cache_count(c), 2u);
  EXPECT_EQ(first.refs, 0);
  EXPECT_EQ(Get(c, "1"), nullptr);
  Cache_clear(c);
  EXPECT_EQ(second.refs + third.refs, 0);
  Cache_destroy(c);
}

TEST(CacheThreadStress, PutsGetsAndClearsFromManyThreads) {
  Cache* c = Cache_create(8, 100, Hold, Release);
  Counted values[16];
  RunTogether(4, [&](int t) {
    for (int i = 0; i < 2000; ++i) {
      std::string key = std::to_string((i * 7 + t) % 16);
      Put(c, key, &values[(i + t) % 16]);
      if (Counted* got = Get(c, key)) Release(got);
      if (i % 500 == 0) Cache_clear(c);
    }
  });
  Cache_destroy(c);
  for (Counted& v : values) EXPECT_EQ(v.refs, 0);
}

}  // namespace
