#include "tools/ncedl_setup/setup.h"

#include <algorithm>

#include "app/configurations.h"
#include "app/program_paths.h"
#include "platform/net/probe.h"
#include "platform/serial_devices.h"
#include "services/core/app_interface.h"
#include "services/dictionary/text_holder.h"
#include "services/dictionary/user_language.h"
#include "services/ini/ini_file.h"
#include "tools/ncedl_setup/host_system.h"
#include "tools/ncedl_setup/options.h"

namespace kor {
namespace {

KorText SystemReason() {
  return App().ErrorText(App().LastError());
}

bool HasControlCharacter(const KorText& text) {
  return std::ranges::any_of(text.View(), [](char16_t c) { return c < u' '; });
}

// The last name of a folder that ends with "/".
KorText NameOfFolder(const KorText& folder) {
  const std::vector<KorText> parts = Split(folder.Left(folder.Length() - 1), u'/');
  return parts.empty() || parts.back().IsEmpty() ? KorText(u"NCEDL") : parts.back();
}

std::optional<Configuration> RegisteredAs(const KorText& folder) {
  for (const Configuration& entry : ListConfigurations())
    if (SameFolder(entry.path, folder)) return entry;
  return std::nullopt;
}

const char16_t* StateText(SerialDevice::State state) {
  switch (state) {
  case SerialDevice::State::InUse:
    return u"in use";
  case SerialDevice::State::NoPermission:
    return u"no permission";
  case SerialDevice::State::Console:
    return u"console";
  default:
    return u"free";
  }
}

class Setup {
 public:
  Setup(const SetupOptions& toDo, const ToolOutput& toUse) : options(toDo), output(toUse) {}

  bool Run() {
    bool done = !options.mainFolder || SetMainFolder();
    for (const auto& [name, device] : options.ports)
      done = SetPort(name, device) && done;
    if (options.language) done = SetLanguage() && done;
    if (options.list) List();
    return done;
  }

 private:
  bool SetMainFolder();
  bool MakeMainFolder(const KorText& folder);
  bool WritePathsFile(const KorText& folder);
  bool MakeSubFolders(const KorText& folder);
  bool Register(const KorText& folder);
  bool SetPort(const KorText& name, const KorText& device);
  bool SetLanguage();
  void List();
  void ListConfigurationsInUse();
  void ListDevices();
  void Probe();

  bool Fail(const KorText& what) {
    output.complain(u"ncedl-setup: " + what + u".");
    return false;
  }
  void Warn(const KorText& what) { output.complain(u"ncedl-setup: warning: " + what + u"."); }

