// Compares the worked example of docs/formats/dictionary.md with what the code writes and reads.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/dictionary/dictionary_samples.h"

namespace kor {
namespace {

// The bytes of the page's block: pairs of hexadecimal digits up to the bar.
KorText PageBytes() {
  std::ifstream page(NCEDL_FORMAT_PAGE);
  std::string line;
  KorText bytes;
  bool inside = false;
  while (std::getline(page, line)) {
    if (line.starts_with("```")) inside = line == "```dictionary";
    if (!inside || line.starts_with("```")) continue;
    std::istringstream pairs(line.substr(0, line.find('|')));
    std::string pair;
    while (pairs >> pair)
      bytes += static_cast<char16_t>(std::stoi(pair, nullptr, 16));
  }
  return bytes;
}

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
  const KorText expected = PageBytes();
  ASSERT_GT(expected.Length(), 100U);
  EXPECT_TRUE(app.Content(dictionary.Path()) == expected);

  app.Put(app.Path(u"page.ary"), expected);
  TextHolder read;
  ASSERT_TRUE(read.Load(app.Path(u"page.ary"), 0, true));
  EXPECT_EQ(read.Text(48), u"Abbrechen");
}

} // namespace
} // namespace kor
