// The installed configurations: folders that hold a paths file, kept in the registry below the key
// "Configuration" (caches: "Cache"), one sub-key for each. Stateless: every call goes to the
// registry. Main thread.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "services/core/kor_text.h"

namespace kor {

enum class ConfigurationKind : int { Configuration = 0, Cache = 2, SecondCache = 3 };

struct Configuration {
  KorText subKey; // the last part of its registry key
  KorText name;
  KorText path; // "/" only, with one at the end
  KorText guid;
  bool isDefault = false;
  std::uint32_t version = 0; // of its layout
};

// Whether two folders are the same, compared as the platform compares file names.
bool SameFolder(const KorText& a, const KorText& b);

// Returns the registry key of the list, or of one of its entries.
KorText ConfigurationKey(ConfigurationKind kind, const KorText& subName = {});

// Lists the entries in the registry's order. "%PUBLIC%/Documents/" in a path, in either case,
// stands for the platform's public documents folder. An entry without a path is left out. With a
// file name, an entry counts only when that file exists in its folder, and a folder only once.
std::vector<Configuration>
ListConfigurations(ConfigurationKind kind = ConfigurationKind::Configuration,
                   const KorText& fileName = {});

// Returns the entry of the highest version among those marked as default, or among all when none
// is; the first of several. std::nullopt for an empty list.
std::optional<Configuration> ChooseDefault(const std::vector<Configuration>& list);

// Writes an entry. One that already names the same folder is changed and keeps its sub-key, and its
// GUID when none is given; a new one gets a new GUID. A default takes the mark from all others.
// Returns the entry as it now stands, or std::nullopt when the registry can't be written (LastError
// tells why).
std::optional<Configuration> RegisterConfiguration(Configuration entry);

// Makes a new random identifier, "{8-4-4-4-12}" in upper-case hexadecimal digits.
KorText NewGuid();

// Settles the start-in folder, tells it to the application services and returns it: the working
// folder when KOR.INI is there, else the default configuration, else the data folder.
KorText SettleStartInFolder();

} // namespace kor
