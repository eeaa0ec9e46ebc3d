// RegistryFile: a file in the settings folder, which stands in for the registry where the system
// has none. UTF-8, lines end in LF:
//
//   [Software\Velmora\Plenova 2026\COMMON]
//   WaitLockPeriod=3000
//
// A key has a section and a value a line; numbers are decimal, and keys and value names fold ASCII
// case. A character that a line can't hold as it is (control characters, blanks at the ends, "=" in
// a name, half of a surrogate pair) is written as "%u" and four hex digits; any other "%" is
// itself. Lines of other forms are comments and stay where they are.
//
// Every operation reads the file anew, so that what another program wrote counts. Writing replaces
// the file in one step, under a lock on the settings folder; a file that can't be read is not
// replaced.
#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <thread>
#include <vector>

#include "services/core/app_interface.h"

namespace kor {

class RegistryFile : public OsRegistry {
 public:
  // Takes folder, name and files from the services, and reports a file that is no registry to them.
  explicit RegistryFile(AppInterface& app);
  std::optional<std::uint32_t> ReadNumber(const KorText& key, const KorText& value) override;
  std::optional<KorText> ReadText(const KorText& key, const KorText& value) override;
  bool WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) override;
  bool WriteText(const KorText& key, const KorText& value, const KorText& text) override;
  bool Change(const std::function<bool()>& work) override;
  std::vector<KorText> SubKeys(const KorText& key) override;

 private:
  KorText Folder();
  KorText Path();
  void TellTooLarge();
  std::optional<std::vector<KorText>> Load();
  bool Save(const std::vector<KorText>& lines);

  AppInterface& app;
  std::atomic<std::thread::id> changing; // the thread whose Change holds the lock
};

} // namespace kor
