// Win32Registry: the current user's hive. Any thread.
#pragma once

#include <windows.h>

#include "services/core/os_files.h"
#include "services/core/os_registry.h"

namespace kor {

class Win32Registry : public OsRegistry {
 public:
  // Receives the error of a failed write.
  explicit Win32Registry(OsErrors& toTell) : errors(toTell) {}
  std::optional<std::uint32_t> ReadNumber(const KorText& key, const KorText& value) override;
  std::optional<KorText> ReadText(const KorText& key, const KorText& value) override;
  bool WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) override;
  bool WriteText(const KorText& key, const KorText& value, const KorText& text) override;
  bool Change(const std::function<bool()>& work) override;
  std::vector<KorText> SubKeys(const KorText& key) override;

 private:
  OsErrors& errors;
};

// Reads a text of any hive; std::nullopt when there is none.
std::optional<KorText> ReadRegistryText(HKEY hive, const KorText& key, const KorText& value);

} // namespace kor
