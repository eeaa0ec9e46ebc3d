#include "services/core/app_interface.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>

#include "services/core/as_bytes.h"
#include "services/core/path_text.h"

namespace kor {

namespace {

constexpr const char16_t* kLongPathMode = u"AlwaysUseLongPathSupport";
constexpr const char16_t* kDatelessMode = u"Reg_Dateless";
constexpr int kTemporaryAttempts = 100000;
constexpr std::size_t kLongestPlainPath = 228;
constexpr std::uint32_t kDefaultWaitLockPeriod = 3000; // milliseconds

std::atomic<AppInterface*> currentApp = nullptr;

KorText LevelName(MessageLevel level) {
  constexpr std::array kNames = {u"WARN", u"NORM", u"FATAL", u"QUERY", u"INFO"};
  const auto number = static_cast<std::int32_t>(level);
  if (number < 0 || number >= static_cast<std::int32_t>(kNames.size())) {
    return KorText::Format(u"%i", number);
  }
  return kNames[static_cast<std::size_t>(number)];
}

// A start value that differs between processes started at the same moment.
std::uint64_t TemporarySeed(const void* object) {
  const auto wall = std::chrono::system_clock::now().time_since_epoch().count();
  const auto since = std::chrono::steady_clock::now().time_since_epoch().count();
  return static_cast<std::uint64_t>(wall) ^ (static_cast<std::uint64_t>(since) << 20) ^
         reinterpret_cast<std::uintptr_t>(object);
}

} // namespace

AppInterface& App() {
  AppInterface* app = currentApp.load();
  if (!app) std::abort(); // used before main made it
  return *app;
}

void SetApp(AppInterface* app) {
  currentApp = app;
}

AppInterface::AppInterface(const ProgramNames& programNames)
    : names(programNames), temporaryNumbers(TemporarySeed(this)) {
  AddDebugMode(u"OS", kLongPathMode, u"Force long path support on for all path lengths");
  AddDebugMode(u"Regression", kDatelessMode, u"Don't use current time or dates - use fixed date");
}

AppInterface::~AppInterface() = default;

KorText AppInterface::Start(const KorText& name, const KorText& versionText) {
  applicationName = name;
  version = versionText;
  LoadRegionalSettings();
  SetApplicationPropertyString(kVersionText, version);
  FindFolders(version);
  const bool complete = !GetApplicationPropertyPath(kSettingsFolder).IsEmpty() &&
                        !GetApplicationPropertyPath(kDataFolder).IsEmpty();
  return complete ? KorText() : Environment().FolderAdvice(names);
}

void AppInterface::FindFolders(const KorText& versionText) {
  const PropertyFolders found = Environment().Folders(names, versionText);
  SetApplicationPropertyPath(kStartInFolder, found.startIn);
  SetApplicationPropertyPath(kTemporaryFolder, found.temporary);
  SetApplicationPropertyPath(kSettingsFolder, found.settings);
  SetApplicationPropertyPath(kProgramFolder, found.program);
  SetApplicationPropertyPath(kDataFolder, found.data);
}

// --- Messages ---

std::int32_t AppInterface::Report(const MessageRecord& record) {
  KorText block = u"\n----------------";
  block += KorText::Format(u"\nMSG:%s: \"%s\" (%i)", LevelName(record.level), record.message,
                           record.number);
  block += KorText::Format(u"\n Info: \"%s\"", record.info);
  if (!record.details.IsEmpty()) block += KorText::Format(u"\nDetails:\n%s", record.details);
  block += u"\n----------------";
  WriteLog(block);
  MessageReporter show;
  {
    Lock lock(mutex);
    show = reporter;
  }
  return show ? show(record) : record.number;
}

void AppInterface::DebugWarning(const KorText& message, const KorText& info) {
  WriteLog(KorText::Format(u"\nDBGWARN: \"%s\" Info: \"%s\"", message, info));
}

void AppInterface::DebugOutput(const KorText&) {}

void AppInterface::SetReporter(MessageReporter toUse) {
  Lock lock(mutex);
  reporter = std::move(toUse);
}

// Opened for both ways, and so locked against all others: nobody else adds to it or renames it.
bool AppInterface::OpenLog(const KorText& path) {
  std::unique_ptr<OsFile> opened;
  std::uint64_t size = 0;
  if (!path.IsEmpty()) {
    MakeFolder(FolderOfPath(path));
    opened = OpenFile(path, FileAccess::ReadWrite);
    const auto end = opened ? SeekFile(*opened, 0, SeekFrom::End) : std::nullopt;
    if (!end) return false;
    size = *end;
  }
  Lock lock(logMutex);
  log = std::move(opened);
  logPath = path;
  logSize = size;
  return true;
}

// Rename the log while it is still locked, where the system renames open files. Opening empties the
// file, so that a log that could not be renamed doesn't grow further either.
void AppInterface::StartNewLog() {
  const KorText older = logPath + u".1";
  const bool renamed = !log || RenameFile(logPath, older);
  log.reset();
  if (!renamed) RenameFile(logPath, older);
  log = OpenFile(logPath, FileAccess::Write);
  logSize = 0;
}

// Whoever reports a failure may ask for its number afterwards.
void AppInterface::AppendToLog(const std::string& bytes) {
  const std::uint32_t error = LastError();
  Lock lock(logMutex);
  const bool isFull = logSize > 0 && logSize + bytes.size() > kLongestLog;
  if (!logPath.IsEmpty() && (!log || isFull)) StartNewLog();
  if (log) logSize += log->Write(AsBytes(bytes));
  SetLastError(error);
}

void AppInterface::WriteLog(const KorText& text) {
  const std::string bytes = text.ToBytes();
  LogWriter write;
  {
    Lock lock(mutex);
    write = logWriter;
  }
  if (write)
    write(bytes.size(), [this, bytes] { AppendToLog(bytes); });
  else
    AppendToLog(bytes);
}

void AppInterface::SetLogWriter(LogWriter writer) {
  Lock lock(mutex);
  logWriter = std::move(writer);
}

void AppInterface::SetFailureNotice(const KorText& text) {
  Lock lock(mutex);
  failureNotice = text;
}

KorText AppInterface::FailureNotice() {
  Lock lock(mutex);
  return failureNotice;
}

// --- Debug modes ---

DebugMode* AppInterface::FindMode(const KorText& name) {
  const auto found = std::find_if(debugModes.begin(), debugModes.end(), [&](const DebugMode& mode) {
    return mode.name.EqualsNoCase(name);
  });
  return found == debugModes.end() ? nullptr : &*found;
}

bool AppInterface::IsActive(const DebugMode& mode) const {
  return mode.kind == 2 || debuggingEnabled;
}

void AppInterface::AddDebugMode(const KorText& group, const KorText& name,
                                const KorText& description, std::int32_t kind) {
  {
    Lock lock(mutex);
    if (!FindMode(name)) {
      debugModes.push_back({group, name, description, kind, 0});
      return;
    }
  }
  DebugWarning(u"Debug Mode added multiple times!", name);
}

std::int32_t AppInterface::GetDebugMode(const KorText& name) {
  {
    Lock lock(mutex);
    if (const DebugMode* mode = FindMode(name)) return IsActive(*mode) ? mode->value : 0;
  }
  DebugWarning(u"Invalid Debug Mode accessed", name);
  return 0;
}

void AppInterface::SetDebugMode(const KorText& name, std::int32_t value) {
  bool known = false;
  {
    Lock lock(mutex);
    DebugMode* mode = FindMode(name);
    known = mode && IsActive(*mode);
    if (known) mode->value = value;
  }
  if (known) return SettleLongPaths();
  DebugWarning(u"Invalid Debug Mode set", name);
}

void AppInterface::EnableDebugging(bool enable) {
  {
    Lock lock(mutex);
    debuggingEnabled = enable;
  }
  SettleLongPaths();
}

void AppInterface::SettleLongPaths() {
  Files().ForceLongPaths(GetDebugMode(kLongPathMode) != 0);
}

bool AppInterface::DebuggingEnabled() {
  Lock lock(mutex);
  return debuggingEnabled;
}

bool AppInterface::DebuggingAskedFor() {
  const KorText wish = EnvironmentText(u"NCEDL_DEBUG").Trimmed();
  if (!wish.IsEmpty()) return wish != u"0";
  return ReadRegistryNumber(RegistryKey(u"COMMON"), u"Debugging").value_or(0) != 0;
}

std::vector<DebugMode> AppInterface::ActiveDebugModes() {
  Lock lock(mutex);
  std::vector<DebugMode> active;
  for (const DebugMode& mode : debugModes) {
    if (IsActive(mode)) active.push_back(mode);
  }
  return active;
}

// --- Properties, registry, console options ---

KorText* AppInterface::PropertyFolder(int type) {
  switch (type) {
  case kStartInFolder:
    return &folders.startIn;
  case kTemporaryFolder:
    return &folders.temporary;
  case kSettingsFolder:
    return &folders.settings;
  case kProgramFolder:
    return &folders.program;
  case kDataFolder:
    return &folders.data;
  default:
    return nullptr;
  }
}

KorText AppInterface::GetApplicationPropertyPath(int type) {
  {
    Lock lock(mutex);
    if (const KorText* folder = PropertyFolder(type)) return *folder;
  }
  DebugWarning(u"Invalid Type", u"GetApplicationPropertyPath");
  return {};
}

KorText AppInterface::GetApplicationPropertyString(int type) {
  if (type == kVersionText) {
    Lock lock(mutex);
    return propertyText;
  }
  DebugWarning(u"Invalid Type", u"GetApplicationPropertyString");
  return {};
}

void AppInterface::SetApplicationPropertyPath(int type, const KorText& path) {
  {
    Lock lock(mutex);
    if (KorText* folder = PropertyFolder(type)) {
      *folder = WithTrailingSlash(path);
      return;
    }
  }
  DebugWarning(u"Invalid Type", u"SetApplicationPropertyPath");
}

void AppInterface::SetApplicationPropertyString(int type, const KorText& text) {
  if (type == kVersionText) {
    Lock lock(mutex);
    propertyText = text;
    return;
  }
  DebugWarning(u"Invalid Type", u"SetApplicationPropertyString");
}

void AppInterface::SetProgramFolder(const KorText& displayName, const KorText& folder) {
  Lock lock(mutex);
  for (auto& [name, known] : programFolders) {
    if (!name.EqualsNoCase(displayName)) continue;
    known = folder;
    return;
  }
  programFolders.emplace_back(displayName, folder);
}

KorText AppInterface::GetProgramFolder(const KorText& displayName) {
  Lock lock(mutex);
  for (const auto& [name, known] : programFolders) {
    if (name.EqualsNoCase(displayName)) return known;
  }
  return {};
}

KorText AppInterface::PublicDocumentsFolder() {
  const KorText folder = Environment().PublicDocuments();
  return folder.IsEmpty() ? GetApplicationPropertyPath(kDataFolder) : folder;
}

KorText AppInterface::RegistryKey(const KorText& subKey, const KorText& version) {
  KorText key = u"Software\\Velmora\\Plenova";
  if (!version.IsEmpty()) key += u" " + version;
  return key + u"\\" + subKey;
}

std::uint32_t AppInterface::WaitLockPeriod() {
  return ReadRegistryNumber(RegistryKey(u"COMMON"), u"WaitLockPeriod")
      .value_or(kDefaultWaitLockPeriod);
}

std::uint32_t AppInterface::RegionalCsv() {
  return ReadRegistryNumber(RegistryKey(u"COMMON"), u"RegionalCSV").value_or(0);
}

void AppInterface::AddConsoleOption(const KorText& name, std::int32_t value) {
  Lock lock(mutex);
  for (auto& [known, knownValue] : consoleOptions) {
    if (!known.EqualsNoCase(name)) continue;
    knownValue = value;
    return;
  }
  consoleOptions.emplace_back(name, value);
}

std::int32_t AppInterface::GetConsoleOption(const KorText& name) {
  {
    Lock lock(mutex);
    for (const auto& [known, value] : consoleOptions) {
      if (known.EqualsNoCase(name)) return value;
    }
  }
  DebugWarning(u"Invalid Console Option accessed", u"Debug Warning");
  return 0;
}

// --- Time and locale ---

int AppInterface::CompareFileTimes(FileTime a, FileTime b) {
  return a < b ? -1 : a > b ? 1 : 0;
}

namespace {

using Ticks = std::chrono::duration<std::uint64_t, std::ratio<1, 10000000>>;
constexpr std::chrono::sys_days kFirstDay{std::chrono::year{1601} / 1 / 1};
constexpr int kLastYear = 30827;

} // namespace

SystemTime AppInterface::FileTimeToSystemTime(FileTime time) {
  using namespace std::chrono;
  const Ticks ticks(time);
  const auto dayCount = duration_cast<duration<std::int64_t, days::period>>(ticks).count();
  if (dayCount > sys_days(year{kLastYear} / 12 / 31).time_since_epoch().count() -
                     kFirstDay.time_since_epoch().count()) {
    return {};
  }
  const sys_days day = kFirstDay + days(static_cast<int>(dayCount));
  const year_month_day date(day);
  const hh_mm_ss clock(duration_cast<milliseconds>(ticks % days(1)));
  SystemTime result;
  result.year = static_cast<int>(date.year());
  result.month = static_cast<int>(static_cast<unsigned>(date.month()));
  result.day = static_cast<int>(static_cast<unsigned>(date.day()));
  result.hour = static_cast<int>(clock.hours().count());
  result.minute = static_cast<int>(clock.minutes().count());
  result.second = static_cast<int>(clock.seconds().count());
  result.millisecond = static_cast<int>(clock.subseconds().count());
  result.dayOfWeek = static_cast<int>(weekday(day).c_encoding());
  return result;
}

FileTime AppInterface::SystemTimeToFileTime(const SystemTime& time) {
  using namespace std::chrono;
  const auto within = [](int value, int limit) { return value >= 0 && value < limit; };
  if (time.year < 1601 || time.year > kLastYear || time.month < 1 || time.day < 1) return 0;
  const year_month_day date = year{time.year} / time.month / time.day;
  if (!date.ok() || !within(time.hour, 24) || !within(time.minute, 60) ||
      !within(time.second, 60) || !within(time.millisecond, 1000)) {
    return 0;
  }
  const auto clock = hours(time.hour) + minutes(time.minute) + seconds(time.second) +
                     milliseconds(time.millisecond);
  const auto dayCount = duration<std::uint64_t, days::period>(
      static_cast<std::uint64_t>((sys_days(date) - kFirstDay).count()));
  return (Ticks(dayCount) + duration_cast<Ticks>(clock)).count();
}

SystemTime AppInterface::LocalTime() {
  if (GetDebugMode(kDatelessMode) != 0) {
    SystemTime fixed;
    fixed.year = 2000;
    fixed.dayOfWeek = 6; // a Saturday
    return fixed;
  }
  return FileTimeToSystemTime(FileTimeToLocal(CurrentFileTime()));
}

RegionalSettings AppInterface::Regional() {
  Lock lock(mutex);
  return regional;
}

void AppInterface::SetRegional(const RegionalSettings& settings) {
  Lock lock(mutex);
  regional = settings;
}

// --- Files ---

std::optional<std::uint64_t> AppInterface::SeekFile(OsFile& file, std::int64_t offset,
                                                    SeekFrom from) {
  const auto reached = file.Seek(offset, from);
  if (!reached) DebugWarning(u"SetFilePointer Failed!", u"FileIO");
  return reached;
}

std::uint32_t AppInterface::NextTemporaryNumber() {
  Lock lock(mutex);
  return static_cast<std::uint32_t>(temporaryNumbers.Next());
}

KorText AppInterface::LocateFile(const KorText& name) {
  const KorText plain = FileNameOfPath(name);
  if (plain.IsEmpty()) return {};
  for (const int type : {kStartInFolder, kSettingsFolder, kProgramFolder, kDataFolder}) {
    const KorText folder = GetApplicationPropertyPath(type);
    if (!folder.IsEmpty() && FileExists(folder + plain)) return folder + plain;
  }
  return {};
}

KorText AppInterface::GetTemporaryFilename() {
  const KorText folder = GetApplicationPropertyPath(kTemporaryFolder);
  if (folder.IsEmpty()) {
    DebugWarning(u"GetTemporaryFilename called before TempDir is set", u"AppInterface");
  } else if (!MakeFolder(folder)) {
    return {};
  }
  for (int attempt = 0; attempt < kTemporaryAttempts; ++attempt) {
    const KorText path = folder + KorText::Format(u"KOR%u", NextTemporaryNumber());
    if (FileExists(path)) continue;
    // CreateNew: of two processes with the same number only one gets the name.
    const std::unique_ptr<OsFile> file = OpenFile(path, FileAccess::CreateNew);
    if (!file) continue;
    if (file->Close()) return path;
    RemoveFile(path);
  }
  return {};
}

KorText AppInterface::LongPath(const KorText& path, bool force) {
  const std::size_t longest = force ? 1 : kLongestPlainPath;
  if (path.Length() <= longest || path[0] == u'.') return path;
  KorText native = path;
  native.ReplaceAll(u'/', u'\\');
  if (native.StartsWith(u"\\\\?\\")) return native;
  if (native[0] != u'\\') return u"\\\\?\\" + native;
  if (native[1] == u'\\') native.Insert(2, u"?\\UNC\\");
  return native;
}

} // namespace kor
