// Helpers for the tests of the ASN.1 runtime and its value classes.
#ifndef NYCERT_TESTS_ASN_VALUE_UTIL_H_
#define NYCERT_TESTS_ASN_VALUE_UTIL_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/platform/obstream.h"
#include "support/test_support.h"

// The DER of value as hex, or "error".
inline std::string EncodeHex(const obAsnType& value) {
  nyBinBuf out;
  if (obAsnEncode(value, out) != 0) return "error";
  return ToHex(out);
}

// The DER of content (under 128 octets) under a one-octet tag, as hex.
inline std::string TlvHex(unsigned tag, const std::vector<unsigned char>& content) {
  std::vector<unsigned char> der = {static_cast<unsigned char>(tag), static_cast<unsigned char>(content.size())};
  der.insert(der.end(), content.begin(), content.end());
  return ToHex(der.data(), der.size());
}

// Decodes value from a copy of input in a block of its exact size, so that the
// sanitizer build sees any read past the end: 0, or -1.
inline int DecodeExact(obAsnType& value, const std::vector<unsigned char>& input) {
  std::unique_ptr<unsigned char[]> exact(new unsigned char[input.empty() ? 1 : input.size()]);
  std::copy(input.begin(), input.end(), exact.get());
  return obAsnDecode(value, exact.get(), input.size());
}

// BDecContent of value over the octets of hex under tag, claiming length len:
// its result, after checking that a failure counted no octets.
template <typename T>
int DecodeContentHex(T& value, obAsnTag tag, obAsnLen len, const std::string& hex) {
  std::vector<unsigned char> content = Hex(hex);
  obAsnReadBuf b(content.data(), content.size());
  unsigned long used = 0;
  int result = value.BDecContent(b, tag, len, used);
  EXPECT_TRUE(result == 1 ? used == content.size() : used == 0) << hex;
  return result;
}

// Decodes value from exactly the octets of hex: 0, or -1.
inline int DecodeHex(obAsnType& value, const std::string& hex) { return DecodeExact(value, Hex(hex)); }

// One encoding pass of anything that writes to a buffer.
using AsnEncoder = std::function<int(obAsnWriteBuf&)>;
constexpr size_t kMeasuring = static_cast<size_t>(-1);

// Runs encode into a block of exactly room octets (a null block for
// kMeasuring); *written gets the octets it wrote as hex.
inline int EncodeInto(size_t room, const AsnEncoder& encode, std::string* written = nullptr,
                      int* write_error = nullptr) {
  bool measuring = room == kMeasuring;
  std::vector<unsigned char> block(measuring ? 0 : room + 1);  // +1: a non-null block even for room 0
  obAsnWriteBuf w(measuring ? nullptr : block.data(), measuring ? 0 : room);
  int n = encode(w);
  if (written) *written = measuring ? "" : ToHex(w.Data(), static_cast<size_t>(w.end - w.cur));
  if (write_error) *write_error = w.writeError;
  return n;
}

inline int EncodeIntoRoom(const obAsnType& value, size_t room) {
  return EncodeInto(room, [&](obAsnWriteBuf& w) { return value.BEnc(w); });
}

// Whether a measuring pass counts what a real pass writes, filling a block of
// that size exactly.
inline bool MeasureMatchesWrite(const AsnEncoder& encode) {
  int counted = EncodeInto(kMeasuring, encode);
  std::string written;
  return counted > 0 && EncodeInto(static_cast<size_t>(counted), encode, &written) == counted &&
         Hex(written).size() == static_cast<size_t>(counted);
}

inline bool MeasureMatchesWrite(const obAsnType& value) {
  return MeasureMatchesWrite([&](obAsnWriteBuf& w) { return value.BEnc(w); });
}

inline std::string SprintText(const obAsnType& value, int indent) {
  ObStream s;
  value.Sprint(&s, indent);
  return s.str();
}

// An input and what it encodes back as (null: itself).
struct AsnRecode {
  const char* der;
  const char* reencoded = nullptr;
};

// Each input decodes into a fresh T that encodes back as given and measures as it writes.
template <typename T>
void ExpectRecodes(std::initializer_list<AsnRecode> cases) {
  for (const AsnRecode& c : cases) {
    SCOPED_TRACE(c.der);
    T value;
    ASSERT_EQ(DecodeHex(value, c.der), 0);
    EXPECT_EQ(EncodeHex(value), c.reencoded ? c.reencoded : c.der);
    EXPECT_TRUE(MeasureMatchesWrite(value));
  }
}

// A failing input and the line it must report.
struct AsnFailure {
  const char* hex;
  const char* message;
};

