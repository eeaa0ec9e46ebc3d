// Measures settings files of many keys: reading and writing all of them in one section, and as many
// sections of one key. The time for a key must not depend on their number.
#include <benchmark/benchmark.h>

#include "services/ini/ini_file.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

// Makes an item for each key, with all keys in one section or each key in its own.
void AddItems(iniFile& file, std::vector<std::int32_t>& values, bool sections) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const KorText number = KorText::Format(u"%i", i);
    const KorText section = sections ? u"Section " + number : KorText(u"Section");
    file.Add<iniInteger>(section, sections ? KorText(u"Key") : u"Key " + number, &values[i], -1);
  }
}

void WriteNewIni(benchmark::State& state) {
  TestApp app;
  const KorText path = app.Path(u"new.ini");
  std::vector<std::int32_t> values(static_cast<std::size_t>(state.range(0)), 5);
  iniFile file(path);
  AddItems(file, values, state.range(1) != 0);
  for (auto _ : state) {
    app.RemoveFile(path);
    file.Write();
    if (!file.LastSaveSucceeded()) state.SkipWithError("write failed");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void UpdateIni(benchmark::State& state) {
  TestApp app;
  std::vector<std::int32_t> values(static_cast<std::size_t>(state.range(0)), 5);
  iniFile file(app.Path(u"old.ini"));
  AddItems(file, values, state.range(1) != 0);
  file.Write();
  for (auto _ : state) {
    file.Write();
    if (!file.LastSaveSucceeded()) state.SkipWithError("write failed");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void ReadIni(benchmark::State& state) {
  TestApp app;
  std::vector<std::int32_t> values(static_cast<std::size_t>(state.range(0)), 5);
  iniFile file(app.Path(u"read.ini"));
  AddItems(file, values, state.range(1) != 0);
  file.Write();
  for (auto _ : state) {
    file.Read();
    if (values.front() != 5 || values.back() != 5) state.SkipWithError("read failed");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->ArgNames({"keys", "sections"})->Unit(benchmark::kMillisecond);
  for (const int sections : {0, 1})
    for (const int keys : {1000, 10000, 100000})
      bench->Args({keys, sections});
}
BENCHMARK(WriteNewIni)->Apply(Sizes);
BENCHMARK(UpdateIni)->Apply(Sizes);
BENCHMARK(ReadIni)->Apply(Sizes);

} // namespace
} // namespace kor
