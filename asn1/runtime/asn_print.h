// Printing helpers shared by the ASN.1 types.
#ifndef NYCERT_ASN1_RUNTIME_ASN_PRINT_H_
#define NYCERT_ASN1_RUNTIME_ASN_PRINT_H_

class ObStream;

// Indent prefix: two blanks per level, the level clamped to 0..19.
const char* obAsnIndent(int level);
// Hex dump: each line the prefix and up to 20 octets "%02x "; at most 1600 octets.
void obAsnSprintHex(ObStream* s, const unsigned char* data, unsigned long length, int indent);
// Character dump, 20 a line; octets of 128 or more and control characters print as '.'.
void obAsnSprintChars(ObStream* s, const unsigned char* data, unsigned long length, int indent);
// Sends each line of text through the gated diagnostic channel.
void obAsnHerrorLines(const char* text);

#endif  // NYCERT_ASN1_RUNTIME_ASN_PRINT_H_
