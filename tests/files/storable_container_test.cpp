#include "files/storable_container.h"

#include <gtest/gtest.h>

#include "services/core/text_lookup.h"
#include "tests/support/test_app.h"

namespace kor {
namespace {

// A container of one text.
class Notebook : public StorableContainer {
 public:
  explicit Notebook(bool useLocks = true) : locking(useLocks) {}
  std::uint32_t ClassId() const override { return 100200310; }
  void Transfer(DiskFile& file) override {
    file.Transfer(text);
    EndRecord(file);
  }
  bool UsesLocking() const override { return locking; }
  std::uint32_t StreamOptions() const override { return kStreamCompressed | kStreamWideSizes; }
  std::vector<std::uint32_t> FileTypes() const override { return {4711}; }
  KorText FilePath(const KorText& asked) const override { return asked; }
  void LoadBegins(const KorText& from) override {
    ++loadsBegun;
    EXPECT_FALSE(from.IsEmpty());
  }

  bool locking;
  KorText text;
  int loadsBegun = 0;
};

class StorableContainerTest : public testing::Test {
 protected:
  StorableContainerTest() {
    Notebook notebook;
    notebook.text = u"first";
    EXPECT_TRUE(notebook.Save(path));
  }
  std::vector<TestApp::Warning> TakeWarnings() {
    auto warnings = app.Warnings();
    app.ForgetReports();
    return warnings;
  }
  static std::vector<TestApp::Warning> One(const KorText& message) {
    return {{message, u"StorableContainer"}};
  }
  // As another program would, a moment later.
  void ChangeOnDisk(const KorText& text) {
    app.Advance(10);
    Notebook other;
    other.text = text;
    EXPECT_TRUE(other.Save(path));
    app.SetFileModified(path, app.CurrentFileTime());
  }

