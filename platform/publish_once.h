// obPublishOnce: a value that an object makes the first time a reader asks
// for it and then shares with every thread.
//
// Readers may race: each makes its own value, the first one published stays
// and the others are dropped, so make must have no side effects on shared
// state. Reset is for owners being edited, which no other thread can see.
#ifndef NYCERT_PLATFORM_PUBLISH_ONCE_H_
#define NYCERT_PLATFORM_PUBLISH_ONCE_H_

#include <atomic>
#include <memory>

template <class T, class Free = std::default_delete<T>>
class obPublishOnce {
 public:
  using Owned = std::unique_ptr<T, Free>;

  obPublishOnce() = default;
  obPublishOnce(const obPublishOnce&) = delete;
  obPublishOnce& operator=(const obPublishOnce&) = delete;
  // Moves are for owners being built, which no other thread can see yet.
  obPublishOnce(obPublishOnce&& other) noexcept : slot_(other.slot_.exchange(nullptr, std::memory_order_relaxed)) {}
  ~obPublishOnce() { Reset(); }

  // The value, made by make() (an Owned, possibly null) when none stands yet.
  // A null result is not kept: the next reader tries again.
  template <class Make>
  T* Get(const Make& make) const {
    T* have = slot_.load(std::memory_order_acquire);
    return have ? have : Publish(make());
  }
  // The value if one was published, else null.
  T* Peek() const { return slot_.load(std::memory_order_acquire); }
  // Offers made: returns the value that stands, made or the one that was first.
  T* Publish(Owned made) const {
    T* expected = nullptr;
    if (!made) return slot_.load(std::memory_order_acquire);
    if (slot_.compare_exchange_strong(expected, made.get(), std::memory_order_acq_rel, std::memory_order_acquire))
      return made.release();
    return expected;
  }
  // Replaces the value, freeing the old one; plain loads and stores, as no
  // other thread may use the owner meanwhile.
  void Reset(T* replacement = nullptr) {
    T* old = slot_.load(std::memory_order_relaxed);
    slot_.store(replacement, std::memory_order_release);
    if (old) Free()(old);
  }

 private:
  mutable std::atomic<T*> slot_{nullptr};
};

#endif  // NYCERT_PLATFORM_PUBLISH_ONCE_H_
