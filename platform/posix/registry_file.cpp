#include "platform/posix/registry_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <string>

#include "services/core/as_bytes.h"
#include "services/core/text_lookup.h"
#include "services/core/thread_annotations.h"

namespace kor {

namespace {

constexpr auto kMostLines = static_cast<std::ptrdiff_t>(kMostSettingsLines);

// How long a writer waits for another program's lock, and how often it looks, in milliseconds.
constexpr std::uint32_t kLockWait = 5000;
constexpr std::uint32_t kLockStep = 50;

bool IsEscape(std::u16string_view text) {
  return text.size() >= 6 && text.starts_with(u"%u") &&
         std::all_of(text.begin() + 2, text.begin() + 6,
                     [](char16_t c) { return HexValue(c) >= 0; });
}

bool IsHigh(char16_t c) {
  return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLow(char16_t c) {
  return c >= 0xDC00 && c <= 0xDFFF;
}

// Where a text stands in the file: a name ends at "=" and must not look like a section.
enum class Place { Section, Name, Value };

// Whether the character at a place can't stand in a line as it is.
bool NeedsEscape(std::u16string_view text, std::size_t at, Place place) {
  const char16_t c = text[at];
  const bool first = at == 0, last = at + 1 == text.size();
  if (c < u' ' || c == 0x7F || (c == u' ' && (first || last))) return true;
  if (place == Place::Name && (c == u'=' || (first && (c == u'[' || c == u';' || c == u'#'))))
    return true;
  if (IsHigh(c)) return last || !IsLow(text[at + 1]);
  if (IsLow(c)) return first || !IsHigh(text[at - 1]);
  return IsEscape(text.substr(at));
}

KorText Escaped(std::u16string_view text, Place place) {
  KorText escaped;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (NeedsEscape(text, i, place)) {
      escaped += KorText::Format(u"%%u%04X", text[i]);
    } else {
      escaped += text[i];
    }
  }
  return escaped;
}

KorText Unescaped(std::u16string_view text) {
  KorText plain;
  while (!text.empty()) {
    const bool escape = IsEscape(text);
    if (escape) {
      const std::string digits = KorText(text.substr(2, 4)).ToBytes();
      plain += static_cast<char16_t>(std::stoul(digits, nullptr, 16));
    } else {
      plain += text[0];
    }
    text.remove_prefix(escape ? 6 : 1);
  }
  return plain;
}

std::optional<KorText> SectionOf(const KorText& line) {
  const KorText text = line.Trimmed();
  if (!text.StartsWith(u"[") || !text.EndsWith(u"]")) return std::nullopt;
  return Unescaped(text.Mid(1, text.Length() - 2));
}

// The lines of a key's section, from the one after its heading to the next section or the end of
// the file.
struct Section {
  std::size_t start = KorText::kNone, end = KorText::kNone;
};

Section FindSection(const std::vector<KorText>& lines, const KorText& key) {
  Section section;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const std::optional<KorText> name = SectionOf(lines[i]);
    if (!name) continue;
    if (section.start != KorText::kNone) return {section.start, i};
    if (name->EqualsNoCase(key)) section = {i + 1, lines.size()};
  }
  return section;
}

std::size_t FindLine(const std::vector<KorText>& lines, const Section& section,
                     const KorText& value) {
  if (section.start == KorText::kNone) return KorText::kNone;
  for (std::size_t i = section.start; i < section.end; ++i) {
    const std::size_t equals = lines[i].Find(u'=');
    if (equals == KorText::kNone) continue;
    if (Unescaped(lines[i].Left(equals).Trimmed()).EqualsNoCase(value)) return i;
  }
  return KorText::kNone;
}

// Puts the line into its section, after the section's last value.
void InsertLine(std::vector<KorText>& lines, const Section& section, const KorText& key,
                const KorText& line) {
  if (section.start == KorText::kNone) {
    if (!lines.empty()) lines.emplace_back();
    lines.push_back(u"[" + Escaped(key, Place::Section) + u"]");
    lines.push_back(line);
    return;
  }
  std::size_t at = section.end;
  while (at > section.start && lines[at - 1].Trimmed().IsEmpty())
    --at;
  lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), line);
}

