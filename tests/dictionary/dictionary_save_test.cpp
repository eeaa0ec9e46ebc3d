// Saving with its backup, and the exports: what is written, and what bad luck leaves whole.
#include <gtest/gtest.h>

#include "tests/support/dictionary_samples.h"

namespace kor {
namespace {

class DictionarySave : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(app.MakeFolder(app.Path(u"dict")));
    FillSample(dictionary, file);
    ASSERT_TRUE(dictionary.Save());
    older = *app.Content(file);
    dictionary.FindEntry(48)->phrase = u"Give up";
  }

  KorText PhraseOnDisk() {
    TextHolder loaded;
    return loaded.Load(file, TextHolder::kEditing, Failures::Silent) ? loaded.FindEntry(48)->phrase
                                                                     : KorText(u"(damaged)");
  }

  TestApp app;
  KorText file = app.Path(u"dict/diction.ary");
  TextHolder dictionary;
  KorText older;
};

TEST_F(DictionarySave, KeepsTheOlderFileAsABackupAndAsksBeforeItGoesOnWithout) {
  app.Put(file + u".bak", u"the backup before");
  ASSERT_TRUE(dictionary.Save());
  EXPECT_EQ(PhraseOnDisk(), u"Give up");
  EXPECT_EQ(app.Content(file + u".bak"), older);
  EXPECT_EQ(dictionary.ChangeCount(), 0);
  EXPECT_EQ(app.Names(app.Path(u"dict/")).size(), 2U);
  dictionary.FindEntry(48)->phrase = u"Stop";
  app.RefuseOpening(u".bak", true);
  EXPECT_FALSE(dictionary.Save()) << "nobody answered";
  ASSERT_EQ(app.Messages().size(), 1U);
  EXPECT_EQ(app.Messages()[0].level, MessageLevel::Query);
  EXPECT_EQ(app.Messages()[0].info, u"Problem Saving");
  EXPECT_EQ(app.Messages()[0].message, u"Unable to backup existing dictionary\n\nContinue?");
  EXPECT_EQ(app.Messages()[0].details, u"Continue");
  EXPECT_EQ(PhraseOnDisk(), u"Give up");
  app.SetReporter([](const MessageRecord&) { return TextHolder::kAnswerContinue; });
  EXPECT_TRUE(dictionary.Save());
  EXPECT_EQ(PhraseOnDisk(), u"Stop");
}

TEST_F(DictionarySave, OnlyWhatIsFullyLoadedIsSavedOrExported) {
  TextHolder run;
  ASSERT_TRUE(run.Load(file, 0, Failures::Reported));
  EXPECT_FALSE(run.Save());
  EXPECT_FALSE(run.ExportHeader());
  EXPECT_FALSE(run.ExportXML(app.Path(u"x.xml")));
  EXPECT_FALSE(run.ExportXLIFF(app.Root()));
  EXPECT_FALSE(run.ImportXLIFF(app.Path(u"x.xlf")).done);
  const std::vector<MessageRecord> messages = app.Messages();
  ASSERT_EQ(messages.size(), 5U);
  for (const MessageRecord& message : messages)
    EXPECT_EQ(message.info, u"Dictionary");
  EXPECT_EQ(messages[0].message, u"Cannot Save Dictionary - not fully loaded");
  EXPECT_EQ(messages[1].message, u"Cannot Export Header - not fully loaded");
  EXPECT_EQ(app.Content(file), older);
}

TEST_F(DictionarySave, ExportsXmlAsUtf16) {
  const KorText target = app.Path(u"dict/export.xml");
  dictionary.StartEditing(file);
  dictionary.AddLanguage(SampleLanguage(u"de-DE", u"Deutsch & mehr", 1031));
  const KorText head = u"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"
                       u"<Dictionary>\n"
                       u"  <Language folder=\"de-DE\" lcid=\"1031\" codepage=\"1252\">"
                       u"Deutsch &amp; mehr</Language>\n";
  EXPECT_FALSE(dictionary.ExportXML(target)) << "no entries";
  EXPECT_EQ(app.Content(target), Utf16(head));
  dictionary.AddEntries({SampleEntry(7, u"a<b>&c", {u"", u"日本"})});
  ASSERT_TRUE(dictionary.ExportXML(target));
  EXPECT_EQ(app.Content(target), Utf16(head + u"  <Entry>\n"
                                              u"    <id>7</id>\n"
                                              u"    <phrase>a&lt;b&gt;&amp;c</phrase>\n"
                                              u"    <textpos>TXTPOS_abc</textpos>\n"
                                              u"    <comment>A note.</comment>\n"
                                              u"    <translation>日本</translation>\n"
                                              u"  </Entry>\n"
                                              u"</Dictionary>\n"));
}

TEST_F(DictionarySave, ExportsTheHeaderAndKeepsTheOlderOne) {
  const KorText target = app.Path(u"dict/textlib.h");
  app.Put(target, u"older");
  TextEntry nameless = SampleEntry(8, u"x", {});
  nameless.textPosition.Clear();
  dictionary.AddEntries({nameless});
  TextEntry longest = SampleEntry(9, u"x", {});
  longest.textPosition = u"TXTPOS_" + KorText(40, u'n');
  dictionary.AddEntries({longest});
  dictionary.FindEntry(323)->textPosition = u"TXTPOS_Call\n#error_\u00E4us"; // no C name
  ASSERT_TRUE(dictionary.ExportHeader());
  const KorText names = u"#define TXTPOS_Send_s__wait                      7\n"
                        u"\n"
                        u"#define TXTPOS_" +
                        KorText(40, u'n') + u" 9\n" +
                        u"#define TXTPOS_Cancel                            48\n"
                        u"#define TXTPOS_Callerror_us                      323\n"
                        u"#define TXTPOS_Sorry                             324\n"
                        u"\n"
                        u"#define TXTPOS_VOID                              -1\n";
  EXPECT_EQ(app.Content(target), names);
  EXPECT_EQ(app.Content(target + u".bak"), KorText(u"older"));
  app.LimitWrites(10);
  EXPECT_FALSE(dictionary.ExportHeader());
  app.ClearFaults();
  EXPECT_EQ(app.Content(target), names);
}

TEST(TextPosition, IsMadeFromThePhrase) {
  EXPECT_EQ(TextEntry::MakeTextPosition(u"Open  File..."), u"TXTPOS_Open_File");
  EXPECT_EQ(TextEntry::MakeTextPosition(u""), u"TXTPOS_");
  EXPECT_EQ(TextEntry::MakeTextPosition(u" a b "), u"TXTPOS__a_b_");
  EXPECT_EQ(TextEntry::MakeTextPosition(u"Größe %i"), u"TXTPOS_Gre_i");
  EXPECT_EQ(TextEntry::MakeTextPosition(u"12345678901234567890123456789012"),
            u"TXTPOS_12345678901234567890123456789012");
  EXPECT_EQ(TextEntry::MakeTextPosition(u"1234567890123456XXX7890123456789012"),
            u"TXTPOS_12345678901234567890123456789012");
}

} // namespace
} // namespace kor
