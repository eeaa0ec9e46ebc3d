#include "platform/posix/app_interface_posix.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

#include "platform/posix/app_interface_registry.h"

namespace kor {

namespace {

using posix::Environment;

constexpr FileTime kUnixEpoch = 116444736000000000; // 1970-01-01 in file time
constexpr FileTime kTicksPerSecond = 10000000;
constexpr const char16_t* kPathsFile = u"KOR.INI";
constexpr const char16_t* kDictionaryFile = u"diction.ary";
constexpr const char16_t* kSystemDataFolder = u"/var/lib/ncedl";

// The environment's folder variables count only when absolute.
KorText EnvironmentFolder(const char* name) {
  const KorText value = Environment(name);
  return value.StartsWith(u"/") ? value : KorText();
}

struct Account {
  KorText name;
  KorText home;
};

Account CurrentAccount() {
  char buffer[16 * 1024];
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::geteuid(), &entry, buffer, sizeof buffer, &found) != 0 || !found) return {};
  return {KorText::FromUtf8(found->pw_name), KorText::FromUtf8(found->pw_dir)};
}

KorText HomeFolder() {
  const KorText home = EnvironmentFolder("HOME");
  return home.IsEmpty() ? CurrentAccount().home : home;
}

// The folder of the suite below a folder that the environment names, else below one in the home
// folder; empty without a home folder.
KorText SuiteFolder(const char* variable, std::u16string_view belowHome, const KorText& version) {
  KorText base = EnvironmentFolder(variable);
  if (base.IsEmpty()) {
    base = HomeFolder();
    if (base.IsEmpty()) return {};
    base += belowHome;
  }
  return base + u"/Velmora/Plenova " + version;
}

KorText DataFolder(AppInterface& app, const KorText& version) {
  const KorText chosen = EnvironmentFolder("NCEDL_DATA_DIR");
  if (!chosen.IsEmpty()) return chosen;
  if (app.FolderExists(kSystemDataFolder)) return kSystemDataFolder;
  return SuiteFolder("XDG_DATA_HOME", u"/.local/share", version);
}

KorText ProgramFolder(AppInterface& app) {
  std::string path(4096, '\0');
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0) return {};
  path.resize(static_cast<std::size_t>(length));
  const KorText folder = KorText::FromUtf8(path.substr(0, path.rfind('/') + 1));
  const KorText shared = folder + u"../share/ncedl/";
  const bool besideProgram = app.FileExists(folder + kDictionaryFile);
  return !besideProgram && app.FolderExists(shared) ? shared : folder;
}

KorText TemporaryFolder(AppInterface& app) {
  const KorText chosen = EnvironmentFolder("TMPDIR");
  return !chosen.IsEmpty() && app.FolderExists(chosen) ? chosen : u"/tmp";
}

KorText WorkingFolder() {
  std::string path(4096, '\0');
  return ::getcwd(path.data(), path.size()) ? KorText::FromUtf8(path.c_str()) + u"/" : KorText();
}

// The value of PRETTY_NAME in os-release, or an empty text.
KorText DistributionName(AppInterface& app) {
  const std::unique_ptr<OsFile> file = app.OpenFile(u"/etc/os-release", FileAccess::Read);
  if (!file) return {};
  std::string bytes(4096, '\0');
  bytes.resize(file->Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  for (const KorText& line : Split(KorText::FromUtf8(bytes), u'\n')) {
    if (!line.StartsWith(u"PRETTY_NAME=")) continue;
    return line.Mid(12).ReplaceAll(u"\"", u"");
  }
  return {};
}

std::chrono::nanoseconds Monotonic() {
  return std::chrono::steady_clock::now().time_since_epoch();
}

} // namespace

KorText PosixAppInterface::Start(const KorText& name, const KorText& versionText) {
  applicationName = name;
  version = versionText;
  ::tzset();
  LoadRegionalSettings();
  SetApplicationPropertyString(kVersionText, version);
  FindFolders(version);
  if (GetApplicationPropertyPath(kSettingsFolder).IsEmpty() ||
      GetApplicationPropertyPath(kDataFolder).IsEmpty()) {
    return u"The user has no home folder. Set HOME, or XDG_CONFIG_HOME and NCEDL_DATA_DIR.";
  }
  return {};
}

