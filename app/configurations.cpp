#include "app/configurations.h"

#include <algorithm>
#include <random>

#include "app/program_paths.h"
#include "services/core/app_interface.h"

namespace kor {

namespace {

constexpr char16_t kPublicDocuments[] = u"%PUBLIC%/Documents/";
constexpr std::size_t kPublicLength = std::size(kPublicDocuments) - 1;

KorText ExpandedPath(const KorText& stored) {
  KorText path = NormalisedFolder(stored);
  const std::size_t at = path.FindNoCase(kPublicDocuments);
  if (at == KorText::kNone) return path;
  return path.Left(at) + App().PublicDocumentsFolder() + path.Mid(at + kPublicLength);
}

Configuration ReadEntry(ConfigurationKind kind, const KorText& subKey) {
  const KorText key = ConfigurationKey(kind, subKey);
  const KorText path = App().ReadRegistryText(key, u"Path").value_or(KorText());
  Configuration entry;
  entry.subKey = subKey;
  entry.name = App().ReadRegistryText(key, u"Name").value_or(KorText());
  entry.path = path.IsEmpty() ? path : ExpandedPath(path);
  entry.guid = App().ReadRegistryText(key, u"GUID").value_or(KorText());
  entry.isDefault = App().ReadRegistryNumber(key, u"Default").value_or(0) != 0;
  entry.version = App().ReadRegistryNumber(key, u"Version").value_or(0);
  return entry;
}

auto FindFolder(const std::vector<Configuration>& list, const KorText& path) {
  return std::ranges::find_if(
      list, [&](const Configuration& other) { return SameFolder(other.path, path); });
}

bool WriteEntry(const Configuration& entry) {
  const KorText key = ConfigurationKey(ConfigurationKind::Configuration, entry.subKey);
  return App().WriteRegistryText(key, u"Name", entry.name) &&
         App().WriteRegistryText(key, u"Path", entry.path) &&
         App().WriteRegistryNumber(key, u"Default", entry.isDefault ? 1 : 0) &&
         App().WriteRegistryText(key, u"GUID", entry.guid) &&
         App().WriteRegistryNumber(key, u"Version", entry.version);
}

bool ClearOtherDefaults(const std::vector<Configuration>& list, const Configuration& entry) {
  return std::ranges::all_of(list, [&](const Configuration& other) {
    if (!other.isDefault || other.subKey.EqualsNoCase(entry.subKey)) return true;
    const KorText key = ConfigurationKey(ConfigurationKind::Configuration, other.subKey);
    return App().WriteRegistryNumber(key, u"Default", 0);
  });
}

bool Store(Configuration& entry) {
  const std::vector<Configuration> list = ListConfigurations();
  const auto old = FindFolder(list, entry.path);
  if (entry.guid.IsEmpty()) {
    entry.guid = old == list.end() || old->guid.IsEmpty() ? NewGuid() : old->guid;
  }
  entry.subKey = old == list.end() ? entry.guid : old->subKey;
  // Take the mark from the others last: if writing this entry fails, the list must still have a
  // default.
  return WriteEntry(entry) && (!entry.isDefault || ClearOtherDefaults(list, entry));
}

} // namespace

bool SameFolder(const KorText& a, const KorText& b) {
  return App().FileNamesIgnoreCase() ? a.EqualsNoCase(b) : a == b;
}

KorText ConfigurationKey(ConfigurationKind kind, const KorText& subName) {
  KorText key = kind == ConfigurationKind::Configuration ? u"Configuration" : u"Cache";
  if (!subName.IsEmpty()) key += u"\\" + subName;
  return AppInterface::RegistryKey(key);
}

std::vector<Configuration> ListConfigurations(ConfigurationKind kind, const KorText& fileName) {
  std::vector<Configuration> list;
  for (const KorText& subKey : App().ListRegistrySubKeys(ConfigurationKey(kind))) {
    Configuration entry = ReadEntry(kind, subKey);
    if (entry.path.IsEmpty()) continue;
    const bool counts = fileName.IsEmpty() || (App().FileExists(entry.path + fileName) &&
                                               FindFolder(list, entry.path) == list.end());
    if (counts) list.push_back(std::move(entry));
  }
  return list;
}

std::optional<Configuration> ChooseDefault(const std::vector<Configuration>& list) {
  const auto lesser = [](const Configuration& a, const Configuration& b) {
    return a.isDefault != b.isDefault ? b.isDefault : a.version < b.version;
  };
  const auto best = std::ranges::max_element(list, lesser);
  return best == list.end() ? std::nullopt : std::optional(*best);
}

std::optional<Configuration> RegisterConfiguration(Configuration entry) {
  entry.path = NormalisedFolder(entry.path);
  const bool stored = App().ChangeRegistry([&] { return Store(entry); });
  return stored ? std::optional(entry) : std::nullopt;
}

KorText NewGuid() {
  std::random_device source;
  std::uniform_int_distribution<std::uint32_t> bits(0, 0xFFFF);
  const std::uint32_t version = 0x4000 | (bits(source) & 0x0FFF); // random, by its own layout
  const std::uint32_t variant = 0x8000 | (bits(source) & 0x3FFF);
  return KorText::Format(u"{%04X%04X-%04X-%04X-%04X-%04X%04X%04X}", bits(source), bits(source),
                         bits(source), version, variant, bits(source), bits(source), bits(source));
}

KorText SettleStartInFolder() {
  KorText folder = App().GetApplicationPropertyPath(kStartInFolder);
  const KorText data = App().GetApplicationPropertyPath(kDataFolder);
  // The services start with the working folder or with the data folder, which may be the same one.
  const bool isWorkingFolder = folder != data || App().FileExists(kPathsFileName);
  if (folder.IsEmpty() || !isWorkingFolder || !App().FileExists(folder + kPathsFileName)) {
    const std::optional<Configuration> chosen =
        ChooseDefault(ListConfigurations(ConfigurationKind::Configuration, kPathsFileName));
    folder = chosen ? chosen->path : data;
    App().SetApplicationPropertyPath(kStartInFolder, folder);
  }
  return folder;
}

} // namespace kor
