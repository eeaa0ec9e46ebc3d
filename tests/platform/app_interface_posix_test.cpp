// What is particular to POSIX: folders from the environment, the locale, links, registry.ini.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <optional>

#include "platform/posix/registry_file.h"
#include "tests/support/test_app.h"
#include "tests/support/threads.h"

namespace kor {
namespace {

// A user with an environment and a home of its own.
class PosixServicesTest : public testing::Test {
 protected:
  PosixServicesTest() {
    for (const char* name : kVariables) {
      const char* value = std::getenv(name);
      saved[name] = value ? std::optional<std::string>(value) : std::nullopt;
      Set(name, nullptr);
    }
    Set("HOME", root.c_str());
  }
  ~PosixServicesTest() override {
    for (const auto& [name, value] : saved)
      Set(name.c_str(), value ? value->c_str() : nullptr);
  }
  static void Set(const char* name, const char* value) {
    static_cast<void>(value ? ::setenv(name, value, 1) : ::unsetenv(name));
  }
  KorText Folder(int type) {
    PosixAppInterface app{kProgramNames};
    EXPECT_EQ(app.Start(u"Download", u"2026"), u"");
    return app.GetApplicationPropertyPath(type);
  }
  TestApp files;
  const std::string root = files.Path(u"data").ToUtf8();
  static constexpr const char* kVariables[] = {
      "HOME",    "XDG_CONFIG_HOME", "XDG_DATA_HOME", "NCEDL_DATA_DIR", "TMPDIR", "LC_ALL",
      "LC_TIME", "LC_NUMERIC",      "LC_MESSAGES",   "LANG",           "LOCPATH"};
  std::map<std::string, std::optional<std::string>> saved;
};

TEST_F(PosixServicesTest, TellsWhetherSomebodyHasAFileOpenForWriting) {
  const KorText path = files.Path(u"1.MPG");
  files.Put(path, u"G90\n");
  const auto reader = files.OpenFile(path, FileAccess::Read);
  EXPECT_FALSE(files.IsBeingWritten(path));
  auto writer = files.OpenFile(path, FileAccess::Append);
  EXPECT_TRUE(files.IsBeingWritten(path));
  writer.reset();
  EXPECT_FALSE(files.IsBeingWritten(path) || files.IsBeingWritten(path + u"x"));
  EXPECT_TRUE(files.OpenFile(path, FileAccess::Append)) << "no lease is left";
  const auto claim = files.OpenFile(path, FileAccess::Claim);
  EXPECT_TRUE(claim && claim->IsHeld() && files.IsBeingWritten(path))
      << "over NFS nobody locks for himself what he only reads";
}

TEST_F(PosixServicesTest, FindsItsFoldersFromTheEnvironment) {
  const KorText home = KorText::FromUtf8(root), suite = u"Velmora/Plenova 2026/";
  EXPECT_EQ(Folder(kSettingsFolder), home + u"/.config/" + suite);
  EXPECT_EQ(Folder(kTemporaryFolder), u"/tmp/");
  if (!files.FolderExists(u"/var/lib/ncedl")) {
    EXPECT_EQ(Folder(kDataFolder), home + u"/.local/share/" + suite);
    Set("XDG_DATA_HOME", "/x/data");
    EXPECT_EQ(Folder(kDataFolder), u"/x/data/" + suite);
  }
  Set("XDG_CONFIG_HOME", "/x/config");
  Set("NCEDL_DATA_DIR", "/srv/nc");
  Set("TMPDIR", root.c_str());
  EXPECT_EQ(Folder(kSettingsFolder), u"/x/config/" + suite);
  EXPECT_EQ(Folder(kDataFolder), u"/srv/nc/");
  EXPECT_EQ(Folder(kTemporaryFolder), home + u"/");
  Set("XDG_CONFIG_HOME", "relative");
  Set("TMPDIR", "/no/such/folder");
  EXPECT_EQ(Folder(kSettingsFolder), home + u"/.config/" + suite);
  EXPECT_EQ(Folder(kTemporaryFolder), u"/tmp/");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(root);
  EXPECT_EQ(Folder(kStartInFolder), u"/srv/nc/");
  files.Put(files.Path(u"data/KOR.INI"), u"");
  EXPECT_EQ(Folder(kStartInFolder), home + u"/") << "the working folder, where the paths file is";
  std::filesystem::current_path(before);
}

// A date and time and the regional settings, as the locale that LC_ALL names has them.
std::string InLocale(PosixAppInterface& app) {
  app.LoadRegionalSettings();
  const SystemTime time = {2026, 11, 1, 13, 5, 9, 0, 0};
  const RegionalSettings regional = app.Regional();
  return KorText::Format(u"%s %s %c%c%X%c%s|%s %.1f", app.FormatDate(time), app.FormatTime(time),
                         regional.listSeparator, regional.decimalSeparator,
                         regional.thousandsSeparator, regional.timeSeparator,
                         regional.shortDateFormat, regional.longDateFormat, 0.5)
      .ToUtf8();
}

TEST_F(PosixServicesTest, SpeaksTheUsersLocale) {
  PosixAppInterface app{kProgramNames};
  for (const char* none : {"C", "POSIX", "xx_XX.UTF-8", ""}) { // one is not installed
    Set("LC_ALL", none);
    EXPECT_EQ(InLocale(app), "01/11/2026 13:05:09 ,.0:dd/mm/yyyy|dd MMMM yyyy 0.5");
  }
  const std::string folder = files.Path(u"data/fi_FI.UTF-8").ToUtf8();
  ASSERT_EQ(std::system(("localedef -i fi_FI -f UTF-8 " + folder).c_str()), 0);
  Set("LOCPATH", root.c_str());
  Set("LC_ALL", "fi_FI.UTF-8");
  // In a process of its own: the C library loses some bytes whenever LOCPATH is set.
  EXPECT_EXIT(
      {
        std::fputs(InLocale(app).c_str(), stderr);
        std::_Exit(0);
      },
      testing::ExitedWithCode(0),
      "^01\\.11\\.2026 13\\.05\\.09 ;,202F\\.dd\\.MM\\.yyyy\\|dd MMMM yyyy 0\\.5$");
}

TEST_F(PosixServicesTest, NamesTheUsersLanguage) {
  PosixAppInterface app{kProgramNames};
  const auto speaking = [&](const char* language) {
    Set("LANG", language);
    return app.UserLanguage();
  };
  EXPECT_EQ(speaking("de_DE.UTF-8"), u"de-DE");
  EXPECT_EQ(speaking("sr_RS@latin"), u"sr-RS");
  EXPECT_EQ(speaking("pl"), u"pl");
  for (const char* none : {"C.UTF-8", "POSIX", static_cast<const char*>(nullptr)})
    EXPECT_EQ(speaking(none), u"");
  Set("LC_MESSAGES", "cs_CZ.UTF-8");
  EXPECT_EQ(app.UserLanguage(), u"cs-CZ");
}

TEST_F(PosixServicesTest, FollowsLinksToFilesButRemovesOnlyLinks) {
  const KorText target = files.Path(u"start-in/precious");
  files.Put(target, u"kept");
  std::filesystem::create_directory_symlink(files.Path(u"start-in").ToUtf8(), root + "/folder");
  std::filesystem::create_symlink(target.ToUtf8(), root + "/file");
  std::filesystem::create_symlink("nowhere", root + "/broken");
  ASSERT_EQ(::mkfifo((root + "/pipe").c_str(), 0600), 0);
  files.Put(files.Path(u"data/.hidden"), u"");
  EXPECT_TRUE(files.FileExists(files.Path(u"data/file")));
  EXPECT_TRUE(files.FolderExists(files.Path(u"data/folder")));
  EXPECT_FALSE(files.FileExists(files.Path(u"data/broken")));
  EXPECT_FALSE(files.FileExists(files.Path(u"data/pipe")));
  EXPECT_EQ(files.OpenFile(files.Path(u"data/pipe"), FileAccess::Write), nullptr); // doesn't wait
  std::map<KorText, std::string> kinds;
  const auto entries = files.ListFolder(files.Path(u"data"));
  ASSERT_TRUE(entries);
  for (const auto& [name, info] : *entries) {
    kinds[name] = std::string(info.isFile ? "f" : "") + (info.isFolder ? "d" : "") +
                  (info.isSystem ? "s" : "") + (info.isHidden ? "h" : "");
  }
  EXPECT_EQ(
      kinds,
      (std::map<KorText, std::string>{
          {u".hidden", "fh"}, {u"broken", "s"}, {u"file", "f"}, {u"folder", "d"}, {u"pipe", "s"}}));
  EXPECT_TRUE(files.RemoveFolder(files.Path(u"data/folder/")));
  std::filesystem::create_directory_symlink(files.Path(u"start-in").ToUtf8(), root + "/folder");
  EXPECT_TRUE(files.RemoveFolder(files.Path(u"data")));
  EXPECT_EQ(files.Content(target), u"kept");
}

TEST_F(PosixServicesTest, HandsNoFileToOtherPrograms) {
  const auto file = files.OpenFile(files.Path(u"data/x"), FileAccess::Write);
  int open = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    if (std::filesystem::read_symlink(entry.path(), gone) != root + "/x") continue;
    ++open;
    EXPECT_EQ(::fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC);
  }
  EXPECT_EQ(open, 1);
}

class RegistryFileTest : public testing::Test {
 protected:
  TestApp app;
  KorText path = app.Path(u"settings/registry.ini");
  KorText key = AppInterface::RegistryKey(u"COMMON");
};

TEST_F(RegistryFileTest, KeepsAnyText) {
  std::u16string everything;
  for (int c = 0; c < 0x300; ++c)
    everything.push_back(static_cast<char16_t>(c));
  const KorText texts[] = {u"",
                           u" blanks ",
                           u"C:\\x=y;[z]",
                           u"%PUBLIC%/Documents/",
                           u"%u0041",
                           u"\xD83D\xDD27 \xD83D \xDD27 \xDCC3\xDCA9",
                           u"two\r\nlines\n",
                           everything};
  for (const KorText& text : texts) {
    for (const KorText& name : {KorText(u"Value"), text}) {
      ASSERT_TRUE(RegistryFile(app).WriteText(key, name, text));
      EXPECT_EQ(RegistryFile(app).ReadText(key, name), text);
      ASSERT_TRUE(RegistryFile(app).WriteText(text, name, u"x"));
      EXPECT_EQ(RegistryFile(app).ReadText(text, name), u"x");
    }
  }
  EXPECT_EQ(RegistryFile(app).ReadText(key, texts[3]), texts[3]);
  EXPECT_EQ(RegistryFile(app).ReadText(key, u"Other"), std::nullopt);
  EXPECT_EQ(RegistryFile(app).ReadText(u"Other", u"Value"), std::nullopt);
}

TEST_F(RegistryFileTest, ReadsWhatPeopleWriteAndKeepsIt) {
  app.Put(path, u"\u00EF\u00BB\u00BF; ours\r\n[software\\velmora\\plenova 2026\\common]\r\n"
                u"  waitlockperiod = 5000 \r\n# note\r\n\r\n[Other\\A\\x]\r\n[Other\\b]\nv=1\n"
                u"[Other\\a]");
  RegistryFile file(app);
  EXPECT_EQ(file.ReadText(key, u"WaitLockPeriod"), u"5000");
  EXPECT_EQ(file.SubKeys(u"OTHER"), (std::vector<KorText>{u"A", u"b"}));
  ASSERT_TRUE(file.WriteText(key, u"WaitLockPeriod", u"1"));
  ASSERT_TRUE(file.WriteText(key, u"New", u"%PUBLIC%"));
  ASSERT_TRUE(file.WriteText(u"Key", u"v", u"2"));
  EXPECT_EQ(app.Content(path),
            u"; ours\n[software\\velmora\\plenova 2026\\common]\nWaitLockPeriod=1\n# note\n"
            u"New=%PUBLIC%\n\n[Other\\A\\x]\n[Other\\b]\nv=1\n[Other\\a]\n\n[Key]\nv=2\n");
}

TEST_F(RegistryFileTest, StaysWholeWhateverGoesWrong) {
  ASSERT_TRUE(RegistryFile(app).WriteText(key, u"Value", u"old"));
  const std::function<void()> faults[] = {
      [&] { app.LimitWrites(20); },        [&] { app.FailSync(true); },
      [&] { app.FailRename(true); },       [&] { app.FailClose(true); },
      [&] { app.RefuseOpening(u".new"); }, [&] { app.RefuseOpening(u"registry.ini"); },
      [&] { app.LimitReads(5); },
  };
  for (const auto& fault : faults) {
    fault();
    EXPECT_FALSE(RegistryFile(app).WriteText(key, u"Value", u"new"));
    app.ClearFaults();
    EXPECT_EQ(RegistryFile(app).ReadText(key, u"Value"), u"old");
    EXPECT_EQ(app.Names(app.Path(u"settings")), std::vector<KorText>{u"registry.ini"});
  }
}

TEST_F(RegistryFileTest, KeepsItsPermissionsAndFollowsItsLink) {
  const std::string folder = app.Path(u"settings/").ToUtf8();
  app.Put(app.Path(u"far/registry"), u"");
  std::filesystem::create_symlink("../far/registry", folder + "registry.ini");
  std::filesystem::create_symlink("../far/not yet", folder + "registry.ini.new");
  std::filesystem::create_symlink("not yet", app.Path(u"far/registry.new").ToUtf8());
  ASSERT_EQ(::chmod(app.Path(u"far/registry").ToUtf8().c_str(), 0640), 0);
  EXPECT_TRUE(RegistryFile(app).WriteText(key, u"Value", u"v"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder + "registry.ini"));
  EXPECT_EQ(app.Names(app.Path(u"far")), std::vector<KorText>{u"registry"});
  EXPECT_TRUE(app.Content(app.Path(u"far/registry"))->Contains(u"Value=v"));
  EXPECT_EQ(std::filesystem::status(app.Path(u"far/registry").ToUtf8()).permissions(),
            std::filesystem::perms(0640));
}

TEST_F(RegistryFileTest, RefusesWhatIsTooLargeToBeOneAndSaysSoOnce) {
  for (const KorText& rest :
       {KorText(kLargestSettings, u' '), KorText(kMostSettingsLines, u'\n')}) {
    const KorText content = KorText::Format(u"[%s]\nv=1\n", key) + rest;
    app.Put(path, content);
    EXPECT_EQ(RegistryFile(app).ReadText(key, u"v"), std::nullopt);
    EXPECT_FALSE(RegistryFile(app).WriteText(key, u"v", u"2"));
    EXPECT_EQ(app.Content(path), content);
  }
  ASSERT_EQ(app.Messages().size(), 1u);
  EXPECT_EQ(app.Messages()[0].info, path);
}

TEST_F(RegistryFileTest, LosesNothingToAnotherWriter) {
  OnFourThreads([&](int i) {
    for (int n = 0; n < 10; ++n)
      RegistryFile(app).WriteText(key, KorText::Format(u"%i.%i", i, n), u"x");
  });
  for (int n = 0; n < 40; ++n)
    EXPECT_EQ(RegistryFile(app).ReadText(key, KorText::Format(u"%i.%i", n / 10, n % 10)), u"x");
}

TEST_F(RegistryFileTest, WaitsForAnotherProgramButNotForEver) {
  const double before = app.Seconds();
  const int other = ::open(app.Path(u"settings").ToUtf8().c_str(), O_RDONLY | O_DIRECTORY);
  ASSERT_EQ(::flock(other, LOCK_EX), 0);
  EXPECT_FALSE(RegistryFile(app).WriteText(key, u"v", u"1"));
  EXPECT_EQ(app.LastError(), static_cast<std::uint32_t>(EBUSY));
  EXPECT_NEAR(app.Seconds() - before, 5, 0.2); // on the clock that is moved by hand
  EXPECT_EQ(app.Content(path), std::nullopt);
  ::close(other);
  EXPECT_TRUE(RegistryFile(app).WriteText(key, u"v", u"1"));
}

TEST_F(RegistryFileTest, HoldsNumbers) {
  RegistryFile file(app);
  app.RemoveFolder(app.Path(u"settings")); // made again on first use
  EXPECT_EQ(file.ReadNumber(key, u"Version"), std::nullopt);
  EXPECT_TRUE(file.WriteNumber(key, u"Version", 4294967295));
  EXPECT_EQ(file.ReadNumber(key, u"version"), 4294967295);
  for (const char16_t* noNumber : {u"", u"x", u"-1", u"4294967296", u"99999999999999999999"}) {
    file.WriteText(key, u"Version", noNumber);
    EXPECT_EQ(file.ReadNumber(key, u"Version"), std::nullopt);
  }
}

TEST_F(PosixServicesTest, GivesRightsToTheOpenFileNotToWhatHasTakenItsName) {
  files.Put(files.Path(u"open"), u"x");
  files.Put(files.Path(u"secret"), u"x");
  const auto native = [&](const char16_t* name) { return files.Path(name).ToUtf8(); };
  ASSERT_EQ(::chmod(native(u"open").c_str(), 0666), 0);
  ASSERT_EQ(::chmod(native(u"secret").c_str(), 0600), 0);
  const auto part = files.OpenFile(files.Path(u"part"), FileAccess::CreateNew);
  ASSERT_TRUE(part && files.RenameFile(files.Path(u"part"), files.Path(u"aside")));
  ASSERT_EQ(::symlink("secret", native(u"part").c_str()), 0);
  EXPECT_TRUE(files.CopyAttributes(files.Path(u"open"), *part));
  const auto modeOf = [&](const char16_t* name) {
    struct stat status {};
    EXPECT_EQ(::stat(native(name).c_str(), &status), 0);
    return status.st_mode & 0777;
  };
  EXPECT_EQ(modeOf(u"secret"), 0600u);
  EXPECT_EQ(modeOf(u"aside"), 0666u);
}

TEST_F(PosixServicesTest, TellsBeforehandWhatMayNotBeReplaced) {
  const KorText folder = files.Path(u"programs/");
  const auto native = [&](const char16_t* name) { return (folder + name).ToUtf8(); };
  const auto may = [&](const KorText& name) { return files.CanReplaceFile(folder + name); };
  for (const char16_t* name : {u"own", u"locked", u"other"})
    files.Put(folder + name, u"x");
  ASSERT_EQ(::chmod(native(u"own").c_str(), 0644), 0);
  ASSERT_EQ(::chmod(native(u"locked").c_str(), 0444), 0);
  ASSERT_EQ(::chmod(native(u"other").c_str(), 0666), 0);
  ASSERT_EQ(::symlink("locked", native(u"link").c_str()), 0);
  EXPECT_TRUE(may(u"new") && may(u"own") && may(u"no/folder"));
  EXPECT_FALSE(may(KorText(256, u'1')) || may(u"locked") || may(u"."));
  // Root may do everything; it plays another user. Any other user has no files of somebody else.
  const bool isRoot = ::geteuid() == 0;
  constexpr uid_t kPlayed = 12345;
  if (isRoot) {
    for (const char16_t* name : {u"own", u"locked", u"link"})
      ASSERT_EQ(::lchown(native(name).c_str(), kPlayed, 0), 0);
    ASSERT_EQ(::chmod(native(u"").c_str(), 01777), 0);
    ASSERT_EQ(::chmod(files.Root().ToUtf8().c_str(), 0755), 0);
    ASSERT_EQ(::seteuid(kPlayed), 0);
  }
  EXPECT_TRUE(may(u"new") && may(u"own") && may(u"link"));
  EXPECT_FALSE(may(u"locked"));
  EXPECT_EQ(may(u"other"), !isRoot);
  if (isRoot) {
    ASSERT_EQ(::seteuid(0), 0);
  }
}

} // namespace
} // namespace kor
