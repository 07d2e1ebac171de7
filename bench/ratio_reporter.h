#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace veltrane::bench {

/// Two benchmarks of one run whose medians are compared.
struct Pair {
  std::string what;
  std::string ours;
  std::string baseline;
  /// The ratio that is wanted at most.
  double wanted = 1;
};

/// Prints what the console reporter prints, then a line a pair: ratio first, then both medians.
class RatioReporter final : public benchmark::ConsoleReporter {
 public:
  explicit RatioReporter(std::vector<Pair> pairs) : pairs_(std::move(pairs)) {}
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

 private:
  std::vector<Pair> pairs_;
  std::map<std::string, double> medians_;  // nanoseconds
};

/// Runs all registered benchmarks in random order, many short repetitions each, so that whatever
/// else the machine does hits both sides of a pair. Arguments are Google Benchmark's own.
int runPairs(int argc, char** argv, std::vector<Pair> pairs);

}  // namespace veltrane::bench
