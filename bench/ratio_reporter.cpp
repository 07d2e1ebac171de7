#include "bench/ratio_reporter.h"

#include <thread>

namespace veltrane::bench {

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    if (run.run_type != Run::RT_Aggregate || run.aggregate_name != "median") continue;
    const double toNanoseconds = 1e9 / benchmark::GetTimeUnitMultiplier(run.time_unit);
    medians_[run.run_name.function_name] = run.GetAdjustedRealTime() * toNanoseconds;
  }
}

void RatioReporter::Finalize() {
  ConsoleReporter::Finalize();
  auto& out = GetOutputStream();
  char line[256];
  for (const Pair& pair : pairs_) {
    const auto ours = medians_.find(pair.ours);
    const auto baseline = medians_.find(pair.baseline);
    if (ours == medians_.end() || baseline == medians_.end()) continue;
    const double ratio = ours->second / baseline->second;
    std::snprintf(line, sizeof line, "RATIO %.2f (wanted at most %.2f%s)  %s  %.3f ms / %.3f ms\n",
                  ratio, pair.wanted, ratio <= pair.wanted ? "" : ", MISSED", pair.what.c_str(),
                  ours->second / 1e6, baseline->second / 1e6);
    out << line;
  }
}

int runPairs(int argc, char** argv, std::vector<Pair> pairs) {
  // A program with a single thread is spared the price of atomic reference counts; a host is not.
  std::thread([] {}).join();
  std::string interleaved = "--benchmark_enable_random_interleaving=true";
  std::string repetitions = "--benchmark_repetitions=25";
  std::string aggregates = "--benchmark_report_aggregates_only=true";
  std::vector<char*> arguments = {argv[0], interleaved.data(), repetitions.data(),
                                  aggregates.data()};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  RatioReporter reporter(std::move(pairs));
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return 0;
}

}  // namespace veltrane::bench