// Each input fails to decode into a fresh T, reporting its message (when one
// is given), with the same result and no lines when the gate is shut.
template <typename T>
void ExpectDecodeFailures(std::initializer_list<AsnFailure> cases) {
  for (const AsnFailure& c : cases) {
    SCOPED_TRACE(c.hex);
    T value;
    EXPECT_EQ(Gated([&] { return DecodeHex(value, c.hex); }, c.message), -1);
  }
}

// Encoding value into every block too small for it fails, silently with the
// gate shut; each (room, message) pair names a line that room must report.
inline void ExpectEncodeFailures(const obAsnType& value,
                                 std::initializer_list<std::pair<size_t, const char*>> messages) {
  int size = EncodeInto(kMeasuring, [&](obAsnWriteBuf& w) { return value.BEnc(w); });
  ASSERT_GT(size, 0);
  for (size_t room = 0; room < static_cast<size_t>(size); ++room) {
    EXPECT_EQ(Gated([&] { return EncodeIntoRoom(value, room); }), -1) << "room " << room;
  }
  for (const auto& m : messages) {
    EXPECT_EQ(Gated([&] { return EncodeIntoRoom(value, m.first); }, m.second), -1) << "room " << m.first;
  }
}

// Hostile input for T: every proper prefix of valid fails, and random octets
// (every other round starting with tag and a fitting length) either fail or
// give a value that measures as it writes and decodes again from its own DER.
// Strings keep decoded content that fails their check and refuse to write it.
template <typename T>
bool Writable(const T& value) {
  if constexpr (std::is_base_of<obAsnString, T>::value) return value.Check() != 0;
  return true;
}

template <typename T>
void ExpectHostileInputHandled(unsigned char tag, const std::string& valid, unsigned seed) {
  DiagCapture diag(false);
  std::vector<unsigned char> der = Hex(valid);
  for (size_t cut = 0; cut < der.size(); ++cut) {
    T value;
    EXPECT_EQ(DecodeExact(value, std::vector<unsigned char>(der.begin(), der.begin() + cut)), -1) << "cut " << cut;
  }
  std::mt19937 rng(LoggedSeed(seed));
  for (int round = 0; round < 3000; ++round) {
    std::vector<unsigned char> input(rng() % 24);
    for (unsigned char& octet : input) octet = static_cast<unsigned char>(rng());
    if (round % 2 && input.size() >= 2) {
      input[0] = tag;
      input[1] = static_cast<unsigned char>(input.size() - 2);
    }
    T value;
    if (DecodeExact(value, input) != 0) continue;
    SCOPED_TRACE(ToHex(input.data(), input.size()));
    if (!Writable(value)) continue;
    EXPECT_TRUE(MeasureMatchesWrite(value));
    T again;
    ASSERT_EQ(DecodeHex(again, EncodeHex(value)), 0);
    EXPECT_EQ(EncodeHex(again), EncodeHex(value));
  }
  EXPECT_TRUE(diag.Lines().empty());
}

// The DER that `openssl asn1parse -genstr` makes of genstr ("OID:2.5.29.15"),
// as hex; empty when the tool is not available.
inline std::string OpensslGenstr(const std::string& genstr) {
  const char* tool = std::getenv("NYCERT_OPENSSL");
  TempDir dir;
  std::string out = dir.File("genstr.der");
  std::string command = std::string(tool && *tool ? tool : "openssl") + " asn1parse -noout -genstr '" + genstr +
                        "' -out '" + out + "' 2>/dev/null";
  FILE* pipe = popen(command.c_str(), "r");  // -noout: it prints nothing
  if (!pipe || pclose(pipe) != 0) return "";
  std::ifstream in(out, std::ios::binary);
  std::vector<unsigned char> der((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  return ToHex(der.data(), der.size());
}

inline bool HaveOpenssl() {
  static const bool have = !OpensslGenstr("NULL").empty();
  return have;
}

// openssl as a peer: native encodes as the peer's DER of genstr, and that DER
// decodes into a fresh value of the same class and encodes back. ours, when
// given, is where this library deliberately differs.
inline void ExpectSameAsPeer(const std::string& genstr, const obAsnType& native, const char* ours = nullptr) {
  SCOPED_TRACE(genstr);
  std::string peer = OpensslGenstr(genstr);
  ASSERT_FALSE(peer.empty());
  std::string expected = ours ? ours : peer;
  EXPECT_EQ(EncodeHex(native), expected);
  std::unique_ptr<obAsnType> decoded(native.Clone());
  ASSERT_EQ(DecodeHex(*decoded, peer), 0);
  EXPECT_EQ(EncodeHex(*decoded), expected);
}

#endif  // NYCERT_TESTS_ASN_VALUE_UTIL_H_
