// Printing helpers shared by the ASN.1 types.
#ifndef NYCERT_ASN1_RUNTIME_ASN_PRINT_H_
#define NYCERT_ASN1_RUNTIME_ASN_PRINT_H_

#include "nycert/platform/export.h"

class ObStream;

// Indent prefix: two blanks per level, the level clamped to 0..19.
NYCERT_EXPORT const char* obAsnIndent(int level);
// Hex dump: each line the prefix and up to 20 octets "%02x "; at most 1600 octets.
NYCERT_EXPORT void obAsnSprintHex(ObStream* s, const unsigned char* data, unsigned long length, int indent);
// Character dump, 20 a line; octets of 128 or more and control characters print as '.'.
NYCERT_EXPORT void obAsnSprintChars(ObStream* s, const unsigned char* data, unsigned long length, int indent);
// Sends each line of text through the gated diagnostic channel.
NYCERT_EXPORT void obAsnHerrorLines(const char* text);

#endif  // NYCERT_ASN1_RUNTIME_ASN_PRINT_H_
