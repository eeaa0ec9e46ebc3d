// What is particular to Windows: the registry, names of devices, forced long paths.
#include <gtest/gtest.h>

#include <windows.h>

#include <cstdlib>

#include "link/profile_file.h"
#include "platform/win32/locale_win32.h"
#include "services/core/as_bytes.h"
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

struct AppWithUsersLocale : TestApp {
  OsLocale& Locale() override { return locale; }
  Win32Locale locale;
};

// A text profile means what the system's own functions make of it.
TEST(Win32Profile, ReadsAsTheSystemDoes) {
  AppWithUsersLocale app;
  const std::string profile =
      "; [Port Settings]\r\n[Port Settings]\r\nPort = \"COM3\" \r\n"
      "path=C:/\xFC \x80/\r\nempty=\r\nquoted='a \"b'\r\nbaud=0x10 z\r\n"
      "delay= -7s\r\nlong=" +
      std::string(100, 'x') +
      "\r\nport=COM4\r\n[ Log ]\r\nwrite log=1\r\n[Port Settings]\r\nlate=1\r\n";
  const KorText path = app.Path(u"profile.ini");
  ASSERT_EQ(app.OpenFile(path, FileAccess::Write)->Write(AsBytes(profile)), profile.size());
  const ProfileFile ours(path);
  const auto wide = [](const KorText& text) {
    return reinterpret_cast<const wchar_t*>(text.CStr());
  };
  for (const char16_t* section : {u"port settings", u"Log", u"none"}) {
    for (const char16_t* key : {u"PORT", u"path", u"empty", u"quoted", u"baud", u"delay", u"long",
                                u"late", u"write log"}) {
      wchar_t text[ProfileFile::kTextBuffer] = {};
      GetPrivateProfileStringW(wide(section), wide(key), L"default  ", text, 80, wide(path));
      EXPECT_EQ(ours.Text(section, key, u"default  "), KorText(reinterpret_cast<char16_t*>(text)))
          << KorText(key).ToUtf8();
      EXPECT_EQ(ours.Integer(section, key, 42), static_cast<std::int32_t>(GetPrivateProfileIntW(
                                                    wide(section), wide(key), 42, wide(path))))
          << KorText(key).ToUtf8();
    }
  }
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
