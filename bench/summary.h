// The summary of a benchmark run: a reporter that passes every run on to the
// normal display and keeps the figures, and a GitHub markdown table that sets
// each "<group>/<operation>/nycert" figure beside its
// "<group>/<operation>/openssl" and "<group>/<operation>/mbedtls" counterparts.
#ifndef NYCERT_BENCH_SUMMARY_H_
#define NYCERT_BENCH_SUMMARY_H_

#include <benchmark/benchmark.h>

#include <ostream>
#include <string>
#include <vector>

// One benchmark's figures: CPU time per iteration in nanoseconds (wall-clock
// time for benchmarks measured in real time), and the allocation counters
// per item (negative when not counted).
struct BenchFigures {
  std::string name;
  double nanos = 0;
  double allocs = -1;
  double bytes = -1;
};

class SummaryReporter : public benchmark::BenchmarkReporter {
 public:
  explicit SummaryReporter(benchmark::BenchmarkReporter* display) : display_(display) {}

  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

  // The single run of each benchmark, or with repetitions its median.
  const std::vector<BenchFigures>& Figures() const { return figures_; }

 private:
  benchmark::BenchmarkReporter* display_;
  std::vector<BenchFigures> figures_;
};

void PrintSummaryTable(std::ostream& out, const std::vector<BenchFigures>& figures);

#endif  // NYCERT_BENCH_SUMMARY_H_
