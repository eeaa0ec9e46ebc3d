// PosixAppInterface: the services object on Linux and other POSIX systems. Made by main, lives for
// the whole run; every operation may be called from any thread.
#pragma once

#include "platform/posix/clock_posix.h"
#include "platform/posix/environment_posix.h"
#include "platform/posix/files_posix.h"
#include "platform/posix/locale_posix.h"
#include "platform/posix/registry_file.h"
#include "services/core/app_interface.h"

namespace kor {

class PosixAppInterface : public AppInterface {
 public:
  using AppInterface::AppInterface;
  OsFiles& Files() override { return files; }
  OsClock& Clock() override { return clock; }
  OsRegistry& Registry() override { return registry; }
  OsLocale& Locale() override { return locale; }
  OsEnvironment& Environment() override { return environment; }
  void DebugOutput(const KorText& text) override;

 private:
  PosixFiles files;
  PosixClock clock;
  RegistryFile registry{*this};
  PosixLocale locale;
  PosixEnvironment environment{files};
};

} // namespace kor
