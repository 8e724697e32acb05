// Texts shared by the printed forms of certificates and CRLs.
#ifndef NYCERT_CERTS_PRINT_TEXT_INTERNAL_H_
#define NYCERT_CERTS_PRINT_TEXT_INTERNAL_H_

#include <cstdio>
#include <functional>
#include <string>

#include "nycert/asn1/runtime/der_reader.h"
#include "nycert/certs/signed.h"
#include "nycert/names/name_output_internal.h"
#include "nycert/platform/obstream.h"

class ObStream;
class obDN;

// The decimal form of an INTEGER given by its content octets (two's
// complement, any length); "?" when they are empty.
std::string obIntegerText(obDerSpan content);
// Seconds since 1970 as local time, "YYYY-MM-DD HH:MM:SS"; "?" when the
// time cannot be converted.
std::string obLocalTimeText(long seconds);
// "<tabs><label><name>\n" when the name exists and has a string form.
void obSprintNameLine(ObStream* s, const std::string& tabs, const char* label, const obDN* name);

// What sprint appends to a stream, written to f (standard error when null),
// or sent as one message on the gated diagnostic channel.
void obFprintText(FILE* f, const std::function<void(ObStream*)>& sprint);
void obHerrorText(const std::function<void(ObStream*)>& sprint);

// Decodes buf into a T (a certificate or CRL) that lives only for the call of use.
template <class T, class Use>
void obWithDecoded(const unsigned char* buf, int len, Use use) {
  T* obj = new T(buf, len > 0 ? static_cast<unsigned>(len) : 0);
  use(*obj);
  obFreeSigned(obj);
}

// A list of signed objects: "<tabs>[<title>: ]<count> <noun>\n", then every
// occupied slot's own print.
template <class List, class Details>
void obSprintSignedList(ObStream* s, const List& list, const char* title, const char* noun, Details details,
                        int indent) {
  if (!s) return;
  std::string tabs = obNameTabs(indent);
  if (title)
    s->Printf("%s%s: %d %s\n", tabs.c_str(), title, list.Count(), noun);
  else
    s->Printf("%s%d %s\n", tabs.c_str(), list.Count(), noun);
  for (int i = 0; i < list.Size(); ++i) {
    if (auto* obj = list.Get(i)) obj->Sprint(s, details, indent);
  }
}

#endif  // NYCERT_CERTS_PRINT_TEXT_INTERNAL_H_
