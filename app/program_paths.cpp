#include "app/program_paths.h"

#include <algorithm>
#include <vector>

#include "app/corrupt_installation.h"
#include "services/core/app_interface.h"
#include "services/ini/ini_file.h"

namespace kor {

namespace {

struct RegisteredKind {
  int kind;
  const char16_t* name;
  const char16_t* subFolder;
};

constexpr RegisteredKind kRegistered[] = {
    {3, u"Main", u""},
    {4, u"Project", u"projects"},
    {5, u"Parts", u"parts"},
    {8, u"CNC", u"cnc"},
    {9, u"Database", u"database"},
    {15, u"DXF", u"dxfs"},
    {16, u"Blocks", u"blocks"},
    {32, u"Filters", u"filters"},
    {33, u"Remnants", u"remnants"},
    {34, u"Images", u"images"},
    {35, u"Reports", u"mis"}, // not a form of its name; intended
    {36, u"Items", u"items"},
    {37, u"Scripts", u"scripts"},
    {38, u"Backup", u"backup"},
    {39, u"Profiles", u"profiles"},
    {40, u"Textures", u"textures"},
    {41, u"Download", u"download"},
    {42, u"Common", u"common"},
    {45, u"Rotary NC", u"cnc"}, // shares the default of "CNC", with a key of its own; intended
    {46, u"Shear NC", u"shearnc"},
};

constexpr char16_t kNoName[] = u"ERROR";

const RegisteredKind* FindKind(int kind) {
  const auto* found = std::ranges::find(kRegistered, kind, &RegisteredKind::kind);
  return found == std::ranges::end(kRegistered) ? nullptr : found;
}

std::size_t IndexOf(int kind) {
  return static_cast<std::size_t>(kind);
}

bool IsAbsolute(const KorText& folder) {
  return folder.StartsWith(u"/") || (folder.Length() >= 2 && folder[1] == u':');
}

// The length of the part that ".." can't climb above: "C:/", "//server/" or "/".
std::size_t RootLength(const KorText& folder) {
  if (folder.StartsWith(u"//")) return std::min(folder.Find(u'/', 2), folder.Length() - 1) + 1;
  if (folder.StartsWith(u"/")) return 1;
  return folder.Length() >= 2 && folder[1] == u':' ? 3 : 0;
}

void Climb(KorText& folder) {
  if (folder.Length() <= RootLength(folder)) return;
  const std::size_t parent = folder.View().find_last_of(u'/', folder.Length() - 2);
  folder = folder.Left(parent == KorText::kNone ? 0 : parent + 1);
}

} // namespace

KorText NormalisedFolder(KorText folder) {
  folder.ReplaceAll(u'\\', u'/');
  if (folder.Last() != u'/') folder += u'/'; // also an empty one: the root
  return folder;
}

KorText ResolvedFolder(const KorText& folder, const KorText& base) {
  if (folder.IsEmpty()) return base;
  const KorText normalised = NormalisedFolder(folder);
  if (IsAbsolute(normalised)) return normalised;
  KorText resolved = base;
  for (const KorText& part : Split(normalised, u'/')) {
    if (part == u"..") Climb(resolved);
    if (part.IsEmpty() || part == u"." || part == u"..") continue;
    resolved += part + u"/";
  }
  return resolved;
}

KorText ProgramPaths::DisplayName(int kind) {
  const RegisteredKind* found = FindKind(kind);
  return found ? found->name : kNoName;
}

KorText ProgramPaths::DefaultSubFolder(int kind) {
  const RegisteredKind* found = FindKind(kind);
  return found ? found->subFolder : kNoName;
}

bool ProgramPaths::Load(Defaults defaults) {
  texts.fill({});
  folders.fill({});
  checked.fill(false);
  loaded = writingFailed = false;
  location = App().GetApplicationPropertyPath(kStartInFolder);
  if (location.IsEmpty()) return false;
  location = NormalisedFolder(location);
  if (!ReadSection(defaults)) return false;
  loaded = true;
  HandOver();
  return true;
}

bool ProgramPaths::ReadSection(Defaults defaults) {
  iniFile file(location + kPathsFileName);
  for (const RegisteredKind& entry : kRegistered) {
    file.Add<iniString>(kPathsSection, entry.name, &texts[IndexOf(entry.kind)]);
  }
  if (!file.Load() || !file.HasSection(kPathsSection)) return false;
  file.Read();
  const bool usedDefault = FillDefaults();
  if (!usedDefault || defaults == Defaults::NotWritten) return true;
  file.Write(KorText(kPathsSection), {}, Failures::Reported);
  writingFailed = !file.LastSaveSucceeded();
  return true;
}

// Completes and normalises the texts and resolves them; true when a kind but "Main" took its
// default.
bool ProgramPaths::FillDefaults() {
  KorText& mainText = texts[kMainFolder];
  mainText = NormalisedFolder(mainText.IsEmpty() ? KorText(u".") : mainText);
  bool usedDefault = false;
  for (const RegisteredKind& entry : kRegistered) {
    KorText& text = texts[IndexOf(entry.kind)];
    if (text.IsEmpty()) {
      text = mainText + entry.subFolder;
      usedDefault = true;
    }
    text = NormalisedFolder(text);
    folders[IndexOf(entry.kind)] = ResolvedFolder(text, location);
  }
  const KorText shared = App().GetApplicationPropertyPath(kDataFolder);
  if (!shared.IsEmpty()) folders[kSharedDataFolder] = NormalisedFolder(shared);
  return usedDefault;
}

// Kinds without a key all go under "ERROR", where the last one stays; nobody asks for that name.
void ProgramPaths::HandOver() {
  for (int kind = 0; kind < kFolderKinds; ++kind) {
    App().SetProgramFolder(DisplayName(kind), folders[IndexOf(kind)]);
  }
}

bool ProgramPaths::LoadOrReport(Defaults defaults) {
  if (Load(defaults)) return true;
  ReportCorruptInstallation(location);
  return false;
}

KorText ProgramPaths::GetFolder(int kind, FolderOptions options) {
  if (!loaded && !(options.quiet ? Load() : LoadOrReport())) return {};
  if (kind < 0 || kind >= kFolderKinds) return {};
  KorText folder = folders[IndexOf(kind)];
  if (kind == kReportsFolder && !reportsSubFolder.IsEmpty() && !options.noSubFolder) {
    folder += u"/" + reportsSubFolder;
  }
  bool& isChecked = checked[IndexOf(kind)];
  if (!isChecked && options.makeIfMissing) isChecked = App().MakeFolder(folder);
  return folder;
}

void ProgramPaths::SetReportsSubFolder(const KorText& name) {
  reportsSubFolder = name;
  checked[kReportsFolder] = false;
}

} // namespace kor
