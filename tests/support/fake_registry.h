// FakeRegistry: a registry in memory. Any thread.
#pragma once

#include <map>
#include <variant>

#include "services/core/os_registry.h"
#include "services/core/thread_annotations.h"

namespace kor {

class FakeRegistry : public OsRegistry {
 public:
  std::optional<std::uint32_t> ReadNumber(const KorText& key, const KorText& value) override {
    return Read<std::uint32_t>(key, value);
  }
  std::optional<KorText> ReadText(const KorText& key, const KorText& value) override {
    return Read<KorText>(key, value);
  }
  bool WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) override {
    return Write(key, value, number);
  }
  bool WriteText(const KorText& key, const KorText& value, const KorText& text) override {
    return Write(key, value, text);
  }
  bool Change(const std::function<bool()>& work) override { return work(); }
  std::vector<KorText> SubKeys(const KorText& key) override {
    Lock lock(mutex);
    std::vector<KorText> names;
    for (const auto& [stored, content] : values) {
      if (!stored.StartsWithNoCase(key + u"\\")) continue;
      const KorText below = stored.Mid(key.Length() + 1);
      const KorText name = below.Left(below.View().find_first_of(u"\\\n"));
      if (names.empty() || !names.back().EqualsNoCase(name)) names.push_back(name);
    }
    return names;
  }

 private:
  struct NoCase {
    bool operator()(const KorText& a, const KorText& b) const { return a.CompareNoCase(b) < 0; }
  };
  using Stored = std::variant<std::uint32_t, KorText>;

  template <class Kind> std::optional<Kind> Read(const KorText& key, const KorText& value) {
    const Lock lock(mutex);
    const auto found = values.find(key + u"\n" + value);
    if (found == values.end() || !std::holds_alternative<Kind>(found->second)) return std::nullopt;
    return std::get<Kind>(found->second);
  }
  bool Write(const KorText& key, const KorText& value, const Stored& content) {
    const Lock lock(mutex);
    values[key + u"\n" + value] = content;
    return true;
  }

  Mutex mutex;
  std::map<KorText, Stored, NoCase> values KOR_GUARDED_BY(mutex); // "key\nvalue"
};

} // namespace kor
