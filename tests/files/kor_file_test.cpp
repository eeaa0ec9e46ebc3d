#include "files/kor_file.h"
#include "files/lock_file.h"
#include "files/paths.h"
#include "tests/files/file_test_support.h"

namespace kor {
namespace {

class SafeWriteTest : public FileTest {
 protected:
  const KorText path = app.Path(u"work/O00123");
};

TEST_F(SafeWriteTest, TargetChangesOnlyWithCommit) {
  for (const Compression compression : {Compression::No, Compression::Yes}) {
    app.Put(path, u"older");
    app.WatchDisk();
    KorFile file(path);
    ASSERT_TRUE(file.OpenSafe(kFileWrite | kFileText, compression));
    EXPECT_TRUE(file.WriteText(u"newer"));
    EXPECT_EQ(app.Content(path), u"older");
    const Names names = app.Names(app.Path(u"work"));
    ASSERT_EQ(names.size(), 2u);
    EXPECT_TRUE(names[1].StartsWith(u"O00123.") && names[1].EndsWith(u".ncedl-part"));
    EXPECT_TRUE(file.Commit());
    for (const DiskImage::Files& afterPowerCut : app.DiskStates())
      EXPECT_NE(afterPowerCut.at(path), "older");
    EXPECT_EQ(Leftovers(), Names{u"O00123"});
    ASSERT_TRUE(file.Open(kFileRead, OpenWait::No, compression));
    EXPECT_EQ(file.ReadAll(), BytesOf("newer"));
  }
}

TEST_F(SafeWriteTest, EveryOtherWayOutLeavesTheOlderFile) {
  const std::function<void(KorFile&)> ways[] = {
      [](KorFile& file) { file.Discard(); }, [](KorFile& file) { file.Close(); },
      [this](KorFile& file) { // a full disk: what is missing can't be made up for
        app.LimitWrites(12);
        EXPECT_TRUE(file.WriteText(u"line one\r\n"));
        EXPECT_FALSE(file.WriteText(u"line two\r\n"));
        app.LimitWrites(std::nullopt);
      }};
  app.Put(path, u"older");
  for (const auto& way : ways) {
    KorFile file(path);
    ASSERT_TRUE(file.OpenSafe());
    EXPECT_TRUE(file.WriteText(u"x"));
    way(file);
    EXPECT_FALSE(file.Commit());
    EXPECT_EQ(Leftovers(), Names{u"O00123"});
    EXPECT_EQ(app.Content(path), u"older");
  }
}

TEST_F(SafeWriteTest, TargetThatIsNoFileIsRefused) {
  EXPECT_FALSE(KorFile(app.Path(u"work")).OpenSafe());
  EXPECT_FALSE(KorFile(app.Path(u"missing/f")).OpenSafe());
  EXPECT_FALSE(KorFile(path).OpenSafe(kFileRead | kFileWrite));
}

TEST_F(SafeWriteTest, LongNamesHaveRoomBeside) {
  const KorText longPath = app.Path(u"work/") + KorText(120, u'\u00E9');
  KorFile file(longPath);
  ASSERT_TRUE(file.OpenSafe());
  file.WriteText(u"x");
  EXPECT_TRUE(file.Commit());
  EXPECT_EQ(app.Content(longPath), u"x");
}

TEST_F(SafeWriteTest, AbandonedPartsGoLivingOnesStay) {
  KorFile living(path);
  ASSERT_TRUE(living.OpenSafe());
  for (const char16_t* name :
       {u"O1.0123456789abcdef.ncedl-part", u"O2.ncedl-part", u"O3.ncedl-part.nc"})
    app.Put(app.Path(u"work/") + name, u"half");
  app.MakeFolder(app.Path(u"work/folder.ncedl-part"));
  EXPECT_EQ(RemoveAbandonedParts(app, app.Path(u"work")), 2u);
  EXPECT_EQ(RemoveAbandonedParts(app, app.Path(u"no such folder")), 0u);
  EXPECT_TRUE(living.WriteText(u"done"));
  EXPECT_TRUE(living.Commit());
  EXPECT_EQ(Leftovers(), (Names{u"O00123", u"O3.ncedl-part.nc", u"folder.ncedl-part/"}));
  EXPECT_EQ(app.Content(path), u"done");
}

TEST_F(SafeWriteTest, WithoutLocksOnlyPartsOlderThanADayAreAbandoned) {
  app.FailLocks(true);
  const FileTime now = app.CurrentFileTime(), hour = 36'000'000'000;
  const std::pair<const char16_t*, FileTime> parts[] = {
      {u"a", now - 25 * hour}, {u"b", now - 23 * hour}, {u"c", now + hour}};
  for (const auto& [name, modified] : parts) {
    const KorText part = app.Path(u"work/") + name + kPartSuffix;
    app.Put(part, u"half");
    ASSERT_TRUE(app.SetFileModified(part, modified));
  }
  EXPECT_EQ(RemoveAbandonedParts(app, app.Path(u"work")), 1u);
  EXPECT_EQ(Leftovers(), (Names{u"b.ncedl-part", u"c.ncedl-part"}));
}

// --- Lock files ---

class LockFileTest : public FileTest {
 protected:
  // Answers the questions in turn, and may change something before the answer.
  LockAsker Asker(std::vector<LockAnswer> answers, std::function<void()> meanwhile = {}) {
    return {[this, answers, meanwhile](const KorText& heading, const KorText& message) {
              EXPECT_FALSE(busy) << "a question lifts the busy state";
              headings.push_back(heading);
              questions.push_back(message);
              if (meanwhile) meanwhile();
              return answers.at(questions.size() - 1);
            },
            [this](bool on) { busy = on; }};
  }

