// FakeRegistry: a registry in memory. Any thread.
#pragma once

#include <map>
#include <utility>
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
  std::vector<KorText> SubKeys(const KorText& key) override {
    Lock lock(mutex);
    std::vector<KorText> names;
    for (const auto& [stored, content] : values) {
      const KorText& known = stored.first;
      if (!known.StartsWithNoCase(key + u"\\")) continue;
      const KorText below = known.Mid(key.Length() + 1);
      const KorText name = below.Left(below.Find(u'\\'));
      if (names.empty() || !names.back().EqualsNoCase(name)) names.push_back(name);
    }
    return names;
  }

 private:
  using Name = std::pair<KorText, KorText>; // key, value
  struct FoldedOrder {
    bool operator()(const Name& a, const Name& b) const {
      const int order = a.first.CompareNoCase(b.first);
      return order != 0 ? order < 0 : a.second.CompareNoCase(b.second) < 0;
    }
  };
  using Stored = std::variant<std::uint32_t, KorText>;

  template <class Kind> std::optional<Kind> Read(const KorText& key, const KorText& value) {
    const Lock lock(mutex);
    const auto found = values.find({key, value});
    if (found == values.end() || !std::holds_alternative<Kind>(found->second)) return std::nullopt;
    return std::get<Kind>(found->second);
  }
  bool Write(const KorText& key, const KorText& value, const Stored& content) {
    const Lock lock(mutex);
    values[{key, value}] = content;
    return true;
  }

  Mutex mutex;
  std::map<Name, Stored, FoldedOrder> values KOR_GUARDED_BY(mutex);
};

} // namespace kor