  const SetupOptions& options;
  const ToolOutput& output;
};

bool Setup::SetMainFolder() {
  const KorText full = FullPath(*options.mainFolder);
  KorText refusal = full.IsEmpty() ? SystemReason() : RefusalOfFolder(full);
  if (HasControlCharacter(full))
    refusal = u"its name holds a control character. Choose another one";
  if (!refusal.IsEmpty()) return Fail(*options.mainFolder + u": " + refusal);
  const KorText folder = NormalisedFolder(full);
  return MakeMainFolder(folder) && WritePathsFile(folder) && MakeSubFolders(folder) &&
         Register(folder);
}

bool Setup::MakeMainFolder(const KorText& folder) {
  const KorText plain = folder.Left(std::max<std::size_t>(folder.Length() - 1, 1));
  if (App().FileExists(plain)) return Fail(plain + u" is a file. Name a folder");
  if (App().MakeFolder(folder)) return true;
  return Fail(KorText::Format(u"%s can't be made: %s. Choose a folder that this user may make",
                              plain, SystemReason()));
}

// Sets "Main", unless it already names the folder, in whatever form.
bool Setup::WritePathsFile(const KorText& folder) {
  const KorText path = folder + kPathsFileName;
  KorText mainText;
  iniFile file(path);
  file.Add<iniString>(kPathsSection, ProgramPaths::DisplayName(kMainFolder), &mainText);
  if (!file.Load() && App().FileAttributes(path))
    return Fail(
        KorText::Format(u"%s can't be read: %s. It was left as it is. Make it readable for this "
                        u"user, or move it away",
                        path, SystemReason()));
  const bool hasSection = file.HasSection(kPathsSection);
  file.Read();
  if (hasSection && ResolvedFolder(mainText, folder) == folder) return true;
  if (!mainText.IsEmpty()) output.print(u"Main folder before: " + mainText);
  mainText = folder;
  file.Write();
  if (file.LastSaveSucceeded()) return true;
  return Fail(
      KorText::Format(u"%s can't be written: %s. It was left as it is. Give this user the right "
                      u"to write to the file and its folder",
                      path, SystemReason()));
}

bool Setup::MakeSubFolders(const KorText& folder) {
  const KorText startIn = App().GetApplicationPropertyPath(kStartInFolder);
  App().SetApplicationPropertyPath(kStartInFolder, folder);
  ProgramPaths paths;
  const bool loaded = paths.Load(ProgramPaths::Defaults::WrittenBack);
  App().SetApplicationPropertyPath(kStartInFolder, startIn); // List settles it anew
  if (!loaded) return Fail(folder + kPathsFileName + u" can't be read again");
  bool done = !paths.WritingFailed();
  if (!done) Fail(folder + kPathsFileName + u" can't be completed: " + SystemReason());
  for (int kind = 0; kind < kFolderKinds; ++kind) {
    if (kind == kSharedDataFolder || paths.GetFolder(kind).IsEmpty()) continue;
    const KorText subFolder =
        paths.GetFolder(kind, {.makeIfMissing = true, .quiet = true, .noSubFolder = true});
    if (App().FolderExists(subFolder)) continue;
    done = Fail(KorText::Format(
        u"the folder %s (%s) can't be made: %s. Make it, or change it in %s", subFolder,
        ProgramPaths::DisplayName(kind), SystemReason(), folder + kPathsFileName));
  }
  output.print(u"Main folder: " + paths.GetFolder(kMainFolder));
  output.print(u"NC programs: " + paths.GetFolder(kCncFolder));
  return done;
}

bool Setup::Register(const KorText& folder) {
  const std::optional<Configuration> old = RegisteredAs(folder);
  Configuration entry;
  entry.path = folder;
  entry.name = !options.name.IsEmpty() ? options.name : old ? old->name : NameOfFolder(folder);
  entry.guid = options.guid;
  entry.isDefault = options.makeDefault;
  entry.version = static_cast<std::uint32_t>(App().Version().ToInteger());
  const std::optional<Configuration> stored = RegisterConfiguration(entry);
  if (!stored)
    return Fail(KorText::Format(
        u"the configuration can't be registered: %s. On Linux it is kept in %s", SystemReason(),
        App().GetApplicationPropertyPath(kSettingsFolder) + kProgramNames.registry));
  output.print(KorText::Format(u"Configuration: %s %s%s", stored->name, stored->guid,
                               stored->isDefault ? u", used by default" : u""));
  return true;
}

bool Setup::SetPort(const KorText& name, const KorText& device) {
  const KorText failure = AssignPort(name, device);
  if (!failure.IsEmpty()) return Fail(failure);
  const KorText remark = device.IsEmpty() ? KorText() : DeviceRemark(device);
  if (!remark.IsEmpty()) Warn(remark);
  return true;
}

bool Setup::SetLanguage() {
  const KorText& code = *options.language;
  if (!StoreLanguage(code))
    return Fail(
        u"the language can't be stored: " + SystemReason() +
        u". The user's settings folder has to be writable, and no program may hold its lock");
  if (code.IsEmpty() || code.StartsWithNoCase(u"en")) return true; // the source texts are English
  TextHolder dictionary;
  const bool loaded = dictionary.Load(kProgramNames.dictionary, TextHolder::kChooseLanguage,
                                      Failures::Silent, code);
  if (!loaded) {
    Warn(u"the dictionary, diction.ary, can't be read, so that texts will be English. Put it "
         u"beside the "
         u"program");
  } else if (dictionary.ChooseLanguage(code) < 0) {
    KorText known;
    for (const TextLanguage& language : dictionary.Languages())
      known += u" " + language.folder;
    Warn(KorText::Format(u"the dictionary lacks %s, so that texts will be English. It has:%s", code,
                         known));
  }
  return true;
}

void Setup::List() {
  ListConfigurationsInUse();
  output.print(u"Serial ports:");
  for (const KorText& line : DescribePorts())
    output.print(u"  " + line);
  if (options.probe) Probe();
  output.print(u"Serial devices:");
  ListDevices();
  const std::optional<KorText> language = StoredLanguage();
  output.print(language ? u"Language: " + *language : u"Language: the system's");
}

void Setup::Probe() {
  output.print(u"Device servers:");
  for (int number = 1; number <= kLastPort; ++number) {
    const KorText name = KorText::Format(u"COM%i", number);
    const KorText address = NetworkAddress(name);
    if (!address.IsEmpty()) output.print(KorText::Format(u"  %-6s %s", name, ProbeLine(address)));
  }
}

void Setup::ListDevices() {
  const std::vector<SerialDevice> devices = ListSerialDevices();
  for (const SerialDevice& device : devices) {
    const KorText line =
        KorText::Format(u"%-13s %-13s %s", device.path, StateText(device.state), device.stableName);
    output.print(u"  " + line.Trimmed());
  }
  if (devices.empty()) output.print(u"  none; plug the adapter in, or look at its cable");
}

void Setup::ListConfigurationsInUse() {
  output.print(u"Configurations:");
  const KorText startIn = SettleStartInFolder();
  bool inUse = false;
  for (const Configuration& entry : ListConfigurations()) {
    const bool chosen = SameFolder(entry.path, startIn);
    const bool complete = App().FileExists(entry.path + kPathsFileName);
    inUse = inUse || (chosen && complete);
    output.print(KorText::Format(u"  %s %s %s %s, version %u%s", chosen ? u"*" : u" ", entry.name,
                                 entry.path, entry.guid, entry.version,
                                 complete ? u"" : u" (KOR.INI is missing)"));
  }
  if (inUse) return;
  const bool unregistered = App().FileExists(startIn + kPathsFileName);
  output.print(unregistered ? u"  * " + startIn + u" (not registered)"
                            : KorText(u"  none to use; make one with ncedl-setup --main DIR"));
}

} // namespace

int RunSetup(const std::vector<KorText>& words, const ToolOutput& output) {
  SetupOptions options;
  const CommandLineAnswer answer = ReadSetupOptions(words, options);
  if (const auto code = answer.Tell(output)) return *code;
  return Setup(options, output).Run() ? 0 : kSetupFailed;
}

} // namespace kor
