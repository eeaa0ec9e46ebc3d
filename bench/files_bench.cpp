// Measures korfile compressing and restoring NC text, beside pigz -6 with as many threads. The
// programs run as wholes, from file to file, and the peak of their memory is measured. Both put the
// result on the disk before they end (pigz with -Y). The shortest of the runs counts, because other
// work on the machine can only add time.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "services/core/as_bytes.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

constexpr std::uint64_t kMiB = 0x100000;

// A folder with the text, made once for all rows.
class Samples {
 public:
  static Samples& Get() {
    static Samples samples;
    return samples;
  }

  std::string Path(const std::string& name) const { return app.Root().ToUtf8() + name; }
  std::uint64_t SizeOf(const std::string& path) {
    return app.FileAttributes(KorText::FromUtf8(path)).value_or(FileInfo()).size;
  }
  // Writes lines of a cutting program up to the size, the same for every run.
  std::string Text(std::uint64_t mebibytes) {
    const std::string path = Path("text" + std::to_string(mebibytes));
    if (SizeOf(path) == 0) WriteText(path, mebibytes * kMiB);
    return path;
  }

 private:
  void WriteText(const std::string& path, std::uint64_t size) {
    const auto file = app.OpenFile(KorText::FromUtf8(path), FileAccess::Write);
    std::minstd_rand random(1);
    std::uniform_real_distribution<double> x(0, 3000), y(0, 1500);
    std::string lines;
    char line[80];
    for (std::uint64_t written = 0, number = 1; written < size; written += lines.size()) {
      for (lines.clear(); lines.size() < kMiB; ++number) {
        const int length = std::snprintf(line, sizeof line, "N%u G0%d X%.3f Y%.3f F%d\r\n",
                                         static_cast<unsigned>(number * 10 % 100000),
                                         static_cast<int>(number % 4), x(random), y(random), 2400);
        lines.append(line, static_cast<std::size_t>(length));
      }
      lines.resize(std::min<std::uint64_t>(lines.size(), size - written));
      file->Write(AsBytes(lines));
    }
  }

  TestApp app;
};

struct Run {
  double seconds = 0;
  double peakMiB = 0;
  bool good = false;
};

Run RunProgram(std::vector<std::string> words) {
  std::vector<char*> arguments;
  for (std::string& word : words)
    arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const auto start = std::chrono::steady_clock::now();
  pid_t child = 0;
  int status = 1;
  rusage used{};
  if (::posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0 ||
      ::wait4(child, &status, 0, &used) != child)
    return {};
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  return {took.count(), static_cast<double>(used.ru_maxrss) / 1024, status == 0};
}

std::string Threads() {
  return std::to_string(std::max(1u, std::thread::hardware_concurrency()));
}

using Words = std::vector<std::string>;

// Runs a program on plain text of the size; packed is the compressed file of the two.
void Measure(benchmark::State& state, const Words& words, std::uint64_t size,
             const std::string& packed) {
  double shortest = 0, peak = 0;
  for (auto _ : state) {
    for (std::int64_t count = state.range(1); count > 0; --count) {
      const Run run = RunProgram(words);
      if (!run.good) return state.SkipWithError((words[0] + " failed").c_str());
      shortest = shortest == 0 ? run.seconds : std::min(shortest, run.seconds);
      peak = std::max(peak, run.peakMiB);
    }
    state.SetIterationTime(shortest);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
  state.counters["peakMiB"] = peak;
  state.counters["ratio"] =
      static_cast<double>(Samples::Get().SizeOf(packed)) / static_cast<double>(size);
}

void KorfileCompress(benchmark::State& state) {
  const auto size = static_cast<std::uint64_t>(state.range(0));
  const std::string text = Samples::Get().Text(size), packed = Samples::Get().Path("packed.kor");
  Measure(state, {NCEDL_KORFILE, "compress", "-q", "-j", Threads(), text, "-o", packed},
          size * kMiB, packed);
}

void KorfileRestore(benchmark::State& state) {
  const auto size = static_cast<std::uint64_t>(state.range(0));
  const std::string packed = Samples::Get().Path("packed.kor"),
                    text = Samples::Get().Path("restored");
  Measure(state, {NCEDL_KORFILE, "restore", "-q", "-j", Threads(), packed, "-o", text}, size * kMiB,
          packed);
  if (Samples::Get().SizeOf(text) != size * kMiB) state.SkipWithError("restored in part");
}

// pigz names its target itself.
void PigzCompress(benchmark::State& state) {
  const auto size = static_cast<std::uint64_t>(state.range(0));
  const std::string text = Samples::Get().Text(size);
  Measure(state, {"pigz", "-6", "-Y", "-k", "-f", "-p", Threads(), text}, size * kMiB,
          text + ".gz");
}

void PigzRestore(benchmark::State& state) {
  const auto size = static_cast<std::uint64_t>(state.range(0));
  const std::string packed = Samples::Get().Text(size) + ".gz";
  Measure(state, {"pigz", "-d", "-Y", "-k", "-f", "-p", Threads(), packed}, size * kMiB, packed);
}

void Repeated(benchmark::internal::Benchmark* row) {
  row->ArgNames({"MiB", "runs"})->Args({256, 3});
  row->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);
}
BENCHMARK(KorfileCompress)->Apply(Repeated);
BENCHMARK(PigzCompress)->Apply(Repeated);
BENCHMARK(KorfileRestore)->Apply(Repeated);
BENCHMARK(PigzRestore)->Apply(Repeated);

// Memory must not grow with the file.
void Large(benchmark::internal::Benchmark* row) {
  row->ArgNames({"MiB", "runs"})->Args({2048, 1});
  row->UseManualTime()->Iterations(1)->Unit(benchmark::kSecond);
}
BENCHMARK(KorfileCompress)->Apply(Large);
BENCHMARK(KorfileRestore)->Apply(Large);

} // namespace
} // namespace kor
