// The benchmark program: runs the benchmarks with the usual console output,
// then names the machine and prints the nycert / OpenSSL summary table.
#include <openssl/crypto.h>

#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include "nycert/bench/summary.h"

namespace {

std::string CpuModel() {
  std::ifstream cpuinfo("/proc/cpuinfo");
  std::string line;
  while (std::getline(cpuinfo, line)) {
    if (line.compare(0, 10, "model name") != 0) continue;
    size_t value = line.find_first_not_of(" \t", line.find(':') + 1);
    if (value != std::string::npos) return line.substr(value);
  }
  return "unknown CPU";
}

const char* Compiler() {
#if defined(__clang__)
  return "clang " __clang_version__;
#elif defined(__GNUC__)
  return "GCC " __VERSION__;
#else
  return "unknown compiler";
#endif
}

std::string MachineLine() {
  return CpuModel() + ", " + std::to_string(std::thread::hardware_concurrency()) + " cores, " +
         OpenSSL_version(OPENSSL_VERSION) + ", " + Compiler();
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  SummaryReporter reporter(benchmark::CreateDefaultDisplayReporter());
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  if (reporter.Figures().empty()) return 0;
  std::cout << '\n' << MachineLine() << "\n\n";
  PrintSummaryTable(std::cout, reporter.Figures());
  return 0;
}
