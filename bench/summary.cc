#include "nycert/bench/summary.h"

#include <iomanip>
#include <map>
#include <sstream>

namespace {

using Run = benchmark::BenchmarkReporter::Run;

// A benchmark's single run, or the median of its repetitions.
bool Representative(const Run& run) {
  if (run.error_occurred) return false;
  if (run.run_type == Run::RT_Aggregate) return run.aggregate_name == "median";
  return run.repetitions <= 1;
}

double CounterOr(const Run& run, const char* name, double fallback) {
  auto it = run.counters.find(name);
  return it == run.counters.end() ? fallback : it->second.value;
}

BenchFigures FiguresOf(const Run& run) {
  static const double kNanosPerUnit[] = {1, 1e3, 1e6, 1e9};  // benchmark::TimeUnit order
  BenchFigures f;
  f.name = run.run_name.function_name;
  // Work handed to other threads shows only in wall-clock time.
  bool wallClock = run.run_name.time_type == "real_time";
  f.nanos = (wallClock ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime()) * kNanosPerUnit[run.time_unit];
  f.allocs = CounterOr(run, "allocs", -1);
  f.bytes = CounterOr(run, "bytes", -1);
  return f;
}

// value printed as with %g (style {}), %f or %e at that precision.
std::string Number(double value, std::ios_base::fmtflags style, int precision) {
  std::ostringstream text;
  text.setf(style, std::ios_base::floatfield);
  text << std::setprecision(precision) << value;
  return text.str();
}

// Three significant figures in the unit that keeps the number under 1000.
std::string Time(double nanos) {
  static const char* const kUnits[] = {"ns", "us", "ms", "s"};
  size_t unit = 0;
  while (unit + 1 < sizeof kUnits / sizeof kUnits[0] && nanos >= 999.5) {
    nanos /= 1000;
    ++unit;
  }
  return Number(nanos, {}, 3) + " " + kUnits[unit];
}

// Counts per item: whole from 100 on, three significant figures below, and
// the rare tiny fraction (a few allocations over a whole CRL) in exponent form.
std::string Amount(double value) {
  if (value >= 100) return Number(value, std::ios_base::fixed, 0);
  if (value >= 0.01 || value == 0) return Number(value, {}, 3);
  return Number(value, std::ios_base::scientific, 1);
}

// Whole from 10 on, one decimal down to 0.1, and two significant figures
// below, where nycert is more than ten times slower.
std::string Ratio(double ratio) {
  if (ratio < 0.095) return Number(ratio, {}, 2) + "x";
  return Number(ratio, std::ios_base::fixed, ratio >= 9.95 ? 0 : 1) + "x";
}

std::string Allocations(const BenchFigures* f) {
  if (!f || f->allocs < 0) return "";
  return Amount(f->allocs) + " / " + Amount(f->bytes);
}

// "other / nycert" when both figures are there, else empty.
std::string RatioCell(const BenchFigures* nycert, const BenchFigures* other) {
  return nycert && other ? Ratio(other->nanos / nycert->nanos) : "";
}

std::string TimeCell(const BenchFigures* f) { return f ? Time(f->nanos) : ""; }

// One table row: an operation with its nycert, OpenSSL and mbedTLS
// figures, any of them possibly missing.
struct Row {
  std::string operation;
  const BenchFigures* nycert = nullptr;
  const BenchFigures* openssl = nullptr;
  const BenchFigures* mbedtls = nullptr;
};

// "<op>/nycert", "<op>/openssl" and "<op>/mbedtls" share the row "<op>"; any
// other name has a row of its own, in the nycert column.
std::vector<Row> PairUp(const std::vector<BenchFigures>& figures) {
  std::vector<Row> rows;
  std::map<std::string, size_t> rowOf;
  for (const BenchFigures& f : figures) {
    size_t slash = f.name.rfind('/');
    std::string variant = slash == std::string::npos ? "" : f.name.substr(slash + 1);
    bool paired = variant == "nycert" || variant == "openssl" || variant == "mbedtls";
    std::string operation = paired ? f.name.substr(0, slash) : f.name;
    auto found = rowOf.emplace(operation, rows.size());
    if (found.second) rows.push_back({operation});
    Row& row = rows[found.first->second];
    (variant == "openssl" ? row.openssl : variant == "mbedtls" ? row.mbedtls : row.nycert) = &f;
  }
  return rows;
}

}  // namespace

bool SummaryReporter::ReportContext(const Context& context) { return display_->ReportContext(context); }

void SummaryReporter::ReportRuns(const std::vector<Run>& runs) {
  display_->ReportRuns(runs);
  for (const Run& run : runs)
    if (Representative(run)) figures_.push_back(FiguresOf(run));
}

void SummaryReporter::Finalize() { display_->Finalize(); }

void PrintSummaryTable(std::ostream& out, const std::vector<BenchFigures>& figures) {
  std::vector<Row> rows = PairUp(figures);
  // The mbedTLS columns appear only in runs that measured it.
  bool mbedtls = false;
  for (const Row& row : rows) mbedtls |= row.mbedtls != nullptr;
  out << "| operation | nycert | OpenSSL | OpenSSL / nycert |" << (mbedtls ? " mbedTLS | mbedTLS / nycert |" : "")
      << " nycert allocs / bytes | OpenSSL allocs / bytes |" << (mbedtls ? " mbedTLS allocs / bytes |" : "")
      << "\n|---|--:|--:|--:|" << (mbedtls ? "--:|--:|" : "") << "--:|--:|" << (mbedtls ? "--:|" : "") << "\n";
  for (const Row& row : rows) {
    out << "| " << row.operation << " | " << TimeCell(row.nycert) << " | " << TimeCell(row.openssl) << " | "
        << RatioCell(row.nycert, row.openssl) << " | ";
    if (mbedtls) out << TimeCell(row.mbedtls) << " | " << RatioCell(row.nycert, row.mbedtls) << " | ";
    out << Allocations(row.nycert) << " | " << Allocations(row.openssl) << " |";
    if (mbedtls) out << " " << Allocations(row.mbedtls) << " |";
    out << "\n";
  }
  out << "\nTimes are CPU time per operation; allocations and bytes are per item processed "
         "(per entry for CRLs).\n";
}
