// Output helpers shared by the name classes: Fprint and Herror are built on
// each class's Sprint, and texts are handed out in caller buffers.
#ifndef NYCERT_NAMES_NAME_OUTPUT_INTERNAL_H_
#define NYCERT_NAMES_NAME_OUTPUT_INTERNAL_H_

#include <cstdio>
#include <string>

class ObStream;

// Indentation: one tab a level, from 0 to 79 levels.
std::string obNameTabs(int indent);
// Writes printed text to f (null: standard output).
void obNamePut(FILE* f, const ObStream& text);
// Sends printed text through the gated diagnostic channel, a message a line.
void obNameHerror(const ObStream& text);
// Copies text and its terminating zero to dst of size octets: 0, or -1
// (reported under owner's name) when dst is null or too small; dst is left
// empty on failure whenever it can hold the zero.
int obNameCopyOut(const char* owner, const std::string& text, char* dst, int size);

class obAsnType;
// The DER of value in a new block of *len octets for the caller to release
// with delete[]: 0, or -1 (reported under owner's name).
int obNameEncode(const char* owner, const obAsnType& value, unsigned char** out, int* len);
// A copy of the n octets at p (DER kept from decoding), handed out likewise.
int obNameHandOut(const char* owner, const unsigned char* p, unsigned long n, unsigned char** out, int* len);

#endif  // NYCERT_NAMES_NAME_OUTPUT_INTERNAL_H_
