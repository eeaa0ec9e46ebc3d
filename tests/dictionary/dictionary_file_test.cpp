// The dictionary's file: what is kept in which mode, where it is looked for, damage of every kind.
#include <gtest/gtest.h>

#include "files/compressed_file.h"
#include "tests/support/dictionary_samples.h"
#include "tests/support/format_page.h"

namespace kor {
namespace {

class DictionaryFile : public ::testing::Test {
 protected:
  // The bytes of the uncompressed sample.
  KorText PlainBytes() {
    EXPECT_TRUE(SaveSample(file, false));
    return *app.Content(file);
  }

  // A new file each time: emptying one that exists costs some systems a flush to the disk.
  void Put(const KorText& bytes) {
    app.RemoveFile(file);
    app.Put(file, bytes);
  }

  TestApp app;
  KorText file = app.Path(u"sample.ary");
  TextHolder dictionary;
};

TEST_F(DictionaryFile, TheFormatPagesExampleIsWhatIsWrittenAndRead) {
  dictionary.StartEditing(file);
  dictionary.AddLanguage(SampleLanguage(u"de-DE", u"Deutsch", 1031));
  TextEntry entry = SampleEntry(48, u"Cancel", {u"Abbrechen"});
  entry.comment = u"Button.";
  entry.importance = 3;
  dictionary.AddEntries({entry});
  ASSERT_TRUE(SaveAsDictionary(file, dictionary, false));
  const auto examples = ReadByteExamples("dictionary.md", "dictionary");
  ASSERT_EQ(examples.size(), 1u);
  EXPECT_TRUE(app.Content(file) == KorText::FromBytes(examples[0]));
  ASSERT_TRUE(dictionary.Load(file, 0, Failures::Reported));
  EXPECT_EQ(dictionary.Text(48), u"Abbrechen");
}

TEST_F(DictionaryFile, EditingModeKeepsEverythingAndRunModeOneTextPerNumber) {
  TextHolder before;
  FillSample(before, file);
  before.FindEntry(7)->carried = 77;
  ASSERT_TRUE(before.Save());
  const KorText saved = *app.Content(file);
  ASSERT_TRUE(dictionary.Load(file, TextHolder::kEditing, Failures::Reported));
  EXPECT_EQ(dictionary.FindEntry(7)->carried, 77U);
  ASSERT_TRUE(dictionary.Save());
  EXPECT_TRUE(app.Content(file) == saved);
  ASSERT_TRUE(dictionary.Load(file, 0, Failures::Reported));
  EXPECT_TRUE(dictionary.Entries().empty() && dictionary.Categories().empty());
  EXPECT_EQ(dictionary.Languages().size(), 2U);
  EXPECT_EQ(dictionary.Text(7), u"%s senden & <warten>");
}

TEST_F(DictionaryFile, OtherFilesAreRefusedWithTheReport) {
  const KorText plain = PlainBytes();
  const auto with = [&](std::size_t at, char16_t byte) {
    return plain.Left(at) + KorText(1, byte) + plain.Mid(at + 1);
  };
  // Without the markers that the oldest programs didn't write.
  const KorText oldest = plain.Left(8) + plain.Mid(16);
  const KorText contents[] = {
      u"",           u"short", KorText(5000, u'x'), u"KOR Compressed File \xA9 2005",
      with(0, u'X'), oldest,   with(16, 1)};
  for (const KorText& content : contents) {
    Put(content);
    app.ForgetReports();
    EXPECT_FALSE(dictionary.Load(file, 0, Failures::Reported)) << content.Length();
    EXPECT_EQ(dictionary.Text(48), u"Cancel");
    ASSERT_EQ(app.Messages().size(), 1U);
    EXPECT_EQ(app.Messages()[0].info, u"Error Opening Specified Dictionary");
    EXPECT_EQ(app.Messages()[0].message, file);
  }
}

TEST_F(DictionaryFile, NoTruncationIsTakenForADictionary) {
  for (const bool compressed : {false, true}) {
    ASSERT_TRUE(SaveSample(file, compressed));
    const KorText whole = *app.Content(file);
    for (std::size_t length = 0; length < whole.Length(); ++length) {
      Put(whole.Left(length));
      EXPECT_FALSE(dictionary.Load(file, 0, Failures::Silent))
          << length << " of " << whole.Length();
      EXPECT_FALSE(dictionary.FindText(48));
    }
  }
}

TEST_F(DictionaryFile, NoChangedByteDoesHarmInEitherMode) {
  const KorText whole = PlainBytes();
  for (std::size_t at = 0; at < whole.Length(); ++at) {
    for (const int change : {1, 0xFF}) {
      Put(whole.Left(at) + KorText(1, static_cast<char16_t>(whole[at] ^ change)) +
          whole.Mid(at + 1));
      for (const std::int32_t selector : {0, TextHolder::kEditing}) {
        const bool loaded = dictionary.Load(file, selector, Failures::Silent);
        EXPECT_EQ(loaded, dictionary.IsLoaded());
        // Nothing that a file of two kilobytes could not justify but for the table of numbers.
        EXPECT_LE(dictionary.TableLength(), TextEntry::kHighestNumber + 1U);
        EXPECT_LE(dictionary.Entries().size(), 4U);
      }
    }
  }
}

// A small file can inflate to a thousand times its size, and a list takes more than its bytes.
TEST_F(DictionaryFile, WhatIsTooLargeToBeOneIsRefused) {
  const KorText large = PlainBytes() + KorText(TextHolder::kLargestFile, u'\0');
  Put(large);
  ASSERT_EQ(CompressFile(file, app.Path(u"small.ary")), FileResult::Success);
  for (const KorText& path : {file, app.Path(u"small.ary")})
    for (const std::int32_t selector : {0, TextHolder::kEditing})
      EXPECT_FALSE(dictionary.Load(path, selector, Failures::Silent)) << path.ToUtf8();
  FillSample(dictionary, file);
  while (dictionary.Languages().size() <= TextHolder::kMostLanguages)
    dictionary.AddLanguage(SampleLanguage(u"xx", u"X", 1));
  ASSERT_TRUE(SaveAsDictionary(file, dictionary));
  EXPECT_FALSE(dictionary.Load(file, TextHolder::kSourceTexts, Failures::Silent));
}

TEST_F(DictionaryFile, WhatCannotBeReadIsNoDictionaryAndLeavesNothingOfTheLast) {
  ASSERT_TRUE(SaveSample(file));
  const std::function<void()> faults[] = {[&] { app.LimitReads(100); },
                                          [&] { app.RefuseOpening(u"sample.ary"); },
                                          [&] { app.RemoveFile(file); }};
  for (const auto& fault : faults) {
    ASSERT_TRUE(dictionary.Load(file, 0, Failures::Reported));
    fault();
    EXPECT_FALSE(dictionary.Load(file, 0, Failures::Silent) || dictionary.IsLoaded());
    EXPECT_TRUE(!dictionary.FindText(48) && dictionary.Languages().empty());
    app.ClearFaults();
  }
  EXPECT_TRUE(app.Messages().empty()) << "without the report flag";
}

// Older programs' entries end with the modification dates.
TEST_F(DictionaryFile, EntriesWithoutAnImportanceKeepTheDefault) {
  std::string older = ReadByteExamples("dictionary.md", "dictionary").at(0);
  older.erase(older.find("\xEA\x07\x0B\x15") + 4, 4);
  for (const std::size_t size : {20U, 24U, 62U, 66U}) // of the two records around it
    older[size] = static_cast<char>(older[size] - 4);
  Put(KorText::FromBytes(older));
  ASSERT_TRUE(dictionary.Load(file, TextHolder::kEditing, Failures::Reported));
  ASSERT_EQ(dictionary.Entries().size(), 1U);
  EXPECT_EQ(dictionary.Entries()[0].importance, 0);
  EXPECT_EQ(DateText(dictionary.Entries()[0].LatestModification()), u"2026-11-21");
  ASSERT_TRUE(dictionary.Load(file, TextHolder::kSourceTexts, Failures::Reported));
  EXPECT_EQ(dictionary.Text(48), u"Cancel");
}

} // namespace
} // namespace kor
