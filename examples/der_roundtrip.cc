// Decodes a DER (or BER) file into a tree of elements, prints it, re-encodes
// it in DER and reports whether the bytes came back unchanged.
#include <cstdio>
#include <memory>
#include <vector>

#include "nycert/nycert.h"

namespace {

struct Element {
  obAsnTag tag = 0;
  unsigned cls = 0, form = 0, number = 0;
  const unsigned char* content = nullptr;
  unsigned long length = 0;
  std::vector<Element> children;
};

// Splits a packed tag into class, form and number.
void SplitTag(obAsnTag tag, Element& e) {
  e.cls = tag & 0xC0;
  e.form = tag & kAsnConstructed;
  if ((tag & 0x1F) != 0x1F) {
    e.number = tag & 0x1F;
    return;
  }
  e.number = 0;
  for (int i = 1; i <= 3; ++i) {
    unsigned octet = (tag >> (8 * i)) & 0xFF;
    e.number = (e.number << 7) | (octet & 0x7F);
    if (!(octet & 0x80)) break;
  }
}

bool DecodeElements(obAsnReadBuf& b, std::vector<Element>& out);

bool DecodeElement(obAsnReadBuf& b, Element& e) {
  obAsnNestGuard guard(b);
  unsigned long used = 0;
  e.tag = BDecTag(b, used);
  if (e.tag == kAsnBadTag) return false;
  SplitTag(e.tag, e);
  obAsnLen len = BDecLen(b, used);
  if (len == kAsnLenError || !guard.Ok()) return false;
  bool indefinite = len == kAsnIndefiniteLen;
  if (indefinite && (!e.form || (len = asnLen(b, 1)) < 2)) return false;
  e.content = b.Cur();
  e.length = static_cast<unsigned long>(len) - (indefinite ? 2 : 0);
  if (e.form) {
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

// Writes an element back to front: content (or children, last first), length, tag.
int EncodeElement(obAsnWriteBuf& w, const Element& e) {
  long content = 0;
  if (e.form) {
    for (auto it = e.children.rbegin(); it != e.children.rend(); ++it) {
      int n = EncodeElement(w, *it);
      if (n < 0) return -1;
      content += n;
    }
  } else {
    content = w.PutSeg(e.content, e.length);
  }
  if (content < 0) return -1;
  int len = BEncDefLen(w, static_cast<unsigned long>(content));
  int tag = len < 0 ? -1 : BEncTag(w, e.cls, e.form, e.number);
  return tag < 0 ? -1 : static_cast<int>(content) + len + tag;
}

void PrintElement(const Element& e, int level) {
  static const char* kClass[] = {"UNIVERSAL", "APPLICATION", "CONTEXT", "PRIVATE"};
  std::printf("%s[%s %u] %s, %lu octets\n", obAsnIndent(level), kClass[e.cls >> 6], e.number,
              e.form ? "constructed" : "primitive", e.length);
  if (e.form) {
    for (const Element& child : e.children) PrintElement(child, level + 1);
    return;
  }
  ObStream text;
  obAsnSprintHex(&text, e.content, e.length, level + 1);
  std::fputs(text.c_str(), stdout);
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
  long size = 0;
  for (auto it = top.rbegin(); it != top.rend() && size >= 0; ++it) {
    int n = EncodeElement(measure, *it);
    size = n < 0 ? -1 : size + n;
  }
  if (size < 0) return 1;
  nyBinBuf out(static_cast<unsigned>(size));
  obAsnWriteBuf writer(out.Data(), out.Len());
  for (auto it = top.rbegin(); it != top.rend(); ++it) EncodeElement(writer, *it);
  bool same = out == der;
  std::printf("re-encoded in DER: %ld octets, %s\n", size, same ? "identical to the input" : "differs from the input");
  return writer.writeError ? 1 : 0;
}
