// Decodes a DER (or BER) file into a tree of elements, printing universal
// values through the runtime's own classes, then re-encodes the tree in DER
// and reports whether the octets came back unchanged.
#include <cstdio>
#include <memory>
#include <vector>

#include "nycert/nycert.h"

namespace {

struct Element {
  obAsnTag tag = 0;
  std::unique_ptr<obAsnType> value;        // a decoded universal primitive
  const unsigned char* content = nullptr;  // other primitives, kept as they are
  unsigned long length = 0;
  std::vector<Element> children;
};

bool DecodeElements(obAsnReadBuf& b, std::vector<Element>& out);

// A universal value with a runtime class decodes through it; anything else is
// split into header and content, constructed contents recursively.
bool DecodeElement(obAsnReadBuf& b, Element& e) {
  obAsnNestGuard guard(b);
  const unsigned char* start = b.cur;
  unsigned long used = 0;
  e.tag = BDecTag(b, used);
  if (e.tag == kAsnBadTag || !guard.Ok()) return false;
  if (obAsnTagClass(e.tag) == kAsnUniversal && !obAsnTagIsConstructed(e.tag)) {
    e.value.reset(obAsnNewUniversal(obAsnTagNumber(e.tag)));
    if (e.value) {
      b.cur = start;
      return e.value->BDec(b, used) > 0;
    }
  }
  obAsnLen len = BDecLen(b, used);
  if (len == kAsnLenError) return false;
  bool indefinite = len == kAsnIndefiniteLen;
  if (indefinite && (!obAsnTagIsConstructed(e.tag) || (len = asnLen(b, 1)) < 2)) return false;
  e.content = b.Cur();
  e.length = static_cast<unsigned long>(len) - (indefinite ? 2 : 0);
  if (obAsnTagIsConstructed(e.tag)) {
    obAsnReadBuf inner(e.content, e.length);
    inner.depth = b.depth;
    if (!DecodeElements(inner, e.children)) return false;
  }
  b.Skip(static_cast<unsigned long>(len));
  return true;
}

bool DecodeElements(obAsnReadBuf& b, std::vector<Element>& out) {
  while (b.Remaining() > 0) {
    out.emplace_back();
    if (!DecodeElement(b, out.back())) return false;
  }
  return true;
}

// Writes an element back to front: content (children last first), length, tag.
int EncodeElement(obAsnWriteBuf& w, const Element& e) {
  if (e.value) return e.value->BEnc(w);
  long content = 0;
  for (auto it = e.children.rbegin(); it != e.children.rend() && content >= 0; ++it) {
    int n = EncodeElement(w, *it);
    content = n < 0 ? -1 : content + n;
  }
  if (!obAsnTagIsConstructed(e.tag)) content = w.PutSeg(e.content, e.length);
  if (content < 0) return -1;
  int len = BEncDefLen(w, static_cast<unsigned long>(content));
  int tag = len < 0 ? -1 : BEncTag(w, obAsnTagClass(e.tag), e.tag & kAsnConstructed, obAsnTagNumber(e.tag));
  return tag < 0 ? -1 : static_cast<int>(content) + len + tag;
}

int EncodeAll(obAsnWriteBuf& w, const std::vector<Element>& top) {
  int total = 0;
  for (auto it = top.rbegin(); it != top.rend() && total >= 0; ++it) {
    int n = EncodeElement(w, *it);
    total = n < 0 ? -1 : total + n;
  }
  return total;
}

void PrintElement(const Element& e, int level) {
  static const char* kClass[] = {"UNIVERSAL", "APPLICATION", "CONTEXT", "PRIVATE"};
  if (e.value) {
    std::printf("%s%s\n", obAsnIndent(level), e.value->TypeName());
    e.value->Print(stdout, level + 1);
    return;
  }
  std::printf("%s[%s %u] %s\n", obAsnIndent(level), kClass[obAsnTagClass(e.tag) >> 6], obAsnTagNumber(e.tag),
              obAsnTagIsConstructed(e.tag) ? "constructed" : "primitive");
  for (const Element& child : e.children) PrintElement(child, level + 1);
  if (!obAsnTagIsConstructed(e.tag)) {
    ObStream text;
    obAsnSprintHex(&text, e.content, e.length, level + 1);
    std::fputs(text.c_str(), stdout);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s FILE.der\n", argv[0]);
    return 2;
  }
  nyBinBuf der;
  if (File2Buf(obString(argv[1]), der) != 0) {
    std::fprintf(stderr, "%s: cannot read the file\n", argv[1]);
    return 1;
  }
  std::vector<Element> top;
  obAsnReadBuf in(der.Data(), der.Len());
  if (!DecodeElements(in, top)) {
    std::fprintf(stderr, "%s: not a valid BER encoding (at offset %d)\n", argv[1], in.Offset());
    return 1;
  }
  std::printf("== %s: %u octets\n", argv[1], der.Len());
  for (const Element& e : top) PrintElement(e, 0);

  obAsnWriteBuf measure(nullptr, 0);
  int size = EncodeAll(measure, top);
  if (size < 0) {
    std::fprintf(stderr, "%s: cannot be written in DER\n", argv[1]);
    return 1;
  }
  nyBinBuf out(static_cast<unsigned>(size));
  obAsnWriteBuf writer(out.Data(), out.Len());
  if (EncodeAll(writer, top) != size) return 1;
  std::printf("re-encoded in DER: %d octets, %s\n", size, out == der ? "identical to the input" : "differs from the input");
  return 0;
}
