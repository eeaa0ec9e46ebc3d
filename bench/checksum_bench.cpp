// Measures the file checksum with each of its methods, beside liblzma's CRC-64 on the same bytes.
#include <benchmark/benchmark.h>
#include <lzma.h>

#include <numeric>
#include <vector>

#include "files/checksum.h"

namespace kor {
namespace {

std::vector<std::uint8_t> Buffer(const benchmark::State& state) {
  std::vector<std::uint8_t> bytes(static_cast<std::size_t>(state.range(0)));
  std::iota(bytes.begin(), bytes.end(), std::uint8_t{1});
  return bytes;
}

void CountBytes(benchmark::State& state) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}

template <CrcMethod method> void Checksum(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = Buffer(state);
  std::uint64_t crc = 0;
  for (auto _ : state)
    crc = UpdateCrc(method, crc, bytes);
  benchmark::DoNotOptimize(crc);
  CountBytes(state);
}

void ChecksumLzma(benchmark::State& state) {
  const std::vector<std::uint8_t> bytes = Buffer(state);
  std::uint64_t crc = 0;
  for (auto _ : state)
    crc = lzma_crc64(bytes.data(), bytes.size(), crc);
  benchmark::DoNotOptimize(crc);
  CountBytes(state);
}

constexpr std::int64_t kSmall = 0x1000, kLarge = 0x1000000;

// Not every processor can fold.
[[maybe_unused]] auto* const kFolding =
    CrcMethodAvailable(CrcMethod::Folding)
        ? benchmark::RegisterBenchmark("Checksum/folding", Checksum<CrcMethod::Folding>)
              -> Arg(kSmall) -> Arg(kLarge)
        : nullptr;
BENCHMARK(Checksum<CrcMethod::Slicing>)->Name("Checksum/slicing")->Arg(kSmall)->Arg(kLarge);
BENCHMARK(Checksum<CrcMethod::Bytewise>)->Name("Checksum/bytewise")->Arg(kLarge);
BENCHMARK(ChecksumLzma)->Name("Checksum/liblzma")->Arg(kSmall)->Arg(kLarge);

} // namespace
} // namespace kor
