// Numbers, references and their expansion; language choice; the program's own dictionary.
#include <gtest/gtest.h>

#include "services/core/text_lookup.h"
#include "services/dictionary/dictionary.h"
#include "services/dictionary/user_language.h"
#include "tests/support/dictionary_samples.h"

namespace kor {
namespace {

constexpr const char16_t* kLanguageValue = u"Language";

class DictionaryLookup : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(SaveSample(file)); }
  ~DictionaryLookup() override { SetTextLookup({}); }

  TestApp app;
  KorText file = app.Path(u"program/diction.ary");
  TextHolder dictionary;
};

TEST_F(DictionaryLookup, NumbersAndReferencesFindTheDictionarysTextsElseBuiltInOnes) {
  EXPECT_EQ(dictionary.Text(1492), u"Continue");
  EXPECT_EQ(dictionary.Text(6069), u"Don't Show This Message Again");
  EXPECT_EQ(dictionary.Text(49), u"");
  EXPECT_FALSE(dictionary.FindText(1492));
  EXPECT_EQ(dictionary.TextRef(u"^1492"), u"");
  ASSERT_TRUE(dictionary.Load(u"diction.ary", 0, Failures::Reported));
  EXPECT_EQ(dictionary.Text(48), u"Abbrechen");
  EXPECT_EQ(dictionary.Text(1492), u"Continue");
  EXPECT_EQ(dictionary.TableLength(), 325U);
  for (const std::int32_t id : {-2147483647 - 1, -1, 0, 8, 325, 2147483647})
    EXPECT_FALSE(dictionary.FindText(id)) << id;
  EXPECT_EQ(dictionary.TextRef(u"^0048 more"), u"Abbrechen");
  for (const char16_t* none : {u"48", u"", u"^", u"^x48", u"^99999999999999999999", u"^4294967344"})
    EXPECT_FALSE(dictionary.FindTextRef(none)) << KorText(none).ToUtf8();
}

TEST_F(DictionaryLookup, ExpandReplacesWhatHasATextAndNothingElse) {
  ASSERT_TRUE(dictionary.Load(u"diction.ary", TextHolder::kEditing, Failures::Reported));
  dictionary.AddEntries({SampleEntry(1, u"see ^48", {})}); // what stands in a text stays
  ASSERT_TRUE(dictionary.Save());
  ASSERT_TRUE(dictionary.Load(u"diction.ary", TextHolder::kSourceTexts, Failures::Reported));
  const auto expands = [&](const KorText& before, const KorText& after) {
    KorText text = before;
    EXPECT_EQ(dictionary.Expand(text), before != after) << before.ToUtf8();
    EXPECT_EQ(text, after);
  };
  for (const char16_t* same : {u"", u"plain", u"^49", u"^"})
    expands(same, same);
  expands(u"Press ^48 now", u"Press Cancel now");
  expands(u"^48^324^48", u"CancelSorry!Cancel");
  expands(u"^1", u"see ^48");
  expands(u"a ^ b ^^48", u"a ^ b ^Cancel");
  expands(u"^48x^99^", u"Cancelx^99^");
  expands(u"^0048", u"Cancel");
}

TEST_F(DictionaryLookup, TheSelectorPicksTheLanguage) {
  const auto picks = [&](std::int32_t selector, const KorText& request, std::int32_t chosen,
                         const KorText& text48, const KorText& text323) {
    ASSERT_TRUE(dictionary.Load(file, selector, Failures::Reported, request));
    EXPECT_EQ(dictionary.LanguageSelector(), chosen) << selector << request.ToUtf8();
    EXPECT_EQ(dictionary.Text(48), text48) << selector << request.ToUtf8();
    EXPECT_EQ(dictionary.Text(323), text323) << selector << request.ToUtf8();
  };
  picks(-1, u"de-DE", -1, u"Cancel", u"Call us.");
  picks(0, u"", 0, u"Abbrechen", u"Rufen Sie uns an.");
  picks(1, u"", 1, u"Annuler", u"Call us."); // an empty translation gives the source text
  picks(2, u"", 2, u"Cancel", u"Call us.");  // there is no such language
  picks(-2, u"", -1, u"Cancel", u"Call us.");
  picks(-2, u"français", 1, u"Annuler", u"Call us.");
  picks(-2, u"deutsch", 0, u"Abbrechen", u"Rufen Sie uns an.");
  picks(-3, u"FR-fr", 1, u"Annuler", u"Call us.");
  picks(-3, u"de_AT.UTF-8", 0, u"Abbrechen", u"Rufen Sie uns an.");
  picks(-2, u"de", 0, u"Abbrechen", u"Rufen Sie uns an.");
  picks(-2, u"en-GB", -1, u"Cancel", u"Call us.");
  picks(-2, u"nl-NL", -1, u"Cancel", u"Call us.");
}

TEST_F(DictionaryLookup, TheProgramSpeaksTheStoredLanguageElseTheSystemsElseEnglish) {
  const KorText key = AppInterface::RegistryKey(u"COMMON");
  app.SetUserLanguage(u"de-CH");
  ASSERT_TRUE(LoadProgramDictionary());
  EXPECT_EQ(Dictionary().Text(48), u"Abbrechen");
  EXPECT_EQ(LookUpText({48, u"?"}), u"Abbrechen");
  EXPECT_EQ(LookUpText({49, u"?"}), u"?");
  EXPECT_EQ(app.FailureNotice(), u"Entschuldigung!\n\nRufen Sie uns an.");
  ASSERT_TRUE(StoreLanguage(u"fr-FR"));
  EXPECT_EQ(app.ReadRegistryText(key, kLanguageValue), KorText(u"fr-FR"));
  ASSERT_TRUE(LoadProgramDictionary());
  EXPECT_EQ(Dictionary().Text(48), u"Annuler");
  ASSERT_TRUE(StoreLanguage(u"ru-RU")); // a choice that the dictionary lacks is not the system's
  ASSERT_TRUE(LoadProgramDictionary());
  EXPECT_EQ(Dictionary().Text(48), u"Cancel");
  ASSERT_TRUE(StoreLanguage(u""));
  EXPECT_FALSE(StoredLanguage());
  EXPECT_EQ(WantedLanguage(), u"de-CH");
  ASSERT_TRUE(LoadProgramDictionary());
  EXPECT_EQ(Dictionary().Path(), file);
  const KorText elsewhere = app.Path(u"data/diction.ary");
  ASSERT_TRUE(app.RenameFile(file, elsewhere));
  ASSERT_TRUE(LoadProgramDictionary());
  EXPECT_EQ(Dictionary().Path(), elsewhere);
  ASSERT_TRUE(app.RemoveFile(elsewhere)); // then the built-in texts serve
  EXPECT_FALSE(LoadProgramDictionary());
  EXPECT_EQ(Dictionary().Text(48), u"Cancel");
  EXPECT_EQ(LookUpText({323, u"fall-back"}), u"fall-back");
  ASSERT_EQ(app.Messages().size(), 1U);
  EXPECT_EQ(app.Messages()[0].info, u"Error Opening Specified Dictionary");
  EXPECT_EQ(app.Messages()[0].message, file);
}

} // namespace
} // namespace kor
