// AppInterface: the one application-wide services object. Messages and the application log, debug
// modes, folders and property texts, registry values, temporary names, regional settings, and the
// platform's file and time functions. One derived class per platform (platform/posix,
// platform/win32); a front end attaches a MessageReporter to show reported messages to the user.
//
// It is made by the program's main before anything else and lives for the whole run. Reached through
// App(). Every operation may be called from any thread.
//
// Failures are reported, not thrown: bool, empty text, null or std::nullopt say so, and LastError()
// keeps the system's number of the calling thread's last failed call.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "services/core/kor_text.h"
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

// 100 ns steps since 1601-01-01 00:00 UTC (or local time where said so).
using FileTime = std::uint64_t;

struct SystemTime {
  int year = 1601, month = 1, day = 1; // month and day from 1
  int hour = 0, minute = 0, second = 0, millisecond = 0;
  int dayOfWeek = 1; // 0 = Sunday
  friend bool operator==(const SystemTime&, const SystemTime&) = default;
};

struct FileInfo {
  std::uint64_t size = 0; // bytes
  FileTime modified = 0;  // UTC
  bool isFile = false;    // a plain file: neither folder nor device
  bool isFolder = false;
  bool isHidden = false; // POSIX: the name starts with "."
  bool isSystem = false; // POSIX: neither a plain file nor a folder
  bool isReadOnly = false;
};

struct FileEntry {
  KorText name; // without folder
  FileInfo info;
};

struct RegionalSettings {
  char16_t listSeparator = u',';
  char16_t decimalSeparator = u'.';
  char16_t thousandsSeparator = u'\0'; // none
  char16_t timeSeparator = u':';
  KorText longDateFormat = u"dd MMMM yyyy";
  KorText shortDateFormat = u"dd/mm/yyyy";
};

// What OpenFile is to do with an existing or a missing file. While one holds a file for writing, no
// other can open it for writing, in this process or another; readers are never kept out.
enum class FileAccess {
  Read,      // existing file, reading
  Write,     // created or emptied, writing
  ReadWrite, // created when missing, content kept, reading and writing
  Append,    // created when missing, every write goes to the end
  CreateNew, // must not exist yet, writing
  Claim,     // existing plain file and no link to one, reading; held as if for writing
};

// An open file of the platform. Closes itself when destroyed. One thread at a time.
class OsFile {
 public:
  virtual ~OsFile() = default;
  // Bytes moved; fewer than asked for at the end of the file or after a failure (see LastError).
  virtual std::size_t Read(std::span<std::uint8_t> to) = 0;
  virtual std::size_t Write(std::span<const std::uint8_t> from) = 0;
  // Moves to the offset, or to the end plus the offset (negative: before the end). New position from
  // the start, in bytes; std::nullopt, after a debug warning, when the platform refuses.
  virtual std::optional<std::uint64_t> Seek(std::int64_t offset, bool fromEnd) = 0;
  virtual std::optional<std::uint64_t> Size() = 0; // std::nullopt when the platform can't tell
  // Hands the content to the disk (fsync, FlushFileBuffers).
  virtual bool Sync() = 0;
  // False when the platform reports a late write error.
  virtual bool Close() = 0;
};

// Bytes; a larger file is no settings file of any kind.
inline constexpr std::uint64_t kLargestSettings = 16u << 20;

// Types of GetApplicationPropertyPath and GetApplicationPropertyString.
enum PropertyType : int {
  kStartInFolder = 7, // where KOR.INI was found
  kVersionText = 8,   // the property string
  kTemporaryFolder = 9,
  kSettingsFolder = 10, // per user, settings files and (Linux) registry.ini
  kProgramFolder = 11,  // holds diction.ary
  kDataFolder = 12,     // shared data
};

class AppInterface {
 public:
  using MessageReporter = std::function<std::int32_t(const MessageRecord&)>;

  AppInterface();
  virtual ~AppInterface();
  AppInterface(const AppInterface&) = delete;
  AppInterface& operator=(const AppInterface&) = delete;

  // Sets the application's name and version and fills the folders, the property text and the regional
  // settings from the platform. Returns an empty text, or what went wrong.
  virtual KorText Start(const KorText& applicationName, const KorText& version) = 0;
  // Settles the five folders from the platform; part of Start. Alone it is for what runs before the
  // services are started, such as loading the dictionary.
  virtual void FindFolders(const KorText& version) = 0;
  const KorText& ApplicationName() const { return applicationName; }
  const KorText& Version() const { return version; }
  // The name of the application entry, such as "NCEDL".
  void SetEntryName(const KorText& name) { entryName = name; }
  const KorText& EntryName() const { return entryName; }

