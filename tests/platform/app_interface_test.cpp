// What every platform's services promise of files, times and texts; TestApp passes its file
// operations on to the platform's.
#include <gtest/gtest.h>

#include <filesystem>

#include "services/core/as_bytes.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

std::size_t Put(OsFile& file, std::string_view text) {
  return file.Write(AsBytes(text));
}

std::string Rest(OsFile& file) {
  std::string bytes(1000, '\0');
  bytes.resize(file.Read({reinterpret_cast<std::uint8_t*>(bytes.data()), bytes.size()}));
  return bytes;
}

class PlatformFilesTest : public testing::Test {
 protected:
  TestApp app;
  KorText path = app.Path(u"data/\u00E9\u4E2D\U0001F527 file");
};

TEST_F(PlatformFilesTest, OpensEachWayAsPromised) {
  using enum FileAccess;
  // after: the content "old" after "+" was written
  const auto opens = [this](FileAccess access, bool missing, bool existing, const KorText& after) {
    SCOPED_TRACE(static_cast<int>(access));
    EXPECT_EQ(app.OpenFile(path, access) != nullptr, missing);
    EXPECT_EQ(app.FileExists(path), missing);
    app.Put(path, u"old");
    auto file = app.OpenFile(path, access);
    EXPECT_EQ(file != nullptr, existing);
    const std::size_t written = file ? Put(*file, "+") : 0;
    EXPECT_EQ(written, existing && access != Read ? 1u : 0u);
    file.reset();
    EXPECT_EQ(app.Content(path), after);
    EXPECT_TRUE(app.RemoveFile(path));
    EXPECT_EQ(app.OpenFile(app.Path(u"data"), access), nullptr); // a folder is no file
    EXPECT_NE(app.LastError(), 0u);
    EXPECT_EQ(app.OpenFile(app.Path(u"missing/file"), access), nullptr);
    EXPECT_EQ(app.OpenFile(path + std::u16string_view(u"\0x", 2), access), nullptr);
    EXPECT_FALSE(app.FileExists(path));
  };
  opens(Read, false, true, u"old");
  opens(Write, true, true, u"+");
  opens(ReadWrite, true, true, u"+ld");
  opens(Append, true, true, u"old+");
  opens(CreateNew, true, false, u"old");
}

TEST_F(PlatformFilesTest, OneWriterAtATimeAndReadersAlways) {
  using enum FileAccess;
  const FileAccess all[] = {Read, Write, ReadWrite, Append};
  for (const FileAccess first : all) {
    for (const FileAccess second : all) {
      app.Put(path, u"kept");
      const auto holder = app.OpenFile(path, first);
      if (first == Write) Put(*holder, "kept");
      const bool together =
          first == Read || second == Read || (first == Append && second == Append);
      const auto other = app.OpenFile(path, second);
      EXPECT_EQ(other != nullptr, together) << static_cast<int>(first) << static_cast<int>(second);
      if (together) continue;
      EXPECT_EQ(app.Content(path), u"kept"); // refused before it was emptied
    }
  }
}

TEST_F(PlatformFilesTest, AppendersKeepTheirLinesWhole) {
  const auto one = app.OpenFile(path, FileAccess::Append);
  const auto two = app.OpenFile(path, FileAccess::Append);
  for (int i = 0; i < 3; ++i) {
    Put(*one, "one\n");
    Put(*two, "two\n");
  }
  EXPECT_EQ(app.Content(path), u"one\ntwo\none\ntwo\none\ntwo\n");
}

TEST_F(PlatformFilesTest, SeeksReadsAndMeasures) {
  app.Put(path, u"0123456789");
  const auto file = app.OpenFile(path, FileAccess::ReadWrite);
  EXPECT_EQ(file->Size(), 10u);
  EXPECT_EQ(file->Seek(-3, SeekFrom::End), 7u);
  EXPECT_EQ(Rest(*file), "789");
  EXPECT_EQ(Rest(*file), "");
  EXPECT_EQ(file->Seek(12, SeekFrom::Start), 12u);
  EXPECT_EQ(Put(*file, "x"), 1u);
  EXPECT_EQ(file->Size(), 13u);
  EXPECT_EQ(file->Seek(-14, SeekFrom::End), std::nullopt);
  EXPECT_NE(app.LastError(), 0u);
  EXPECT_TRUE(file->Sync());
  EXPECT_TRUE(file->Close());
  EXPECT_TRUE(file->Close());
  EXPECT_EQ(app.Content(path), KorText(std::u16string_view(u"0123456789\0\0x", 13)));
}

