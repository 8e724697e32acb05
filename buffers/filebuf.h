// Whole-file reads and writes of a nyBinBuf.
#ifndef NYCERT_BUFFERS_FILEBUF_H_
#define NYCERT_BUFFERS_FILEBUF_H_

#include "nycert/buffers/nybinbuf.h"
#include "nycert/buffers/obstring.h"
#include "nycert/platform/export.h"

// Writes the whole buffer to the file, created or truncated. 0, or -1.
NYCERT_EXPORT int Buf2File(const obString& fileName, nyBinBuf& buf);
// Reads the whole file into buf. An empty file is an error. 0, or -1.
NYCERT_EXPORT int File2Buf(const obString& fileName, nyBinBuf& buf);

#endif  // NYCERT_BUFFERS_FILEBUF_H_
