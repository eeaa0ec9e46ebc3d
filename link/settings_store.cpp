#include "link/settings_store.h"

#include <algorithm>
#include <span>
#include <utility>

#include "files/kor_file.h"
#include "files/paths.h"
#include "files/simple_file.h"
#include "link/profile_file.h"
#include "services/core/app_interface.h"
#include "services/core/text_lookup.h"

namespace kor {

namespace {

KorText Caption() {
  return LookUpText(kTexts.downloadSettings);
}

// A record has zero bytes from its first sizes on; a text has none, except UTF-16 with its mark.
bool HoldsRecord(const KorText& path) {
  SimpleFile file(path);
  std::uint8_t start[64];
  if (!file.Open(kFileRead)) return false;
  const std::span bytes(start, file.Read(start));
  const bool isUtf16 = bytes.size() >= 2 && (bytes[0] ^ bytes[1]) == 1 && bytes[0] >= 0xFE;
  return !isUtf16 && std::ranges::count(bytes, 0) > 0;
}

KorText SettingsFolder() {
  return App().GetApplicationPropertyPath(kSettingsFolder);
}

} // namespace

SettingsStore::SettingsStore(LinkSettings& windowSettings, const KorText& defaultFolder,
                             Warning warning)
    : settings(windowSettings), cncFolder(defaultFolder), warn(std::move(warning)) {
  settings.uploadPath = cncFolder;
  settings.downloadPath = cncFolder;
}

void SettingsStore::SetName(const KorText& name) {
  const KorText file = name + u".INI";
  if (App().CanNameFile(file)) {
    path = SettingsFolder() + file;
    Claim(name);
    return;
  }
  const KorText text = LookUpText(kTexts.settingsNotKept);
  warn(Caption(), KorText::Format(text, name));
}

// Two programs that save would overwrite each other's changes. A claim that can't be made for
// another reason, as in a read-only folder, keeps nobody from saving.
void SettingsStore::Claim(const KorText& name) {
  const KorText held = PathBeside(u".lock");
  App().MakeFolder(SettingsFolder());
  claim = App().OpenFile(held, FileAccess::ReadWrite);
  keptElsewhere = !claim && App().Files().Exists(held) && App().Files().CanReplace(held);
  if (!keptElsewhere) return;
  const KorText text = LookUpText(kTexts.settingsHeldElsewhere);
  warn(Caption(), KorText::Format(text, name));
}

KorText SettingsStore::PathBeside(const KorText& ending) const {
  return path.IsEmpty() ? path : path.Left(path.FindLast(u'.')) + ending;
}

// A stored record whose port is another one is not trusted when it is loaded.
bool SettingsStore::NamesComPort() const {
  return settings.port.StartsWith(u"COM");
}

// A text profile in the record's place, as on the first start, is no failure worth a word. Reading
// the profile reports a file that is too large for both.
bool SettingsStore::ReadRecord(Storable& application) const {
  RecordFileOptions options;
  options.report = false;
  options.largest = ProfileFile::kLargestProfile;
  return LoadObject(path, application, options);
}

// A record without a COM name would cost all settings at the next start.
bool SettingsStore::WriteRecord(Storable& application) {
  if (keptElsewhere) return true; // said at the start
  RecordFileOptions options;
  options.report = false;
  App().MakeFolder(SettingsFolder());
  const KorText used = std::exchange(settings.port, keptPort);
  const bool saved = SaveObject(path, application, options);
  settings.port = used;
  return saved;
}

// A stored record that names no COM port is not trusted: it is loaded once more.
bool SettingsStore::LoadTwice(const RecordStep& load) const {
  if (!load()) return false;
  if (NamesComPort() || (load() && NamesComPort())) return true;
  warn(LookUpText(kTexts.badIniFile), LookUpText(kTexts.settingsLost));
  return false;
}

// The next save replaces the record, and with it what could still be read out of it.
void SettingsStore::KeepDamaged() const {
  if (!HoldsRecord(path)) return;
  const KorText copy = path + u".damaged";
  const bool kept = App().DuplicateFile(path, copy);
  App().DebugWarning(
      kept ? u"Settings record damaged, kept as" : u"Settings record damaged, not kept as", copy);
}

void SettingsStore::Load(const RecordStep& load) {
  if (!LoadTwice(load)) {
    KeepDamaged();
    ReadSettingsProfile(path, cncFolder, settings);
  }
  EnsureTrailingSeparators(settings);
  if (NamesComPort())
    keptPort = settings.port;
  else
    WarnOfUnkeptPort();
}

void SettingsStore::Change(const std::function<void(LinkSettings&)>& change) {
  change(settings);
  if (NamesComPort()) keptPort = settings.port;
}

void SettingsStore::Save(const RecordStep& save) {
  if (path.IsEmpty()) return;
  const bool reported = lossReported;
  lossReported = !save();
  if (lossReported && !reported)
    App().Report({MessageLevel::Warn, path, LookUpText(kTexts.settingsLost),
                  App().ErrorText(App().LastError()), 0});
}

void SettingsStore::WarnOfUnkeptPort() const {
  if (NamesComPort()) return;
  const KorText text = LookUpText(kTexts.portUntilExit);
  warn(Caption(), KorText::Format(text, settings.port, keptPort, keptPort, settings.port));
}

void SettingsStore::ClearAway() const {
  for (const KorText& folder : {SettingsFolder(), FolderOfPath(App().LinkTarget(path))})
    if (!folder.IsEmpty()) RemoveAbandonedParts(App().Files(), folder);
}

} // namespace kor
