// The program's folders from KOR.INI, and the configurations that say where KOR.INI is.
#include "app/program_paths.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "app/configurations.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

class ProgramPathsTest : public ::testing::Test {
 protected:
  void PutPaths(const KorText& lines) { app.Put(file, u"[PROGRAM PATHS]\n" + lines); }
  std::string Bytes() { return app.Content(file).value_or(u"(missing)").ToBytes(); }

  TestApp app;
  KorText startIn = app.GetApplicationPropertyPath(kStartInFolder);
  KorText file = startIn + u"KOR.INI";
  ProgramPaths paths;
};

TEST_F(ProgramPathsTest, CompletesNormalisesResolvesAndHandsOnFolders) {
  const std::tuple<const char16_t*, int, KorText> kCases[] = {
      {u"Main=D:\\kor", 3, u"D:/kor/"},
      {u"Main=/srv/kor", 8, u"/srv/kor/cnc/"},
      {u"Main=/srv/kor/", 45, u"/srv/kor/cnc/"},
      {u"Main=/srv/kor\nCNC=\\\\server\\nc", 8, u"//server/nc/"},
      {u"Main=/srv/kor\nCNC=\\\\server\\nc", 45, u"/srv/kor/cnc/"},
      {u"Main=/srv/kor\nReports=/r", 35, u"/r/"},
      {u"Main=kor/main", 5, startIn + u"kor/main/parts/"},
      {u"Main=/srv\nCNC=./a/../b//c", 8, startIn + u"b/c/"},
      {u"CNC=nc", 8, startIn + u"nc/"},
      {u"CNC=nc", 9, startIn + u"database/"},
      {u"Main=.", 3, startIn},
      {u"Main=/srv", 12, app.GetApplicationPropertyPath(kDataFolder)},
      {u"Main=/srv", 13, u""},
      {u"Main=/srv", 46, u"/srv/shearnc/"},
      {u"Main=/srv", 47, u""},
      {u"Main=/srv", -1, u""},
  };
  for (const auto& [lines, kind, folder] : kCases) {
    PutPaths(lines);
    ASSERT_TRUE(paths.Load());
    EXPECT_EQ(paths.GetFolder(kind), folder) << KorText(lines).ToBytes();
  }
  EXPECT_TRUE(app.Messages().empty());
  EXPECT_EQ(app.GetProgramFolder(u"shear nc"), u"/srv/shearnc/"); // by the services, too
  EXPECT_EQ(app.GetProgramFolder(u"CNC"), u"/srv/cnc/");
}

TEST_F(ProgramPathsTest, NeverClimbsAboveARoot) {
  for (const auto& [base, resolved] : {std::pair(u"/a/b/", u"/x/"),
                                       {u"C:/a/", u"C:/x/"},
                                       {u"//server/a/", u"//server/x/"},
                                       {u"a/", u"x/"}})
    EXPECT_EQ(ResolvedFolder(u"../../../x", base), resolved);
}

TEST_F(ProgramPathsTest, WritesDefaultsBackWhenAsked) {
  const std::string before = "; mine\n[PROGRAM PATHS]\nMain=main\\\nOther=1\n[X]\n";
  app.Put(file, KorText::FromBytes(before));
  ASSERT_TRUE(paths.Load());
  EXPECT_EQ(Bytes(), before);
  ASSERT_TRUE(paths.Load(ProgramPaths::Defaults::WrittenBack));
  const std::string after = Bytes();
  EXPECT_TRUE(after.starts_with("; mine\n[PROGRAM PATHS]\nProject=main/projects/\n")) << after;
  EXPECT_TRUE(after.ends_with("Shear NC=main/shearnc/\nMain=main/\nOther=1\n[X]\n")) << after;
  app.LimitWrites(0); // all folders are set now: nothing to write
  ASSERT_TRUE(paths.Load(ProgramPaths::Defaults::WrittenBack));
  EXPECT_TRUE(app.Messages().empty());

  app.ClearFaults();
  app.Put(file, KorText::FromBytes(before));
  app.LimitWrites(0);
  EXPECT_TRUE(paths.Load(ProgramPaths::Defaults::WrittenBack));
  EXPECT_TRUE(paths.WritingFailed());
  EXPECT_EQ(app.Messages().size(), 1u);
  EXPECT_EQ(Bytes(), before);
}

TEST_F(ProgramPathsTest, AMissingFileOrSectionIsACorruptInstallation) {
  const KorText place = u"Unable to locate Program Paths in\n\n" + startIn;
  const std::tuple<const char16_t*, KorText, KorText> kCases[] = {
      {nullptr, startIn, place}, // no file
      {u"[PROGRAM PATH]\nMain=/srv\n", startIn, place},
      {u"[PROGRAM PATHS]\n", u"",
       u"Unable to locate Program Paths\n\nWorking directory has not been setup."},
  };
  for (const auto& [content, folder, message] : kCases) {
    app.RemoveFile(file);
    if (content) app.Put(file, content);
    app.SetApplicationPropertyPath(kStartInFolder, folder);
    EXPECT_EQ(paths.GetFolder(kCncFolder, {.quiet = true}), u"");
    EXPECT_TRUE(app.Messages().empty());
    EXPECT_EQ(paths.GetFolder(kCncFolder), u"");
    EXPECT_FALSE(paths.LoadOrReport());
    ASSERT_EQ(app.Messages().size(), 2u);
    EXPECT_EQ(app.Messages()[0].level, MessageLevel::Fatal);
    EXPECT_EQ(app.Messages()[0].info, u"Corrupt Installation");
    EXPECT_EQ(app.Messages()[0].message, message);
    app.ForgetReports();
  }
}

