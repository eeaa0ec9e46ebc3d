// The dictionary that ships: its numbers, its English texts, its translations.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

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

TEST_F(ShippedDictionary, HasATextForEveryNumberInUse) {
  static constexpr int kNumbers[] = {
      // message boxes, files, records, the dictionary itself
      47, 48, 65, 66, 240, 251, 252, 262, 274, 290, 323, 324, 1492, 1729, 1786, 3337, 3595, 3596,
      3597, 3598, 3817, 3909, 3912, 4550, 6069, 6144, 8894,
      // main window
      15201, 15202, 15205, 15206, 15207, 15209, 15210, 15211, 15212, 15250, 15251, 15256, 15257,
      15258, 15259, 15266, 15270, 15273, 15274,
      // settings dialog
      15101, 15220, 15221, 15222, 15223, 15224, 15226, 15228, 15232, 15233, 15234, 15235, 15238,
      15239, 15240, 15241, 15246, 15247, 15249, 15260, 15261, 15264, 15265,
      // record errors
      15350, 15351, 15352, 15353, 15354, 15355, 15356, 15357};
  for (const int number : kNumbers)
    EXPECT_NE(dictionary.FindEntry(number), nullptr) << number;
}

// Those whose numbers the code names otherwise than beside the words.
TEST_F(ShippedDictionary, ItsEnglishIsThatOfTheProgram) {
  const std::pair<std::int32_t, const char16_t*> texts[] = {
      {3595, u"Unable to lock the file"},
      {3597, u"The file is already locked by"},
      {15270, u"Special Features"},
      {15301, u"OK"},
      {15302, u"Cancel"},
      {15303, u"Autoload sequential files"},
      {15304, u"Strip Leading Zeros From PC Filename"},
      {15305, u"Use LLLSSES LINDE/NCE hybrid format number"},
      {15306, u"Strip Leading Zeros From NCE Filename"},
      {15307, u"Autoload Options"},
      {15308,
       u"LLLSSES format comprises a three digit lot number (LLL) , a two digit start sheet (SS) "
       u"and a two digit end sheet (ES). e.g. 3730417 loads sheets 37304 to 37317"},
      {15317, u"Download End"},
      {15327, u"Unable to locate Program Paths\n\nWorking directory has not been setup."},
      {15336, u"Setup_Timeouts"},
  };
  for (const auto& [number, text] : texts)
    EXPECT_EQ(dictionary.FindEntry(number)->phrase, KorText(text));
  const TextHolder nothing;
  for (const TextEntry& entry : dictionary.Entries())
    if (const KorText builtIn = nothing.Text(entry.id); !builtIn.IsEmpty()) {
      EXPECT_EQ(entry.phrase, builtIn);
    }
}

// A use in the code: the number, and the English words that show without a dictionary.
struct Use {
  int number = 0;
  KorText words;
};

// Of LookUpText(15426, u"%s left"), the words in one piece or several; numbers by name are left out.
std::vector<Use> UsesIn(const std::string& code) {
  std::vector<Use> uses;
  const std::string call = "LookUpText(";
  for (std::size_t at = code.find(call); at != std::string::npos; at = code.find(call, at)) {
    at += call.size();
    Use use{std::atoi(code.c_str() + at), {}};
    at = std::min(code.find_first_not_of("0123456789", at), code.size());
    std::string words;
    while ((at = code.find_first_not_of(" ,\n", at)) != std::string::npos &&
           code.compare(at, 2, "u\"") == 0) {
      for (at += 2; at < code.size() && code[at] != '"'; ++at) {
        const bool isLineEnd = code[at] == '\\' && code[at + 1] == 'n';
        if (code[at] == '\\') ++at;
        words += isLineEnd ? '\n' : code[at];
      }
      ++at;
    }
    use.words = KorText::FromUtf8(words);
    if (use.number != 0 && !words.empty()) uses.push_back(use);
  }
  return uses;
}

TEST_F(ShippedDictionary, TheCodesOwnWordsAreItsEnglish) {
  std::size_t found = 0;
  for (const char* folder : {"app", "files", "link", "services", "ui"}) {
    const auto root = std::filesystem::path(NCEDL_SOURCE_DIR) / folder;
    for (const auto& file : std::filesystem::recursive_directory_iterator(root)) {
      if (file.path().extension() != ".cpp") continue;
      std::ifstream stream(file.path());
      for (const Use& use : UsesIn({std::istreambuf_iterator<char>(stream), {}})) {
        const TextEntry* entry = dictionary.FindEntry(use.number);
        ASSERT_NE(entry, nullptr) << file.path() << " " << use.number;
        EXPECT_EQ(entry->phrase, use.words) << file.path() << " " << use.number;
        ++found;
      }
    }
  }
  EXPECT_GE(found, 10U);
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
  ASSERT_TRUE(dictionary.Load(dictionary.Path(), TextHolder::kEditing, true));
  ASSERT_TRUE(dictionary.ExportXLIFF(app.Path(u"out")));
  for (const char16_t* code : kLanguages)
    EXPECT_TRUE(app.Content(app.Path(u"out/dictionary_" + KorText(code) + u".xlf")) ==
                app.Content(Source(code)))
        << KorText(code).ToUtf8();
}

} // namespace
} // namespace kor
