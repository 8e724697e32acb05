// The committed test chains of tests/data/chains and reading certificates
// from PEM files.
#ifndef NYCERT_TESTS_SUPPORT_CHAIN_FILES_H_
#define NYCERT_TESTS_SUPPORT_CHAIN_FILES_H_

#include <string>

class obCerts;
class obCRLs;

// The folder of the test chains, and the time they are validated at.
std::string ChainSuiteDir();
long ChainSuiteTime();
// The folder of one case's files.
std::string ChainCaseDir(const std::string& name);

// Appends the certificates, or the CRLs, of a PEM file in file order: how
// many were added (0 for a missing file).
int LoadPemCerts(const std::string& path, obCerts& certs);
int LoadPemCrls(const std::string& path, obCRLs& crls);

#endif  // NYCERT_TESTS_SUPPORT_CHAIN_FILES_H_
