// The dictionary that ships: its numbers, its English texts, its translations.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

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

// A use in the code: the number, and the English words behind it: what shows without a dictionary,
// and in a table its other columns.
struct Use {
  int number = 0;
  bool isCall = false;
  std::vector<KorText> words;
};

// The texts at a place, one after the other; literals with nothing between them are one text.
std::vector<KorText> WordsAt(const std::string& code, std::size_t at) {
  std::vector<KorText> all;
  std::string words;
  while (code.compare(at, 2, "u\"") == 0) {
    for (at += 2; code[at] != '"'; ++at) {
      const bool isLineEnd = code.compare(at, 2, "\\n") == 0;
      if (code[at] == '\\') ++at;
      words += isLineEnd ? '\n' : code[at];
    }
    at = code.find_first_not_of(" \n", at + 1);
    if (code[at] == 'u') continue;
    all.push_back(KorText::FromUtf8(std::exchange(words, {})));
    at = code.find_first_not_of(", \n", at);
  }
  if (code.compare(at, 10, "LookUpText") == 0) all.clear(); // has the number once more
  return all;
}

// Of LookUpText(15426, u"%s left"), {kErrorShortRead, 15354, u"unexpected end"} and their like; a
// number may have a name in the same file.
std::vector<Use> UsesIn(const std::string& code) {
  std::vector<Use> uses;
  for (std::size_t at = 0; (at = code.find("u\"", at + 1)) != std::string::npos;) {
    const std::size_t comma = code.find_last_not_of(" \n", at - 1);
    if (code[comma] != ',') continue;
    std::size_t start = comma;
    while (std::isalnum(static_cast<unsigned char>(code[start - 1])))
      --start;
    const std::string name = code.substr(start, comma - start);
    const std::size_t named = code.find(" " + name + " = ");
    const std::size_t digits = named == std::string::npos ? start : named + name.size() + 4;
    const std::size_t before = code.find_last_not_of(" \n", start - 1);
    Use use{std::atoi(&code[digits]), code.substr(0, before + 1).ends_with("LookUpText("),
            WordsAt(code, at)};
    if (use.number != 0 && !use.words.empty()) uses.push_back(std::move(use));
  }
  return uses;
}

std::string ReadSource(const std::filesystem::path& path) {
  std::ifstream stream(NCEDL_SOURCE_DIR / path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

std::vector<KorText> WordsBehind(const char* place, const char* file) {
  const std::string code = ReadSource(file);
  return WordsAt(code, std::min(code.find("u\"", code.find(place)), code.size()));
}

TEST_F(ShippedDictionary, TheCodesOwnWordsAreItsEnglish) {
  // Of these the code has none.
  std::set<std::int32_t> found = {323, 324, 15238, 15239, 15240, 15325};
  const auto expect = [&](const std::string& where, const Use& use) {
    const TextEntry* entry = dictionary.FindEntry(use.number);
    if (!entry && !use.isCall && use.number < 15000) return; // no text's number
    EXPECT_TRUE(entry && std::ranges::count(use.words, entry->phrase) > 0)
        << where << " " << use.number << " " << use.words[0].ToUtf8();
    found.insert(use.number);
  };
  for (const char* folder : {"app", "files", "link", "services", "ui"}) {
    const auto root = std::filesystem::path(NCEDL_SOURCE_DIR) / folder;
    for (const auto& file : std::filesystem::recursive_directory_iterator(root)) {
      if (!file.is_regular_file()) continue;
      for (const Use& use : UsesIn(ReadSource(file.path())))
        expect(file.path().string(), use);
    }
  }
  // A text with a name, and a table that counts its numbers itself.
  expect("note", {15308, true, WordsBehind("kFeatureNote =", "app/nce_special_dialog.cpp")});
  int number = 15330;
  for (const KorText& step : WordsBehind("kSteps[] =", "link/download_app.cpp"))
    expect("step", {number++, true, {step}});
  for (const TextEntry& entry : dictionary.Entries())
    EXPECT_TRUE(found.contains(entry.id)) << entry.id << " is in no use";
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
