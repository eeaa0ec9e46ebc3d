// Win32Locale: the user's regional settings and language. Any thread.
#pragma once

#include "services/core/os_locale.h"

namespace kor {

class Win32Locale : public OsLocale {
 public:
  RegionalSettings Load() override;
  KorText Date(const SystemTime& time) override;
  KorText Time(const SystemTime& time) override;
  KorText Language() override;
  KorText FromLegacyBytes(std::string_view bytes) override;
};

} // namespace kor
