// PEM armour: bundles written by the openssl tool in the shapes users keep
// them, malformed blocks with their messages, truncation, encoder output
// beside the tool's, and the cost of hostile input.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "nycert/buffers/pem.h"
#include "support/test_support.h"

namespace {

struct Step {
  int rc;
  std::string label;
  std::string der;
};

std::string Str(const nyBinBuf& b) { return std::string(reinterpret_cast<const char*>(b.Data()), b.Len()); }
std::string Str(const std::vector<unsigned char>& b) { return std::string(b.begin(), b.end()); }

// All steps of a walk over an exact-size heap copy of text, so that reading
// past its end is caught.
std::vector<Step> Walk(const std::string& text) {
  std::vector<char> exact(text.begin(), text.end());
  std::vector<Step> steps;
  obPemBlock block;
  unsigned offset = 0;
  for (int rc; (rc = obPem_Next(exact.data(), static_cast<unsigned>(exact.size()), offset, block)) != 0;)
    steps.push_back({rc, block.label, Str(block.der)});
  return steps;
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) text.replace(at, from.size(), to);
  return text;
}

std::string Encode(const char* label, const std::string& data) {
  obString out;
  int rc = Base64Encode_PEM(label, reinterpret_cast<const unsigned char*>(data.data()),
                            static_cast<unsigned>(data.size()), out);
  return rc == 0 ? std::string(out.getstr(), out.length()) : "failed";
}

// Three certificates and a key made by the tool: DER, the PEM it writes, and
// each certificate's "openssl x509 -text" output (text, then the PEM).
struct ToolBundle {
  TempDir dir;
  std::vector<std::string> der, pem;
  std::string text, keyDer, keyPem;

  ToolBundle() {
    std::string key = CachedKey(0);
    for (const char* name : {"one", "two", "three"}) {
      std::string file = std::string(name) + ".der";
      Openssl(dir.path(), "req -x509 -new -key '" + key + "' -subj /CN=" + name + " -days 1 -outform DER -out " + file);
      der.push_back(Str(ReadBytes(dir.File(file))));
      std::string shown = OpensslOutput(dir.path(), "x509 -inform DER -in " + file + " -text");
      pem.push_back(shown.substr(shown.find("-----BEGIN")));
      text += shown;
    }
    Openssl(dir.path(), "pkcs8 -topk8 -nocrypt -in '" + key + "' -outform DER -out key.der");
    keyDer = Str(ReadBytes(dir.File("key.der")));
    keyPem = Str(ReadBytes(key));
  }
};

const ToolBundle& Tool() {
  static const ToolBundle bundle;
  return bundle;
}

const std::string kGoodCrl = "-----BEGIN X509 CRL-----\nMAA=\n-----END X509 CRL-----\n";

}  // namespace

TEST(PemBundle, ToolBundlesInTheShapesUsersKeep) {
  const ToolBundle& tool = Tool();
  ASSERT_EQ(3u, tool.der.size());
  std::string joined = tool.pem[0] + tool.pem[1] + tool.pem[2];
  const struct {
    const char* name;
    std::string text;
  } kShapes[] = {
      {"x509 -text output", tool.text},
      {"CRLF", Replace(tool.text, "\n", "\r\n")},
      {"CR", Replace(tool.text, "\n", "\r")},
      {"blanks and blank lines", Replace(tool.text, "\n", " \t\n\n \v\f")},
      {"END then BEGIN", Replace(joined, "-----\n-----BEGIN", "----------BEGIN")},
      {"one-line bodies", Replace(Replace(joined, "\n", ""), "CERTIFICATE-----", "CERTIFICATE-----\n")},
  };
  for (const auto& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    std::vector<Step> steps = Walk(shape.text);
    ASSERT_EQ(3u, steps.size());
    for (size_t i = 0; i < 3; ++i) {
      EXPECT_EQ(1, steps[i].rc);
      EXPECT_EQ("CERTIFICATE", steps[i].label);
      EXPECT_EQ(tool.der[i], steps[i].der);
    }
    EXPECT_EQ(1, obPem_IsPem(reinterpret_cast<const unsigned char*>(shape.text.data()), shape.text.size()));
  }
  EXPECT_EQ(0, obPem_IsPem(reinterpret_cast<const unsigned char*>(tool.der[0].data()), tool.der[0].size()));

  // Any order: the first block of the asked label is the one decoded.
  std::string mixed = tool.keyPem + tool.text;
  nyBinBuf out;
  EXPECT_EQ(0, Base64Decode_PEM(mixed.data(), mixed.size(), "CERTIFICATE", out));
  EXPECT_EQ(tool.der[0], Str(out));
  EXPECT_EQ(0, Base64Decode_PEM(mixed.data(), mixed.size(), nullptr, out));
  EXPECT_EQ(tool.keyDer, Str(out));
  EXPECT_EQ(-1, Gated([&] { return Base64Decode_PEM(mixed.data(), mixed.size(), "X509 CRL", out); },
                      "Base64Decode_PEM: no X509 CRL block"));
  EXPECT_TRUE(out.IsEmpty());

  // Our armour is the tool's, byte for byte.
  for (size_t i = 0; i < 3; ++i) EXPECT_EQ(tool.pem[i], Encode("CERTIFICATE", tool.der[i]));
  EXPECT_EQ(tool.keyPem, Encode("PRIVATE KEY", tool.keyDer));

  // A legacy encrypted key carries headers, which are refused, not mis-decoded.
  ASSERT_TRUE(Openssl(tool.dir.path(), "ec -in '" + CachedKey(0) + "' -aes128 -passout pass:x -out enc.pem"));
  std::string enc = Str(ReadBytes(tool.dir.File("enc.pem")));
  EXPECT_EQ(-1, Gated([&] { return Base64Decode_PEM(enc.data(), enc.size(), "EC PRIVATE KEY", out); },
                      "Base64Decode_PEM: EC PRIVATE KEY block with headers (encrypted) is not supported"));
}

