// The dictionary that ships: its numbers, its English texts, its translations.
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <set>

#include "services/core/user_texts.h"
#include "services/dictionary/dictionary.h"
#include "tests/support/test_app.h"
#include "tools/kordict/check.h"

namespace kor {
namespace {

constexpr const char16_t* kLanguages[] = {u"cs-CZ", u"de-DE", u"es-ES", u"fr-FR",
                                          u"it-IT", u"ja-JP", u"nl-NL", u"pl-PL",
                                          u"pt-PT", u"tr-TR", u"zh-CN"};

class ShippedDictionary : public ::testing::Test {
 protected:
  static KorText Source(const KorText& code) {
    return KorText::FromUtf8(NCEDL_TRANSLATIONS) + u"/dictionary_" + code + u".xlf";
  }

  void SetUp() override {
    dictionary.StartEditing(app.Path(u"program/diction.ary"));
    for (const char16_t* code : kLanguages) {
      const TextLanguage* language = KnownLanguage(code);
      ASSERT_NE(language, nullptr);
      dictionary.AddLanguage(*language);
      const ImportResult result = dictionary.ImportXLIFF(Source(code));
      ASSERT_TRUE(result.done && result.warnings.empty()) << KorText(code).ToUtf8();
    }
  }

  TestApp app;
  TextHolder dictionary;
};

TEST_F(ShippedDictionary, HasEachNamedTextInTheProgramsWordsAndNoOther) {
  const auto texts =
      std::bit_cast<std::array<UserText, sizeof(UserTexts) / sizeof(UserText)>>(kTexts);
  std::set<std::int32_t> named;
  for (const UserText& text : texts) {
    const TextEntry* entry = dictionary.FindEntry(text.number);
    EXPECT_TRUE(entry && entry->phrase == text.english)
        << text.number << " " << KorText(text.english).ToUtf8();
    EXPECT_TRUE(named.insert(text.number).second) << text.number << " has two names";
  }
  for (const TextEntry& entry : dictionary.Entries())
    EXPECT_TRUE(named.contains(entry.id)) << entry.id << " is not in user_texts.h";
}

TEST_F(ShippedDictionary, NoTextLacksATranslationOrADirectiveOrOutgrowsItsControl) {
  for (const Finding& finding : CheckTexts(dictionary))
    ADD_FAILURE() << finding.language << " " << finding.id << " " << finding.what.ToUtf8();
}

TEST_F(ShippedDictionary, EveryNoteSaysHowLongTheTextMayBe) {
  for (const TextEntry& entry : dictionary.Entries()) {
    EXPECT_TRUE(entry.comment.EndsWith(u" characters.") || entry.comment.EndsWith(u" Any length."))
        << entry.id;
    EXPECT_GT(entry.comment.Length(), 25U) << entry.id;
    EXPECT_TRUE(entry.importance >= 1 && entry.importance <= 3) << entry.id;
  }
}

TEST_F(ShippedDictionary, ItsExportGivesTheSameFilesBack) {
  ASSERT_TRUE(dictionary.Save());
  ASSERT_TRUE(dictionary.Load(dictionary.Path(), TextHolder::kEditing, Failures::Reported));
  ASSERT_TRUE(dictionary.ExportXLIFF(app.Path(u"out")));
  for (const char16_t* code : kLanguages)
    EXPECT_TRUE(app.Content(app.Path(u"out/dictionary_" + KorText(code) + u".xlf")) ==
                app.Content(Source(code)))
        << KorText(code).ToUtf8();
}

} // namespace
} // namespace kor
