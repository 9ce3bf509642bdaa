// SPDX-License-Identifier: Apache-2.0
// Runs the contests and closes with one line a routine: how many times as fast as each of the others it is. Contestants
// of a routine take turns and each figure is the median of several turns, so that a passing load hits all alike.
#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/harness.h"
#include "quorvel/runtime.h"

namespace {

class ComparingReporter : public benchmark::ConsoleReporter {
 public:
  ComparingReporter() : ConsoleReporter(OO_None) {}

  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const std::string& name = run.run_name.function_name;
      const std::size_t slash = name.find('/');
      const std::string routine = name.substr(0, slash);
      if (std::find(order_.begin(), order_.end(), routine) == order_.end()) order_.push_back(routine);
      milliseconds_[routine][name.substr(slash + 1)].push_back(run.GetAdjustedRealTime());
    }
  }

  void Finalize() override {
    std::printf("\n%-28s %9s   speed relative to each of the others (same run, medians)\n", "routine", "ms");
    for (const std::string& routine : order_) {
      auto& contestants = milliseconds_[routine];
      if (!contestants.contains("quorvel")) continue;
      const double own = median(contestants["quorvel"]);
      std::printf("%-28s %9.3f  ", routine.c_str(), own);
      for (auto& [name, times] : contestants) {
        if (name != "quorvel") std::printf(" %s x %.2f ", name.c_str(), median(times) / own);
      }
      std::printf("\n");
    }
  }

 private:
  static double median(std::vector<double>& times) {
    std::nth_element(times.begin(), times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2), times.end());
    return times[times.size() / 2];
  }

  std::vector<std::string> order_;
  std::map<std::string, std::map<std::string, std::vector<double>>> milliseconds_;
};

}  // namespace

int main(int argc, char** argv) {
  // Defaults that the command line may override.
  std::vector<std::string> arguments = {argv[0], "--benchmark_repetitions=5",
                                        "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.1"};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  std::vector<char*> pointers;
  for (std::string& a : arguments) pointers.push_back(a.data());
  int count = static_cast<int>(pointers.size());

  quorvel::bench::registerPixelContests();
  quorvel::bench::registerLayoutContests();
  quorvel::bench::registerBayerContests();
  quorvel::bench::registerBayerCalibrationContests();
  quorvel::bench::registerBayerReductionContests();
  quorvel::bench::registerBayerPlanesContests();
  quorvel::bench::registerDctContests();
  quorvel::bench::registerGeometryResampleContests();
  quorvel::bench::registerGeometryMappingContests();
  quorvel::bench::registerColourContests();
  quorvel::bench::registerGeometryTileContests();
  quorvel::bench::registerNumericsContests();
  quorvel::bench::registerHuffmanContests();
#ifdef QUORVEL_BENCH_HOST
  quorvel::bench::registerJpegContests();
#endif
  benchmark::Initialize(&count, pointers.data());
  if (benchmark::ReportUnrecognizedArguments(count, pointers.data())) return 2;
  std::printf("quorvel %s on %s, frame %u x %u, one thread\n", quorvelVersion(), quorvelSimdTarget(),
              quorvel::bench::kWidth, quorvel::bench::kHeight);
  ComparingReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
