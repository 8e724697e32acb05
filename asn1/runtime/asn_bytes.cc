#include "nycert/asn1/runtime/asn_bytes.h"

#include <cstring>

obAsnBytes::obAsnBytes(obAsnBytes&& other) noexcept { *this = static_cast<obAsnBytes&&>(other); }

obAsnBytes& obAsnBytes::operator=(const obAsnBytes& other) {
  if (&other != this) Assign(other.data(), other.size());
  return *this;
}

obAsnBytes& obAsnBytes::operator=(obAsnBytes&& other) noexcept {
  if (&other == this) return *this;
  if (!other.heap_) {
    Assign(other.inline_, other.size_);
    other.size_ = 0;
    return *this;
  }
  delete[] heap_;
  heap_ = other.heap_;
  size_ = other.size_;
  capacity_ = other.capacity_;
  other.heap_ = nullptr;
  other.size_ = 0;
  other.capacity_ = kInline;
  return *this;
}

obAsnBytes::~obAsnBytes() { delete[] heap_; }

unsigned char* obAsnBytes::Grow(unsigned long n) {
  if (n <= capacity_) return nullptr;
  unsigned long grown = capacity_ * 2 > n ? capacity_ * 2 : n;
  unsigned char* block = new unsigned char[grown];
  if (size_) std::memcpy(block, data(), size_);
  unsigned char* old = heap_;
  heap_ = block;
  capacity_ = grown;
  return old;
}

void obAsnBytes::Reserve(unsigned long n) { delete[] Grow(n); }

void obAsnBytes::Assign(const unsigned char* p, unsigned long n) {
  size_ = 0;
  Reserve(n);
  if (n) std::memmove(data(), p, n);
  size_ = n;
}

// p may point into the present contents, so the old block outlives the copy.
void obAsnBytes::Append(const unsigned char* p, unsigned long n) {
  unsigned char* old = Grow(size_ + n);
  if (n) std::memcpy(data() + size_, p, n);
  delete[] old;
  size_ += n;
}

unsigned char* obAsnBytes::Resize(unsigned long n) {
  Reserve(n);
  size_ = n;
  return data();
}

void obAsnBytes::Clear() { size_ = 0; }

void obAsnBytes::Wipe() {
  if (size_) std::memset(data(), 0, size_);
}

bool obAsnBytes::operator==(const obAsnBytes& other) const {
  return size_ == other.size_ && (size_ == 0 || std::memcmp(data(), other.data(), size_) == 0);
}
