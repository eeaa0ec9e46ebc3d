#include "platform/win32/locale_win32.h"

#include "platform/win32/system_time_win32.h"
#include "platform/win32/wide_text.h"

namespace kor {

namespace {

KorText LocaleText(LCTYPE item, const KorText& otherwise) {
  wchar_t text[128] = {};
  const int length = GetLocaleInfoEx(LOCALE_NAME_USER_DEFAULT, item, text, 128);
  return length > 1 ? FromWide(text) : otherwise;
}

char16_t LocaleCharacter(LCTYPE item, char16_t otherwise) {
  return LocaleText(item, KorText(1, otherwise))[0];
}

} // namespace

RegionalSettings Win32Locale::Load() {
  RegionalSettings settings;
  settings.listSeparator = LocaleCharacter(LOCALE_SLIST, settings.listSeparator);
  settings.decimalSeparator = LocaleCharacter(LOCALE_SDECIMAL, settings.decimalSeparator);
  settings.thousandsSeparator = LocaleCharacter(LOCALE_STHOUSAND, settings.thousandsSeparator);
  settings.timeSeparator = LocaleCharacter(LOCALE_STIME, settings.timeSeparator);
  settings.longDateFormat = LocaleText(LOCALE_SLONGDATE, settings.longDateFormat);
  settings.shortDateFormat = LocaleText(LOCALE_SSHORTDATE, settings.shortDateFormat);
  return settings;
}

KorText Win32Locale::Date(const SystemTime& time) {
  const SYSTEMTIME system = ToSystem(time);
  wchar_t text[128] = {};
  GetDateFormatEx(LOCALE_NAME_USER_DEFAULT, DATE_SHORTDATE, &system, nullptr, text, 128, nullptr);
  return FromWide(text);
}

KorText Win32Locale::Time(const SystemTime& time) {
  const SYSTEMTIME system = ToSystem(time);
  wchar_t text[128] = {};
  GetTimeFormatEx(LOCALE_NAME_USER_DEFAULT, 0, &system, nullptr, text, 128);
  return FromWide(text);
}

// This is the language of the system's own texts; dates and numbers may be another country's.
KorText Win32Locale::Language() {
  ULONG count = 0, length = 0;
  if (GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, nullptr, &length)) {
    std::wstring names(length, L'\0'); // each ends with a zero
    if (GetUserPreferredUILanguages(MUI_LANGUAGE_NAME, &count, names.data(), &length) && count > 0)
      return FromWide(names.c_str());
  }
  wchar_t name[LOCALE_NAME_MAX_LENGTH] = {};
  return GetUserDefaultLocaleName(name, LOCALE_NAME_MAX_LENGTH) ? FromWide(name) : KorText();
}

// In the code page that the calls without wide characters use.
KorText Win32Locale::FromLegacyBytes(std::string_view bytes) {
  const int length = static_cast<int>(bytes.size());
  std::wstring text(bytes.size(), L'\0'); // never more units than bytes
  text.resize(static_cast<std::size_t>(
      MultiByteToWideChar(CP_ACP, 0, bytes.data(), length, text.data(), length)));
  return FromWide(text);
}

} // namespace kor
