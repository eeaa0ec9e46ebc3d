#include <gtest/gtest.h>

#include <set>

#include "tests/support/test_app.h"
#include "tests/support/threads.h"

namespace kor {
namespace {

using Warnings = std::vector<TestApp::Warning>;

class AppInterfaceTest : public testing::Test {
 protected:
  TestApp app;
};

TEST_F(AppInterfaceTest, LogsMessagesAndWarningsInTheirFixedForm) {
  const KorText log = app.Path(u"app.log");
  app.Put(log, u"older");
  app.Report({MessageLevel::Warn, u"I", u"dropped: no log is open", {}, 1});
  ASSERT_TRUE(app.OpenLog(log));
  EXPECT_EQ(app.Report({MessageLevel::Norm, u"I", u"M", {}, 7}), 7);
  EXPECT_EQ(app.Report({MessageLevel::Info, u"", u"100% \"x\"", u"line\nline", -1}), -1);
  app.Report({static_cast<MessageLevel>(6), u"I", u"M", {}, 0});
  app.DebugWarning(u"place", u"text \u00E9");
  ASSERT_TRUE(app.OpenLog({}));
  app.SetReporter([&](const MessageRecord& record) {
    app.WriteLog(u"dropped: the log is closed"); // a reporter may use the services
    return record.number + 1;
  });
  EXPECT_EQ(app.Report({MessageLevel::Query, u"I", u"M", {}, 3}), 4) << "the user's choice";
  EXPECT_EQ(app.Content(log), u"older"
                              u"\n----------------\nMSG:NORM: \"M\" (7)\n Info: \"I\""
                              u"\n----------------"
                              u"\n----------------\nMSG:INFO: \"100% \"x\"\" (-1)\n Info: \"\""
                              u"\nDetails:\nline\nline\n----------------"
                              u"\n----------------\nMSG:6: \"M\" (0)\n Info: \"I\""
                              u"\n----------------"
                              u"\nDBGWARN: \"place\" Info: \"text \u00E9\"");
}

TEST_F(AppInterfaceTest, TheLogHasOneOwnerALimitAndOneOlderFile) {
  const KorText log = app.Path(u"made/app.log");
  ASSERT_TRUE(app.OpenLog(log)); // makes the folder
  EXPECT_FALSE(app.OpenLog(log));
  EXPECT_FALSE(app.OpenLog(app.Path(u"data")));
  const auto text = [](char16_t c) { return KorText(AppInterface::kLongestLog / 2 + 1, c); };
  for (const char16_t c : {u'a', u'b', u'c'})
    app.WriteLog(text(c));
  EXPECT_EQ(app.Content(log), text(u'c'));
  EXPECT_EQ(app.Content(log + u".1"), text(u'b'));
  app.FailRename(true); // then the older texts go, and the limit holds
  app.WriteLog(text(u'd'));
  EXPECT_EQ(app.Content(log), text(u'd'));
  app.ClearFaults();
  app.LimitWrites(1);
  app.SetLastError(77);
  EXPECT_EQ(app.Report({MessageLevel::Warn, u"I", u"the disk is full", {}, 5}), 5);
  EXPECT_EQ(app.LastError(), 77u);
  app.RefuseOpening(log, true);
  app.WriteLog(text(u'e')); // no new file can be opened
  app.ClearFaults();
  app.WriteLog(u"again");
  std::function<void()> work; // of the thread that writes
  app.SetLogWriter([&](std::size_t, std::function<void()> given) { work = std::move(given); });
  app.WriteLog(u" later");
  EXPECT_EQ(app.Content(log), u"again");
  work();
  EXPECT_EQ(app.Content(log), u"again later");
  EXPECT_EQ(app.Names(app.Path(u"made")), (std::vector<KorText>{u"app.log", u"app.log.1"}));
}

TEST_F(AppInterfaceTest, KeepsLogBlocksOfSeveralThreadsWhole) {
  ASSERT_TRUE(app.OpenLog(app.Path(u"app.log")));
  OnFourThreads([&](int) {
    for (int n = 0; n < 50; ++n)
      app.Report({MessageLevel::Fatal, u"I", u"M", u"D", 3});
  });
  const KorText block = u"\n----------------\nMSG:FATAL: \"M\" (3)\n Info: \"I\"\nDetails:\nD"
                        u"\n----------------";
  EXPECT_EQ(app.Content(app.Path(u"app.log"))->ReplaceAll(block, u"x"), KorText(200, u'x'));
}

TEST_F(AppInterfaceTest, DebugModesCountOnlyWhileActive) {
  app.AddDebugMode(u"Group", u"Always", u"", 2);
  app.AddDebugMode(u"Group", u"Sometimes", u"");
  EXPECT_TRUE(app.Warnings().empty());
  app.SetDebugMode(u"ALWAYS", 5);
  EXPECT_EQ(app.GetDebugMode(u"always"), 5);

  app.SetDebugMode(u"Sometimes", 1);
  EXPECT_EQ(app.GetDebugMode(u"Sometimes"), 0);
  EXPECT_EQ(app.Warnings(), (Warnings{{u"Invalid Debug Mode set", u"Sometimes"}}));
  EXPECT_EQ(app.ActiveDebugModes().size(), 1u);

  app.EnableDebugging(true);
  EXPECT_EQ(app.GetDebugMode(u"Sometimes"), 0); // what was refused was not stored either
  app.SetDebugMode(u"Sometimes", 7);
  EXPECT_EQ(app.GetDebugMode(u"Sometimes"), 7);
  const std::vector<DebugMode> active = app.ActiveDebugModes();
  ASSERT_EQ(active.size(), 4u);
  EXPECT_EQ(active[0].group + u"/" + active[0].name, u"OS/AlwaysUseLongPathSupport");
  EXPECT_EQ(active[1].group + u"/" + active[1].name, u"Regression/Reg_Dateless");
  app.EnableDebugging(false);
  EXPECT_EQ(app.GetDebugMode(u"Sometimes"), 0);
}

TEST_F(AppInterfaceTest, WarnsOfMisuseAndGoesOnWithANeutralResult) {
  const auto warns = [&](const KorText& message, const KorText& info) {
    EXPECT_EQ(app.Warnings(), (Warnings{{message, info}}));
    app.ForgetReports();
  };
  EXPECT_EQ(app.GetDebugMode(u"None"), 0);
  warns(u"Invalid Debug Mode accessed", u"None");
  app.SetDebugMode(u"None", 1);
  warns(u"Invalid Debug Mode set", u"None");
  app.AddDebugMode(u"X", u"reg_dateless", u"", 2);
  warns(u"Debug Mode added multiple times!", u"reg_dateless");
  EXPECT_EQ(app.GetApplicationPropertyPath(8), u"");
  warns(u"Invalid Type", u"GetApplicationPropertyPath");
  EXPECT_EQ(app.GetApplicationPropertyString(7), u"");
  warns(u"Invalid Type", u"GetApplicationPropertyString");
  EXPECT_EQ(app.GetConsoleOption(u"None"), 0);
  warns(u"Invalid Console Option accessed", u"Debug Warning");
  const auto file = app.OpenFile(app.Path(u"x"), FileAccess::Write);
  EXPECT_EQ(app.SeekFile(*file, -1, SeekFrom::Start), std::nullopt);
  warns(u"SetFilePointer Failed!", u"FileIO");
  app.SetApplicationPropertyPath(kTemporaryFolder, {});
  const KorText name = app.GetTemporaryFilename();
  EXPECT_TRUE(name.StartsWith(u"KOR") && app.RemoveFile(name));
  warns(u"GetTemporaryFilename called before TempDir is set", u"AppInterface");
}

TEST_F(AppInterfaceTest, HoldsFoldersWithATrailingSlash) {
  for (const int type : {7, 9, 10, 11, 12})
    app.SetApplicationPropertyPath(type, KorText::Format(u"/folder%i", type));
  for (const int type : {7, 9, 10, 11, 12})
    EXPECT_EQ(app.GetApplicationPropertyPath(type), KorText::Format(u"/folder%i/", type));
  app.SetProgramFolder(u"CNC", u"a/");
  app.SetProgramFolder(u"cnc", u"b/");
  EXPECT_EQ(app.GetProgramFolder(u"Cnc"), u"b/");
  app.AddConsoleOption(u"quiet", 1);
  app.AddConsoleOption(u"QUIET", 2);
  EXPECT_EQ(app.GetConsoleOption(u"Quiet"), 2);
}

TEST_F(AppInterfaceTest, ReadsTheSuitesRegistryValues) {
  EXPECT_EQ(AppInterface::RegistryKey(u"A\\B"), u"Software\\Velmora\\Plenova 2026\\A\\B");
  EXPECT_EQ(AppInterface::RegistryKey(u"A", {}), u"Software\\Velmora\\Plenova\\A");
  EXPECT_EQ(app.WaitLockPeriod(), 3000u);
  EXPECT_EQ(app.RegionalCsv(), 0u);
  const KorText common = u"Software\\Velmora\\Plenova 2026\\COMMON";
  app.WriteRegistryText(common, u"WaitLockPeriod", u"a text is no number");
  EXPECT_EQ(app.WaitLockPeriod(), 3000u);
  app.WriteRegistryNumber(common, u"WaitLockPeriod", 0);
  app.WriteRegistryNumber(common, u"RegionalCSV", 1);
  EXPECT_EQ(app.WaitLockPeriod(), 0u);
  EXPECT_EQ(app.RegionalCsv(), 1u);
}

TEST_F(AppInterfaceTest, GivesEachCallerItsOwnTemporaryFile) {
  constexpr int kEach = 100;
  std::set<KorText> names;
  Mutex namesMutex;
  app.RemoveFolder(app.Path(u"temp")); // made again on first use
  OnFourThreads([&](int) {
    for (int n = 0; n < kEach; ++n) {
      const KorText name = app.GetTemporaryFilename();
      const Lock lock(namesMutex);
      names.insert(name);
    }
  });
  EXPECT_EQ(names.size(), 4u * kEach);
  EXPECT_EQ(app.Names(app.Path(u"temp")).size(), 4u * kEach);
  const KorText start = app.Path(u"temp/KOR");
  EXPECT_TRUE(names.begin()->StartsWith(start));
  EXPECT_EQ(names.begin()->View().find_first_not_of(u"0123456789", start.Length()), KorText::kNone);
  app.SetApplicationPropertyPath(kTemporaryFolder, *names.begin()); // no folder, and can't be one
  EXPECT_EQ(app.GetTemporaryFilename(), u"");
}

TEST(LongPath, TakesThePrefixWhereItIsNeeded) {
  const KorText tail = KorText(225, u'x');
  const KorText longest = u"C:/" + tail, longer = longest + u"y";
  EXPECT_EQ(AppInterface::LongPath(longest, false), longest); // 228 characters
  EXPECT_EQ(AppInterface::LongPath(longer, false), u"\\\\?\\C:\\" + tail + u"y");
  EXPECT_EQ(AppInterface::LongPath(u"C:/a\\b", true), u"\\\\?\\C:\\a\\b");
  EXPECT_EQ(AppInterface::LongPath(u"//server/share/x", true), u"\\\\?\\UNC\\server\\share\\x");
  EXPECT_EQ(AppInterface::LongPath(u"//server/" + tail, false), u"\\\\?\\UNC\\server\\" + tail);
  EXPECT_EQ(AppInterface::LongPath(u"\\\\?\\C:\\a", true), u"\\\\?\\C:\\a");
  EXPECT_EQ(AppInterface::LongPath(u"//?/C:/a", true), u"\\\\?\\C:\\a");
  EXPECT_EQ(AppInterface::LongPath(u"./a/b", true), u"./a/b");
  EXPECT_EQ(AppInterface::LongPath(u"../" + longer, false), u"../" + longer);
  EXPECT_EQ(AppInterface::LongPath(u"/a/b", true),
            u"\\a\\b"); // the current drive's root: no prefix says that
  EXPECT_EQ(AppInterface::LongPath(u"x", true), u"x");
  EXPECT_EQ(AppInterface::LongPath(u"", true), u"");
}

TEST(FileTimes, BecomeDatesAndTimesAndBack) {
  constexpr FileTime kDay = 864'000'000'000;
  const auto areTheSame = [](FileTime time, const SystemTime& parts) {
    EXPECT_EQ(AppInterface::FileTimeToSystemTime(time), parts) << time;
    EXPECT_EQ(AppInterface::SystemTimeToFileTime(parts), time);
  };
  areTheSame(0, {1601, 1, 1, 0, 0, 0, 0, 1});
  areTheSame(116444736000000000, {1970, 1, 1, 0, 0, 0, 0, 4});
  areTheSame(125911584000000000, {2000, 1, 1, 0, 0, 0, 0, 6});
  areTheSame(125911584000000000 + 59 * kDay, {2000, 2, 29, 0, 0, 0, 0, 2});
  areTheSame(134400384000000000 - 10000, {2026, 11, 24, 23, 59, 59, 999, 2});
  for (FileTime time = 0; time < 400 * 366 * kDay; time += 17 * kDay + 12'345'670'000)
    ASSERT_EQ(AppInterface::SystemTimeToFileTime(AppInterface::FileTimeToSystemTime(time)), time);
  EXPECT_EQ(AppInterface::FileTimeToSystemTime(~FileTime{0}), SystemTime{});
  const SystemTime noTimes[] = {{1600, 12, 31}, {2026, 0, 1},          {2026, 13, 1},
                                {2026, 2, 29},  {2026, 1, 1, 24},      {2026, 1, 1, 0, -1},
                                {30828, 1, 1},  {2026, 1, 1, 0, 0, 60}};
  for (const SystemTime& parts : noTimes)
    EXPECT_EQ(AppInterface::SystemTimeToFileTime(parts), 0u) << parts.year << '-' << parts.month;
  EXPECT_EQ(AppInterface::CompareFileTimes(1, 2), -1);
  EXPECT_EQ(AppInterface::CompareFileTimes(2, 2), 0);
  EXPECT_EQ(AppInterface::CompareFileTimes(~FileTime{0}, 2), 1);
}

TEST_F(AppInterfaceTest, LocalTimeFollowsTheZoneUnlessDateless) {
  app.SetUtc(SystemTime{2026, 12, 31, 23, 30, 15, 250, 4});
  app.SetZoneMinutes(60);
  EXPECT_EQ(app.LocalTime(), (SystemTime{2027, 1, 1, 0, 30, 15, 250, 5}));
  app.EnableDebugging(true);
  app.SetDebugMode(u"Reg_Dateless", 1);
  EXPECT_EQ(app.LocalTime(), (SystemTime{2000, 1, 1, 0, 0, 0, 0, 6}));
}

TEST_F(AppInterfaceTest, LocatesAFileByItsNameAlone) {
  app.Put(app.Path(u"data/diction.ary"), u"");
  EXPECT_EQ(app.LocateFile(u"C:\\gone/diction.ary"), app.Path(u"data/diction.ary"));
  app.Put(app.Path(u"program/diction.ary"), u"");
  EXPECT_EQ(app.LocateFile(u"diction.ary"), app.Path(u"program/diction.ary"));
  EXPECT_EQ(app.LocateFile(u"other.ary"), u"");
  EXPECT_EQ(app.LocateFile(u"data/"), u"");
}

TEST_F(AppInterfaceTest, DuplicatingLeavesTheOldTargetWholeWhenItFails) {
  const KorText from = app.Path(u"data/from"), to = app.Path(u"data/to");
  const KorText content = KorText(600 * 1024, u'n');
  app.Put(from, content);
  app.Put(to, u"old");
  const std::vector<KorText> names = {u"from", u"to"};
  const std::function<void()> faults[] = {
      [&] { app.LimitWrites(300 * 1024); }, [&] { app.FailSync(true); },
      [&] { app.FailClose(true); },         [&] { app.FailRename(true); },
      [&] { app.LimitReads(300 * 1024); },  [&] { app.RefuseOpening(u".tmp"); },
      [&] { app.RefuseOpening(u"/from"); },
  };
  for (const auto& fault : faults) {
    fault();
    EXPECT_FALSE(app.DuplicateFile(from, to));
    EXPECT_NE(app.LastError(), 0u);
    app.ClearFaults();
    EXPECT_EQ(app.Content(to), u"old");
    EXPECT_EQ(app.Names(app.Path(u"data")), names);
  }
  EXPECT_TRUE(app.DuplicateFile(from, to));
  EXPECT_EQ(app.Content(to), content);
  EXPECT_EQ(app.FileAttributes(to)->modified, app.FileAttributes(from)->modified);
}

} // namespace
} // namespace kor