void PosixAppInterface::FindFolders(const KorText& versionText) {
  const KorText data = DataFolder(*this, versionText);
  SetApplicationPropertyPath(kSettingsFolder,
                             SuiteFolder("XDG_CONFIG_HOME", u"/.config", versionText));
  SetApplicationPropertyPath(kDataFolder, data);
  SetApplicationPropertyPath(kProgramFolder, ProgramFolder(*this));
  SetApplicationPropertyPath(kTemporaryFolder, TemporaryFolder(*this));
  const KorText working = WorkingFolder();
  const bool startHere = !working.IsEmpty() && FileExists(working + kPathsFile);
  SetApplicationPropertyPath(kStartInFolder, startHere ? working : data);
}

void PosixAppInterface::DebugOutput(const KorText& text) {
  if (!DebuggingEnabled()) return;
  const std::string bytes = text.ToUtf8();
  std::fwrite(bytes.data(), 1, bytes.size(), stderr);
}

// --- Registry -----------------------------------------------------------------------------------

std::optional<KorText> PosixAppInterface::ReadRegistryText(const KorText& key,
                                                           const KorText& value) {
  return RegistryFile(*this).Read(key, value);
}

std::optional<std::uint32_t> PosixAppInterface::ReadRegistryNumber(const KorText& key,
                                                                   const KorText& value) {
  const std::optional<KorText> text = ReadRegistryText(key, value);
  if (!text || text->IsEmpty() || text->View().find_first_not_of(u"0123456789") != KorText::kNone) {
    return std::nullopt;
  }
  const std::int64_t number = text->ToInteger64();
  if (number > 0xFFFFFFFF) return std::nullopt;
  return static_cast<std::uint32_t>(number);
}

bool PosixAppInterface::WriteRegistryText(const KorText& key, const KorText& value,
                                          const KorText& text) {
  return RegistryFile(*this).Write(key, value, text);
}

bool PosixAppInterface::WriteRegistryNumber(const KorText& key, const KorText& value,
                                            std::uint32_t number) {
  return WriteRegistryText(key, value, KorText::Format(u"%u", number));
}

std::vector<KorText> PosixAppInterface::ListRegistrySubKeys(const KorText& key) {
  return RegistryFile(*this).SubKeys(key);
}

// --- Time and locale ----------------------------------------------------------------------------

FileTime PosixAppInterface::CurrentFileTime() {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return kUnixEpoch + static_cast<FileTime>(now.tv_sec) * kTicksPerSecond +
         static_cast<FileTime>(now.tv_nsec / 100);
}

FileTime PosixAppInterface::FileTimeToLocal(FileTime utc) {
  const auto ticks = static_cast<std::int64_t>(utc - kUnixEpoch);
  const time_t seconds = ticks / static_cast<std::int64_t>(kTicksPerSecond);
  tm local{};
  if (!::localtime_r(&seconds, &local)) return utc;
  return utc + static_cast<FileTime>(local.tm_gmtoff) * kTicksPerSecond;
}

std::uint32_t PosixAppInterface::TickCount() {
  return static_cast<std::uint32_t>(Monotonic() / std::chrono::milliseconds(1));
}

double PosixAppInterface::HighResolutionSeconds() {
  return std::chrono::duration<double>(Monotonic()).count();
}

void PosixAppInterface::SleepMilliseconds(std::uint32_t milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

KorText PosixAppInterface::UserName() {
  const KorText name = CurrentAccount().name;
  return name.IsEmpty() ? Environment("USER") : name;
}

KorText PosixAppInterface::EnvironmentText(const KorText& name) {
  return Environment(name.ToUtf8().c_str());
}

KorText PosixAppInterface::OperatingSystem() {
  utsname system{};
  ::uname(&system);
  const KorText kernel =
      KorText::Format(u"%s %s %s", KorText::FromUtf8(system.sysname),
                      KorText::FromUtf8(system.release), KorText::FromUtf8(system.machine));
  const KorText distribution = DistributionName(*this);
  return distribution.IsEmpty() ? kernel : distribution + u", " + kernel;
}

} // namespace kor