TEST_F(PlatformFilesTest, RenamesOverAnExistingFile) {
  const KorText target = app.Path(u"data/target");
  app.Put(path, u"new");
  app.Put(target, u"old");
  const auto reader = app.OpenFile(path, FileAccess::Read);
  EXPECT_TRUE(app.RenameFile(path, target));
  EXPECT_EQ(Rest(*reader), "new");
  EXPECT_EQ(app.Names(app.Path(u"data")), std::vector<KorText>{u"target"});
  EXPECT_EQ(app.Content(target), u"new");
  EXPECT_FALSE(app.RenameFile(path, target));
  EXPECT_NE(app.LastError(), 0u);
  EXPECT_FALSE(app.ErrorText(app.LastError()).IsEmpty());
  EXPECT_FALSE(app.ErrorText(app.LastError()).EndsWith(u"\n"));
}

TEST_F(PlatformFilesTest, ClaimsOnlyAPlainFileThatNobodyWrites) {
  EXPECT_EQ(app.OpenFile(path, FileAccess::Claim), nullptr);
  EXPECT_FALSE(app.FileExists(path)) << "claiming makes nothing";
  EXPECT_EQ(app.OpenFile(app.Path(u"data"), FileAccess::Claim), nullptr);
  auto writer = app.OpenFile(path, FileAccess::Write);
  EXPECT_EQ(app.OpenFile(path, FileAccess::Claim), nullptr);
  writer.reset();
  const auto claim = app.OpenFile(path, FileAccess::Claim);
  ASSERT_TRUE(claim);
  EXPECT_EQ(app.OpenFile(path, FileAccess::ReadWrite), nullptr);
  EXPECT_EQ(app.LinkTarget(path), path);
  const auto other = app.OpenFile(app.Path(u"data/other"), FileAccess::CreateNew);
  ASSERT_TRUE(other);
  EXPECT_TRUE(app.CopyAttributes(path, *other));
  EXPECT_FALSE(app.CopyAttributes(app.Path(u"data/missing"), *other));
}

TEST_F(PlatformFilesTest, MakesListsAndRemovesFolders) {
  const KorText deep = app.Path(u"a/b c/\u4E2D/");
  EXPECT_TRUE(app.MakeFolder(deep));
  EXPECT_TRUE(app.MakeFolder(deep));
  EXPECT_TRUE(app.FolderExists(deep));
  EXPECT_FALSE(app.FileExists(deep));
  app.Put(path, u"12345");
  EXPECT_FALSE(app.MakeFolder(path + u"/below"));
  EXPECT_FALSE(app.MakeFolder(path));
  EXPECT_FALSE(app.MakeFolder({}));
  const FileTime time = AppInterface::SystemTimeToFileTime({2024, 2, 29, 12, 30, 10, 0, 4});
  EXPECT_TRUE(app.SetFileModified(path, time));
  const auto entries = app.ListFolder(app.Path(u"data"));
  ASSERT_TRUE(entries && entries->size() == 1);
  const FileEntry& entry = entries->front();
  EXPECT_EQ(app.Path(u"data/") + entry.name, path);
  EXPECT_EQ(entry.info.size, 5u);
  EXPECT_EQ(entry.info.modified, time);
  EXPECT_TRUE(entry.info.isFile && !entry.info.isFolder && !entry.info.isReadOnly);
  EXPECT_EQ(app.FileAttributes(path)->modified, time);
  EXPECT_TRUE(app.SetFileTimes(path, {.accessed = time - 10}));
  EXPECT_EQ(app.FileTimesOf(path)->accessed, time - 10);
  EXPECT_EQ(app.FileTimesOf(path)->modified, time) << "0 leaves a time as it is";
  const FileTime created = app.FileTimesOf(path)->created;
  EXPECT_TRUE(created == 0 || created >= time) << created;
  EXPECT_EQ(app.FileTimesOf(app.Path(u"missing")), std::nullopt);
  EXPECT_EQ(app.ListFolder(app.Path(u"data"), u" file")->size(), 1u);
  EXPECT_EQ(app.ListFolder(app.Path(u"data"), u" FILE")->size(),
            app.FileNamesIgnoreCase() ? 1u : 0u);
  EXPECT_TRUE(app.ListFolder(app.Path(u"data"), u"x file")->empty());
  app.Put(deep + u"file", u"");
  EXPECT_TRUE(app.RemoveFolder(app.Path(u"a/")));
  EXPECT_FALSE(app.FolderExists(app.Path(u"a")));
  EXPECT_FALSE(app.RemoveFolder(app.Path(u"a")));
  EXPECT_FALSE(app.RemoveFolder(path)); // a file is no folder
  EXPECT_TRUE(app.FileExists(path));
  EXPECT_EQ(app.ListFolder(app.Path(u"a")), std::nullopt);
  EXPECT_EQ(app.ListFolder({}), std::nullopt);
  EXPECT_TRUE(app.SyncFolder(app.Path(u"data")));
}

