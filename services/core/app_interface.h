// AppInterface: the one application-wide services object. Messages and the application log, debug
// modes, folders and property texts, temporary names, regional settings; and, passed on to the
// small interfaces behind it, the system's files, clock, registry, locale and environment. One
// derived class per platform (platform/posix, platform/win32) brings those; a front end attaches a
// MessageReporter to show reported messages to the user.
//
// The program's main makes it before anything else; it lives for the whole run and is reached
// through App(). Every operation may be called from any thread. Code that needs one of the small
// interfaces alone takes that one.
//
// Failures are reported, not thrown: bool, empty text, null or std::nullopt say so, and LastError()
// keeps the system's number of the calling thread's last failed call.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "services/core/kor_text.h"
#include "services/core/os_clock.h"
#include "services/core/os_environment.h"
#include "services/core/os_files.h"
#include "services/core/os_locale.h"
#include "services/core/os_registry.h"
#include "services/core/random_numbers.h"
#include "services/core/thread_annotations.h"

namespace kor {

enum class MessageLevel : std::int32_t { Warn = 0, Norm = 1, Fatal = 2, Query = 3, Info = 4 };

struct MessageRecord {
  MessageLevel level = MessageLevel::Norm;
  KorText info;            // short caption or context
  KorText message;         // main text
  KorText details;         // optional longer text
  std::int32_t number = 0; // message number or result; returned by Report
};

struct DebugMode {
  KorText group;
  KorText name; // unique, without regard to case
  KorText description;
  std::int32_t kind = 1; // 2: always active; others: only while debugging is enabled
  std::int32_t value = 0;
};

// A larger file is no settings file of any kind. Lines and sections have limits of their own, since
// an empty one takes far more memory than its one or two bytes. The limit of lines is what a file
// of the largest size has when its lines are ordinary ones of 32 bytes; that of sections is
// hundreds of times what the suite's longest file has. A file within the limits takes some 100 MB
// of memory at most.
inline constexpr std::uint64_t kLargestSettings = 16u << 20; // bytes
inline constexpr std::size_t kMostSettingsLines = 500'000;
inline constexpr std::size_t kMostSections = 10'000;

// Types of GetApplicationPropertyPath and GetApplicationPropertyString.
enum PropertyType : int {
  kStartInFolder = 7, // where the paths file was found
  kVersionText = 8,   // the property string
  kTemporaryFolder = 9,
  kSettingsFolder = 10, // per user, settings files and (Linux) the registry
  kProgramFolder = 11,  // holds the dictionary
  kDataFolder = 12,     // shared data
};

class AppInterface {
 public:
  using MessageReporter = std::function<std::int32_t(const MessageRecord&)>;

  explicit AppInterface(const ProgramNames& names);
  virtual ~AppInterface();
  AppInterface(const AppInterface&) = delete;
  AppInterface& operator=(const AppInterface&) = delete;

  // The interfaces to the system, which the operations below use.
  virtual OsFiles& Files() = 0;
  virtual OsClock& Clock() = 0;
  virtual OsRegistry& Registry() = 0;
  virtual OsLocale& Locale() = 0;
  virtual OsEnvironment& Environment() = 0;

  // Sets the application's name and version and fills the folders, the property text and the
  // regional settings from the platform. Returns an empty text, or what went wrong.
  KorText Start(const KorText& applicationName, const KorText& version);
  // Settles the five folders from the platform; part of Start. It is called alone by what runs
  // before the services are started, such as loading the dictionary.
  void FindFolders(const KorText& version);
  const ProgramNames& FileNames() const { return names; }
  const KorText& ApplicationName() const { return applicationName; }
  const KorText& Version() const { return version; }
  // Sets the name of the application entry, such as "NCEDL".
  void SetEntryName(const KorText& name) { entryName = name; }
  const KorText& EntryName() const { return entryName; }

  // --- Messages -------------------------------------------------------------------------------
  // Writes the record to the application log, shows it through the reporter when there is one and
  // returns the reporter's answer, else the record's number.
  virtual std::int32_t Report(const MessageRecord& record);
  virtual void DebugWarning(const KorText& message, const KorText& info);
  // Writes a line to the diagnostic display: the debugger's output (Windows), or standard error
  // while debugging is enabled (POSIX). This one drops it.
  virtual void DebugOutput(const KorText& text);
  void SetReporter(MessageReporter reporter);
  // Opens the application log, to which texts are added. There is none at first and after an empty
  // path: texts are dropped then. Missing folders are made. The log is this object's alone: the
  // result is false when another has the file open or it can't be opened, and the log before stays.
  // A text is written in one piece, one byte per character. A text that would make the file longer
  // than kLongestLog bytes goes into a new one, and the file before stays as path + ".1". What
  // can't be written is dropped.
  static constexpr std::uint64_t kLongestLog = 1 << 20;
  bool OpenLog(const KorText& path);
  void WriteLog(const KorText& text);
  // Sets what writes the texts from now on, so that nobody waits for the disk. It is given the size
  // of each text and the work, which it does later and in order. With an empty one, whoever writes
  // does the work.
  using LogWriter = std::function<void(std::size_t bytes, std::function<void()> work)>;
  void SetLogWriter(LogWriter writer);
  // Sets the notice for a failure that nothing else explains, in the user's language. The
  // dictionary does so when it is loaded; the notice is empty before.
  void SetFailureNotice(const KorText& text);
  KorText FailureNotice();

