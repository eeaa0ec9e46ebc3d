// Whole files: what reading finds, what writing leaves, and what a failure does to the older file.
#include "services/ini/ini_file.h"

#include <gtest/gtest.h>

#include "tests/support/test_app.h"

namespace kor {
namespace {

class IniFile : public ::testing::Test {
 protected:
  std::string Bytes() { return app.Content(path).value_or(u"(missing)").ToBytes(); }
  KorText Read(const KorText& section, const KorText& key) {
    KorText value;
    iniFile file(path);
    file.Add<iniString>(section, key, &value, u"(default)");
    file.Read();
    return value;
  }
  bool Write(KorText value, Failures failures = Failures::Silent) {
    iniFile file(path);
    file.Add<iniString>(u"S", u"K", &value);
    EXPECT_TRUE(file.Write({}, {}, failures));
    EXPECT_TRUE(file.IsWritten());
    return file.LastSaveSucceeded();
  }

  TestApp app;
  KorText path = app.Path(u"settings.ini");
};

TEST_F(IniFile, FindsTheFirstSectionAndTheFirstKey) {
  const auto reads = [this](const char* file, const char* value) {
    app.Put(path, KorText::FromBytes(file));
    EXPECT_EQ(Read(u"S", u"K").ToBytes(), value) << file;
  };
  reads("[S]\nK=v\n", "v");
  reads("[s]\r\nk= 5 \r\n", "5");
  reads("[S]\nK=", "");
  reads("[S]\nK=a=b\t\n", "a=b");
  reads("K=1\n[S]\nJ=2\n[T]\nK=3\n", "(default)");
  reads("[S]\nJ=1\n[S]\nK=2\n", "(default)"); // only the first section of a name counts
  reads("[S]\nK=1\nk=2\n", "1");
  reads("[S]\nK =1\n", "(default)"); // blanks before "=" belong to the key
  reads("[S]\n K=1\n", "(default)");
  reads(" [S]\nK=1\n", "(default)"); // the whole line is the header
  reads("[S] \nK=1\n", "(default)");
  reads("[S]\nK?\n", ""); // a line without "=" is compared without its last character
  reads("[S]\n[junk\nK=1\n", "(default)");
  reads("\xEF\xBB\xBF[S]\nK=\xC3\xA4", "\xE4");
  reads("[S]\nK=\xC3\xA4", "\xE4");             // UTF-8 without its mark
  reads("[S]\nK=\xC3\xA4\nJ=\xE4", "\xC3\xA4"); // one byte that is none: 8-bit, all of it
  reads("", "(default)");
  app.RemoveFile(path);
  EXPECT_EQ(Read(u"S", u"K"), u"(default)");
}

TEST_F(IniFile, WritesOneKey) {
  const auto leaves = [this](const char* before, const char* after) {
    app.Put(path, KorText::FromBytes(before));
    EXPECT_TRUE(Write(u"v"));
    EXPECT_EQ(Bytes(), after);
  };
  leaves("", "\n[S]\nK=v\n");
  leaves("; mine\n[T]\nJ=1\n\n\n", "\n[S]\nK=v\n; mine\n[T]\nJ=1\n");
  leaves("[s]\nJ=1\n", "[s]\nK=v\nJ=1\n");
  leaves("[S]\r\n; c\r\nk=1 ; old\r\nJ=2\r\n", "[S]\n; c\nK=v\nJ=2\n");
  leaves("\xEF\xBB\xBF[S]\nJ=\xC3\xA4\n", "\xEF\xBB\xBF[S]\nK=v\nJ=\xC3\xA4\n");
  leaves("[S]\nJ=\xE4\n", "[S]\nK=v\nJ=\xE4\n");
  leaves("[S]\nJ=\xC3\xA4\n", "[S]\nK=v\nJ=\xC3\xA4\n");
  app.RemoveFile(path);
  EXPECT_TRUE(Write(u"v"));
  EXPECT_EQ(Bytes(), "\n[S]\nK=v\n");
}

TEST_F(IniFile, KeepsTextThatEightBitsCannotHold) {
  app.Put(path, u"[S]\nJ=1\n");
  EXPECT_TRUE(Write(u"\u65E5\u672C"));
  EXPECT_EQ(Bytes(), "\xEF\xBB\xBF[S]\nK=\xE6\x97\xA5\xE6\x9C\xAC\nJ=1\n");
  EXPECT_EQ(Read(u"S", u"K"), u"\u65E5\u672C");
  app.Put(path,
          KorText::FromBytes(std::string_view("\xFF\xFE[\0S\0]\0\r\0\n\0K\0=\0\xE5\x65", 18)));
  EXPECT_EQ(Read(u"S", u"K"), u"\u65E5");
  EXPECT_TRUE(Write(u"v"));
  EXPECT_EQ(Bytes(), std::string("\xFF\xFE[\0S\0]\0\n\0K\0=\0v\0\n\0", 18));
}

// A file without a mark is read by what its bytes look like. Where that misleads, it gets one.
TEST_F(IniFile, EveryTextComesBackWhateverTheFileHeld) {
  for (const char* before : {"", "[S]\nJ=1\n", "[S]\nJ=\xE4\n", "[S]\nJ=\xC3\xA4\n"})
    for (const char16_t* value : {u"a", u"\u00E4", u"\u00C3\u00A4", u"\u65E5", u"\xDCC3"}) {
      app.Put(path, KorText::FromBytes(before));
      const KorText kept = Read(u"S", u"J");
      EXPECT_TRUE(Write(value));
      EXPECT_EQ(Read(u"S", u"K"), value) << before;
      EXPECT_EQ(Read(u"S", u"J"), kept) << before;
    }
}

TEST_F(IniFile, WhatIsTooLargeToBeOneIsRefusedWithAWord) {
  KorText headers;
  for (std::size_t i = 0; i <= kMostSections; ++i)
    headers += u"[\n";
  for (const KorText& content :
       {KorText(kLargestSettings, u' '), KorText(kMostSettingsLines, u'\n'), headers}) {
    const KorText older = u"[S]\nK=1\n" + content;
    app.Put(path, older);
    app.ForgetReports();
    EXPECT_EQ(Read(u"S", u"K"), u"(default)");
    EXPECT_FALSE(Write(u"v"));
    EXPECT_EQ(app.Content(path), older);
    ASSERT_FALSE(app.Messages().empty());
    EXPECT_EQ(app.Messages()[0].info, path);
  }
}

TEST_F(IniFile, NewKeysAndSectionsComeOutInOrderOfRegistration) {
  std::int32_t one = 1, two = 2, three = 3;
  iniFile file(path);
  file.Add<iniInteger>(u"First", u"one", &one);
  file.Add<iniInteger>(u"First", u"two", &two);
  file.Add<iniInteger>(u"Second", u"three", &three);
  file.Add(nullptr);
  file.Write();
  EXPECT_EQ(Bytes(), "\n[First]\none=1\ntwo=2\n\n[Second]\nthree=3\n");
  one = two = three = 9;
  file.Write(KorText(u"FIRST"), KorText(u"TWO"));
  EXPECT_EQ(Bytes(), "\n[First]\none=1\ntwo=9\n\n[Second]\nthree=3\n");
  EXPECT_TRUE(file.Read(KorText(u"second")));
  EXPECT_EQ(std::vector({one, two, three}), std::vector({9, 9, 3}));
}

TEST_F(IniFile, ABlockReplacesItsWholeSection) {
  const auto written = [&](const char* before, std::vector<KorText> list) {
    app.Put(path, KorText::FromBytes(before));
    iniFile file(path);
    file.Add<iniStringList>(u"S", &list);
    file.Write();
    return Bytes();
  };
  EXPECT_EQ(written("; top\n[T]\n", {u"a", u"b"}), "[S]\na\nb\n\n; top\n[T]\n");
  EXPECT_EQ(written("[S]\n; c\nold\n\n[T]\nK=1\n", {u"a"}), "[S]\na\n\n[T]\nK=1\n");
  EXPECT_EQ(written("[T]\n[S]\nold\n\n", {u"a", u"", u"lost"}), "[T]\n[S]\na\n");
  EXPECT_EQ(written("[S]\nold\n", {}), "[S]\n");
}

TEST_F(IniFile, ReadTellsWhetherTheFileCouldBeLoaded) {
  iniFile missing(path), nameless(KorText{});
  EXPECT_FALSE(missing.Read());
  EXPECT_FALSE(nameless.Read());
  EXPECT_TRUE(nameless.Write());
  EXPECT_FALSE(nameless.LastSaveSucceeded());
  app.Put(path, u"[S]\nK=1\n");
  EXPECT_TRUE(missing.Read()); // no items: the answer is the same
  EXPECT_TRUE(missing.Load());
  EXPECT_TRUE(missing.HasSection(u"s"));
  EXPECT_FALSE(missing.HasSection(u"K"));
}

// A file that breaks off while it is read must not come back as a shorter one.
TEST_F(IniFile, AReadErrorGivesDefaults) {
  app.Put(path, u"[S]\nK=1\n" + KorText(100000, u'x'));
  app.LimitReads(70000);
  EXPECT_EQ(Read(u"S", u"K"), u"(default)");
}

TEST_F(IniFile, AFailedSaveIsReportedAndLeavesTheOlderFile) {
  const std::string older = "[S]\nK=old\nJ=1\n";
  const std::function<void()> faults[] = {[&] { app.RefuseOpening(u"settings.ini", true); },
                                          [&] { app.LimitWrites(5); }, [&] { app.FailSync(true); },
                                          [&] { app.FailRename(true); }};
  for (const auto& fault : faults) {
    SCOPED_TRACE(&fault - faults);
    app.Put(path, KorText::FromBytes(older));
    app.ForgetReports();
    fault();
    EXPECT_FALSE(Write(u"new"));
    EXPECT_TRUE(app.Messages().empty());
    EXPECT_FALSE(Write(u"new", Failures::Reported));
    app.ClearFaults();
    ASSERT_EQ(app.Messages().size(), 1u);
    EXPECT_EQ(app.Messages()[0].level, MessageLevel::Warn);
    EXPECT_EQ(app.Messages()[0].info, path);
    EXPECT_EQ(Bytes(), older);
  }
}

} // namespace
} // namespace kor
