// ObStream and the named recursive mutexes.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "nycert/platform/mtmutex.h"
#include "nycert/platform/obstream.h"

TEST(PlatformObStream, PutsAndPrintfAppend) {
  ObStream s;
  EXPECT_EQ(s.Puts("ab"), 0);
  EXPECT_EQ(s.Puts(nullptr), 0);
  EXPECT_EQ(s.Printf("%s-%02x-%d", "cd", 10, -3), 0);
  EXPECT_EQ(s.Puts(""), 0);
  EXPECT_EQ(s.str(), "abcd-0a--3");
  EXPECT_EQ(s.length(), 10u);
  EXPECT_STREQ(s.c_str(), "abcd-0a--3");
  s.Clear();
  EXPECT_EQ(s.length(), 0u);

  std::string big(20000, 'z');  // longer than any fixed formatting buffer
  s.Printf("<%s%c", big.c_str(), '>');
  EXPECT_EQ(s.str(), "<" + big + ">");
}

TEST(PlatformMtMutex, SameNameSameMutexNullNamePrivate) {
  MtMutexHandle a = MtMutexCreateRecursive("platform-test-shared");
  MtMutexHandle b = MtMutexCreateRecursive("platform-test-shared");
  MtMutexHandle other = MtMutexCreateRecursive("platform-test-other");
  MtMutexHandle p1 = MtMutexCreateRecursive(nullptr);
  MtMutexHandle p2 = MtMutexCreateRecursive(nullptr);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, b);
  EXPECT_NE(a, other);
  EXPECT_NE(p1, p2);
  EXPECT_NE(p1, a);
  for (MtMutexHandle m : {a, b, other, p1, p2}) MtMutexDestroy(m);
}

TEST(PlatformMtMutex, RecursionAndNullHandles) {
  MtMutexHandle m = MtMutexCreateRecursive("platform-test-recursive");
  for (int i = 0; i < 5; ++i) EXPECT_EQ(MtMutexLock(m), 0);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(MtMutexUnLock(m), 0);
  MtMutexDestroy(m);
  EXPECT_EQ(MtMutexLock(nullptr), -1);
  EXPECT_EQ(MtMutexUnLock(nullptr), -1);
  MtMutexDestroy(nullptr);
}

TEST(PlatformMtMutex, ExcludesOtherThreadsUntilFullyUnlocked) {
  MtMutexHandle m = MtMutexCreateRecursive("platform-test-exclusion");
  std::atomic<bool> entered{false};
  MtMutexLock(m);
  MtMutexLock(m);
  std::thread waiter([&] {
    MtMutexHandle same = MtMutexCreateRecursive("platform-test-exclusion");
    MtMutexLock(same);
    entered = true;
    MtMutexUnLock(same);
    MtMutexDestroy(same);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(entered.load());
  MtMutexUnLock(m);  // still held once
  std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(entered.load());
  MtMutexUnLock(m);
  waiter.join();
  EXPECT_TRUE(entered.load());
  MtMutexDestroy(m);
}

TEST(PlatformMtMutex, ContendedCounterStaysExact) {
  MtMutexHandle m = MtMutexCreateRecursive(nullptr);
  long counter = 0;
  auto work = [&] {
    for (int i = 0; i < 20000; ++i) {
      MtMutexLock(m);
      MtMutexLock(m);
      long seen = counter;
      counter = seen + 1;
      MtMutexUnLock(m);
      MtMutexUnLock(m);
    }
  };
  std::thread t1(work), t2(work), t3(work);
  t1.join();
  t2.join();
  t3.join();
  EXPECT_EQ(counter, 60000);
  MtMutexDestroy(m);
}

TEST(PlatformMtMutex, SharedNameLivesUntilLastDestroy) {
  MtMutexHandle first = MtMutexCreateRecursive("platform-test-lifetime");
  MtMutexHandle second = MtMutexCreateRecursive("platform-test-lifetime");
  MtMutexDestroy(first);
  // The second holder still has a working mutex (the sanitizer build catches a freed one).
  EXPECT_EQ(MtMutexLock(second), 0);
  MtMutexHandle third = MtMutexCreateRecursive("platform-test-lifetime");
  EXPECT_EQ(third, second);
  EXPECT_EQ(MtMutexUnLock(second), 0);
  MtMutexDestroy(second);
  EXPECT_EQ(MtMutexLock(third), 0);
  EXPECT_EQ(MtMutexUnLock(third), 0);
  MtMutexDestroy(third);

  // All holders gone: the name starts a fresh mutex that works.
  MtMutexHandle fresh = MtMutexCreateRecursive("platform-test-lifetime");
  EXPECT_EQ(MtMutexLock(fresh), 0);
  EXPECT_EQ(MtMutexUnLock(fresh), 0);
  MtMutexDestroy(fresh);
}

TEST(PlatformMtMutex, ConcurrentCreateAndDestroyOfOneName) {
  auto churn = [] {
    for (int i = 0; i < 2000; ++i) {
      MtMutexHandle m = MtMutexCreateRecursive("platform-test-churn");
      MtMutexLock(m);
      MtMutexUnLock(m);
      MtMutexDestroy(m);
    }
  };
  std::thread t1(churn), t2(churn), t3(churn);
  t1.join();
  t2.join();
  t3.join();
}