  // --- Debug modes ----------------------------------------------------------------------------
  void AddDebugMode(const KorText& group, const KorText& name, const KorText& description,
                    std::int32_t kind = 1);
  std::int32_t GetDebugMode(const KorText& name);
  void SetDebugMode(const KorText& name, std::int32_t value);
  void EnableDebugging(bool enable);
  bool DebuggingEnabled();
  // Whether the user asks for debugging: the environment's "NCEDL_DEBUG" when it is set ("0": no),
  // else the registry's "COMMON" "Debugging" (0: no).
  bool DebuggingAskedFor();
  // Returns copies of the modes that are active now (kind 2, or all while debugging is enabled).
  std::vector<DebugMode> ActiveDebugModes();

  // --- Properties, registry, console options ---------------------------------------------------
  KorText GetApplicationPropertyPath(int type);
  KorText GetApplicationPropertyString(int type);
  // The folder is kept with a trailing "/", so that a file name can be joined to it as it stands.
  void SetApplicationPropertyPath(int type, const KorText& path);
  void SetApplicationPropertyString(int type, const KorText& text);
  // The program's folders under their display names ("CNC", "Database"), as the program paths hand
  // them over when they are loaded; empty while none was handed over under that name.
  void SetProgramFolder(const KorText& displayName, const KorText& folder);
  KorText GetProgramFolder(const KorText& displayName);
  // Returns what "%PUBLIC%/Documents/" stands for, with a trailing "/". A system without public
  // documents keeps shared data in the data folder, which stands in for them.
  KorText PublicDocumentsFolder();
  // Returns "Software\Velmora\Plenova", a blank and the version when one is given, "\" and the
  // sub-key.
  static KorText RegistryKey(const KorText& subKey, const KorText& version = u"2026");
  std::optional<std::uint32_t> ReadRegistryNumber(const KorText& key, const KorText& value) {
    return Registry().ReadNumber(key, value);
  }
  std::optional<KorText> ReadRegistryText(const KorText& key, const KorText& value) {
    return Registry().ReadText(key, value);
  }
  bool WriteRegistryNumber(const KorText& key, const KorText& value, std::uint32_t number) {
    return Registry().WriteNumber(key, value, number);
  }
  bool WriteRegistryText(const KorText& key, const KorText& value, const KorText& text) {
    return Registry().WriteText(key, value, text);
  }
  bool ChangeRegistry(const std::function<bool()>& work) { return Registry().Change(work); }
  std::vector<KorText> ListRegistrySubKeys(const KorText& key) { return Registry().SubKeys(key); }
  std::uint32_t WaitLockPeriod(); // milliseconds; "COMMON" "WaitLockPeriod", default 3000
  std::uint32_t RegionalCsv();    // "COMMON" "RegionalCSV", default 0
  void AddConsoleOption(const KorText& name,
                        std::int32_t value); // replaces the option of that name
  std::int32_t GetConsoleOption(const KorText& name);

  // --- Time and locale -------------------------------------------------------------------------
  FileTime CurrentFileTime() { return Clock().Utc(); }
  FileTime FileTimeToLocal(FileTime utc) { return Clock().ToLocal(utc); }
  static int CompareFileTimes(FileTime a, FileTime b); // -1, 0, 1
  static SystemTime FileTimeToSystemTime(FileTime time);
  // The years go from 1601 to 30827. What is no date or time of day gives 0; a time out of range
  // gives the start of 1601.
  static FileTime SystemTimeToFileTime(const SystemTime& time);
  SystemTime LocalTime(); // now, in the user's time zone; 2000-01-01 while Reg_Dateless is set
  KorText FormatDate(const SystemTime& time) { return Locale().Date(time); }
  KorText FormatTime(const SystemTime& time) { return Locale().Time(time); }
  std::uint32_t TickCount() { return Clock().Ticks(); }
  double HighResolutionSeconds() { return Clock().Seconds(); }
  void SleepMilliseconds(std::uint32_t milliseconds) { Clock().SleepMilliseconds(milliseconds); }
  void LoadRegionalSettings() { SetRegional(Locale().Load()); }
  RegionalSettings Regional();
  void SetRegional(const RegionalSettings& settings);
  KorText UserName() { return Environment().User(); }
  KorText OperatingSystem() { return Environment().System(); }
  KorText UserLanguage() { return Locale().Language(); }
  KorText EnvironmentText(const KorText& name) { return Environment().Variable(name); }

