// obAsnListOf<T, number>: SEQUENCE OF T (number 16) or SET OF T (number 17).
//
// The elements are held by value in the order they were decoded or added,
// and encoded in that order: a SET OF is not sorted, so a decoded value
// encodes back to the octets it came from. A generated list type derives
// from it and gives its own TypeName, Clone and Copy.
#ifndef NYCERT_ASN1_RUNTIME_ASN_LIST_H_
#define NYCERT_ASN1_RUNTIME_ASN_LIST_H_

#include <cstddef>
#include <vector>

#include "nycert/asn1/runtime/asn_codec.h"
#include "nycert/asn1/runtime/asn_printer.h"
#include "nycert/asn1/runtime/asn_type.h"

constexpr unsigned kAsnSequenceNumber = 16;
constexpr unsigned kAsnSetNumber = 17;

template <class T, unsigned kNumber>
class obAsnListOf : public obAsnType {
 public:
  int BDec(obAsnReadBuf& b, unsigned long& bytesDecoded) override {
    return obAsnDecTLV(*this, b, bytesDecoded, kTag);
  }
  int BEnc(obAsnWriteBuf& b) const override { return obAsnEncTLV(*this, b, kTag); }
  int Sprint(ObStream* s, int indent) const override {
    obAsnFieldPrinter p(s, indent, TypeName());
    for (const T& item : items) p.Element(item);
    return p.Done();
  }

  // Replaces the elements with those of the content.
  int BDecContent(obAsnReadBuf& b, obAsnTag, obAsnLen len, unsigned long& bytesDecoded) {
    obAsnConsDec d(b, len, bytesDecoded, TypeName());
    if (!d.Ok()) return -1;
    items.clear();
    while (d.More()) {
      if (d.Whole(Append()) < 0) return -1;
    }
    return d.Close(false);
  }
  int BEncContent(obAsnWriteBuf& b) const {
    obAsnConsEnc e(b, TypeName());
    for (auto it = items.rbegin(); it != items.rend(); ++it) e.Whole(*it, "an element");
    return e.Total();
  }

  // Adds a default element at the end and returns it.
  T& Append() {
    items.emplace_back();
    return items.back();
  }
  size_t size() const { return items.size(); }
  bool empty() const { return items.empty(); }
  T& operator[](size_t i) { return items[i]; }
  const T& operator[](size_t i) const { return items[i]; }
  typename std::vector<T>::iterator begin() { return items.begin(); }
  typename std::vector<T>::iterator end() { return items.end(); }
  typename std::vector<T>::const_iterator begin() const { return items.begin(); }
  typename std::vector<T>::const_iterator end() const { return items.end(); }

  std::vector<T> items;

 private:
  static constexpr obAsnTagDef kTag{kAsnUniversal, kNumber, kAsnFormCons};
};

#endif  // NYCERT_ASN1_RUNTIME_ASN_LIST_H_