  TestApp app;
  const KorText path = app.Path(u"note.rec");
  const KorText lockPath = app.Path(u"note.LOK");
};

TEST_F(StorableContainerTest, LoadingGivesThePathAndSavingKeepsIt) {
  Notebook notebook;
  EXPECT_FALSE(notebook.Load({}));
  EXPECT_FALSE(notebook.Load(app.Path(u"missing.rec")));
  EXPECT_TRUE(notebook.Path().IsEmpty());
  ASSERT_TRUE(notebook.Load(path));
  EXPECT_EQ(notebook.text, u"first");
  EXPECT_EQ(notebook.Path(), path);
  EXPECT_EQ(notebook.TimeStamp(), app.FileAttributes(path)->modified);
  EXPECT_EQ(notebook.loadsBegun, 2);

  EXPECT_EQ(notebook.UnmarkChanged(), 0);
  notebook.MarkChanged();
  notebook.MarkChanged();
  EXPECT_EQ(notebook.UnmarkChanged(), 1);
  EXPECT_FALSE(notebook.Save(app.Path(u"other.rec")));
  EXPECT_EQ(TakeWarnings(), One(u"Refusing to Save " + app.Path(u"other.rec") + u" over " + path));
  EXPECT_FALSE(app.FileExists(app.Path(u"other.rec")));
  notebook.text = u"second";
  EXPECT_TRUE(notebook.Save(path));
  EXPECT_FALSE(notebook.NeedsSaving());
  EXPECT_EQ(notebook.ChangeCount(), 0);

  notebook.MarkChanged();
  notebook.text = u"third";
  EXPECT_TRUE(notebook.Load(path));
  EXPECT_EQ(notebook.text, u"second");
  EXPECT_EQ(TakeWarnings(), One(u"Changes Pending on Load"));
}

TEST_F(StorableContainerTest, AFailedLoadChangesNothingAndAFailedSaveKeepsTheFile) {
  Notebook notebook;
  ASSERT_TRUE(notebook.Load(path));
  notebook.text = u"mine";
  notebook.SetNeedsSaving(true);
  app.LimitWrites(10);
  EXPECT_FALSE(notebook.Save(path));
  EXPECT_TRUE(notebook.NeedsSaving());
  app.ClearFaults();
  app.LimitReads(app.Content(path)->Length() - 3);
  EXPECT_FALSE(notebook.Load(path));
  EXPECT_EQ(notebook.text, u"mine");
  EXPECT_FALSE(notebook.IsLoading());
  notebook.SetNeedsSaving(false);
}

TEST_F(StorableContainerTest, LocksNestAndTheLastUnlockRemovesTheFile) {
  Notebook notebook;
  EXPECT_TRUE(notebook.Lock(path, nullptr));
  EXPECT_TRUE(notebook.Lock(path, nullptr));
  EXPECT_TRUE(notebook.Unlock());
  EXPECT_TRUE(app.FileExists(lockPath));
  EXPECT_TRUE(notebook.Unlock());
  EXPECT_FALSE(app.FileExists(lockPath));
  EXPECT_TRUE(TakeWarnings().empty());
  EXPECT_TRUE(notebook.Unlock());
  EXPECT_EQ(notebook.LockCount(), 0);
  EXPECT_EQ(TakeWarnings(), One(u"Container Lock count < 0!"));

  Notebook free(false);
  EXPECT_TRUE(free.Lock(path, nullptr));
  EXPECT_EQ(free.LockCount(), 0);
  EXPECT_TRUE(free.Unlock());
  EXPECT_FALSE(app.FileExists(lockPath));
}

TEST_F(StorableContainerTest, ALockHeldElsewhereFailsAndTheUserHearsWhy) {
  Notebook holder, second;
  ASSERT_TRUE(holder.Lock(path, nullptr));
  EXPECT_FALSE(second.Lock(path, nullptr));
  EXPECT_TRUE(second.Unlock());
  EXPECT_TRUE(app.FileExists(lockPath));
  EXPECT_TRUE(app.Messages().empty());

  const LockAsker parent{[](const KorText&, const KorText&) { return LockAnswer::Cancel; }, {}};
  SetTextLookup([](int number) { return KorText::Format(u"text %i", number); });
  for (const std::uint32_t flags : {0U, 1U}) {
    EXPECT_FALSE(second.Lock(path, &parent, flags));
    EXPECT_TRUE(second.Unlock());
  }
  SetTextLookup({});
  ASSERT_EQ(app.Messages().size(), 2U);
  EXPECT_EQ(app.Messages()[0].message, path + u"\n\ntext 1729");
  EXPECT_EQ(app.Messages()[1].message, path + u"\n\ntext 3337");
  EXPECT_TRUE(holder.Unlock());
}

TEST_F(StorableContainerTest, CustomiseLocksAndReloadsWhatChangedOnDisk) {
  Notebook notebook;
  bool locked = false;
  EXPECT_FALSE(notebook.Customise(nullptr, locked));
  EXPECT_EQ(TakeWarnings(), One(u"Can't customise until after Load called!"));

  ASSERT_TRUE(notebook.Load(path));
  EXPECT_FALSE(notebook.FileChangedOnDisk());
  ChangeOnDisk(u"from elsewhere");
  EXPECT_TRUE(notebook.FileChangedOnDisk());
  EXPECT_TRUE(notebook.Customise(nullptr, locked));
  EXPECT_TRUE(locked);
  EXPECT_EQ(notebook.text, u"from elsewhere");
  EXPECT_TRUE(notebook.Customise(nullptr, locked)); // holds it already: no second level
  EXPECT_EQ(notebook.LockCount(), 1);

  Notebook second;
  ASSERT_TRUE(second.Load(path));
  bool secondLocked = false;
  EXPECT_FALSE(second.Customise(nullptr, secondLocked));
  EXPECT_FALSE(secondLocked);
  EXPECT_EQ(second.LockCount(), 0);

  EXPECT_TRUE(notebook.Unlock());
  app.Advance(10);
  app.Put(path, u"no container any more, and longer than a signature");
  app.SetFileModified(path, app.CurrentFileTime());
  EXPECT_FALSE(second.Customise(nullptr, secondLocked)); // the reload fails
  EXPECT_FALSE(app.FileExists(lockPath));
  EXPECT_EQ(second.text, u"from elsewhere");

  app.RemoveFile(path); // no time stamp to compare
  EXPECT_FALSE(second.FileChangedOnDisk());
  EXPECT_TRUE(second.Customise(nullptr, secondLocked));
  EXPECT_TRUE(second.Unlock());
}

TEST_F(StorableContainerTest, ResettingAndDeletingReleaseTheLockWithAWarning) {
  auto notebook = std::make_unique<Notebook>();
  ASSERT_TRUE(notebook->Load(path));
  ASSERT_TRUE(notebook->Lock(path, nullptr));
  notebook->ResetFlags();
  EXPECT_EQ(TakeWarnings(), One(u"Can't ResetFlags whilst locked!"));
  EXPECT_FALSE(app.FileExists(lockPath));
  EXPECT_TRUE(notebook->Path().IsEmpty());
  EXPECT_EQ(notebook->TimeStamp(), 0U);
  notebook->Unlock();
  ASSERT_TRUE(notebook->Load(path, nullptr, kLoadReset));
  EXPECT_TRUE(TakeWarnings().empty());

  ASSERT_TRUE(notebook->Lock(path, nullptr));
  notebook->MarkChanged();
  notebook.reset();
  EXPECT_EQ(TakeWarnings(), (std::vector<TestApp::Warning>{
                                {u"Container Still Locked on deletion!", u"StorableContainer"},
                                {u"Container Needs Saving on deletion!", u"StorableContainer"}}));
  EXPECT_FALSE(app.FileExists(lockPath));
}

} // namespace
} // namespace kor
