// OsRegistry: numbers and texts kept per user under a key ("Software\...") and a value's name, both
// without regard to case. Any thread; what another program writes counts at the next reading.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "services/core/kor_text.h"

namespace kor {

class OsRegistry {
 public:
  virtual ~OsRegistry() = default;
  // The readers return std::nullopt when there is no such key or value, or the value is of the
  // other kind.
  virtual std::optional<std::uint32_t> ReadNumber(const KorText& key, const KorText& value) = 0;
  virtual std::optional<KorText> ReadText(const KorText& key, const KorText& value) = 0;
  // The writers make the key when it is missing.
  virtual bool WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) = 0;
  virtual bool WriteText(const KorText& key, const KorText& value, const KorText& text) = 0;
  // Does the work, which may read and write, while no other program changes anything, and returns
  // what the work returned. The work must not call this again.
  virtual bool Change(const std::function<bool()>& work) = 0;
  // Returns the names of the keys one level below, each once.
  virtual std::vector<KorText> SubKeys(const KorText& key) = 0;
};

} // namespace kor