TEST_F(PlatformFilesTest, EntersFoldersAndTellsWhatTheyLieOn) {
  app.Put(path, u"x");
  const auto before = std::filesystem::current_path();
  EXPECT_TRUE(app.EnterFolder(app.Path(u"data")));
  EXPECT_TRUE(app.FileExists(path.Mid(path.FindLast(u'/') + 1)));
  EXPECT_FALSE(app.EnterFolder(app.Path(u"missing")));
  std::filesystem::current_path(before);
  EXPECT_EQ(app.DriveTypeOf(app.Path(u"missing")), DriveType::NoRoot);
  EXPECT_NE(app.DriveTypeOf(path), DriveType::NoRoot);
  EXPECT_EQ(app.DriveTypeOf(path), app.DriveTypeOf(app.Path(u"data")));
}

TEST_F(PlatformFilesTest, ReachesPathsBeyondTheOldLimit) {
  KorText folder = app.Path(u"data");
  while (folder.Length() < 400)
    folder += u"/" + KorText(50, u'd');
  ASSERT_TRUE(app.MakeFolder(folder));
  app.Put(folder + u"/../file", u"x");
  EXPECT_EQ(app.Content(folder + u"/../file"), u"x");
  EXPECT_TRUE(app.RenameFile(folder + u"/../file", folder + u"/file"));
  EXPECT_EQ(app.Names(folder), std::vector<KorText>{u"file"});
}

// The services as the program gets them.
class PlatformServicesTest : public testing::Test {
 protected:
  PlatformServicesTest() { problem = app.Start(u"Download", u"2026"); }
  PlatformAppInterface app{kProgramNames};
  KorText problem;
};

TEST_F(PlatformServicesTest, StartSetsEveryFolder) {
  EXPECT_EQ(problem, u"");
  EXPECT_EQ(app.ApplicationName() + app.Version(), u"Download2026");
  EXPECT_EQ(app.GetApplicationPropertyString(kVersionText), u"2026");
  for (const int type :
       {kStartInFolder, kTemporaryFolder, kSettingsFolder, kProgramFolder, kDataFolder}) {
    const KorText folder = app.GetApplicationPropertyPath(type);
    EXPECT_TRUE(folder.EndsWith(u"/")) << type << folder.ToUtf8();
    EXPECT_EQ(folder.Find(u'\\'), KorText::kNone);
  }
  EXPECT_TRUE(app.FolderExists(app.GetApplicationPropertyPath(kTemporaryFolder)));
  EXPECT_TRUE(app.FolderExists(app.GetApplicationPropertyPath(kProgramFolder)));
  EXPECT_TRUE(app.GetApplicationPropertyPath(kSettingsFolder).EndsWith(u"/Velmora/Plenova 2026/"));
  EXPECT_TRUE(app.PublicDocumentsFolder().EndsWith(u"/"));
}

TEST_F(PlatformServicesTest, ClocksAgreeAndTextsAreThere) {
  const std::uint32_t ticks = app.TickCount();
  const double seconds = app.HighResolutionSeconds();
  EXPECT_GE(app.HighResolutionSeconds(), seconds);
  EXPECT_LT(app.TickCount() - ticks, 10000u);
  EXPECT_GT(AppInterface::FileTimeToSystemTime(app.CurrentFileTime()).year, 2020);
  // A zone lies within a day, in whole minutes.
  const FileTime noon = AppInterface::SystemTimeToFileTime({2026, 7, 1, 12, 0, 0, 0, 3}) + 77;
  const auto shift = static_cast<std::int64_t>(app.FileTimeToLocal(noon) - noon);
  EXPECT_LT(std::abs(shift), 864'000'000'000);
  EXPECT_EQ(shift % 600'000'000, 0);
  const SystemTime time = {2026, 11, 21, 13, 5, 9, 0, 6};
  EXPECT_TRUE(app.FormatDate(time).Contains(u"26")) << app.FormatDate(time).ToUtf8();
  EXPECT_TRUE(app.FormatTime(time).Contains(u"09")) << app.FormatTime(time).ToUtf8();
  EXPECT_FALSE(app.UserName().IsEmpty());
  EXPECT_GT(app.OperatingSystem().Length(), 5u);
}

} // namespace
} // namespace kor
