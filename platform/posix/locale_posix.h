// PosixLocale: the user's regional settings and language from LC_ALL, LC_MESSAGES and their like.
// Any thread.
#pragma once

#include <clocale>

#include "services/core/os_locale.h"
#include "services/core/thread_annotations.h"

namespace kor {

// The user's locale, apart from the process's own, which stays "C".
class UserLocale {
 public:
  UserLocale();
  ~UserLocale();
  UserLocale(const UserLocale&) = delete;
  UserLocale& operator=(const UserLocale&) = delete;
  void Reload();
  // Returns an item such as THOUSEP; empty when the locale is not installed.
  KorText Item(int item) const;
  KorText DateFormat() const; // strftime's; empty when the locale holds none of its own ("C")
  // Formats a time by a strftime format; empty when the locale is not installed.
  KorText Format(const char* format, const SystemTime& time) const;

 private:
  KorText Decoded(const char* text) const;
  locale_t handle;
};

class PosixLocale : public OsLocale {
 public:
  RegionalSettings Load() override;
  KorText Date(const SystemTime& time) override;
  KorText Time(const SystemTime& time) override;
  KorText Language() override;

 private:
  Mutex mutex;
  UserLocale userLocale KOR_GUARDED_BY(mutex);
};

} // namespace kor