TEST(PemBundle, MalformedBlocksAreReportedAndSkipped) {
  auto cert = [](const std::string& body) {
    return "-----BEGIN CERTIFICATE-----\n" + body + "\n-----END CERTIFICATE-----\n";
  };
  const struct {
    std::string text;
    const char* message;
  } kFaults[] = {
      {"-----BEGIN CERTIFICATE-----\nMAA=\n-----END X509 CRL-----\n", "END line does not match BEGIN CERTIFICATE"},
      {"-----BEGIN CERTIFICATE-----\nMAA=\n-----END CERTIFICATE\n", "END line does not match BEGIN CERTIFICATE"},
      {"-----BEGIN CERTIFICATE-----\nMAA=\n", "no END line for CERTIFICATE"},
      {cert("MA-----A="), "no END line for CERTIFICATE"},
      {cert("MA!A"), "invalid base64 in CERTIFICATE block"},
      {cert("MAA=MAA="), "invalid base64 in CERTIFICATE block"},
      {cert("M==="), "invalid base64 in CERTIFICATE block"},
      {cert("MAA"), "invalid base64 in CERTIFICATE block"},
      {cert(" \r\n\t"), "empty CERTIFICATE block"},
      {cert("Proc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n\nMAA="),
       "CERTIFICATE block with headers (encrypted) is not supported"},
      {"-----BEGIN CERT--IFICATE-----\nMAA=\n-----END CERT--IFICATE-----\n", "malformed BEGIN line"},
      {"-----BEGIN CERTIFICATE----- MAA=\n-----END CERTIFICATE-----\n", "malformed BEGIN line"},
      {"-----BEGIN " + std::string(obPem_MaxLabel + 1, 'A') + "-----\nMAA=\n", "malformed BEGIN line"},
  };
  for (const auto& fault : kFaults) {
    SCOPED_TRACE(fault.text);
    const std::string& text = fault.text;
    obPemBlock block;
    unsigned offset = 0;
    EXPECT_EQ(-1, Gated([&] { return obPem_Next(text.data(), text.size(), offset = 0, block); },
                        std::string("obPem_Next: ") + fault.message));
    EXPECT_TRUE(block.der.IsEmpty());
    nyBinBuf out;
    EXPECT_EQ(-1, Gated([&] { return Base64Decode_PEM(text.data(), text.size(), nullptr, out); },
                        std::string("Base64Decode_PEM: ") + fault.message));
    EXPECT_TRUE(out.IsEmpty());
    // The walk goes on to the block behind, which is also found by its label.
    std::vector<Step> steps = Walk(text + kGoodCrl);
    ASSERT_EQ(2u, steps.size());
    EXPECT_EQ(-1, steps[0].rc);
    EXPECT_EQ(1, steps[1].rc);
    EXPECT_EQ("X509 CRL", steps[1].label);
    EXPECT_EQ(0, Base64Decode_PEM((text + kGoodCrl).data(), text.size() + kGoodCrl.size(), "X509 CRL", out));
    EXPECT_EQ("30 00", ToHex(out));
  }
  nyBinBuf out;
  EXPECT_EQ(-1, Gated([&] { return Base64Decode_PEM("no armour", 9, nullptr, out); }, "Base64Decode_PEM: no PEM block"));
  EXPECT_EQ(-1, Base64Decode_PEM(nullptr, 5, nullptr, out));
}

