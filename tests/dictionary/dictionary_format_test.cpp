// Compares the worked example of docs/formats/dictionary.md with what the code writes and reads.
#include <gtest/gtest.h>

#include <string>

#include "tests/dictionary/dictionary_samples.h"
#include "tests/support/format_page.h"

namespace kor {
namespace {

TEST(DictionaryFormatPage, ShowsWhatIsWrittenAndRead) {
  TestApp app;
  TextHolder dictionary;
  dictionary.StartEditing(app.Path(u"example.ary"));
  dictionary.AddLanguage(SampleLanguage(u"de-DE", u"Deutsch", 1031));
  TextEntry entry = SampleEntry(48, u"Cancel", {u"Abbrechen"});
  entry.comment = u"Button.";
  entry.importance = 3;
  dictionary.AddEntry(entry);
  RecordFileOptions options;
  options.format.fileTypes = {TextHolder::kFileType};
  ASSERT_TRUE(SaveObject(dictionary.Path(), dictionary, options));
  const std::vector<PageExample> examples = ReadExamples("dictionary.md", "dictionary");
  ASSERT_EQ(examples.size(), 1u);
  const KorText expected = KorText::FromBytes(PageBytes(examples[0]));
  ASSERT_GT(expected.Length(), 100U);
  EXPECT_TRUE(app.Content(dictionary.Path()) == expected);

  app.Put(app.Path(u"page.ary"), expected);
  TextHolder read;
  ASSERT_TRUE(read.Load(app.Path(u"page.ary"), 0, true));
  EXPECT_EQ(read.Text(48), u"Abbrechen");
}

} // namespace
} // namespace kor
