// FakeRegistry: a registry in memory. Any thread.
#pragma once

#include <map>

#include "services/core/os_registry.h"
#include "services/core/thread_annotations.h"

namespace kor {

class FakeRegistry : public OsRegistry {
 public:
  std::optional<std::uint32_t> ReadNumber(const KorText& key, const KorText& value) override;
  std::optional<KorText> ReadText(const KorText& key, const KorText& value) override;
  bool WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) override;
  bool WriteText(const KorText& key, const KorText& value, const KorText& text) override;
  std::vector<KorText> SubKeys(const KorText& key) override;

 private:
  struct FoldedOrder {
    bool operator()(const KorText& a, const KorText& b) const { return a.CompareNoCase(b) < 0; }
  };
  struct RegistryValue {
    KorText text;
    std::optional<std::uint32_t> number;
  };
  using Values = std::map<KorText, RegistryValue, FoldedOrder>;

  std::optional<RegistryValue> FindValue(const KorText& key, const KorText& value);

  Mutex mutex;
  std::map<KorText, Values, FoldedOrder> keys KOR_GUARDED_BY(mutex);
};

} // namespace kor
