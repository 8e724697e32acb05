// The test chains of tests/data/chains: one small openssl-made PKI per
// case, validated at the suite's fixed time, each with the code and index
// its name promises. make_chains.py there makes them and lists them in
// cases.txt.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "nycert/certs/cert.h"
#include "nycert/names/general_names.h"
#include "nycert/names/obdn.h"
#include "nycert/platform/obclock.h"
#include "nycert/crl/crl.h"
#include "nycert/validate/cert_val.h"
#include "support/chain_files.h"
#include "support/crl_cache_sandbox.h"
#include "support/root_ca_maker.h"

namespace {

struct ChainCase {
  std::string name;
  int checks = 0;
  int code = 0;
  int index = 0;
  std::vector<std::string> options;
};

void PrintTo(const ChainCase& c, std::ostream* os) { *os << c.name; }

std::vector<ChainCase> LoadCases() {
  std::vector<ChainCase> cases;
  std::ifstream in(ChainSuiteDir() + "/cases.txt");
  std::string line;
  while (std::getline(in, line)) {
    if (line.empty() || line[0] == '#') continue;
    std::istringstream fields(line);
    ChainCase c;
    fields >> c.name >> c.checks >> c.code >> c.index;
    for (std::string option; fields >> option;) c.options.push_back(option);
    cases.push_back(c);
  }
  return cases;
}

// The permitted names a case's options configure, or null for none.
obGeneralNames* PermittedNames(const ChainCase& c) {
  obGeneralNames* names = nullptr;
  for (const std::string& option : c.options) {
    bool dn = option.rfind("permit=", 0) == 0, dns = option.rfind("permit_dns=", 0) == 0;
    if (!dn && !dns) continue;
    if (!names) names = new obGeneralNames();
    std::string value = option.substr(option.find('=') + 1);
    if (dns)
      names->Add(new obGeneralName(obGN_dNSName, value.c_str(), static_cast<int>(value.size())));
    else if (value != "-")
      names->Add(new obGeneralName(obDN(value.c_str())));
  }
  return names;
}

bool HasOption(const ChainCase& c, const std::string& option) {
  return std::find(c.options.begin(), c.options.end(), option) != c.options.end();
}

class ChainSuite : public testing::TestWithParam<ChainCase> {};

TEST_P(ChainSuite, VerdictAndIndex) {
  const ChainCase& c = GetParam();
  CrlCacheSandbox sandbox;
  ob_time_set_fixed(ChainSuiteTime());
  obCerts chain;
  obCRLs crls;
  ASSERT_GT(LoadPemCerts(ChainCaseDir(c.name) + "/chain.pem", chain), 0);
  LoadPemCrls(ChainCaseDir(c.name) + "/crls.pem", crls);
  std::unique_ptr<obGeneralNames> permitted(PermittedNames(c));
  RootOptions options;
  options.permitted = permitted.get();
  options.ocsp = HasOption(c, "ocsp=1");
  options.ocspServer = HasOption(c, "ocsp_server=1");
  RootPtr root = RootFor(*chain.Get(chain.Top()), options);
  char message[256];
  int index = -7;
  long expiration = 0;
  EXPECT_EQ(c.code, obCert_ValCerts(root.get(), chain, &crls, &expiration, nullptr, ValidateParams(), message,
                                    sizeof message, &index, nullptr, nullptr, c.checks));
  EXPECT_EQ(c.index, index);
}

INSTANTIATE_TEST_SUITE_P(Cases, ChainSuite, testing::ValuesIn(LoadCases()),
                         [](const testing::TestParamInfo<ChainCase>& param) { return param.param.name; });

// Every code the validation stages can give at a fixed time appears among
// the cases' expectations.
TEST(ChainSuiteCoverage, EveryProducibleCodeIsExpectedSomewhere) {
  std::set<int> expected;
  for (const ChainCase& c : LoadCases()) expected.insert(c.code);
  for (int code : {0, -1000, -999, -998, -997, -996, -995, -994, -993, -992, -991, -990, -987, -986, -985, -984,
                   -982, -974})
    EXPECT_EQ(1u, expected.count(code)) << code;
}

}  // namespace
