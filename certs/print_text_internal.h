// Texts shared by the printed forms of certificates and CRLs.
#ifndef NYCERT_CERTS_PRINT_TEXT_INTERNAL_H_
#define NYCERT_CERTS_PRINT_TEXT_INTERNAL_H_

#include <string>

#include "nycert/asn1/runtime/der_reader.h"

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

#endif  // NYCERT_CERTS_PRINT_TEXT_INTERNAL_H_