  const KorText name = app.Path(u"work/jobs.v2/set.DAT");
  const KorText lockPath = app.Path(u"work/jobs.v2/set.LOK");
  std::vector<KorText> questions, headings;
  bool busy = false;
};

TEST_F(LockFileTest, LockIsAFileWithTheUsersName) {
  app.MakeFolder(app.Path(u"work/jobs.v2"));
  for (const char16_t* user : {u"", u"anna"}) {
    auto lock = LockFile(name, nullptr, u".LOK", user);
    ASSERT_TRUE(lock);
    EXPECT_EQ(app.Content(lockPath), *user ? user : u"tester");
    EXPECT_FALSE(LockFile(name, nullptr)) << "held already, and nobody to ask";
    EXPECT_TRUE(UnlockFile(std::move(lock)));
    EXPECT_FALSE(app.FileExists(lockPath));
  }
  app.LimitWrites(2);
  EXPECT_FALSE(LockFile(name, nullptr));
  EXPECT_FALSE(app.FileExists(lockPath)) << "a full disk leaves no half one";
}

TEST_F(LockFileTest, RetryUntilTheOtherIsDone) {
  app.Put(lockPath, u"anna");
  const LockAsker asker = Asker({LockAnswer::Retry, LockAnswer::Retry}, [&] {
    if (questions.size() == 2) app.RemoveFile(lockPath);
  });
  EXPECT_TRUE(LockFile(name, &asker));
  EXPECT_EQ(questions, std::vector(2, name + u"\n\nThe file is already locked by anna"));
  EXPECT_EQ(headings[0], u"Problem");
  EXPECT_FALSE(busy);
}

TEST_F(LockFileTest, LockThatCannotBeMadeIsAskedForToo) {
  const LockAsker asker = Asker({LockAnswer::Retry, LockAnswer::Cancel}); // the folder is missing
  EXPECT_FALSE(LockFile(name, &asker));
  EXPECT_EQ(questions, std::vector(2, name + u"\n\nUnable to lock the file"));
}

TEST(LockFileName, OnlyTheLastExtensionOfTheNameIsReplaced) {
  EXPECT_EQ(ReplaceExtension(u"C:\\a.b\\name", u".LOK"), u"C:\\a.b\\name.LOK");
  EXPECT_EQ(ReplaceExtension(u"/x/a.tar.gz", u".LOK"), u"/x/a.tar.LOK");
}

} // namespace
} // namespace kor
