#include "services/ini/debug_file.h"

#include <algorithm>
#include <vector>

#include "services/core/app_interface.h"
#include "services/ini/ini_file.h"

namespace kor {

namespace {

constexpr char16_t kSection[] = u"DEBUG_MODES";
constexpr PropertyType kSearched[] = {kStartInFolder, kSettingsFolder, kProgramFolder};

bool HasFolder(const KorText& name) {
  return name.Find(u'/') != KorText::kNone || name.Find(u'\\') != KorText::kNone;
}

KorText PathIn(PropertyType type, const KorText& name) {
  const KorText folder = App().GetApplicationPropertyPath(type);
  return folder.IsEmpty() ? folder : folder + name;
}

// The part before the first "=" as it stands; the whole line without one.
KorText NameOf(const KorText& line) {
  return line.Left(std::min(line.Find(u'='), line.Length()));
}

std::int32_t ValueOf(const KorText& line) {
  const std::size_t equals = line.Find(u'=');
  return equals == KorText::kNone ? 1 : line.Mid(equals + 1).Trimmed().ToInteger();
}

void ApplyLine(const KorText& line, const std::vector<DebugMode>& modes) {
  const KorText name = NameOf(line);
  for (const DebugMode& mode : modes) {
    if (mode.name.EqualsNoCase(name)) App().SetDebugMode(mode.name, ValueOf(line));
  }
}

void PutMode(const DebugMode& mode, std::vector<KorText>& lines) {
  const KorText written = KorText::Format(u"%s=%i", mode.name, mode.value);
  const auto old = std::ranges::find_if(
      lines, [&](const KorText& line) { return NameOf(line).EqualsNoCase(mode.name); });
  if (old != lines.end()) {
    *old = written;
  } else if (mode.value != 0) {
    lines.push_back(written);
  }
}

} // namespace

KorText FindDebugFile(const KorText& name) {
  if (HasFolder(name)) return App().FileExists(name) ? name : KorText();
  for (const PropertyType type : kSearched) {
    const KorText path = PathIn(type, name);
    if (!path.IsEmpty() && App().FileExists(path)) return path;
  }
  return {};
}

bool LoadDebugFile(const KorText& name) {
  std::vector<KorText> lines;
  iniFile file(FindDebugFile(name));
  file.Add<iniStringList>(kSection, &lines);
  if (!file.Read()) return false;
  const std::vector<DebugMode> modes = App().ActiveDebugModes();
  for (const KorText& line : lines)
    ApplyLine(line, modes);
  return true;
}

bool SaveDebugFile(const KorText& name) {
  KorText path = FindDebugFile(name);
  if (path.IsEmpty()) {
    App().MakeFolder(App().GetApplicationPropertyPath(kSettingsFolder));
    path = HasFolder(name) ? name : PathIn(kSettingsFolder, name);
  }
  std::vector<KorText> lines;
  iniFile file(path);
  file.Add<iniStringList>(kSection, &lines);
  file.Read();
  for (const DebugMode& mode : App().ActiveDebugModes())
    PutMode(mode, lines);
  file.Write({}, {}, Failures::Reported);
  return file.LastSaveSucceeded();
}

} // namespace kor