TEST_F(ProgramPathsTest, MakesAFolderOnceAndTriesAgainAfterAFailure) {
  PutPaths(u"CNC=deep/er/nc\n");
  const KorText folder = startIn + u"deep/er/nc/";
  EXPECT_EQ(paths.GetFolder(kCncFolder), folder);
  EXPECT_FALSE(app.FolderExists(folder));
  app.Put(startIn + u"deep", u"a file in the way");
  EXPECT_EQ(paths.GetFolder(kCncFolder, {.makeIfMissing = true}), folder);
  app.RemoveFile(startIn + u"deep");
  EXPECT_EQ(paths.GetFolder(kCncFolder, {.makeIfMissing = true}), folder);
  EXPECT_TRUE(app.FolderExists(folder));
  app.RemoveFolder(folder);
  paths.GetFolder(kCncFolder, {.makeIfMissing = true});
  EXPECT_FALSE(app.FolderExists(folder)); // checked once
}

TEST_F(ProgramPathsTest, JoinsTheSubFolderOfReportsWithItsOwnSeparator) {
  PutPaths(u"Reports=r\n");
  for (const KorText year : {u"2026", u"2027"}) { // each is made
    paths.SetReportsSubFolder(year);
    EXPECT_EQ(paths.GetFolder(kReportsFolder, {.makeIfMissing = true}), startIn + u"r//" + year);
    EXPECT_TRUE(app.FolderExists(startIn + u"r/" + year));
  }
  EXPECT_EQ(paths.GetFolder(kReportsFolder, {.noSubFolder = true}), startIn + u"r/");
  EXPECT_EQ(paths.GetFolder(kMainFolder), startIn);
}

class ConfigurationsTest : public ProgramPathsTest {
 protected:
  Configuration Put(const KorText& path, std::uint32_t version = 1, bool withFile = true,
                    bool isDefault = false) {
    Configuration entry;
    entry.isDefault = isDefault;
    entry.name = u"Name";
    entry.path = path;
    entry.version = version;
    if (withFile) app.Put(NormalisedFolder(path) + kPathsFileName, u"[PROGRAM PATHS]\n");
    return RegisterConfiguration(entry).value();
  }
  Texts Listed(const KorText& fileName = {}) {
    Texts found;
    for (const Configuration& entry :
         ListConfigurations(ConfigurationKind::Configuration, fileName))
      found.push_back(entry.path);
    std::ranges::sort(found);
    return found;
  }
};

TEST_F(ConfigurationsTest, ListsFoldersThatHoldTheFileOnce) {
  const KorText a = app.Path(u"a/"), b = app.Path(u"b/"), pub = app.PublicDocumentsFolder();
  const KorText guid = Put(a).guid; // "{xxxxxxxx-xxxx-4xxx-8xxx-xxxxxxxxxxxx}"
  EXPECT_EQ(guid.Length(), 38u);
  EXPECT_TRUE(guid[15] == u'4' && KorText(u"89AB").Contains(guid.Mid(20, 1))) << guid.ToUtf8();
  EXPECT_NE(Put(b, 1, false).guid, Put(a).guid);
  const auto raw = [&](const char16_t* name, const KorText& path) {
    const KorText key = ConfigurationKey(ConfigurationKind::Configuration, name);
    app.WriteRegistryText(key, u"Path", path);
  };
  raw(u"again", KorText(a).ReplaceAll(u'/', u'\\'));
  raw(u"public", u"%public%\\documents\\kor");
  raw(u"nowhere", u"");
  app.WriteRegistryText(ConfigurationKey(ConfigurationKind::Cache, u"c"), u"Path", u"/cache");
  EXPECT_EQ(Listed(), (Texts{a, a, b, pub + u"kor/"}));
  EXPECT_EQ(Listed(kPathsFileName), Texts{a});
  app.Put(pub + u"kor/KOR.INI", u"");
  EXPECT_EQ(Listed(kPathsFileName), (Texts{a, pub + u"kor/"}));
  const std::vector<Configuration> caches = ListConfigurations(ConfigurationKind::SecondCache);
  ASSERT_EQ(caches.size(), 1u);
  EXPECT_EQ(caches[0].path, u"/cache/");
  EXPECT_TRUE(!caches[0].isDefault && caches[0].version == 0) << "nothing says so";
}

TEST_F(ConfigurationsTest, OfEqualsTheFirstIsTheDefault) {
  std::vector<Configuration> list(3);
  list[0].version = 9;
  list[1].isDefault = list[2].isDefault = true;
  list[1].name = u"first of the marked";
  EXPECT_EQ(ChooseDefault(list)->name, u"first of the marked");
}

TEST_F(ConfigurationsTest, SettleTheStartInFolder) {
  const KorText data = app.GetApplicationPropertyPath(kDataFolder);
  const auto settle = [&](const KorText& byServices) {
    app.SetApplicationPropertyPath(kStartInFolder, byServices);
    const KorText folder = SettleStartInFolder();
    EXPECT_EQ(app.GetApplicationPropertyPath(kStartInFolder), folder);
    return folder;
  };
  EXPECT_EQ(settle(data), data); // nothing is set up
  app.Put(data + kPathsFileName, u"");
  EXPECT_EQ(settle(data), data);
  Put(app.Path(u"old"), 1);
  Put(app.Path(u"new"), 2);
  EXPECT_EQ(settle(data), app.Path(u"new/"));
  Put(app.Path(u"new"), 2, true, true);
  Put(app.Path(u"old"), 1, true, true); // takes the mark
  EXPECT_EQ(settle(data), app.Path(u"old/"));
  app.RemoveFile(app.Path(u"old/KOR.INI")); // moved away
  EXPECT_EQ(settle(data), app.Path(u"new/"));
  app.Put(file, u""); // the working folder
  EXPECT_EQ(settle(startIn), startIn);
}

} // namespace
} // namespace kor
