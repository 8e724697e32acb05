// Distinguished names on a typical five-RDN subject: decoding from DER,
// building from text, printing and comparing, each beside OpenSSL's nearest
// equivalent (OpenSSL has no string-form parser, so building a name entry by
// entry stands in for parsing). Decoding is shown twice: the construction a
// certificate pays for (a check of the DER, the tree left for later), and
// that construction followed by building the tree.
#include <benchmark/benchmark.h>
#include <openssl/bio.h>
#include <openssl/x509.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "nycert/bench/alloc_count.h"
#include "nycert/names/obdn.h"

namespace {

const char kText[] = "CN=www.example.com,OU=Engineering,O=Example Inc,L=San Francisco,C=US";
// The same name's entries, root first, as OpenSSL adds them.
const std::vector<std::pair<const char*, const char*>> kEntries = {
    {"C", "US"}, {"L", "San Francisco"}, {"O", "Example Inc"}, {"OU", "Engineering"}, {"CN", "www.example.com"}};

std::vector<unsigned char> NameDer() {
  unsigned char* block = nullptr;
  int len = 0;
  obDN(kText).DerEncode(&block, &len);
  std::unique_ptr<unsigned char[]> owned(block);
  return std::vector<unsigned char>(block, block + len);
}

const std::vector<unsigned char>& Der() {
  static const std::vector<unsigned char> der = NameDer();
  return der;
}

X509_NAME* OpensslName() {
  const unsigned char* p = Der().data();
  return d2i_X509_NAME(nullptr, &p, static_cast<long>(Der().size()));
}

void BM_DecodeNycert(benchmark::State& state) {
  CountedLoop(state, 1, [] {
    obDN dn(Der().data(), static_cast<int>(Der().size()));
    benchmark::DoNotOptimize(dn.Count());
  });
}

void BM_DecodeTreeNycert(benchmark::State& state) {
  for (auto _ : state) {
    obDN dn(Der().data(), static_cast<int>(Der().size()));
    benchmark::DoNotOptimize(dn.GetName());
  }
}

void BM_DecodeOpenssl(benchmark::State& state) {
  CountedLoop(state, 1, [] {
    X509_NAME* name = OpensslName();
    benchmark::DoNotOptimize(name);
    X509_NAME_free(name);
  });
}

void BM_ParseNycert(benchmark::State& state) {
  for (auto _ : state) {
    obDN dn(kText);
    benchmark::DoNotOptimize(dn.GetName());
  }
}

void BM_ParseOpenssl(benchmark::State& state) {
  for (auto _ : state) {
    X509_NAME* name = X509_NAME_new();
    for (const auto& entry : kEntries)
      X509_NAME_add_entry_by_txt(name, entry.first, MBSTRING_ASC,
                                 reinterpret_cast<const unsigned char*>(entry.second), -1, -1, 0);
    benchmark::DoNotOptimize(name);
    X509_NAME_free(name);
  }
}

// GetStr on names that have their tree but have not printed yet: a batch of
// fresh copies, each with its tree built, is made outside the timing and used
// up one per iteration.
void BM_PrintNycert(benchmark::State& state) {
  const obDN decoded(Der().data(), static_cast<int>(Der().size()));
  constexpr size_t kBatch = 1000;
  std::vector<obDN> fresh;
  size_t next = kBatch;
  for (auto _ : state) {
    if (next == kBatch) {
      state.PauseTiming();
      fresh.assign(kBatch, decoded);
      for (const obDN& dn : fresh) benchmark::DoNotOptimize(dn.GetName());
      next = 0;
      state.ResumeTiming();
    }
    benchmark::DoNotOptimize(fresh[next++].GetStr());
  }
}

void BM_PrintOpenssl(benchmark::State& state) {
  X509_NAME* name = OpensslName();
  BIO* out = BIO_new(BIO_s_mem());
  for (auto _ : state) {
    X509_NAME_print_ex(out, name, 0, XN_FLAG_RFC2253);
    benchmark::DoNotOptimize(out);
    BIO_reset(out);
  }
  BIO_free(out);
  X509_NAME_free(name);
}

void BM_CompareNycert(benchmark::State& state) {
  const obDN a(Der().data(), static_cast<int>(Der().size())), b(Der().data(), static_cast<int>(Der().size()));
  for (auto _ : state) benchmark::DoNotOptimize(a.Equal(b));
}

void BM_CompareOpenssl(benchmark::State& state) {
  X509_NAME* a = OpensslName();
  X509_NAME* b = OpensslName();
  for (auto _ : state) benchmark::DoNotOptimize(X509_NAME_cmp(a, b));
  X509_NAME_free(a);
  X509_NAME_free(b);
}

const bool kRegistered = [] {
  using benchmark::RegisterBenchmark;
  RegisterBenchmark("dn/decode/nycert", BM_DecodeNycert);
  RegisterBenchmark("dn/decode_tree/nycert", BM_DecodeTreeNycert);
  RegisterBenchmark("dn/decode/openssl", BM_DecodeOpenssl);
  RegisterBenchmark("dn/parse/nycert", BM_ParseNycert);
  RegisterBenchmark("dn/parse/openssl", BM_ParseOpenssl);
  RegisterBenchmark("dn/print/nycert", BM_PrintNycert);
  RegisterBenchmark("dn/print/openssl", BM_PrintOpenssl);
  RegisterBenchmark("dn/compare/nycert", BM_CompareNycert);
  RegisterBenchmark("dn/compare/openssl", BM_CompareOpenssl);
  return true;
}();

}  // namespace
