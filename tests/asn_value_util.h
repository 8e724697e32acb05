// Helpers for the tests of the ASN.1 primitive value classes.
#ifndef NYCERT_TESTS_ASN_VALUE_UTIL_H_
#define NYCERT_TESTS_ASN_VALUE_UTIL_H_

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

// The DER of value as hex, or "error".
inline std::string EncodeHex(const obAsnType& value) {
  nyBinBuf out;
  if (obAsnEncode(value, out) != 0) return "error";
  return ToHex(out);
}

// Decodes value from exactly the octets of hex: 0, or -1.
inline int DecodeHex(obAsnType& value, const std::string& hex) {
  std::vector<unsigned char> der = Hex(hex);
  return obAsnDecode(value, der.data(), der.size());
}

// Whether a measuring pass counts what a real pass writes.
inline bool MeasureMatchesWrite(const obAsnType& value) {
  obAsnWriteBuf measure(nullptr, 0);
  int counted = value.BEnc(measure);
  std::vector<unsigned char> block(counted > 0 ? static_cast<size_t>(counted) : 1);
  obAsnWriteBuf writer(block.data(), block.size());
  int written = value.BEnc(writer);
  return counted > 0 && counted == written && writer.Written() == static_cast<unsigned long>(written) &&
         writer.Data() == block.data();
}

// BEnc into a block of exactly room octets.
inline int EncodeIntoRoom(const obAsnType& value, size_t room) {
  std::vector<unsigned char> block(room + 1);
  obAsnWriteBuf writer(block.data() + 1, room);
  return value.BEnc(writer);
}

inline std::string SprintText(const obAsnType& value, int indent) {
  ObStream s;
  value.Sprint(&s, indent);
  return s.str();
}

// The DER that `openssl asn1parse -genstr` makes of genstr ("OID:2.5.29.15"),
// as hex; empty when the tool is not available.
inline std::string OpensslGenstr(const std::string& genstr) {
  const char* tool = std::getenv("NYCERT_OPENSSL");
  TempDir dir;
  std::string out = dir.File("genstr.der");
  std::string command = std::string(tool && *tool ? tool : "openssl") + " asn1parse -noout -genstr '" + genstr +
                        "' -out '" + out + "' 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");
  if (!pipe) return "";
  char sink[256];
  while (std::fgets(sink, sizeof sink, pipe)) {
  }
  if (pclose(pipe) != 0) return "";
  std::ifstream in(out, std::ios::binary);
  std::vector<unsigned char> der((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return ToHex(der.data(), der.size());
}

#endif  // NYCERT_TESTS_ASN_VALUE_UTIL_H_