  // --- Messages -------------------------------------------------------------------------------
  // Writes the record to the application log, shows it through the reporter when there is one and
  // returns the reporter's answer, else the record's number.
  virtual std::int32_t Report(const MessageRecord& record);
  virtual void DebugWarning(const KorText& message, const KorText& info);
  // A line for the diagnostic display: the debugger's output (Windows), or standard error while
  // debugging is enabled (POSIX). Here: dropped.
  virtual void DebugOutput(const KorText& text);
  void SetReporter(MessageReporter reporter);
  // The application log: a file that texts are added to, or none (the start value, and after an empty
  // path: texts are dropped). Missing folders are made. The log is this object's alone: false when
  // another has it open, and when it can't be opened; the log before stays then. A text is written in
  // one piece, one byte per character. A text that would make the file longer than kLongestLog bytes
  // goes into a new one, and the file before stays as path + ".1". What can't be written is dropped.
  static constexpr std::uint64_t kLongestLog = 1 << 20;
  bool OpenLog(const KorText& path);
  void WriteLog(const KorText& text);
  // The notice for a failure that nothing else explains, in the user's language. The dictionary sets it
  // when it is loaded; empty before.
  void SetFailureNotice(const KorText& text);
  KorText FailureNotice();

  // --- Debug modes ----------------------------------------------------------------------------
  void AddDebugMode(const KorText& group, const KorText& name, const KorText& description,
                    std::int32_t kind = 1);
  std::int32_t GetDebugMode(const KorText& name);
  void SetDebugMode(const KorText& name, std::int32_t value);
  void EnableDebugging(bool enable);
  bool DebuggingEnabled();
  // Whether the user asks for debugging: the environment's "NCEDL_DEBUG" when it is set ("0": no), else
  // the registry's "COMMON" "Debugging" (0: no).
  bool DebuggingAskedFor();
  // Copies of the modes that are active now (kind 2, or all while debugging is enabled).
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
  // What "%PUBLIC%/Documents/" stands for, with a trailing "/". A system without public documents
  // keeps shared data in the data folder, so that stands in for them.
  virtual KorText PublicDocumentsFolder() { return GetApplicationPropertyPath(kDataFolder); }
  // "Software\Velmora\Plenova", a blank and the version when one is given, "\" and the sub-key.
  static KorText RegistryKey(const KorText& subKey, const KorText& version = u"2026");
  virtual std::optional<std::uint32_t> ReadRegistryNumber(const KorText& key,
                                                          const KorText& value) = 0;
  virtual std::optional<KorText> ReadRegistryText(const KorText& key, const KorText& value) = 0;
  virtual bool WriteRegistryNumber(const KorText& key, const KorText& value,
                                   std::uint32_t number) = 0;
  virtual bool WriteRegistryText(const KorText& key, const KorText& value, const KorText& text) = 0;
  virtual std::vector<KorText> ListRegistrySubKeys(const KorText& key) = 0;
  std::uint32_t WaitLockPeriod(); // milliseconds; "COMMON" "WaitLockPeriod", default 3000
  std::uint32_t RegionalCsv();    // "COMMON" "RegionalCSV", default 0
  void AddConsoleOption(const KorText& name,
                        std::int32_t value); // replaces the option of that name
  std::int32_t GetConsoleOption(const KorText& name);

  // --- Time and locale -------------------------------------------------------------------------
  virtual FileTime CurrentFileTime() = 0; // UTC
  virtual FileTime FileTimeToLocal(FileTime utc) = 0;
  static int CompareFileTimes(FileTime a, FileTime b); // -1, 0, 1
  static SystemTime FileTimeToSystemTime(FileTime time);
  // Years 1601 to 30827. What is no date or time of day gives 0; a time out of range the start of 1601.
  static FileTime SystemTimeToFileTime(const SystemTime& time);
  SystemTime LocalTime(); // now, in the user's time zone; 2000-01-01 while Reg_Dateless is set
  virtual KorText FormatDate(const SystemTime& time) = 0; // user's short date
  virtual KorText FormatTime(const SystemTime& time) = 0; // user's time with seconds
  virtual std::uint32_t TickCount() = 0;                  // milliseconds, wraps
  virtual double HighResolutionSeconds() = 0;             // monotonic, sub-microsecond
  // May be called only where waiting is meant (wait-on-open); the engine never sleeps on it.
  virtual void SleepMilliseconds(std::uint32_t milliseconds) = 0;
  virtual void LoadRegionalSettings() = 0;
  RegionalSettings Regional();
  void SetRegional(const RegionalSettings& settings);
  virtual KorText UserName() = 0;
  virtual KorText OperatingSystem() = 0;                    // description for the trace header
  virtual KorText UserLanguage() = 0;                       // such as "de-DE"; empty when unknown
  virtual KorText EnvironmentText(const KorText& name) = 0; // empty when the variable is not set

