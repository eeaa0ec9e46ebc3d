// kordict's commands, run in this process on real files.
#include <gtest/gtest.h>

#include "tests/support/dictionary_samples.h"
#include "tools/kordict/check.h"
#include "tools/kordict/kordict.h"

namespace kor {
namespace {

class Kordict : public ::testing::Test {
 protected:
  int Run(std::vector<KorText> words) {
    printed.Clear();
    errors.clear();
    KordictOutput output;
    output.print = [this](const KorText& line) { printed += line + u"\n"; };
    output.complain = [this](const KorText& line) { errors.push_back(line); };
    if (!file.IsEmpty()) words.insert(words.end(), {u"-d", file});
    return RunKordict(words, output);
  }
  KorText FirstError() const { return errors.empty() ? KorText() : errors[0]; }
  // One translation file with these units.
  KorText PutXliff(const char16_t* code, const KorText& units) {
    const KorText path = app.Path(u"xlf/dictionary_" + KorText(code) + u".xlf");
    const KorText text = u"<xliff version=\"1.2\"><file target-language=\"" + KorText(code) +
                         u"\"><body>\n" + units + u"</body></file></xliff>";
    app.Put(path, KorText::FromBytes(text.ToUtf8()));
    return path;
  }
  void BuildSample() { ASSERT_TRUE(SaveSample(file)); }

