// Record stream throughput: 4-byte fields through the block cache, to and from memory and disk, and
// objects of a described class with texts, dates and lists.
#include <benchmark/benchmark.h>

#include "tests/support/record_samples.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

constexpr std::size_t kFields = 8 << 20; // 32 MiB of them

void MoveFields(DiskFile& file, std::uint32_t& sum) {
  file.TransferHeader();
  if (!file.BeginRecord(5)) return;
  for (std::uint32_t i = 0; i < kFields; ++i) {
    std::uint32_t field = i;
    file.Transfer(field);
    sum += field;
  }
  file.EndRecord();
}

enum class Where { Memory, Disk };

// Opens for writing or reading; a memory file is read from the bytes given.
bool OpenAt(DiskFile& file, Where where, std::uint32_t mode, const VoidBuffer& bytes) {
  return where == Where::Disk ? file.Open(mode) : file.OpenMemory(mode, VoidBuffer(bytes.Bytes()));
}

void WriteFields(benchmark::State& state) {
  TestApp app;
  const auto where = static_cast<Where>(state.range(0));
  std::uint32_t sum = 0;
  for (auto _ : state) {
    DiskFile file(app.Path(u"fields"));
    OpenAt(file, where, kFileWrite, {});
    MoveFields(file, sum);
    if (!file.Close() || file.Errors() != 0) state.SkipWithError("write failed");
  }
  benchmark::DoNotOptimize(sum);
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kFields * 4);
}
BENCHMARK(WriteFields)->ArgName("disk")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void ReadFields(benchmark::State& state) {
  TestApp app;
  const auto where = static_cast<Where>(state.range(0));
  std::uint32_t sum = 0;
  {
    DiskFile file(app.Path(u"fields"));
    file.Open(kFileWrite);
    MoveFields(file, sum);
  }
  SimpleFile whole(app.Path(u"fields"));
  whole.Open(kFileRead);
  VoidBuffer bytes;
  if (const auto all = whole.ReadAll()) bytes = VoidBuffer(*all);
  for (auto _ : state) {
    state.PauseTiming();
    DiskFile file(app.Path(u"fields"));
    OpenAt(file, where, kFileRead, bytes);
    const std::uint32_t written = sum;
    sum = 0;
    state.ResumeTiming();
    MoveFields(file, sum);
    if (file.Errors() != 0 || sum != written) state.SkipWithError("read failed");
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * kFields * 4);
}
BENCHMARK(ReadFields)->ArgName("disk")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

constexpr std::size_t kTools = 20000;

void WriteObjects(benchmark::State& state) {
  SampleMachine machine;
  machine.tools.assign(kTools, SampleTool(u"a tool with a name", 1.5));
  for (auto _ : state)
    benchmark::DoNotOptimize(
        WriteRecords({}, [&](DiskFile& file) { file.TransferObject(machine); }));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kTools);
}
BENCHMARK(WriteObjects)->Unit(benchmark::kMillisecond);

void ReadObjects(benchmark::State& state) {
  SampleMachine machine;
  machine.tools.assign(kTools, SampleTool(u"a tool with a name", 1.5));
  const auto bytes = WriteRecords({}, [&](DiskFile& file) { file.TransferObject(machine); });
  for (auto _ : state) {
    SampleMachine read;
    if (ReadRecords(bytes, {}, [&](DiskFile& file) { file.TransferObject(read); }) != 0)
      state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * kTools);
}
BENCHMARK(ReadObjects)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace kor
