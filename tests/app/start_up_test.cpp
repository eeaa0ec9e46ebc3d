// The program's start: what is reported, logged and switched on.
#include "app/start_up.h"

#include <gtest/gtest.h>

#include "tests/support/test_app.h"

namespace kor {
namespace {

class StartUpTest : public ::testing::Test {
 protected:
  bool Start(const KorText& commandLine = {}) {
    KorText error;
    return StartProgram(app, commandLine, error).has_value();
  }
  KorText Log(const KorText& name) {
    return app.Content(app.Path(u"settings/" + name)).value_or(KorText());
  }
  void PutPaths() { app.Put(app.Path(u"data/KOR.INI"), u"[PROGRAM PATHS]\n"); }

  TestApp app;
};

TEST_F(StartUpTest, WithoutProgramPathsTheMessageNamesTheCommandThatMakesThem) {
  app.RemoveFolder(app.Path(u"data"));
  EXPECT_FALSE(Start());
  ASSERT_FALSE(app.Messages().empty());
  EXPECT_TRUE(app.Messages().back().details.StartsWith(u"ncedl-setup --main "));
  EXPECT_TRUE(
      Log(u"NCE.log")
          .Contains(u"MSG:FATAL: \"Unable to locate Program Paths in\n\n" + app.Path(u"data/")));
  EXPECT_FALSE(app.FolderExists(app.Path(u"data"))); // only what is needed is made
}

TEST_F(StartUpTest, EachProgramHasALogOfItsOwn) {
  PutPaths();
  app.SetUtc(SystemTime{2026, 11, 21, 13, 5, 9, 0, 6});
  EXPECT_TRUE(Start(u"Press 2"));
  const KorText begin = u"\n2026-11-21 13:05:09 Download 2026\n----------------\nMSG:WARN: \"" +
                        app.Path(u"program/diction.ary");
  EXPECT_TRUE(Log(u"Press 2.log").StartsWith(begin));
  EXPECT_TRUE(Start(u"Press 2")); // the first is still held
  EXPECT_TRUE(Log(u"Press 2-2.log").StartsWith(begin));
  EXPECT_TRUE(Start(u"Press 1/2"));
  EXPECT_FALSE(Log(u"NCE.log").IsEmpty());
  app.RefuseOpening(u".log", true);
  EXPECT_TRUE(Start(u"Press 3"));
  EXPECT_EQ(app.Names(app.Path(u"settings")).size(), 3u);
}

TEST_F(StartUpTest, DebuggingIsSwitchedOnByTheEnvironmentElseByTheRegistry) {
  PutPaths();
  app.Put(app.Path(u"settings/Debug.ini"), u"[DEBUG_MODES]\nReg_Dateless\n");
  const std::tuple<const char16_t*, std::uint32_t, bool> cases[] = {
      {u"", 0, false}, {u"1", 0, true}, {u"0", 1, false}, {u"yes", 0, true}, {u"", 1, true}};
  for (const auto& [environment, registry, enabled] : cases) {
    app.SetEnvironment(u"NCEDL_DEBUG", environment);
    app.WriteRegistryNumber(u"Software\\Velmora\\Plenova 2026\\COMMON", u"Debugging", registry);
    EXPECT_TRUE(Start());
    EXPECT_EQ(app.GetDebugMode(u"Reg_Dateless") != 0, enabled) << registry;
    app.SetDebugMode(u"Reg_Dateless", 0);
  }
}

} // namespace
} // namespace kor
