// obExtBytes: the owned encoding of an extension's value. Up to N octets
// live inside the object, so that a typical extension made while a
// certificate is decoded costs a single allocation.
#ifndef NYCERT_CERTS_EXT_BYTES_H_
#define NYCERT_CERTS_EXT_BYTES_H_

#include <cstddef>
#include <cstring>

template <size_t N>
class obExtBytes {
 public:
  obExtBytes() = default;
  obExtBytes(const unsigned char* p, size_t n) { Assign(p, n); }
  obExtBytes(const obExtBytes& other) { Assign(other.data(), other.size()); }
  obExtBytes& operator=(const obExtBytes& other) {
    if (this != &other) Assign(other.data(), other.size());
    return *this;
  }
  ~obExtBytes() { delete[] heap_; }

  // Room for n octets, whose contents are undefined until written.
  unsigned char* Reset(size_t n) {
    delete[] heap_;
    heap_ = n > N ? new unsigned char[n] : nullptr;
    size_ = n;
    return data();
  }
  void Assign(const unsigned char* p, size_t n) {
    unsigned char* out = Reset(n);
    if (n) std::memcpy(out, p, n);
  }
  // Keeps only the first n octets (n at most size()).
  void Truncate(size_t n) { size_ = n; }

  const unsigned char* data() const { return heap_ ? heap_ : inline_; }
  unsigned char* data() { return heap_ ? heap_ : inline_; }
  size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

 private:
  unsigned char* heap_ = nullptr;
  size_t size_ = 0;
  unsigned char inline_[N];
};

#endif  // NYCERT_CERTS_EXT_BYTES_H_
