#include "services/dictionary/dictionary.h"

#include <vector>

#include "services/core/text_lookup.h"
#include "services/dictionary/user_language.h"

namespace kor {
namespace {

TextLanguage Language(const char16_t* code, std::uint32_t lcid, std::uint32_t codepage,
                      const char16_t* name) {
  TextLanguage language;
  language.name = name;
  language.folder = code;
  language.lcid = lcid;
  language.codepage = codepage;
  return language;
}

std::vector<TextLanguage> KnownLanguages() {
  return {
      Language(u"cs-CZ", 1029, 1250, u"Čeština"),
      Language(u"da-DK", 1030, 1252, u"Dansk"),
      Language(u"de-DE", 1031, 1252, u"Deutsch"),
      Language(u"el-GR", 1032, 1253, u"Ελληνικά"),
      Language(u"en-US", 1033, 1252, u"English (US)"),
      Language(u"es-ES", 3082, 1252, u"Español"),
      Language(u"fi-FI", 1035, 1252, u"Suomi"),
      Language(u"fr-FR", 1036, 1252, u"Français"),
      Language(u"hu-HU", 1038, 1250, u"Magyar"),
      Language(u"it-IT", 1040, 1252, u"Italiano"),
      Language(u"ja-JP", 1041, 932, u"日本語"),
      Language(u"ko-KR", 1042, 949, u"한국어"),
      Language(u"nb-NO", 1044, 1252, u"Norsk bokmål"),
      Language(u"nl-NL", 1043, 1252, u"Nederlands"),
      Language(u"pl-PL", 1045, 1250, u"Polski"),
      Language(u"pt-BR", 1046, 1252, u"Português (Brasil)"),
      Language(u"pt-PT", 2070, 1252, u"Português"),
      Language(u"ro-RO", 1048, 1250, u"Română"),
      Language(u"ru-RU", 1049, 1251, u"Русский"),
      Language(u"sk-SK", 1051, 1250, u"Slovenčina"),
      Language(u"sl-SI", 1060, 1250, u"Slovenščina"),
      Language(u"sv-SE", 1053, 1252, u"Svenska"),
      Language(u"tr-TR", 1055, 1254, u"Türkçe"),
      Language(u"zh-CN", 2052, 936, u"简体中文"),
      Language(u"zh-TW", 1028, 950, u"繁體中文"),
  };
}

} // namespace

TextHolder& Dictionary() {
  static TextHolder dictionary;
  return dictionary;
}

bool LoadProgramDictionary(const KorText& file) {
  SetTextLookup([](int number) {
    return KorText(Dictionary().FindText(number).value_or(std::u16string_view()));
  });
  return Dictionary().Load(file, TextHolder::kChooseLanguage, Failures::Reported, WantedLanguage());
}

const TextLanguage* KnownLanguage(std::u16string_view code) {
  static const std::vector<TextLanguage> kLanguages = KnownLanguages();
  for (const TextLanguage& language : kLanguages)
    if (language.folder.EqualsNoCase(code)) return &language;
  return nullptr;
}

} // namespace kor
