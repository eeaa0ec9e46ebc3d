// Takes random bytes as a translation. One that can't be taken as a whole changes nothing in the
// dictionary, and what was taken can be saved and loaded.
#include "fuzz/fuzz_target.h"
#include "tests/support/dictionary_samples.h"

namespace kor {

void TryInput(TestApp& app, FuzzInput bytes) {
  const KorText translation = app.Path(u"temp/t.xlf"), stored = app.Path(u"program/diction.ary");
  app.Put(translation, KorText::FromBytes(TextOf(bytes)));
  TextHolder dictionary, again;
  FillSample(dictionary, stored);
  const int before = dictionary.ChangeCount();
  if (!dictionary.ImportXLIFF(translation).done)
    Require(dictionary.ChangeCount() == before, "a refused translation changes nothing");
  Require(dictionary.Save(TextHolder::Backup::None), "the dictionary can be saved");
  Require(again.Load(stored, TextHolder::kEditing, Failures::Silent), "and loaded");
}

} // namespace kor
