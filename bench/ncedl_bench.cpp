// Runs the benchmarks that need one process only, with Google Benchmark, and prints rows of the
// common table. Each benchmark's row has its rate when it reports bytes or items, else its time, as
// the median of repeated runs; its own counters follow. Exit code 1 when a target is missed or a
// benchmark failed.
//   ncedl_bench [Google Benchmark's options]
#include <benchmark/benchmark.h>

#include <string>
#include <string_view>

#include "bench/result_table.h"

namespace kor::bench {
namespace {

Target TargetOf(std::string_view name) {
  if (name.starts_with("Checksum/folding/16777216") ||
      name.starts_with("Checksum/slicing/16777216"))
    return {.least = 2000};
  if (name.starts_with("WriteFields") || name.starts_with("ReadFields")) return {.least = 500};
  if (name == "LoadDictionary") return {.most = 50};
  return {};
}

class TableReporter : public benchmark::BenchmarkReporter {
 public:
  explicit TableReporter(ResultTable& resultTable) : table(resultTable) {}

  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs)
      Report(run);
  }

 private:
  void Report(const Run& run) {
    const std::string name =
        run.run_name.function_name + (run.run_name.args.empty() ? "" : "/") + run.run_name.args;
    if (run.error_occurred) {
      table.Failure(name, run.error_message);
      return;
    }
    const bool isSingle = run.run_type == Run::RT_Iteration && run.repetitions <= 1;
    if (!isSingle && run.aggregate_name != "median") return;
    ReportMeasure(name, run);
    for (const auto& [counter, value] : run.counters)
      if (counter != "bytes_per_second" && counter != "items_per_second")
        table.Row(name + ", " + counter, value, "");
  }

  void ReportMeasure(const std::string& name, const Run& run) {
    const auto bytes = run.counters.find("bytes_per_second");
    const auto items = run.counters.find("items_per_second");
    if (bytes != run.counters.end())
      table.Row(name, bytes->second / 1e6, "MB/s", TargetOf(name));
    else if (items != run.counters.end())
      table.Row(name, items->second / 1e6, "M/s", TargetOf(name));
    else
      table.Row(name, run.GetAdjustedRealTime(), benchmark::GetTimeUnitString(run.time_unit),
                TargetOf(name));
  }

  ResultTable& table;
};

} // namespace
} // namespace kor::bench

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  kor::bench::ResultTable table;
  kor::bench::TableReporter reporter(table);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  return table.AllTargetsMet() ? 0 : 1;
}
