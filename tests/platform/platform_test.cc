// ObStream and the named recursive mutexes.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "nycert/platform/mtmutex.h"
#include "nycert/platform/obstream.h"

namespace {

// Runs work on three threads at once.
template <typename Work>
void OnThreeThreads(Work work) {
  std::thread t1(work), t2(work), t3(work);
  t1.join();
  t2.join();
  t3.join();
}

bool LockUnlock(MtMutexHandle m) { return MtMutexLock(m) == 0 && MtMutexUnLock(m) == 0; }

}  // namespace

TEST(PlatformObStream, PutsAndPrintfAppend) {
  ObStream s;
  EXPECT_EQ(s.Puts("ab"), 0);
  EXPECT_EQ(s.Puts(nullptr), 0);
  EXPECT_EQ(s.Printf("%s-%02x-%d", "cd", 10, -3), 0);
  EXPECT_STREQ(s.c_str(), "abcd-0a--3");
  EXPECT_EQ(s.length(), 10u);
  s.Clear();
  std::string big(20000, 'z');  // longer than any fixed formatting buffer
  s.Printf("<%s%c", big.c_str(), '>');
  EXPECT_EQ(s.str(), "<" + big + ">");
}

TEST(PlatformMtMutex, NamesShareOneRecursiveMutexUntilTheLastDestroy) {
  MtMutexHandle a = MtMutexCreateRecursive("platform-test-shared");
  MtMutexHandle b = MtMutexCreateRecursive("platform-test-shared");
  MtMutexHandle other = MtMutexCreateRecursive("platform-test-other");
  MtMutexHandle p1 = MtMutexCreateRecursive(nullptr), p2 = MtMutexCreateRecursive(nullptr);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a, b);
  EXPECT_NE(a, other);
  EXPECT_NE(p1, p2);  // a null name is private
  for (int i = 0; i < 5; ++i) EXPECT_EQ(MtMutexLock(a), 0);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(MtMutexUnLock(b), 0);
  MtMutexDestroy(a);
  EXPECT_TRUE(LockUnlock(b));  // the sanitizer build catches a freed mutex
  MtMutexHandle c = MtMutexCreateRecursive("platform-test-shared");
  EXPECT_EQ(c, b);
  MtMutexDestroy(b);
  MtMutexDestroy(c);
  MtMutexHandle fresh = MtMutexCreateRecursive("platform-test-shared");  // all holders gone
  EXPECT_TRUE(LockUnlock(fresh));
  for (MtMutexHandle m : {fresh, other, p1, p2}) MtMutexDestroy(m);
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
  for (int held = 2; held > 0; --held) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered.load()) << "held " << held << " times";
    MtMutexUnLock(m);
  }
  waiter.join();
  EXPECT_TRUE(entered.load());
  MtMutexDestroy(m);
}

TEST(PlatformMtMutex, ContentionAndChurnOnOneName) {
  MtMutexHandle m = MtMutexCreateRecursive(nullptr);
  long counter = 0;
  OnThreeThreads([&] {
    for (int i = 0; i < 20000; ++i) {
      MtMutexLock(m);
      MtMutexLock(m);
      counter = counter + 1;
      MtMutexUnLock(m);
      MtMutexUnLock(m);
    }
  });
  EXPECT_EQ(counter, 60000);
  MtMutexDestroy(m);
  OnThreeThreads([] {
    for (int i = 0; i < 2000; ++i) {
      MtMutexHandle churned = MtMutexCreateRecursive("platform-test-churn");
      LockUnlock(churned);
      MtMutexDestroy(churned);
    }
  });
}
