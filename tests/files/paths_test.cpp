#include "files/paths.h"

#include "tests/files/file_test_support.h"

namespace kor {
namespace {

constexpr std::nullopt_t kNone = std::nullopt;

class PathsTest : public FileTest {};

TEST_F(PathsTest, Compare) {
  EXPECT_EQ(ComparePaths(kNone, kNone), 0);
  EXPECT_EQ(ComparePaths(kNone, u""), -1);
  EXPECT_EQ(ComparePaths(u"", kNone), 1);
  EXPECT_EQ(ComparePaths(u"a\\B/c", u"A/b\\C"), 0);
  EXPECT_EQ(ComparePaths(u"a/b", u"a/bc"), -1);
  EXPECT_EQ(ComparePaths(u"a/bc", u"a/b"), 1);
  EXPECT_EQ(ComparePaths(u"ab", u"ad"), -2);
  EXPECT_EQ(ComparePaths(u"[", u"a"), '[' - 'A');
  EXPECT_EQ(ComparePaths(u"\u00E4", u"\u00C4"), 0x20);
  EXPECT_EQ(ComparePaths(u"a\\", u"a0"), '/' - '0');
}

TEST_F(PathsTest, Root) {
  EXPECT_EQ(GetPathRoot(u"C:/x"), u"C:");
  EXPECT_EQ(GetPathRoot(u"c:"), u"c:");
  EXPECT_EQ(GetPathRoot(u"//server/share/x"), u"//server");
  EXPECT_EQ(GetPathRoot(u"\\\\server"), u"\\\\server");
  EXPECT_EQ(GetPathRoot(u"/\\s\\x"), u"/\\s");
  EXPECT_EQ(GetPathRoot(u"/home/x"), u"");
  EXPECT_EQ(GetPathRoot(u"x"), u"");
  EXPECT_EQ(GetPathRoot(u""), u"");
  EXPECT_EQ(GetPathRoot(u"//"), u"//");
}

TEST_F(PathsTest, AbsoluteToRelative) {
  constexpr auto kClimb = Climbing::Allowed;
  EXPECT_EQ(AbsToRelPath(u"C:\\Jobs\\A\\file.nc", u"C:/Jobs"), u"./A/file.nc");
  EXPECT_EQ(AbsToRelPath(u"c:/jobs/file.nc", u"C:\\JOBS\\"), u"./file.nc");
  EXPECT_EQ(AbsToRelPath(u"C:/Jobs/A", u"C:/Jobs/A/"), u".");
  EXPECT_EQ(AbsToRelPath(u"C:/Jobs/A/", u"C:/Jobs/A"), u"./");
  EXPECT_EQ(AbsToRelPath(u"C:/JobsX/f", u"C:/Jobs"), u"C:/JobsX/f"); // no folder of that name
  EXPECT_EQ(AbsToRelPath(u"C:/Other/x", u"C:/Jobs/A", kNone, kClimb), u"../../Other/x");
  EXPECT_EQ(AbsToRelPath(u"C:/jobs/B/x", u"c:/Jobs/A", kNone, kClimb), u"../B/x");
  EXPECT_EQ(AbsToRelPath(u"C:/Other/x", u"C:/Jobs/A"), u"C:/Other/x");
  EXPECT_EQ(AbsToRelPath(u"D:\\x", u"C:/Jobs", kNone, kClimb), u"D:/x");
  EXPECT_EQ(AbsToRelPath(u"//server/share/x", u"//SERVER/share/y", kNone, kClimb), u"../x");
  EXPECT_EQ(AbsToRelPath(u"//other/share/x", u"//server/share", kNone, kClimb), u"//other/share/x");
  EXPECT_EQ(AbsToRelPath(u"/srv/jobs/x", u"/srv/other", kNone, kClimb), u"../jobs/x");
  EXPECT_EQ(AbsToRelPath(u"x.nc", u"/srv", kNone, kClimb), u"x.nc");
  EXPECT_EQ(AbsToRelPath(u"Other/x", u"Jobs/A", kNone, kClimb), u"../../Other/x");
  EXPECT_EQ(AbsToRelPath(u"x", u"", kNone, kClimb), u"x");
  // what to climb to is not known
  EXPECT_EQ(AbsToRelPath(u"Other/x", u"../Jobs", kNone, kClimb), u"Other/x");
  // a root folder
  EXPECT_EQ(AbsToRelPath(u"C:/Data/Jobs/x", kNone, u"c:\\data"), u"Jobs/x");
  EXPECT_EQ(AbsToRelPath(u"C:/Data/x", u"C:/Data/Jobs", u"C:/Data/"), u"x");
  EXPECT_EQ(AbsToRelPath(u"C:/Data/Jobs/x", u"C:/Data/Jobs", u"C:/Data"), u"./x");
  EXPECT_EQ(AbsToRelPath(u"C:/Else/x", u"C:/Else", u"C:/Data"), u"./x");
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(PathsTest, RelativeToAbsolute) {
  EXPECT_EQ(RelToAbsPath(u".", u"C:\\Jobs"), u"C:/Jobs");
  EXPECT_EQ(RelToAbsPath(u".\\", u"C:/Jobs/"), u"C:/Jobs/");
  EXPECT_EQ(RelToAbsPath(u".\\A\\f.nc", u"C:/Jobs"), u"C:/Jobs/A/f.nc");
  EXPECT_EQ(RelToAbsPath(u"./f.nc", u"C:/Jobs/"), u"C:/Jobs/f.nc");
  EXPECT_EQ(RelToAbsPath(u"../../Other/x", u"C:/Jobs/A"), u"C:/Other/x");
  EXPECT_EQ(RelToAbsPath(u"../x", u"C:/Jobs/A/"), u"C:/Jobs/x");
  EXPECT_EQ(RelToAbsPath(u"../../../x", u"C:/Jobs/A"), u"C:/x"); // no folder above the root
  EXPECT_EQ(RelToAbsPath(u"../../x", u"//server/share"), u"//server/x");
  EXPECT_EQ(RelToAbsPath(u"../../x", u"/srv/jobs"), u"/x");
  EXPECT_EQ(RelToAbsPath(u"../../Other/x", u"Jobs/A"), u"Other/x");
  EXPECT_EQ(RelToAbsPath(u".hidden/x", u"C:/Jobs"), u"C:/Jobs/.hidden/x");
  EXPECT_EQ(RelToAbsPath(u"/x/y", u"C:/Jobs"), u"C:/x/y");
  EXPECT_EQ(RelToAbsPath(u"/x/y", u"\\\\server\\share"), u"//server/x/y");
  EXPECT_EQ(RelToAbsPath(u"/x/y", u"/srv"), u"/x/y");
  EXPECT_EQ(RelToAbsPath(u"\\\\server\\x", u"C:/Jobs"), u"//server/x");
  EXPECT_EQ(RelToAbsPath(u"D:\\x", u"C:/Jobs"), u"D:/x");
  EXPECT_EQ(RelToAbsPath(u"x", u"C:/Jobs"), u"x");
  EXPECT_EQ(RelToAbsPath(u"", u"C:/Jobs"), u"");
  // the base of both, where none is given
  app.SetApplicationPropertyPath(kProgramFolder, u"C:\\Program\\");
  EXPECT_EQ(AbsToRelPath(u"C:/Program/x"), u"./x");
  EXPECT_EQ(RelToAbsPath(u"./x"), u"C:/Program/x");
}

TEST_F(PathsTest, LongPathNotationIsReportedAndConverted) {
  const TestApp::Warning warning{u"Do not store/parse paths in unicode notation format!",
                                 u"AbsToRelPath does not support unicode notation paths!"};
  for (const char16_t* path : {u"//?/C:/x", u"\\\\?\\C:\\x", u"?/unc/server/x"}) {
    EXPECT_TRUE(IsUnicodeNotationPath(path, NotationWarning::None));
    EXPECT_TRUE(app.Warnings().empty());
    AbsToRelPath(path);
    EXPECT_EQ(app.Warnings(), std::vector{warning});
    app.ForgetReports();
  }
  EXPECT_EQ(AbsToRelPath(u"\\\\?\\C:\\Jobs\\x", u"//?/C:/Jobs"), u"./x");
  app.ForgetReports();
  EXPECT_FALSE(IsUnicodeNotationPath(u"//./C:/x", NotationWarning::Raise));
  EXPECT_FALSE(IsUnicodeNotationPath(u"//?UNC/x", NotationWarning::Raise));
  EXPECT_TRUE(app.Warnings().empty());
}

TEST_F(PathsTest, FileNames) {
  EXPECT_EQ(MakeValidFileName(u"a:b?.txt."), u"a_b_.txt.");
  EXPECT_EQ(MakeValidFileName(u"/\\+?*|<>:\"x"), u"__________x");
  EXPECT_EQ(MakeValidFileName(u"a:b?.txt.", NameNotice::Quiet), u"a_b_.txt");
  EXPECT_EQ(MakeValidFileName(u"fine.nc", NameNotice::Show), u"fine.nc");
  EXPECT_TRUE(app.Messages().empty());
  EXPECT_EQ(MakeValidFileName(u"a:b..", NameNotice::Show), u"a_b");
  ASSERT_EQ(app.Messages().size(), 1u);
  EXPECT_EQ(app.Messages()[0].message, u"Old name:\n  a:b..\n New name:\n  a_b");
}

} // namespace
} // namespace kor
