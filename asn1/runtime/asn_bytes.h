// obAsnBytes: owned content octets of a decoded value.
//
// Short contents (identifiers, small integers, most name strings) live inside
// the object, so decoding them allocates nothing; longer ones go to the heap.
#ifndef NYCERT_ASN1_RUNTIME_ASN_BYTES_H_
#define NYCERT_ASN1_RUNTIME_ASN_BYTES_H_

#include "nycert/platform/export.h"

class NYCERT_EXPORT obAsnBytes {
 public:
  obAsnBytes() = default;
  obAsnBytes(const unsigned char* p, unsigned long n) { Assign(p, n); }
  obAsnBytes(const obAsnBytes& other) { Assign(other.data(), other.size()); }
  obAsnBytes(obAsnBytes&& other) noexcept;
  obAsnBytes& operator=(const obAsnBytes& other);
  obAsnBytes& operator=(obAsnBytes&& other) noexcept;
  ~obAsnBytes();

  // Replaces the contents with n octets from p (p may be null only when n is 0).
  void Assign(const unsigned char* p, unsigned long n);
  // Adds n octets from p at the end; p may point into the present contents.
  void Append(const unsigned char* p, unsigned long n);
  // Sets the size to n, keeping the first min(n, size) octets; the rest is undefined.
  unsigned char* Resize(unsigned long n);
  void Clear();
  // Overwrites the contents with zeros (secrets before release).
  void Wipe();

  const unsigned char* data() const { return heap_ ? heap_ : inline_; }
  unsigned char* data() { return heap_ ? heap_ : inline_; }
  unsigned long size() const { return size_; }
  bool empty() const { return size_ == 0; }
  bool operator==(const obAsnBytes& other) const;
  bool operator!=(const obAsnBytes& other) const { return !(*this == other); }

 private:
  static constexpr unsigned long kInline = 24;
  // Makes room for n octets, keeping the contents; returns the replaced heap
  // block (or null) for the caller to release.
  unsigned char* Grow(unsigned long n);
  void Reserve(unsigned long n);

  unsigned char* heap_ = nullptr;
  unsigned long size_ = 0;
  unsigned long capacity_ = kInline;
  unsigned char inline_[kInline];
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_BYTES_H_