// Keeps two programs from changing the file at once, and leaves nothing behind. Whoever may read
// the folder can hold its lock, so the wait has an end.
class FolderLock {
 public:
  FolderLock(const KorText& folder, AppInterface& app)
      : handle(::open(folder.ToUtf8().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const std::uint32_t start = app.TickCount();
    while (handle >= 0 && IsHeld() && app.TickCount() - start < kLockWait)
      app.SleepMilliseconds(kLockStep);
    held = handle < 0 || !IsHeld();
  }
  ~FolderLock() {
    if (handle >= 0) ::close(handle);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

  bool IsOurs() const { return held; }

 private:
  // By another program. Where there are no locks, the rename alone must do.
  bool IsHeld() const { return ::flock(handle, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK; }

  int handle;
  bool held = false;
};

} // namespace

RegistryFile::RegistryFile(AppInterface& owner) : app(owner) {}

KorText RegistryFile::Folder() {
  return app.GetApplicationPropertyPath(kSettingsFolder);
}

KorText RegistryFile::Path() {
  return Folder() + app.FileNames().registry;
}

std::optional<KorText> RegistryFile::ReadText(const KorText& key, const KorText& value) {
  const std::optional<std::vector<KorText>> lines = Load();
  if (!lines) return std::nullopt;
  const std::size_t at = FindLine(*lines, FindSection(*lines, key), value);
  if (at == KorText::kNone) return std::nullopt;
  const KorText& line = (*lines)[at];
  return Unescaped(line.Mid(line.Find(u'=') + 1).Trimmed());
}

std::optional<std::uint32_t> RegistryFile::ReadNumber(const KorText& key, const KorText& value) {
  const std::optional<KorText> text = ReadText(key, value);
  if (!text || !IsNumber(*text)) {
    return std::nullopt;
  }
  const std::int64_t number = text->ToInteger64();
  if (number > 0xFFFFFFFF) return std::nullopt;
  return static_cast<std::uint32_t>(number);
}

bool RegistryFile::WriteNumber(const KorText& key, const KorText& value, std::uint32_t number) {
  return WriteText(key, value, KorText::Format(u"%u", number));
}

bool RegistryFile::WriteText(const KorText& key, const KorText& value, const KorText& text) {
  if (changing != std::this_thread::get_id())
    return Change([&] { return WriteText(key, value, text); });
  std::optional<std::vector<KorText>> lines = Load();
  if (!lines) return false;
  const KorText line = Escaped(value, Place::Name) + u"=" + Escaped(text, Place::Value);
  const Section section = FindSection(*lines, key);
  const std::size_t at = FindLine(*lines, section, value);
  if (at != KorText::kNone) {
    (*lines)[at] = line;
  } else {
    InsertLine(*lines, section, key, line);
  }
  return Save(*lines);
}

bool RegistryFile::Change(const std::function<bool()>& work) {
  const KorText folder = Folder();
  if (!app.MakeFolder(folder)) return false;
  static Mutex turns; // of this program's threads
  const Lock turn(turns);
  const FolderLock lock(folder, app);
  if (!lock.IsOurs()) {
    app.SetLastError(EBUSY);
    return false;
  }
  changing = std::this_thread::get_id();
  const bool done = work();
  changing = std::thread::id();
  return done;
}

std::vector<KorText> RegistryFile::SubKeys(const KorText& key) {
  std::vector<KorText> names;
  const KorText prefix = key + u"\\";
  for (const KorText& line : Load().value_or(std::vector<KorText>())) {
    const std::optional<KorText> section = SectionOf(line);
    if (!section || !section->StartsWithNoCase(prefix)) continue;
    const KorText below = section->Mid(prefix.Length());
    const KorText name = below.Left(below.Find(u'\\'));
    const bool known = std::any_of(names.begin(), names.end(),
                                   [&](const KorText& other) { return other.EqualsNoCase(name); });
    if (!name.IsEmpty() && !known) names.push_back(name);
  }
  return names;
}

// Says so once: the file is read for every value.
void RegistryFile::TellTooLarge() {
  static std::atomic<bool> said = false;
  if (said.exchange(true)) return;
  const KorText why = LookUpText(kTexts.settingsFileTooLarge);
  app.Report({MessageLevel::Warn, Path(), why, {}, 0});
}

// The file's lines; none when there is no file, std::nullopt when it can't be read.
std::optional<std::vector<KorText>> RegistryFile::Load() {
  const KorText path = Path();
  if (!app.FileAttributes(path)) return std::vector<KorText>();
  const std::unique_ptr<OsFile> file = app.OpenFile(path, FileAccess::Read);
  const auto size = file ? file->Size() : std::nullopt;
  if (!size) return std::nullopt;
  std::string bytes(*size <= kLargestSettings ? static_cast<std::size_t>(*size) : 0, '\0');
  if (file->Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}) != bytes.size()) {
    return std::nullopt;
  }
  if (*size > kLargestSettings || std::ranges::count(bytes, '\n') > kMostLines) {
    TellTooLarge();
    return std::nullopt;
  }
  std::vector<KorText> lines = Split(KorText::FromUtf8(bytes), u'\n');
  for (KorText& line : lines) {
    if (line.EndsWith(u"\r")) line.Remove(line.Length() - 1, 1);
  }
  if (!lines.empty() && lines.back().IsEmpty()) lines.pop_back();
  if (!lines.empty() && lines[0].StartsWith(u"\uFEFF")) lines[0].Remove(0, 1);
  return lines;
}

bool RegistryFile::Save(const std::vector<KorText>& lines) {
  std::string bytes;
  for (const KorText& line : lines)
    bytes += line.ToUtf8() + "\n";
  const KorText target = app.LinkTarget(Path());
  if (target.IsEmpty() || !app.CanReplaceFile(target)) return false;
  const KorText beside = target + u".new";
  app.RemoveFile(beside); // what a killed program left, or a link that would lead elsewhere
  const std::unique_ptr<OsFile> file = app.OpenFile(beside, FileAccess::CreateNew);
  if (!file) return false;
  app.CopyAttributes(target, *file);
  const bool written = file->Write(AsBytes(bytes)) == bytes.size() && file->Sync();
  if (file->Close() && written && app.RenameFile(beside, target)) return app.SyncFolder(Folder());
  const std::uint32_t error = app.LastError();
  app.RemoveFile(beside);
  app.SetLastError(error);
  return false;
}

} // namespace kor
