#include "nycert/buffers/filebuf.h"

#include <climits>
#include <cstdio>

#include "nycert/buffers/diag.h"

namespace {

FILE* OpenNamed(const char* func, const obString& fileName, const char* mode) {
  if (fileName.length() == 0) {
    OB_HERROR("%s: No file name", func);
    return nullptr;
  }
  FILE* f = std::fopen(fileName.getstr(), mode);
  if (!f) OB_HERROR("%s: %s %s", func, "Couldn't open file - ", fileName.getstr());
  return f;
}

// Size of an open file, or -1 when it cannot be told or does not fit a buffer length.
long FileSize(FILE* f) {
  if (std::fseek(f, 0, SEEK_END) != 0) return -1;
  long size = std::ftell(f);
  std::rewind(f);
  return size > static_cast<long>(UINT_MAX) ? -1 : size;
}

}  // namespace

int Buf2File(const obString& fileName, nyBinBuf& buf) {
  static const char kFunc[] = "Buf2File";
  FILE* f = OpenNamed(kFunc, fileName, "wb");
  if (!f) return -1;
  size_t written = buf.Len() ? std::fwrite(buf.Data(), 1, buf.Len(), f) : 0;
  bool ok = written == buf.Len();
  if (std::fclose(f) != 0) ok = false;
  if (!ok) {
    OB_HERROR("%s: Failed to write into file- %s ", kFunc, fileName.getstr());
    return -1;
  }
  return 0;
}

int File2Buf(const obString& fileName, nyBinBuf& buf) {
  static const char kFunc[] = "File2Buf";
  FILE* f = OpenNamed(kFunc, fileName, "rb");
  if (!f) return -1;
  long size = FileSize(f);
  if (size <= 0) {
    OB_HERROR("%s: Failed to get file length or file is empty- %s ", kFunc, fileName.getstr());
    std::fclose(f);
    return -1;
  }
  buf.Set(static_cast<unsigned>(size));
  size_t got = std::fread(buf.Data(), 1, buf.Len(), f);
  std::fclose(f);
  if (got != buf.Len()) {
    OB_HERROR("%s: Failed to read file content- %s ", kFunc, fileName.getstr());
    return -1;
  }
  return 0;
}