  // --- Files -----------------------------------------------------------------------------------
  virtual std::uint32_t LastError() = 0;
  virtual void SetLastError(std::uint32_t error) = 0;
  virtual KorText ErrorText(std::uint32_t error) = 0; // the system's text, without line end
  virtual std::unique_ptr<OsFile> OpenFile(const KorText& path, FileAccess access) = 0;
  virtual std::optional<FileInfo> FileAttributes(const KorText& path) = 0;
  bool FileExists(const KorText& path); // a plain file
  bool FolderExists(const KorText& path);
  virtual bool RemoveFile(const KorText& path) = 0;
  // Replaces an existing target in one step.
  virtual bool RenameFile(const KorText& from, const KorText& to) = 0;
  // Whether a file renamed to the path would be stored: the name is possible there, and an existing
  // file may be written and replaced by this user. A missing folder or a full disk is not looked for.
  virtual bool CanReplaceFile(const KorText& path) = 0;
  // Copies content and time beside the target and renames the copy over it; the older target stays
  // whole when that fails.
  virtual bool DuplicateFile(const KorText& from, const KorText& to);
  virtual bool MakeFolder(const KorText& path) = 0;   // with all missing parents; true if it exists
  virtual bool RemoveFolder(const KorText& path) = 0; // with its contents
  // The path that a path leads to when it names a symbolic link, also to a file that does not exist yet
  // (Windows: only to one that does); the path itself when it names none. Empty when the links go round
  // in a circle.
  virtual KorText LinkTarget(const KorText& path) = 0;
  // Gives a file the permissions of another, and its owner and group where the system allows it.
  // Windows: the access list, and hidden and system. False when the permissions could not be set, also
  // when there is no file to take them from.
  virtual bool CopyAttributes(const KorText& from, const KorText& to) = 0;
  virtual bool SetFileModified(const KorText& path, FileTime modified) = 0;
  // Entries of a folder, in no order, without "." and ".."; std::nullopt when it can't be read. With an
  // ending only those whose names end so (see FileNamesIgnoreCase): asking the system about each
  // entry is what takes the time in a large folder.
  std::optional<std::vector<FileEntry>> ListFolder(const KorText& folder,
                                                   const KorText& nameEnding = {});
  // Whether a file can have this name, without folder. "\" counts as a separator on every system.
  virtual bool CanNameFile(const KorText& name) const;
  // Whether the platform's file search takes "A" and "a" for the same name.
  virtual bool FileNamesIgnoreCase() const { return false; }
  // Makes a directory entry change durable (POSIX: syncs the folder); true where not needed.
  virtual bool SyncFolder(const KorText& folder) = 0;
  // A path to a file that was not found where it should be, or an empty text: looks for the name, less
  // its folder, in the start-in, settings, program and data folders.
  virtual KorText LocateFile(const KorText& name);
  // Creates an empty file "KOR" + number in the temporary folder, which is made when missing, and
  // returns its path; empty after 100000 failed attempts, or at once when the folder can't be made.
  virtual KorText GetTemporaryFilename();

  // The form a path takes for the platform's calls: the Windows long-path prefix for paths longer than
  // 228 characters (or longer than 1 while force is set); "/" becomes "\" in them. Shorter paths and
  // those that begin with a dot stay as they are.
  static KorText LongPath(const KorText& path, bool force);

 protected:
  // Decides by the name alone whether an entry is asked for.
  using NameFilter = std::function<bool(const KorText& name)>;
  virtual std::optional<std::vector<FileEntry>> ReadFolder(const KorText& folder,
                                                           const NameFilter& wanted) = 0;

  struct Folders {
    KorText startIn, temporary, settings, program, data;
  };
  KorText applicationName;
  KorText version;

 private:
  void StartNewLog() KOR_REQUIRES(logMutex);
  KorText* PropertyFolder(int type) KOR_REQUIRES(mutex);
  DebugMode* FindMode(const KorText& name) KOR_REQUIRES(mutex);
  std::uint32_t NextTemporaryNumber();
  bool IsActive(const DebugMode& mode) const KOR_REQUIRES(mutex);

  Mutex mutex;
  Mutex logMutex;
  KorText entryName;
  Folders folders KOR_GUARDED_BY(mutex);
  KorText propertyText KOR_GUARDED_BY(mutex);
  KorText failureNotice KOR_GUARDED_BY(mutex);
  std::vector<std::pair<KorText, KorText>> programFolders KOR_GUARDED_BY(mutex);
  RegionalSettings regional KOR_GUARDED_BY(mutex);
  std::vector<DebugMode> debugModes KOR_GUARDED_BY(mutex);
  bool debuggingEnabled KOR_GUARDED_BY(mutex) = false;
  std::vector<std::pair<KorText, std::int32_t>> consoleOptions KOR_GUARDED_BY(mutex);
  std::uint64_t nextTemporary KOR_GUARDED_BY(mutex) = 0;
  MessageReporter reporter KOR_GUARDED_BY(mutex);
  KorText logPath KOR_GUARDED_BY(logMutex);
  std::uint64_t logSize KOR_GUARDED_BY(logMutex) = 0;
  std::unique_ptr<OsFile> log KOR_GUARDED_BY(logMutex);
};

// The application's services object. Set once by main (tests: by their fixture) before use.
AppInterface& App();
void SetApp(AppInterface* app);

} // namespace kor
