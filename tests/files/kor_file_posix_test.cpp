// Safe writes to files that have an owner, permissions and links.
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <filesystem>
#include <string_view>

#include "files/compressed_file.h"
#include "files/kor_file.h"
#include "tests/files/file_test_support.h"

namespace kor {
namespace {

constexpr const char* kAccessList = "system.posix_acl_access";

// "mode uid gid access-list"
std::string Rights(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
  char list[256];
  const ssize_t length = ::getxattr(path.c_str(), kAccessList, list, sizeof list);
  return std::to_string(status.st_mode) + " " + std::to_string(status.st_uid) + " " +
         std::to_string(status.st_gid) + " " +
         std::string(list, length > 0 ? static_cast<std::size_t>(length) : 0);
}

class SafeWritePosixTest : public FileTest {
 protected:
  bool Write(const KorText& to, Compression compression = Compression::No,
             bool followsLinks = true) {
    KorFile file(to);
    if (!followsLinks) file.ReplaceLinks();
    return file.OpenSafe(kFileWrite, compression) && file.WriteText(u"newer") && file.Commit();
  }
  std::string Native(std::u16string_view name) { return app.Path(name).ToUtf8(); }
  void Link(const char* target, std::u16string_view name) {
    std::filesystem::create_symlink(target, Native(name));
  }
  bool IsLink(std::u16string_view name) {
    return std::filesystem::is_symlink(std::filesystem::symlink_status(Native(name)));
  }

  const KorText path = app.Path(u"work/O00123");
};

TEST_F(SafeWritePosixTest, AReplacedFileKeepsItsRights) {
  const std::function<bool()> ways[] = {
      [&] { return Write(path); },
      [&] { return Write(path, Compression::Yes); },
      [&] { return CompressFile(path, path) == FileResult::Success; },
      [&] { return DecompressFile(path, path) == FileResult::Success; },
  };
  // One user reads, the group does not, which the mode alone would grant it.
  constexpr std::string_view kList("\2\0\0\0\1\0\6\0\xFF\xFF\xFF\xFF\2\0\4\0\xD2\4\0\0"
                                   "\4\0\0\0\xFF\xFF\xFF\xFF\x10\0\4\0\xFF\xFF\xFF\xFF"
                                   "\x20\0\0\0\xFF\xFF\xFF\xFF",
                                   44);
  // Root may give files away, others to their groups only.
  const bool root = ::geteuid() == 0;
  gid_t groups[64] = {::getegid()};
  const int count = ::getgroups(64, groups);
  const gid_t group = root ? 4321 : groups[std::max(count, 1) - 1];
  const std::string name = path.ToUtf8();
  for (const mode_t mode : {0600u, 0664u, 0640u, 0755u})
    for (const auto& way : ways) {
      app.Put(path, u"older");
      ASSERT_TRUE(&way != &ways[3] || CompressFile(path, path) == FileResult::Success);
      ASSERT_EQ(::chown(name.c_str(), root ? 1234 : ::geteuid(), group), 0);
      ASSERT_EQ(::chmod(name.c_str(), mode), 0);
      // A file system without such lists has nothing to lose.
      if (mode == 0640) ::setxattr(name.c_str(), kAccessList, kList.data(), kList.size(), 0);
      const std::string rights = Rights(name);
      EXPECT_TRUE(way()) << &way - ways;
      EXPECT_EQ(Rights(name), rights) << &way - ways;
    }
}

TEST_F(SafeWritePosixTest, AWriteProtectedFileStays) {
  for (const bool packed : {false, true}) {
    app.RemoveFile(path);
    app.Put(path, u"older");
    ASSERT_TRUE(!packed || CompressFile(path, path) == FileResult::Success);
    ASSERT_EQ(::chmod(path.ToUtf8().c_str(), 0444), 0);
    const auto content = app.Content(path);
    EXPECT_FALSE(Write(path));
    EXPECT_NE(app.LastError(), 0u);
    EXPECT_FALSE(Write(path, Compression::Yes));
    EXPECT_EQ(packed ? DecompressFile(path, path) : CompressFile(path, path),
              FileResult::DestinationUnwritable);
    EXPECT_EQ(app.Content(path), content);
    EXPECT_EQ(Leftovers(), Names{u"O00123"});
  }
}

TEST_F(SafeWritePosixTest, WritesWhereALinkLeadsUnlessItReplacesIt) {
  app.Put(app.Path(u"far/file"), u"older");
  Link("../far/file", u"work/relative");
  Link("relative", u"work/chain");
  Link("../far/not yet", u"work/dangling");
  Link("circle", u"work/circle");
  Link("../nowhere/f", u"work/folderless");
  for (const Compression compression : {Compression::No, Compression::Yes})
    for (const char16_t* name : {u"work/relative", u"work/chain", u"work/dangling"}) {
      const KorText target =
          app.Path(KorText(name).EndsWith(u"dangling") ? u"far/not yet" : u"far/file");
      EXPECT_TRUE(Write(app.Path(name), compression));
      EXPECT_TRUE(IsLink(name));
      SimpleFile read(target);
      ASSERT_TRUE(read.Open(kFileRead, OpenWait::No, compression));
      EXPECT_EQ(read.ReadAll(), BytesOf("newer"));
      app.Put(app.Path(u"far/file"), u"older");
    }
  EXPECT_FALSE(Write(app.Path(u"work/circle")));
  EXPECT_FALSE(Write(app.Path(u"work/folderless")));
  EXPECT_EQ(app.Names(app.Path(u"far")), (Names{u"file", u"not yet"}));
  for (const char16_t* name : {u"work/relative", u"work/circle", u"work/folderless"}) {
    EXPECT_TRUE(Write(app.Path(name), Compression::No, false));
    EXPECT_FALSE(IsLink(name));
    EXPECT_EQ(app.Content(app.Path(name)), u"newer");
  }
  EXPECT_EQ(app.Content(app.Path(u"far/file")), u"older");
}

TEST_F(SafeWritePosixTest, APartThatOthersClearAwayEachTimeIsGivenUp) {
  app.WhenOpening(kPartSuffix, [this] {
    for (const KorText& part : app.Names(app.Path(u"work")))
      app.RemoveFile(app.Path(u"work/") + part);
  });
  EXPECT_FALSE(KorFile(path).OpenSafe());
}

TEST_F(SafeWritePosixTest, WhatOnlyBearsTheNameOfAPartStays) {
  app.Put(app.Path(u"far/file"), u"precious");
  Link("../far/file", u"work/a.ncedl-part");
  Link("../far/not yet", u"work/b.ncedl-part");
  ASSERT_EQ(::mkfifo(Native(u"work/c.ncedl-part").c_str(), 0600), 0);
  app.Put(app.Path(u"work/d.ncedl-part"), u"half");
  EXPECT_EQ(RemoveAbandonedParts(app, app.Path(u"work")), 1u);
  EXPECT_EQ(app.Names(app.Path(u"work")),
            (Names{u"a.ncedl-part", u"b.ncedl-part", u"c.ncedl-part"}));
  EXPECT_EQ(app.Names(app.Path(u"far")), Names{u"file"});
  EXPECT_EQ(app.Content(app.Path(u"far/file")), u"precious");
}

} // namespace
} // namespace kor
