#include "support/chain_files.h"

#include <fstream>
#include <vector>

#include "nycert/buffers/pem.h"
#include "nycert/certs/cert.h"
#include "nycert/crl/crl.h"
#include "support/test_support.h"

namespace {

// Calls add with the octets of every PEM block of the file at path.
template <class Add>
int ForEachPemBlock(const std::string& path, Add add) {
  std::ifstream in(path, std::ios::binary);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  unsigned offset = 0;
  obPemBlock block;
  int count = 0;
  while (obPem_Next(text.data(), static_cast<unsigned>(text.size()), offset, block) == 1) {
    add(block.der);
    ++count;
  }
  return count;
}

}  // namespace

std::string ChainSuiteDir() { return std::string(NYCERT_TEST_DATA) + "/chains"; }

long ChainSuiteTime() {
  std::ifstream in(ChainSuiteDir() + "/cases.txt");
  std::string header;
  std::getline(in, header);
  size_t at = header.find("validated at ");
  return at == std::string::npos ? 0 : std::stol(header.substr(at + 13));
}

std::string ChainCaseDir(const std::string& name) { return ChainSuiteDir() + "/" + name; }

int LoadPemCerts(const std::string& path, obCerts& certs) {
  return ForEachPemBlock(path, [&](const nyBinBuf& der) { certs.Add(new obCert(der.Data(), der.Len())); });
}

int LoadPemCrls(const std::string& path, obCRLs& crls) {
  return ForEachPemBlock(path, [&](const nyBinBuf& der) { crls.Add(new obCRL(der.Data(), der.Len())); });
}
