// Where the debug file is found, what its lines set, and what is written back.
#include "services/ini/debug_file.h"

#include <gtest/gtest.h>

#include "tests/support/test_app.h"

namespace kor {
namespace {

class DebugFile : public ::testing::Test {
 protected:
  DebugFile() {
    app.AddDebugMode(u"Test", u"Alpha", u"", 1);
    app.AddDebugMode(u"Test", u"Beta", u"", 1);
    app.AddDebugMode(u"Test", u"Always", u"", 2);
    app.EnableDebugging(true);
  }
  KorText InFolder(int type) { return app.GetApplicationPropertyPath(type) + kDebugFileName; }

  TestApp app;
};

TEST_F(DebugFile, SetsTheModesThatItNamesWhileTheyAreActive) {
  app.EnableDebugging(false);
  app.Put(InFolder(kSettingsFolder), u"[DEBUG_MODES]\nReg_Dateless\nAlways=2\n");
  EXPECT_TRUE(LoadDebugFile());
  EXPECT_EQ(app.GetDebugMode(u"Always"), 2);
  app.EnableDebugging(true);
  EXPECT_EQ(app.GetDebugMode(u"Reg_Dateless"), 0);
  app.Put(InFolder(kSettingsFolder),
          u"[DEBUG_MODES]\nALPHA\nbeta= 12x\nUnknown=3\nAlways =5\nReg_Dateless=1\n");
  EXPECT_TRUE(LoadDebugFile());
  EXPECT_EQ(app.GetDebugMode(u"Alpha"), 1);
  EXPECT_EQ(app.GetDebugMode(u"Beta"), 12);
  EXPECT_EQ(app.GetDebugMode(u"Always"), 2); // the blank belongs to the name
  EXPECT_EQ(app.GetDebugMode(u"Reg_Dateless"), 1);
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(DebugFile, IsTheFirstOfThreeFolders) {
  EXPECT_FALSE(LoadDebugFile());
  for (const int type : {kProgramFolder, kSettingsFolder, kStartInFolder}) {
    app.Put(InFolder(type), KorText::Format(u"[debug_modes]\nAlpha=%i\n", type));
    EXPECT_EQ(FindDebugFile(), InFolder(type));
    EXPECT_TRUE(LoadDebugFile());
    EXPECT_EQ(app.GetDebugMode(u"Alpha"), type);
  }
  const KorText elsewhere = app.Path(u"other.ini");
  EXPECT_FALSE(LoadDebugFile(elsewhere));
  app.Put(elsewhere, u"[DEBUG_MODES]\nAlpha=77\n");
  EXPECT_TRUE(LoadDebugFile(elsewhere));
  EXPECT_EQ(app.GetDebugMode(u"Alpha"), 77);
}

TEST_F(DebugFile, IsWrittenBackWithTheLinesOfOthers) {
  app.SetDebugMode(u"Alpha", 3);
  EXPECT_TRUE(SaveDebugFile());
  EXPECT_EQ(app.Content(InFolder(kSettingsFolder)), u"[DEBUG_MODES]\nAlpha=3\n");
  app.Put(InFolder(kStartInFolder), u"[X]\nk=1\n[DEBUG_MODES]\nOther=1\nalpha\nbeta\n");
  EXPECT_TRUE(SaveDebugFile());
  EXPECT_EQ(app.Content(InFolder(kStartInFolder)),
            u"[X]\nk=1\n[DEBUG_MODES]\nOther=1\nAlpha=3\nBeta=0\n");
  app.LimitWrites(0);
  EXPECT_FALSE(SaveDebugFile());
  EXPECT_EQ(app.Messages().size(), 1u);
}

} // namespace
} // namespace kor
