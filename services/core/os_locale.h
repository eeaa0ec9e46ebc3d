// OsLocale: how the user writes numbers, dates and times, and his language. Any thread.
#pragma once

#include <string_view>

#include "services/core/file_time.h"
#include "services/core/kor_text.h"

namespace kor {

struct RegionalSettings {
  char16_t listSeparator = u',';
  char16_t decimalSeparator = u'.';
  char16_t thousandsSeparator = u'\0'; // none
  char16_t timeSeparator = u':';
  KorText longDateFormat = u"dd MMMM yyyy";
  KorText shortDateFormat = u"dd/mm/yyyy";
};

class OsLocale {
 public:
  virtual ~OsLocale() = default;
  // Reads the user's settings anew. What the locale doesn't have keeps its default.
  virtual RegionalSettings Load() = 0;
  virtual KorText Date(const SystemTime& time) = 0; // user's short date
  virtual KorText Time(const SystemTime& time) = 0; // user's time with seconds
  virtual KorText Language() = 0;                   // such as "de-DE"; empty when unknown
  // Reads bytes of text as the system's older programs mean them; without such a convention a byte
  // is the character of the same number.
  virtual KorText FromLegacyBytes(std::string_view bytes) { return KorText::FromBytes(bytes); }
};

} // namespace kor
