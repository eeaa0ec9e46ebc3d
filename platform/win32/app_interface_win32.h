// Win32AppInterface: the services object on Windows. Made by main, lives for the whole run; every
// operation may be called from any thread.
#pragma once

#include "platform/win32/clock_win32.h"
#include "platform/win32/environment_win32.h"
#include "platform/win32/files_win32.h"
#include "platform/win32/locale_win32.h"
#include "platform/win32/registry_win32.h"
#include "services/core/app_interface.h"

namespace kor {

class Win32AppInterface : public AppInterface {
 public:
  using AppInterface::AppInterface;
  OsFiles& Files() override { return files; }
  OsClock& Clock() override { return clock; }
  OsRegistry& Registry() override { return registry; }
  OsLocale& Locale() override { return locale; }
  OsEnvironment& Environment() override { return environment; }
  void DebugOutput(const KorText& text) override;

 private:
  Win32Files files;
  Win32Clock clock;
  Win32Registry registry{files};
  Win32Locale locale;
  Win32Environment environment{files};
};

} // namespace kor
