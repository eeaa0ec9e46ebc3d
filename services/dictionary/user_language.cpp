#include "services/dictionary/user_language.h"

#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr const char16_t* kLanguageKey = u"COMMON";
constexpr const char16_t* kLanguageValue = u"Language";

} // namespace

std::optional<KorText> StoredLanguage() {
  auto stored = App().ReadRegistryText(AppInterface::RegistryKey(kLanguageKey), kLanguageValue);
  if (stored && stored->IsEmpty()) return std::nullopt;
  return stored;
}

bool StoreLanguage(const KorText& code) {
  return App().WriteRegistryText(AppInterface::RegistryKey(kLanguageKey), kLanguageValue, code);
}

KorText WantedLanguage() {
  const auto stored = StoredLanguage();
  return stored ? *stored : App().UserLanguage();
}

} // namespace kor