  TestApp app;
  KorText file = app.Path(u"diction.ary");
  KorText printed;             // by the last run, each line with its end
  std::vector<KorText> errors; // what it complained about
};

const KorText kCancelUnit = Unit(48, u"Cancel", u"Abbrechen");

TEST_F(Kordict, SaysWhatIsWrongWithACommandLine) {
  const auto refuses = [this](const std::vector<KorText>& words, const KorText& problem) {
    EXPECT_EQ(Run(words), 2);
    EXPECT_EQ(FirstError(), u"kordict: " + problem + u"; kordict --help lists what there is");
  };
  refuses({}, u"a command is missing");
  refuses({u"make"}, u"there is no command make");
  refuses({u"get"}, u"get has too few arguments");
  refuses({u"get", u"1", u"2"}, u"get has too many arguments");
  refuses({u"build", u"x", u"--add-language", u"sv"},
          u"--add-language: it needs CODE=NAME[:LCID:CODEPAGE], not sv");
}

TEST_F(Kordict, BuildsFromAFolderAndShowsWhatItBuilt) {
  PutXliff(u"de-DE", kCancelUnit);
  PutXliff(u"tr-TR", Unit(48, u"Cancel") + Unit(5, u"a\\b\nc", u"x"));
  app.Put(app.Path(u"xlf/readme.txt"), u"no translation");
  ASSERT_EQ(Run({u"build", app.Path(u"xlf")}), 0) << FirstError().ToUtf8();
  ASSERT_EQ(Run({u"info"}), 0);
  EXPECT_EQ(printed, file + u": 2 texts, highest number 48\n"
                            u"language Deutsch (de-DE - 1031:1252): 1 translated\n"
                            u"language Türkçe (tr-TR - 1055:1254): 1 translated\n"
                            u"category 0 General: 2 texts\n");
  ASSERT_EQ(Run({u"get", u"5"}), 0);
  EXPECT_EQ(printed, u"5 TXTPOS_abc, importance 0, changed \n"
                     u"source a\\\\b\\nc\nde-DE  \ntr-TR  x\n");
  EXPECT_EQ(Run({u"get", u"48", u"-l", u"DE-de"}), 0);
  EXPECT_EQ(printed, u"Abbrechen\n");
  EXPECT_EQ(Run({u"get", u"48", u"-l", u"tr-TR"}), 0);
  EXPECT_EQ(printed, u"Cancel\n") << "what the program shows without a translation";
  ASSERT_EQ(Run({u"build", PutXliff(u"de-DE", kCancelUnit)}), 0);
  ASSERT_EQ(Run({u"info"}), 0);
  EXPECT_EQ(printed, file + u": 1 text, highest number 48\n"
                            u"language Deutsch (de-DE - 1031:1252): 1 translated\n"
                            u"category 0 General: 1 text\n");
}

TEST_F(Kordict, FindsTextsInAnyLanguageOrInOne) {
  BuildSample();
  EXPECT_EQ(Run({u"find", u"CALL"}), 0);
  EXPECT_EQ(printed, u"323 source Call us.\n");
  EXPECT_EQ(Run({u"find", u"send", u"--language", u"de-DE"}), 0);
  EXPECT_EQ(printed, u"7 de-DE %s senden & <warten>\n");
  EXPECT_EQ(Run({u"find", u"nowhere"}), 1);
  EXPECT_EQ(Run({u"get", u"49"}), 1);
  EXPECT_EQ(Run({u"get", u"48x"}), 1);
  EXPECT_EQ(Run({u"get", u"48", u"-l", u"xx"}), 1);
}

TEST_F(Kordict, RefusesToBuildFromFilesThatContradictEachOther) {
  const KorText german = PutXliff(u"de-DE", kCancelUnit);
  const KorText french = PutXliff(u"fr-FR", Unit(48, u"Abort", u"Annuler"));
  EXPECT_EQ(Run({u"build", german, french}), 3);
  EXPECT_TRUE(FirstError().StartsWith(french + u":2: unit 48: the English text is \"Abort\" here"));
  EXPECT_EQ(app.Content(file), std::nullopt);
  EXPECT_EQ(Run({u"build", german, french, u"--english", french}), 0);
  EXPECT_EQ(Run({u"find", u"a"}), 0);
  EXPECT_EQ(printed, u"48 source Abort\n48 de-DE Abbrechen\n48 fr-FR Annuler\n");
  const KorText again = app.Path(u"again.xlf");
  app.Put(again, *app.Content(german));
  EXPECT_EQ(Run({u"build", german, again}), 3);
  EXPECT_EQ(FirstError(),
            again + u": the language \"de-DE\" is that of " + german + u", too. Leave one out.");
}

TEST_F(Kordict, KnowsALanguageOrIsTold) {
  const KorText swiss = PutXliff(u"gsw-CH", kCancelUnit);
  EXPECT_EQ(Run({u"build", swiss}), 3);
  EXPECT_EQ(FirstError(), swiss +
                              u": the language \"gsw-CH\" is new. Correct target-language, or add "
                              u"--add-language gsw-CH=NAME.");
  EXPECT_EQ(Run({u"build", swiss, u"--add-language", u"gsw-CH=Schwyzerdütsch:1156:1252"}), 0);
  EXPECT_EQ(Run({u"info"}), 0);
  EXPECT_TRUE(printed.Contains(u"language Schwyzerdütsch (gsw-CH - 1156:1252): 1 translated"));
}

TEST_F(Kordict, ImportsAllFilesOrNone) {
  BuildSample();
  const KorText before = *app.Content(file);
  const KorText german = PutXliff(u"de-DE", Unit(48, u"Cancel", u"Verwerfen"));
  const KorText bad = PutXliff(u"fr-FR", u"<trans-unit id=\"x\"/>");
  EXPECT_EQ(Run({u"import-xliff", german, bad}), 3);
  EXPECT_EQ(FirstError(), bad + u":2: unit with the id \"x\". Give it a number from 0 to 999999.");
  EXPECT_EQ(app.Content(file), before);
  EXPECT_EQ(Run({u"import-xliff", PutXliff(u"nl-NL", kCancelUnit)}), 3) << "a new language";
  const KorText mistyped = PutXliff(u"fr-FR", Unit(84, u"Cancel", u"Abandon"));
  EXPECT_EQ(Run({u"import-xliff", german, mistyped}), 0);
  EXPECT_EQ(printed, german + u": 1 changed, 0 added\n" + mistyped +
                         u": 0 changed, 1 added\n  new: unit 84 \"Cancel\"\n");
  EXPECT_EQ(app.Content(file + u".bak"), before);
  EXPECT_EQ(Run({u"get", u"48", u"-l", u"de-DE"}), 0);
  EXPECT_EQ(printed, u"Verwerfen\n");
}

TEST_F(Kordict, LeavesTheOlderFileWhenItCannotWrite) {
  BuildSample();
  const KorText before = *app.Content(file);
  const KorText german = PutXliff(u"de-DE", Unit(48, u"Cancel", u"Verwerfen"));
  const std::vector<KorText> commands[] = {
      {u"import-xliff", german},
      {u"import-xliff", german, u"--no-backup"},
      {u"build", german},
      {u"header"},
      {u"export-xml", app.Path(u"x.xml")},
      {u"export-xliff", app.Path(u"out")},
  };
  for (const auto& command : commands) {
    for (const std::uint64_t room : {0U, 100U}) {
      app.LimitWrites(room);
      EXPECT_EQ(Run(command), 4) << command[0].ToUtf8();
      EXPECT_FALSE(errors.empty());
      app.ClearFaults();
      EXPECT_EQ(app.Content(file), before) << command[0].ToUtf8();
    }
  }
}

// The shipped dictionary has the same name and lies where a program looks for it.
TEST_F(Kordict, TakesNoOtherDictionaryThanTheOneNamed) {
  const KorText shipped = app.GetApplicationPropertyPath(kProgramFolder) + u"diction.ary";
  ASSERT_TRUE(SaveSample(shipped));
  const KorText before = *app.Content(shipped);
  const KorText german = PutXliff(u"de-DE", kCancelUnit);
  for (const KorText& named : {app.Path(u"nowhere/diction.ary"), KorText(u"diction.ary")}) {
    file = named;
    for (const std::vector<KorText>& command :
         {std::vector<KorText>{u"info"}, {u"get", u"48"}, {u"header"}, {u"import-xliff", german}})
      EXPECT_EQ(Run(command), 3) << named.ToUtf8() << " " << command[0].ToUtf8();
    EXPECT_TRUE(FirstError().Contains(u"diction.ary: missing")) << FirstError().ToUtf8();
  }
  EXPECT_EQ(app.Content(shipped), before);
  file = u"";
  EXPECT_EQ(Run({u"get", u"48", u"-l", u"de-DE"}), 0) << "nothing named";
}

TEST_F(Kordict, ChecksTranslationFilesAndNamesUnitAndRemedy) {
  const KorText german = PutXliff(
      u"de-DE",
      u"<trans-unit id=\"1\" resname=\"A\"><source>Copy %s of %02i%%</source><target>%02i von %s"
      u"</target><note>Any length.</note></trans-unit>"
      u"<trans-unit id=\"2\" resname=\"A\"><source>Ok</source><target>Zwölf Zeichen</target>"
      u"</trans-unit>"
      u"<trans-unit id=\"3\" resname=\"B\"><source>Quit</source><target/></trans-unit>"
      u"<trans-unit id=\"4\" resname=\"C\"><source>On</source><target>Ein</target>"
      u"<note>At most 2 characters.</note></trans-unit>");
  EXPECT_EQ(Run({u"check", german}), 1);
  EXPECT_EQ(printed,
            german +
                u": de-DE: unit 1 (A): the directives are %02i %s instead of %s %02i. Keep them "
                u"all, in this order.\n" +
                u"all files: source: unit 2 (A): the name is also that of unit 1. Give one of them "
                u"another resname.\n" +
                german +
                u": de-DE: unit 2 (A): \"Zwölf Zeichen\" takes 13 characters, and its control "
                u"has room for 12. Shorten it.\n" +
                german + u": de-DE: unit 3 (B): no translation. Translate \"Quit\".\n" + german +
                u": de-DE: unit 4 (C): \"Ein\" takes 3 characters, and its control has room for 2. "
                u"Shorten it.\n5 findings\n");
  EXPECT_EQ(Run({u"build", german}), 0);
  EXPECT_EQ(Run({u"check"}), 1);
  EXPECT_TRUE(printed.EndsWith(u"\n5 findings\n"));
  EXPECT_EQ(Run({u"check", PutXliff(u"fr-FR", kCancelUnit)}), 0);
}

// Each case is a fault, and behind it what is right.
TEST_F(Kordict, ChecksWhatAProgramCanSeeOfALanguagesTypography) {
  const auto checks = [this](const char16_t* code, const KorText& source, const KorText& fault,
                             const KorText& good, const KorText& says) {
    EXPECT_EQ(Run({u"check", PutXliff(code, Unit(5, source, fault))}), 1) << fault.ToUtf8();
    EXPECT_TRUE(printed.Contains(says)) << printed.ToUtf8();
    EXPECT_TRUE(printed.EndsWith(u"\n1 finding\n")) << printed.ToUtf8();
    EXPECT_EQ(Run({u"check", PutXliff(code, Unit(5, source, good))}), 0) << printed.ToUtf8();
  };
  checks(u"de-DE", u"\"x\" is", u"\"x\" ist", u"\u201Ex\u201C ist", u"mark or apostrophe \" is");
  checks(u"pl-PL", u"\"x\" is", u"\u201Ex\u201C ist", u"\u201Ex\u201D jest",
         u"apostrophe \u201C is");
  checks(u"it-IT", u"\"x\" is", u"\u00ABx\u00BB l'", u"\"x\" l'", u"apostrophe \u00AB is");
  checks(u"fr-FR", u"it's on", u"l\u2019un", u"l'un", u"apostrophe \u2019 is");
  checks(u"fr-FR", u"is: on 1:25", u"est : 1:25", u"est\u00A0: 1:25", u"U+00A0");
  checks(u"fr-FR", u"the \"x\"", u"le \u00ABx\u00BB", u"le \u00AB\u00A0x\u00A0\u00BB", u"U+00A0");
  checks(u"zh-CN", u"Failed: %s", u"\u5931\u8D25: %s", u"\u5931\u8D25\uFF1A%s", u"full-width");
  checks(u"zh-CN", u"Delay (ms)", u"\u5EF6\u8FDF (ms)", u"\u5EF6\u8FDF\uFF08ms\uFF09",
         u"full-width");
  const KorText name(33, u'n');
  EXPECT_EQ(Run({u"check",
                 PutXliff(u"de-DE", u"<trans-unit id=\"5\" resname=\"TXTPOS_" + name +
                                        u"\"><source>a</source><target>b</target></trans-unit>")}),
            1);
  EXPECT_TRUE(printed.Contains(u"33 characters behind \"TXTPOS_\"")) << printed.ToUtf8();
}

TEST(KordictCheck, MeasuresTextsAsTheyAreShown) {
  EXPECT_EQ(TextWidth(u"Größe"), 5U);
  EXPECT_EQ(TextWidth(u"保存"), 4U);
  EXPECT_EQ(TextWidth(u"one\nthree\nx"), 5U);
  EXPECT_EQ(Directives(u"%-8s|%+09.6f|%i"), (std::vector<KorText>{u"%-8s", u"%+09.6f", u"%i"}));
  EXPECT_EQ(Directives(u"%%%s%"), std::vector<KorText>{u"%s"});
  for (const char16_t* none : {u"100 %", u"100%%s", u"%"})
    EXPECT_TRUE(Directives(none).empty()) << KorText(none).ToUtf8();
}

} // namespace
} // namespace kor