  // --- Files (see OsFiles) ---------------------------------------------------------------------
  std::uint32_t LastError() { return Files().LastError(); }
  void SetLastError(std::uint32_t error) { Files().SetLastError(error); }
  KorText ErrorText(std::uint32_t error) { return Files().ErrorText(error); }
  std::unique_ptr<OsFile> OpenFile(const KorText& path, FileAccess access) {
    return Files().Open(path, access);
  }
  // Does what OsFile's Seek does, with a debug warning when the platform refused.
  std::optional<std::uint64_t> SeekFile(OsFile& file, std::int64_t offset, SeekFrom from);
  std::optional<FileInfo> FileAttributes(const KorText& path) { return Files().Attributes(path); }
  bool FileExists(const KorText& path) { return Files().Exists(path); }
  bool FolderExists(const KorText& path) { return Files().FolderExists(path); }
  bool RemoveFile(const KorText& path) { return Files().Remove(path); }
  bool RenameFile(const KorText& from, const KorText& to) { return Files().Rename(from, to); }
  bool CanReplaceFile(const KorText& path) { return Files().CanReplace(path); }
  bool DuplicateFile(const KorText& from, const KorText& to) { return Files().Duplicate(from, to); }
  bool MakeFolder(const KorText& path) { return Files().MakeFolder(path); }
  bool RemoveFolder(const KorText& path) { return Files().RemoveFolder(path); }
  KorText LinkTarget(const KorText& path) { return Files().LinkTarget(path); }
  KorText AbsolutePath(const KorText& path) { return Files().AbsolutePath(path); }
  bool CopyAttributes(const KorText& from, OsFile& to) { return Files().CopyAttributes(from, to); }
  bool SetFileModified(const KorText& path, FileTime modified) {
    return Files().SetTimes(path, {.modified = modified});
  }
  std::optional<FileTimes> FileTimesOf(const KorText& path) { return Files().Times(path); }
  bool SetFileTimes(const KorText& path, const FileTimes& times) {
    return Files().SetTimes(path, times);
  }
  DriveType DriveTypeOf(const KorText& path) { return Files().Drive(path); }
  bool EnterFolder(const KorText& path) { return Files().SetCurrentFolder(path); }
  std::optional<std::vector<FileEntry>> ListFolder(const KorText& folder,
                                                   const KorText& nameEnding = {}) {
    return Files().List(folder, nameEnding);
  }
  bool CanNameFile(const KorText& name) { return Files().CanName(name); }
  bool FileNamesIgnoreCase() { return Files().IgnoreCase(); }
  bool SyncFolder(const KorText& folder) { return Files().SyncFolder(folder); }
  // Looks for a file that was not found where it should be: for its name, less the folder, in the
  // start-in, settings, program and data folders. Returns its path, or an empty text.
  KorText LocateFile(const KorText& name);
  // Creates an empty file "KOR" + number in the temporary folder, which is made when missing, and
  // returns its path; empty after 100000 failed attempts, or at once when the folder can't be made.
  KorText GetTemporaryFilename();

  // Returns the form that a path takes for the platform's calls. Paths longer than 228 characters
  // (or longer than 1 while force is set) get the Windows long-path prefix, and "/" becomes "\" in
  // them. Shorter paths and those that begin with a dot stay as they are.
  static KorText LongPath(const KorText& path, bool force);

 private:
  void StartNewLog() KOR_REQUIRES(logMutex);
  void AppendToLog(const std::string& bytes);
  KorText* PropertyFolder(int type) KOR_REQUIRES(mutex);
  DebugMode* FindMode(const KorText& name) KOR_REQUIRES(mutex);
  void SettleLongPaths();
  std::uint32_t NextTemporaryNumber();
  bool IsActive(const DebugMode& mode) const KOR_REQUIRES(mutex);

  Mutex mutex;
  Mutex logMutex;
  const ProgramNames& names;
  KorText applicationName;
  KorText version;
  KorText entryName;
  PropertyFolders folders KOR_GUARDED_BY(mutex);
  KorText propertyText KOR_GUARDED_BY(mutex);
  KorText failureNotice KOR_GUARDED_BY(mutex);
  std::vector<std::pair<KorText, KorText>> programFolders KOR_GUARDED_BY(mutex);
  RegionalSettings regional KOR_GUARDED_BY(mutex);
  std::vector<DebugMode> debugModes KOR_GUARDED_BY(mutex);
  bool debuggingEnabled KOR_GUARDED_BY(mutex) = false;
  std::vector<std::pair<KorText, std::int32_t>> consoleOptions KOR_GUARDED_BY(mutex);
  RandomNumbers temporaryNumbers KOR_GUARDED_BY(mutex);
  MessageReporter reporter KOR_GUARDED_BY(mutex);
  LogWriter logWriter KOR_GUARDED_BY(mutex);
  KorText logPath KOR_GUARDED_BY(logMutex);
  std::uint64_t logSize KOR_GUARDED_BY(logMutex) = 0;
  std::unique_ptr<OsFile> log KOR_GUARDED_BY(logMutex);
};

// The application's services object. Set once by main (tests: by their fixture) before use.
AppInterface& App();
void SetApp(AppInterface* app);

} // namespace kor
