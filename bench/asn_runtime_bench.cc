// Decoding and encoding of primitive values, beside OpenSSL's d2i/i2d for the same octets.
#include <benchmark/benchmark.h>
#include <openssl/asn1.h>
#include <openssl/objects.h>

#include <vector>

#include "nycert/asn1/runtime/asn_bufset.h"
#include "nycert/asn1/runtime/asn_int.h"
#include "nycert/asn1/runtime/asn_oid.h"
#include "nycert/asn1/runtime/asn_string.h"
#include "nycert/asn1/runtime/asn_time.h"

namespace {

const std::vector<unsigned char> kSmallInt = {0x02, 0x02, 0x01, 0x00};
const std::vector<unsigned char> kSerial = {0x02, 0x10, 0x4A, 0x3B, 0x2C, 0x1D, 0x0E, 0xFF, 0xA1, 0xB2,
                                            0xC3, 0xD4, 0xE5, 0xF6, 0x07, 0x18, 0x29, 0x3A};
// sha256WithRSAEncryption
const std::vector<unsigned char> kOid = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x01, 0x0B};
const std::vector<unsigned char> kUtf8 = {0x0C, 0x10, 'w', 'w', 'w', '.', 'e', 'x', 'a', 'm',
                                          'p',  'l',  'e', '.', 'c', 'o', 'm', '!'};
const std::vector<unsigned char> kUtcTime = {0x17, 0x0D, '2', '6', '1', '1', '2', '1',
                                             '0', '8', '1', '5', '0', '0', 'Z'};

template <class T>
void BM_NycertDecode(benchmark::State& state, const std::vector<unsigned char>& der) {
  for (auto _ : state) {
    T value;
    int rc = obAsnDecode(value, der.data(), der.size());
    benchmark::DoNotOptimize(rc);
  }
}

template <class T>
void BM_NycertEncode(benchmark::State& state, const std::vector<unsigned char>& der) {
  T value;
  obAsnDecode(value, der.data(), der.size());
  std::vector<unsigned char> out(der.size());
  for (auto _ : state) {
    obAsnWriteBuf w(out.data(), out.size());
    int n = value.BEnc(w);
    benchmark::DoNotOptimize(n);
  }
}

template <class T, T* (*D2i)(T**, const unsigned char**, long), void (*Free)(T*)>
void BM_OpenSslDecode(benchmark::State& state, const std::vector<unsigned char>& der) {
  for (auto _ : state) {
    const unsigned char* p = der.data();
    T* value = D2i(nullptr, &p, static_cast<long>(der.size()));
    benchmark::DoNotOptimize(value);
    Free(value);
  }
}

ASN1_UTF8STRING* D2iUtf8(ASN1_UTF8STRING** out, const unsigned char** p, long n) {
  return d2i_ASN1_UTF8STRING(out, p, n);
}

// Each value is decoded by nycert and by OpenSSL under neighbouring names.
const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("decode/int_small/nycert", BM_NycertDecode<obAsnInt>, kSmallInt);
  RegisterBenchmark("decode/int_small/openssl",
                    BM_OpenSslDecode<ASN1_INTEGER, d2i_ASN1_INTEGER, ASN1_INTEGER_free>, kSmallInt);
  RegisterBenchmark("decode/int_serial16/nycert", BM_NycertDecode<obAsnInt>, kSerial);
  RegisterBenchmark("decode/int_serial16/openssl",
                    BM_OpenSslDecode<ASN1_INTEGER, d2i_ASN1_INTEGER, ASN1_INTEGER_free>, kSerial);
  RegisterBenchmark("decode/oid/nycert", BM_NycertDecode<obAsnOid>, kOid);
  RegisterBenchmark("decode/oid/openssl", BM_OpenSslDecode<ASN1_OBJECT, d2i_ASN1_OBJECT, ASN1_OBJECT_free>, kOid);
  RegisterBenchmark("decode/utf8/nycert", BM_NycertDecode<obAsnUTF8String>, kUtf8);
  RegisterBenchmark("decode/utf8/openssl", BM_OpenSslDecode<ASN1_UTF8STRING, D2iUtf8, ASN1_UTF8STRING_free>,
                    kUtf8);
  RegisterBenchmark("decode/utctime/nycert", BM_NycertDecode<obAsnUTCTime>, kUtcTime);
  RegisterBenchmark("decode/utctime/openssl",
                    BM_OpenSslDecode<ASN1_UTCTIME, d2i_ASN1_UTCTIME, ASN1_UTCTIME_free>, kUtcTime);
  RegisterBenchmark("encode/int_serial16/nycert", BM_NycertEncode<obAsnInt>, kSerial);
  RegisterBenchmark("encode/oid/nycert", BM_NycertEncode<obAsnOid>, kOid);
  return true;
}();

}  // namespace
