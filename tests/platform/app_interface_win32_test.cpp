// What is particular to Windows: the registry, names of devices, forced long paths.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/test_app.h"

namespace kor {
namespace {

class Win32ServicesTest : public testing::Test {
 protected:
  ~Win32ServicesTest() override {
    std::system("reg delete \"HKCU\\Software\\Velmora\\Plenova self-test\" /f >nul 2>&1");
  }
  Win32AppInterface app{kProgramNames};
  KorText key = AppInterface::RegistryKey(u"Configuration", u"self-test");
};

TEST_F(Win32ServicesTest, RegistryHoldsNumbersAndTexts) {
  const KorText main = key + u"\\Main";
  EXPECT_EQ(app.ReadRegistryNumber(main, u"Version"), std::nullopt);
  EXPECT_TRUE(app.ListRegistrySubKeys(key).empty());
  EXPECT_TRUE(app.WriteRegistryNumber(main, u"Version", 4294967295));
  for (const KorText& text : {KorText(), KorText(u"\u4E2D\U0001F527"), KorText(5000, u'x')}) {
    EXPECT_TRUE(app.WriteRegistryText(main, u"Name", text));
    EXPECT_EQ(app.ReadRegistryText(main, u"Name"), text);
  }
  EXPECT_EQ(app.ReadRegistryNumber(main, u"version"), 4294967295);
  EXPECT_EQ(app.ReadRegistryNumber(main, u"Name"), std::nullopt);
  EXPECT_EQ(app.ReadRegistryText(main, u"Version"), std::nullopt);
  EXPECT_EQ(app.ListRegistrySubKeys(key), std::vector<KorText>{u"Main"});
}

TEST(Win32Files, DevicesAreNoFiles) {
  TestApp app;
  for (const char16_t* name : {u"NUL", u"COM1", u"aux"}) {
    EXPECT_FALSE(app.FileExists(name));
    EXPECT_EQ(app.OpenFile(name, FileAccess::Write), nullptr);
    EXPECT_EQ(app.OpenFile(name, FileAccess::Read), nullptr);
  }
}

TEST(Win32Files, ForcedLongPathsReachTheSameFiles) {
  TestApp app;
  const KorText path = app.Path(u"data/../data/file");
  app.Put(path, u"content");
  app.EnableDebugging(true);
  app.SetDebugMode(u"AlwaysUseLongPathSupport", 1);
  EXPECT_EQ(app.Content(path), u"content");
  EXPECT_TRUE(app.DuplicateFile(path, app.Path(u"data/copy")));
  EXPECT_EQ(app.Names(app.Path(u"data")), (std::vector<KorText>{u"copy", u"file"}));
  EXPECT_FALSE(app.FileExists(u"NUL"));
}

} // namespace
} // namespace kor
