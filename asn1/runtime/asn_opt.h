// obAsnOpt<T>: the owner of an OPTIONAL or DEFAULT component, or of one
// alternative of a CHOICE. Null means absent. Unlike std::unique_ptr it copies:
// a copy holds a deep copy of the value (made by the value's own Copy), so
// the generated types get their copy and move operations for free.
#ifndef NYCERT_ASN1_RUNTIME_ASN_OPT_H_
#define NYCERT_ASN1_RUNTIME_ASN_OPT_H_

#include <memory>

template <class T>
class obAsnOpt {
 public:
  obAsnOpt() = default;
  // Takes over value (null: absent).
  explicit obAsnOpt(T* value) : p_(value) {}
  obAsnOpt(const obAsnOpt& other) : p_(Dup(other.get())) {}
  obAsnOpt(obAsnOpt&& other) noexcept = default;
  obAsnOpt& operator=(const obAsnOpt& other) {
    if (this != &other) p_.reset(Dup(other.get()));
    return *this;
  }
  obAsnOpt& operator=(obAsnOpt&& other) noexcept = default;
  ~obAsnOpt() = default;

  T* get() const { return p_.get(); }
  T& operator*() const { return *p_; }
  T* operator->() const { return p_.get(); }
  explicit operator bool() const { return p_ != nullptr; }

  // Takes over value (null: makes the component absent).
  void reset(T* value = nullptr) { p_.reset(value); }
  T* release() { return p_.release(); }
  // Makes a new default value present, dropping the old one, and returns it.
  T& emplace() {
    p_.reset(new T);
    return *p_;
  }

 private:
  static T* Dup(const T* value) { return value ? static_cast<T*>(value->Copy()) : nullptr; }

  std::unique_ptr<T> p_;
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_OPT_H_
