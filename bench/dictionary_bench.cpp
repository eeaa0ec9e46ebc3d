// Measures the dictionary at start-up and at work: loading 20,000 texts in 8 languages in run mode,
// looking numbers up, and expanding a caption.
#include <benchmark/benchmark.h>

#include "services/dictionary/text_holder.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

constexpr std::int32_t kTexts = 20000;
constexpr std::size_t kLanguages = 8;

// Makes sentences of invented words, about as long as the shipped texts and with as little
// repetition as real ones.
class Babbler {
 public:
  KorText Sentence() {
    KorText text;
    for (std::uint32_t words = 2 + Next() % 5; words != 0; --words) {
      if (!text.IsEmpty()) text += u' ';
      std::uint32_t word = Next() % 3000;
      for (std::uint32_t letters = 3 + word % 6; letters != 0; --letters, word = word * 31 + 7)
        text += static_cast<char16_t>(u'a' + word % 26);
    }
    return text;
  }

 private:
  std::uint32_t Next() { return (state = state * 1664525 + 1013904223) >> 8; }
  std::uint32_t state = 1;
};

KorText MakeDictionary(TestApp& app) {
  const KorText path = app.Path(u"program/diction.ary");
  TextHolder dictionary;
  dictionary.StartEditing(path);
  for (std::size_t i = 0; i < kLanguages; ++i) {
    TextLanguage language;
    language.folder = KorText::Format(u"l%i-XX", i);
    language.name = language.folder;
    dictionary.AddLanguage(language);
  }
  Babbler babbler;
  for (std::int32_t id = 1; id <= kTexts; ++id) {
    TextEntry entry;
    entry.id = id;
    entry.phrase = babbler.Sentence();
    entry.comment = babbler.Sentence();
    entry.textPosition = TextEntry::MakeTextPosition(entry.phrase);
    for (std::size_t i = 0; i < kLanguages; ++i)
      entry.translations.push_back(babbler.Sentence());
    dictionary.AddEntries({entry});
  }
  dictionary.Save(TextHolder::Backup::None);
  return path;
}

void LoadDictionary(benchmark::State& state) {
  TestApp app;
  const KorText path = MakeDictionary(app);
  for (auto _ : state) {
    TextHolder dictionary;
    if (!dictionary.Load(path, TextHolder::kChooseLanguage, Failures::Silent, u"l5-XX"))
      state.SkipWithError("not loaded");
    benchmark::DoNotOptimize(dictionary.FindText(kTexts));
  }
  const auto info = app.FileAttributes(path);
  state.counters["file_bytes"] = info ? static_cast<double>(info->size) : 0;
  state.counters["texts"] = kTexts;
}
BENCHMARK(LoadDictionary)->Unit(benchmark::kMillisecond);

void LookUpNumbers(benchmark::State& state) {
  TestApp app;
  TextHolder dictionary;
  dictionary.Load(MakeDictionary(app), 3, Failures::Silent);
  std::int32_t id = 0;
  for (auto _ : state) {
    id = (id + 7919) % kTexts;
    benchmark::DoNotOptimize(dictionary.FindText(id));
  }
}
BENCHMARK(LookUpNumbers);

void ExpandCaption(benchmark::State& state) {
  TestApp app;
  TextHolder dictionary;
  dictionary.Load(MakeDictionary(app), 3, Failures::Silent);
  for (auto _ : state) {
    KorText text = u"^123: ^4567 (^99999)";
    benchmark::DoNotOptimize(dictionary.Expand(text));
  }
}
BENCHMARK(ExpandCaption);

} // namespace
} // namespace kor
