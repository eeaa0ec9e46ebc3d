// Random bytes as a translation: what can't be taken as a whole changes nothing in the dictionary, and
// what was taken can be saved and loaded.
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/dictionary/dictionary_samples.h"

namespace {

using namespace kor;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "broken: %s\n", what);
  std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static TestApp app;
  const KorText translation = app.Path(u"temp/t.xlf"), stored = app.Path(u"program/diction.ary");
  app.Put(translation, KorText::FromBytes({reinterpret_cast<const char*>(data), size}));
  TextHolder dictionary, again;
  FillSample(dictionary, stored);
  const int before = dictionary.ChangeCount();
  if (!dictionary.ImportXLIFF(translation).done)
    Require(dictionary.ChangeCount() == before, "a refused translation changes nothing");
  Require(dictionary.Save(TextHolder::Backup::None), "the dictionary can be saved");
  Require(again.Load(stored, TextHolder::kEditing, false), "and loaded");
  app.ForgetReports();
  return 0;
}