TEST(PemBundle, TruncatedTextIsNeverReadPastItsEnd) {
  ASSERT_FALSE(Tool().pem.empty());
  const std::string& pem = Tool().pem[0];
  size_t complete = pem.rfind("-----") + 5;
  for (size_t len = 0; len <= pem.size(); ++len) {
    std::vector<Step> steps = Walk(pem.substr(0, len));
    int rc = steps.empty() ? 0 : steps[0].rc;
    EXPECT_EQ(len < 11 ? 0 : len < complete ? -1 : 1, rc) << len;
    EXPECT_LE(steps.size(), 1u);
  }
}

TEST(PemBundle, HostileSizesCostLinearTime) {
  auto start = std::chrono::steady_clock::now();
  std::string unended = Repeat("-----BEGIN X-----\n", 200000);
  EXPECT_EQ(200000u, Walk(unended).size());
  nyBinBuf out;
  EXPECT_EQ(-1, Base64Decode_PEM(unended.data(), unended.size(), "Y", out));
  std::string begins = Repeat("-----BEGIN ", 300000);
  EXPECT_EQ(300000u, Walk(begins).size());
  EXPECT_EQ(0, obPem_IsPem(reinterpret_cast<const unsigned char*>(begins.data()), begins.size()));
  std::string big(3u << 20, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 131 + (i >> 12));
  std::string armour = Encode("BIG", big);
  EXPECT_EQ(0, Base64Decode_PEM(armour.data(), armour.size(), "BIG", out));
  EXPECT_EQ(big, Str(out));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

TEST(PemEncode, RoundTripsAcrossLineBoundaries) {
  TempDir dir;
  for (unsigned n = 1; n <= 200; ++n) {
    std::string data(n, '\0');
    for (unsigned i = 0; i < n; ++i) data[i] = static_cast<char>(i * 37 + n);
    std::string armour = Encode("TEST BLOCK", data);
    size_t body = armour.find('\n') + 1, end = armour.find("-----END");
    ASSERT_EQ("-----BEGIN TEST BLOCK-----\n", armour.substr(0, body)) << n;
    EXPECT_EQ("-----END TEST BLOCK-----\n", armour.substr(end)) << n;
    std::string lines = armour.substr(body, end - body);
    for (size_t at = 0; at < lines.size(); at += 65)  // full lines of 64, then the rest
      EXPECT_EQ(lines.size() - at > 65 ? 64u : lines.size() - at - 1, lines.find('\n', at) - at) << n;
    nyBinBuf out;
    EXPECT_EQ(0, Base64Decode_PEM(armour.data(), armour.size(), "TEST BLOCK", out));
    EXPECT_EQ(data, Str(out)) << n;
    if (n % 48 <= 1 || n % 48 == 47 || n < 4 || n == 200) {
      WriteBytes(dir.File("data"), std::vector<unsigned char>(data.begin(), data.end()));
      EXPECT_EQ(OpensslOutput(dir.path(), "base64 -in data"), lines) << n;
    }
  }
  obString out;
  unsigned char byte = 0;
  EXPECT_EQ(-1, Gated([&] { return Base64Encode_PEM("X", &byte, 0, out); }, "Base64Encode_PEM: no data"));
  EXPECT_EQ(-1, Base64Encode_PEM("X", nullptr, 1, out));
}

TEST(PemEncode, LabelsMustReadBack) {
  std::string longest(obPem_MaxLabel, 'L'), tooLong = longest + "L";
  const struct {
    const char* label;
    bool ok;
  } kLabels[] = {{"A", true},      {"X9.42 DH PARAMETERS", true}, {"A-B C", true},   {longest.c_str(), true},
                 {nullptr, false},  {"", false},                   {" A", false},     {"A ", false},
                 {"-A", false},     {"A--B", false},               {"A\tB", false},   {tooLong.c_str(), false}};
  for (const auto& c : kLabels) {
    std::string armour = Encode(c.label, "\x01");
    std::vector<Step> steps = Walk(armour);
    ASSERT_EQ(c.ok ? 1u : 0u, steps.size()) << armour;
    if (c.ok) {
      EXPECT_EQ(c.label, steps[0].label);
      EXPECT_EQ("\x01", steps[0].der);
    }
  }
  obString out;
  unsigned char byte = 1;
  EXPECT_EQ(-1, Gated([&] { return Base64Encode_PEM("A--B", &byte, 1, out); }, "Base64Encode_PEM: invalid label"));
}
