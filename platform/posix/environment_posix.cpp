#include "platform/posix/environment_posix.h"

#include <pwd.h>
#include <sys/utsname.h>
#include <unistd.h>

#include "platform/posix/variable_posix.h"

namespace kor {

namespace {

// The environment's folder variables count only when absolute.
KorText EnvironmentFolder(const char* name) {
  const KorText value = EnvironmentVariable(name);
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

// Returns the folder of the suite below a folder that the environment names, else below one in the
// home folder; empty without a home folder.
KorText SuiteFolder(const char* variable, std::u16string_view belowHome,
                    std::u16string_view nameAndVersion) {
  KorText base = EnvironmentFolder(variable);
  if (base.IsEmpty()) {
    base = HomeFolder();
    if (base.IsEmpty()) return {};
    base += belowHome;
  }
  return base + u"/" + nameAndVersion;
}

KorText DataFolder(OsFiles& files, const ProgramNames& names, const KorText& nameAndVersion) {
  const KorText chosen = EnvironmentFolder(KorText(names.dataFolder).ToUtf8().c_str());
  if (!chosen.IsEmpty()) return chosen;
  const KorText shared = KorText(u"/var/lib/") + names.package;
  if (files.FolderExists(shared)) return shared;
  return SuiteFolder("XDG_DATA_HOME", u"/.local/share", nameAndVersion);
}

KorText ProgramFolder(OsFiles& files, const ProgramNames& names) {
  std::string path(4096, '\0');
  const ssize_t length = ::readlink("/proc/self/exe", path.data(), path.size());
  if (length <= 0) return {};
  path.resize(static_cast<std::size_t>(length));
  const KorText folder = KorText::FromUtf8(path.substr(0, path.rfind('/') + 1));
  const KorText shared = folder + u"../share/" + names.package + u"/";
  const bool besideProgram = files.Exists(folder + names.dictionary);
  return !besideProgram && files.FolderExists(shared) ? shared : folder;
}

KorText TemporaryFolder(OsFiles& files) {
  const KorText chosen = EnvironmentFolder("TMPDIR");
  return !chosen.IsEmpty() && files.FolderExists(chosen) ? chosen : u"/tmp";
}

KorText WorkingFolder() {
  std::string path(4096, '\0');
  return ::getcwd(path.data(), path.size()) ? KorText::FromUtf8(path.c_str()) + u"/" : KorText();
}

// The value of PRETTY_NAME in os-release, or an empty text.
KorText DistributionName(OsFiles& files) {
  const std::unique_ptr<OsFile> file = files.Open(u"/etc/os-release", FileAccess::Read);
  if (!file) return {};
  std::string bytes(4096, '\0');
  bytes.resize(file->Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  for (const KorText& line : Split(KorText::FromUtf8(bytes), u'\n')) {
    if (!line.StartsWith(u"PRETTY_NAME=")) continue;
    return line.Mid(12).ReplaceAll(u"\"", u"");
  }
  return {};
}

} // namespace

PropertyFolders PosixEnvironment::Folders(const ProgramNames& names, const KorText& version) {
  const KorText suite = KorText(names.suite) + u" " + version;
  PropertyFolders folders;
  folders.settings = SuiteFolder("XDG_CONFIG_HOME", u"/.config", suite);
  folders.data = DataFolder(files, names, suite);
  folders.program = ProgramFolder(files, names);
  folders.temporary = TemporaryFolder(files);
  const KorText working = WorkingFolder();
  const bool startHere = !working.IsEmpty() && files.Exists(working + names.paths);
  folders.startIn = startHere ? working : folders.data;
  return folders;
}

KorText PosixEnvironment::FolderAdvice(const ProgramNames& names) {
  return KorText::Format(u"The user has no home folder. Set HOME, or XDG_CONFIG_HOME and %s.",
                         names.dataFolder);
}

KorText PosixEnvironment::User() {
  const KorText name = CurrentAccount().name;
  return name.IsEmpty() ? EnvironmentVariable("USER") : name;
}

KorText PosixEnvironment::Variable(const KorText& name) {
  return EnvironmentVariable(name.ToUtf8().c_str());
}

KorText PosixEnvironment::System() {
  utsname system{};
  ::uname(&system);
  const KorText kernel =
      KorText::Format(u"%s %s %s", KorText::FromUtf8(system.sysname),
                      KorText::FromUtf8(system.release), KorText::FromUtf8(system.machine));
  const KorText distribution = DistributionName(files);
  return distribution.IsEmpty() ? kernel : distribution + u", " + kernel;
}

} // namespace kor
