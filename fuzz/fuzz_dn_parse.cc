// Parses arbitrary text as the string form of a distinguished name. A name
// that parses must print; unless a value holds what printing does not
// protect (a backslash, a leading double quote, trailing blanks, an empty
// final value) or octets it prints as escapes for the reader only, its
// printed form must parse back to an equal name. Whatever
// encodes must decode to an equal name with the same string form and DER.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "nycert/names/dn_chars_internal.h"
#include "nycert/names/dn_value_internal.h"
#include "nycert/names/obdn.h"

namespace {

// Whether printing writes the value so that parsing gives it back.
bool PrintsFaithfully(const obASN_DirectoryString& value, bool printedLast) {
  obDNValue v;
  if (obDNValueReduce(value, v) < 0 || v.binary) return false;
  unsigned long n = v.TextLen(), first = 0;
  while (first < n && obDNIsBlank(v.TextAt(first))) ++first;
  for (unsigned long i = 0; i < n; ++i)
    if (v.TextAt(i) == '\\' || obDNIsOddOctet(v.TextAt(i), v.checked)) return false;
  if (first < n && v.TextAt(first) == '"') return false;
  if (n > 0 && v.TextAt(n - 1) == ' ') return false;
  return !(printedLast && n == 0);
}

bool PrintsFaithfully(const obASN_RDNSequence& name) {
  for (size_t r = 0; r < name.size(); ++r) {
    for (size_t a = 0; a < name[r].size(); ++a) {
      bool printedLast = r == 0 && a + 1 == name[r].size();
      if (!PrintsFaithfully(name[r][a].value, printedLast)) return false;
    }
  }
  return true;
}

std::string Der(const obDN& dn) {
  unsigned char* block = nullptr;
  int len = 0;
  if (dn.DerEncode(&block, &len) != 0) return std::string();
  std::unique_ptr<unsigned char[]> owned(block);
  return std::string(reinterpret_cast<char*>(block), static_cast<size_t>(len));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string text(reinterpret_cast<const char*>(data), size);
  obDN dn(text.c_str());
  if (!dn.GetName()) return 0;
  const char* printed = dn.GetStr();
  if (!printed) abort();

  if (PrintsFaithfully(*dn.GetName())) {
    obDN again(printed);
    if (!(again == dn) || again.Count() != dn.Count()) abort();
  }

  std::string der = Der(dn);
  if (der.empty()) return 0;
  obDN decoded(reinterpret_cast<const unsigned char*>(der.data()), static_cast<int>(der.size()));
  if (!(decoded == dn) || !decoded.GetStr() || std::strcmp(decoded.GetStr(), printed) != 0 || Der(decoded) != der)
    abort();
  return 0;
}
