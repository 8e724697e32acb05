// PEM armour: DER objects as base64 text between "-----BEGIN <label>-----"
// and "-----END <label>-----" lines (RFC 7468).
//
// Reading is lenient in the ways files met in practice need: text before,
// between and after blocks, CRLF or CR line ends, blanks and blank lines
// anywhere in the body, lines of any length, and an END line directly
// followed by the next BEGIN. It is strict where leniency would mis-decode:
// the END label must repeat the BEGIN label, the body must be complete,
// correctly padded base64, and an empty body or a body carrying RFC 1421
// headers (legacy encrypted keys) is refused. Inputs are bounded by their
// length and need no terminating zero; reading costs time linear in the
// input. Base64 itself is OpenSSL's.
#ifndef NYCERT_BUFFERS_PEM_H_
#define NYCERT_BUFFERS_PEM_H_

#include <string>

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/platform/export.h"

// Labels are 1 to 64 printable characters, not starting or ending with a
// blank or hyphen and with no two blanks or hyphens in a row.
constexpr unsigned obPem_MaxLabel = 64;

// out = the block of len bytes of data under label, in 64-column lines each
// ended by "\n", the END line included. 0, or -1 (bad label, no data).
NYCERT_EXPORT int Base64Encode_PEM(const char* label, const unsigned char* data, unsigned len, obString& out);

// out = the contents of the first block of the len bytes of text whose label
// is label (any label when null). 0, or -1 when there is no such block or it
// is malformed; out is then empty.
NYCERT_EXPORT int Base64Decode_PEM(const char* text, unsigned len, const char* label, nyBinBuf& out);

struct NYCERT_EXPORT obPemBlock {
  std::string label;  // empty when the BEGIN line holds no readable label
  nyBinBuf der;
};

// Reads the next block of text at or after offset and moves offset past it.
// 1: block holds it; 0: no more blocks; -1: a malformed block, reported and
// skipped (block.der empty), so calling again goes on with the next one.
NYCERT_EXPORT int obPem_Next(const char* text, unsigned len, unsigned& offset, obPemBlock& block);

// 1 when data holds a BEGIN line ("-----BEGIN <label>-----") somewhere,
// telling PEM text from DER; else 0.
NYCERT_EXPORT int obPem_IsPem(const unsigned char* data, unsigned len);

#endif  // NYCERT_BUFFERS_PEM_H_
