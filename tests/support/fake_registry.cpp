#include "tests/support/fake_registry.h"

namespace kor {

std::optional<FakeRegistry::RegistryValue> FakeRegistry::FindValue(const KorText& key,
                                                                   const KorText& value) {
  Lock lock(mutex);
  const auto values = keys.find(key);
  if (values == keys.end()) return std::nullopt;
  const auto found = values->second.find(value);
  if (found == values->second.end()) return std::nullopt;
  return found->second;
}

std::optional<std::uint32_t> FakeRegistry::ReadNumber(const KorText& key, const KorText& value) {
  const std::optional<RegistryValue> found = FindValue(key, value);
  return found ? found->number : std::nullopt;
}

std::optional<KorText> FakeRegistry::ReadText(const KorText& key, const KorText& value) {
  const std::optional<RegistryValue> found = FindValue(key, value);
  if (!found || found->number) return std::nullopt;
  return found->text;
}

bool FakeRegistry::WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) {
  Lock lock(mutex);
  keys[key][value] = {{}, number};
  return true;
}

bool FakeRegistry::WriteText(const KorText& key, const KorText& value, const KorText& text) {
  Lock lock(mutex);
  keys[key][value] = {text, std::nullopt};
  return true;
}

std::vector<KorText> FakeRegistry::SubKeys(const KorText& key) {
  Lock lock(mutex);
  std::vector<KorText> names;
  for (const auto& [known, values] : keys) {
    if (!known.StartsWithNoCase(key + u"\\")) continue;
    const KorText below = known.Mid(key.Length() + 1);
    const KorText name = below.Left(below.Find(u'\\'));
    if (names.empty() || !names.back().EqualsNoCase(name)) names.push_back(name);
  }
  return names;
}

} // namespace kor
